#include "VelloranApp.h"

#include "AppIdentity.h"
#include "Controllers.h"
#include "Translations.h"
#include "WindowStyle.h"

#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickView>
#include <QScreen>
#include <QUrl>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(VelloranPlugin)

using namespace Qt::StringLiterals;

namespace {

// The smallest content the screens are laid out for, in points.
constexpr QSize minimumContentSize(640, 560);

// The names come first: the settings (the favourite export folder) are stored under them.
int &withApplicationNames(int &argc)
{
    AppIdentity::apply();
    return argc;
}

} // namespace

VelloranApp::VelloranApp(int &argc, char **argv)
    : m_application(withApplicationNames(argc), argv)
{
    QGuiApplication::setApplicationVersion(QStringLiteral(VELLORAN_VERSION));
    QGuiApplication::setWindowIcon(AppIdentity::icon());
    // The screens, reports and messages speak the system's language where Velloran is translated into it.
    Translations::install();
    useVelloranStyle();
    registerControllerTypes();
}

VelloranApp::~VelloranApp() = default;

int VelloranApp::run()
{
    QQuickView *window = showWindow();
    if (!window)
        return 1;
    // VELLORAN_QUIT_WHEN_SHOWN=1: quit once the window has drawn its first frame, saying so on standard
    // error. The check of an installed copy uses it to prove that the deployed application starts.
    if (qEnvironmentVariableIntValue("VELLORAN_QUIT_WHEN_SHOWN") == 1) {
        QObject::connect(
            window, &QQuickWindow::frameSwapped, &m_application,
            [window] {
                qInfo("Velloran: window shown, %dx%d", window->width(), window->height());
                QGuiApplication::quit();
            },
            Qt::QueuedConnection);
    }
    return QGuiApplication::exec();
}

QQuickView *VelloranApp::showWindow()
{
    m_window = std::make_unique<QQuickView>();
    QQuickView &window = *m_window;
    window.setResizeMode(QQuickView::SizeRootObjectToView);
    window.setMinimumSize(minimumContentSize);
    window.resize(minimumContentSize);
    window.setInitialProperties({
        { u"migrator"_s, QVariant::fromValue<QObject *>(&m_migrator) },
        { u"exporter"_s, QVariant::fromValue<QObject *>(&m_exporter) },
        { u"titleBarInset"_s, WindowStyle::titleBarInset() },
    });
    // The controls follow the palette, light or dark, as it changes.
    followApplicationPalette(&window);
    // Where the statically linked Velloran module keeps its qmldir and files.
    window.engine()->addImportPath(u"qrc:/"_s);
    QObject::connect(window.engine(), &QQmlEngine::quit, &m_application, &QGuiApplication::quit);
    window.setSource(QUrl(u"qrc:/Velloran/WizardView.qml"_s));
    if (window.status() != QQuickView::Ready)
        return nullptr;

    if (const QScreen *screen = window.screen()) {
        QRect frame(QPoint(), window.size());
        frame.moveCenter(screen->availableGeometry().center());
        window.setPosition(frame.topLeft());
    }
    // Before the first show, so the window never appears with a title bar.
    WindowStyle::hideTitleBar(&window);
    window.show();
    return &window;
}
