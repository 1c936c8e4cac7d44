#include "VelloranApp.h"

#include "Controllers.h"
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
    QGuiApplication::setOrganizationName(u"Velloran"_s);
    QGuiApplication::setApplicationName(u"Velloran"_s);
    return argc;
}

} // namespace

VelloranApp::VelloranApp(int &argc, char **argv)
    : m_application(withApplicationNames(argc), argv)
{
    QGuiApplication::setApplicationVersion(QStringLiteral(VELLORAN_VERSION));
    useVelloranStyle();
    registerControllerTypes();
}

VelloranApp::~VelloranApp() = default;

int VelloranApp::run()
{
    if (!showWindow())
        return 1;
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
    window.show();
    WindowStyle::hideTitleBar(&window);
    return &window;
}
