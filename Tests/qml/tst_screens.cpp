// Runs the screen tests (tst_*.qml) with the Velloran QML module, the controllers, the `fixture` and
// `accessibility` helpers and the Notes stand-in. Settings and the stand-in's library live in a scratch folder,
// never in the home.

#include "AccessibilityTree.h"
#include "ControllerStandIns.h"
#include "Controllers.h"
#include "ScreenFixture.h"
#include "Translations.h"

#include <QCoreApplication>
#include <QDir>
#include <QQmlContext>
#include <QQmlEngine>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtQml/qqml.h>
#include <QtQml/qqmlextensionplugin.h>
#include <QtQuickTest/quicktest.h>

Q_IMPORT_QML_PLUGIN(VelloranPlugin)

using namespace Qt::StringLiterals;

class Setup : public QObject
{
    Q_OBJECT

public slots:
    void applicationAvailable()
    {
        QCoreApplication::setOrganizationName(u"VelloranTests"_s);
        QCoreApplication::setApplicationName(u"tst_screens"_s);
        QStandardPaths::setTestModeEnabled(true);
        const QString settings = m_scratch.path() + u"/settings"_s;
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settings);
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, settings);
        qputenv("VELLORAN_FAKE_NOTES", (m_scratch.path() + u"/notes.json"_s).toUtf8());
        qputenv("VELLORAN_FAKE_NOTES_LOG", (m_scratch.path() + u"/notes-log.jsonl"_s).toUtf8());
        qputenv("VELLORAN_OSASCRIPT", QByteArrayLiteral(VELLORAN_FAKE_OSASCRIPT));
        useVelloranStyle();
        registerControllerTypes();
        qmlRegisterType<MigratorStandIn>("Velloran.StandIns", 1, 0, "MigratorStandIn");
        qmlRegisterType<ExporterStandIn>("Velloran.StandIns", 1, 0, "ExporterStandIn");
        // As the application does: the screens speak the language of LANG (English for most tests).
        Translations::install();
    }

    void qmlEngineAvailable(QQmlEngine *engine)
    {
        // Where the statically linked Velloran module keeps its qmldir and files.
        engine->addImportPath(u"qrc:/"_s);
        engine->rootContext()->setContextProperty(u"fixture"_s, new ScreenFixture(engine));
        engine->rootContext()->setContextProperty(u"accessibility"_s, new AccessibilityTree(engine));
    }

private:
    QTemporaryDir m_scratch;
};

QUICK_TEST_MAIN_WITH_SETUP(tst_screens, Setup)

#include "tst_screens.moc"
