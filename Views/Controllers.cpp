#include "Controllers.h"

#include <QColor>
#include <QEvent>
#include <QGuiApplication>
#include <QMetaProperty>
#include <QPalette>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QStyleHints>
#include <QtQml/qqmlextensionplugin.h>

#include <optional>

#include <QCoro/QCoroQml>

// The engine's types (module Velloran.Engine), linked in with the screens.
Q_IMPORT_QML_PLUGIN(Velloran_EnginePlugin)

void registerControllerTypes()
{
    QCoro::Qml::registerTypes();
}

namespace {

// The application colour, and the lighter shade of it that reads on a dark window.
const QColor ink = QColor::fromRgbF(0.29f, 0.31f, 0.69f, 1.0f);
const QColor inkOnDark = QColor::fromRgbF(0.53f, 0.56f, 0.95f, 1.0f);
const QColor inkFillOnDark = QColor::fromRgbF(0.36f, 0.39f, 0.82f, 1.0f);

// The desktop's palette as it was before Velloran changed it: the light appearance.
QPalette &desktopPalette()
{
    static QPalette palette = QGuiApplication::palette();
    return palette;
}

QPalette lightPalette()
{
    QPalette palette = desktopPalette();
    palette.setColor(QPalette::Highlight, ink);
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, ink);
    return palette;
}

// Greys after the desktop's dark window, controls and fields, with the text light on them.
QPalette darkPalette()
{
    const QColor text(0xe8, 0xe8, 0xe8);
    const QColor dimmed(0x80, 0x80, 0x80);
    QPalette palette;
    palette.setColor(QPalette::Window, QColor(0x2b, 0x2b, 0x2b));
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Base, QColor(0x1f, 0x1f, 0x1f));
    palette.setColor(QPalette::AlternateBase, QColor(0x26, 0x26, 0x26));
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::PlaceholderText, dimmed);
    palette.setColor(QPalette::Button, QColor(0x3c, 0x3c, 0x3c));
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::BrightText, Qt::white);
    palette.setColor(QPalette::Light, QColor(0x55, 0x55, 0x55));
    palette.setColor(QPalette::Midlight, QColor(0x48, 0x48, 0x48));
    palette.setColor(QPalette::Mid, QColor(0x33, 0x33, 0x33));
    palette.setColor(QPalette::Dark, QColor(0x1a, 0x1a, 0x1a));
    palette.setColor(QPalette::Shadow, Qt::black);
    palette.setColor(QPalette::ToolTipBase, QColor(0x3c, 0x3c, 0x3c));
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::Highlight, inkFillOnDark);
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, inkOnDark);
    for (const QPalette::ColorRole role : { QPalette::WindowText, QPalette::Text, QPalette::ButtonText })
        palette.setColor(QPalette::Disabled, role, dimmed);
    return palette;
}

// The appearance asked for by VELLORAN_APPEARANCE, or by the desktop where Qt can tell (6.5 and later).
std::optional<Appearance> requestedAppearance()
{
    const QByteArray forced = qgetenv("VELLORAN_APPEARANCE");
    if (forced == "dark")
        return Appearance::Dark;
    if (forced == "light")
        return Appearance::Light;
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
    if (QGuiApplication::styleHints()->colorScheme() == Qt::ColorScheme::Dark)
        return Appearance::Dark;
#endif
    return std::nullopt;
}

} // namespace

void useVelloranStyle()
{
    desktopPalette();
    // Tab reaches every button and toggle, not only text fields and lists, whatever the desktop's
    // keyboard-navigation setting: each screen has to be usable without a mouse.
    QGuiApplication::styleHints()->setTabFocusBehavior(Qt::TabFocusAllControls);
#ifdef Q_OS_MACOS
    // macOS keeps its native controls and switches the palette between light and dark itself: only the
    // accent changes, so the system's palette goes on following the appearance.
    if (const std::optional<Appearance> appearance = requestedAppearance()) {
        useAppearance(*appearance);
        return;
    }
    QPalette palette = QGuiApplication::palette();
    palette.setColor(QPalette::Highlight, ink);
    palette.setColor(QPalette::Link, ink);
    QGuiApplication::setPalette(palette);
#else
    // Elsewhere Fusion is the neutral desktop look, in the palette of the appearance asked for.
    QQuickStyle::setStyle(QStringLiteral("Fusion"));
    useAppearance(requestedAppearance().value_or(Appearance::Light));
#endif
}

void useAppearance(Appearance appearance)
{
    QGuiApplication::setPalette(appearance == Appearance::Dark ? darkPalette() : lightPalette());
}

void applyApplicationPalette(QQuickWindow *window)
{
    // The window's palette is a QML palette object (active, inactive and disabled colour groups, one colour
    // property per role), reached through the meta-object: its class is not public API.
    static const std::pair<const char *, QPalette::ColorRole> roles[] = {
        { "alternateBase", QPalette::AlternateBase },
        { "base", QPalette::Base },
        { "brightText", QPalette::BrightText },
        { "button", QPalette::Button },
        { "buttonText", QPalette::ButtonText },
        { "dark", QPalette::Dark },
        { "highlight", QPalette::Highlight },
        { "highlightedText", QPalette::HighlightedText },
        { "light", QPalette::Light },
        { "link", QPalette::Link },
        { "linkVisited", QPalette::LinkVisited },
        { "mid", QPalette::Mid },
        { "midlight", QPalette::Midlight },
        { "shadow", QPalette::Shadow },
        { "text", QPalette::Text },
        { "toolTipBase", QPalette::ToolTipBase },
        { "toolTipText", QPalette::ToolTipText },
        { "window", QPalette::Window },
        { "windowText", QPalette::WindowText },
        { "placeholderText", QPalette::PlaceholderText },
    };
    static const std::pair<const char *, QPalette::ColorGroup> groups[] = {
        { "active", QPalette::Active },
        { "inactive", QPalette::Inactive },
        { "disabled", QPalette::Disabled },
    };
    auto *quickPalette = window ? window->property("palette").value<QObject *>() : nullptr;
    if (!quickPalette)
        return;
    const QPalette palette = QGuiApplication::palette();
    for (const auto &[groupName, group] : groups) {
        auto *colours = quickPalette->property(groupName).value<QObject *>();
        if (!colours)
            continue;
        for (const auto &[roleName, role] : roles) {
            if (colours->metaObject()->indexOfProperty(roleName) >= 0)
                colours->setProperty(roleName, palette.color(group, role));
        }
    }
}

namespace {

// Hands the application's palette to the window it watches each time that palette changes.
class PaletteFollower : public QObject
{
public:
    explicit PaletteFollower(QQuickWindow *window)
        : QObject(window)
        , m_window(window)
    {
        // The application object is told of each change of its palette.
        qGuiApp->installEventFilter(this);
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (watched == qGuiApp && event->type() == QEvent::ApplicationPaletteChange)
            applyApplicationPalette(m_window);
        return false;
    }

private:
    QQuickWindow *m_window;
};

} // namespace

void followApplicationPalette(QQuickWindow *window)
{
    applyApplicationPalette(window);
    new PaletteFollower(window);
}
