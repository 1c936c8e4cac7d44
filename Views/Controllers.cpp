#include "Controllers.h"

#include <QColor>
#include <QGuiApplication>
#include <QPalette>
#include <QQuickStyle>
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
