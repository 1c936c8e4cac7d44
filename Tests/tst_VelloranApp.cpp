// Tests of the application window: its size limits, placement, icon and first screen, and where the
// application keeps its settings.
//
// VelloranApp owns the QGuiApplication, so this test brings its own main() instead of QTEST_MAIN.

#include "Controllers.h"
#include "Exporter.h"
#include "VelloranApp.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QIcon>
#include <QImage>
#include <QPalette>
#include <QQuickItem>
#include <QQuickView>
#include <QScreen>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QWindow>

#include <algorithm>

using namespace Qt::StringLiterals;

class tst_VelloranApp : public QObject
{
    Q_OBJECT

public:
    explicit tst_VelloranApp(VelloranApp &app)
        : m_app(app)
    { }

private slots:
    void initTestCase()
    {
        m_window = m_app.showWindow();
        QVERIFY(m_window);
        QVERIFY(QTest::qWaitForWindowExposed(m_window));
    }

    void windowCannotBeSmallerThan640By560()
    {
        QCOMPARE(m_window->minimumSize(), QSize(640, 560));
        QCOMPARE(m_window->size(), QSize(640, 560));
        // No maximum of its own: Qt's default, 2^24 - 1 in each direction.
        constexpr int unbounded = (1 << 24) - 1;
        QCOMPARE(m_window->maximumSize(), QSize(unbounded, unbounded));
    }

    void windowIsCentredAndUntitled()
    {
        QCOMPARE(m_window->title(), QString());
        const QRect frame(m_window->position(), m_window->size());
        const QPoint centre = m_window->screen()->availableGeometry().center();
        QVERIFY2((frame.center() - centre).manhattanLength() <= 1,
            qPrintable(u"frame centre %1,%2 vs screen centre %3,%4"_s.arg(frame.center().x())
                           .arg(frame.center().y())
                           .arg(centre.x())
                           .arg(centre.y())));
    }

    void startsAtTheDirectionPicker()
    {
        QQuickItem *root = m_window->rootObject();
        QVERIFY(root);
        QCOMPARE(root->property("direction"), QVariant());
        QCOMPARE(root->property("screen").toString(), u"picker"_s);
        QCOMPARE(root->property("migrator").value<QObject *>()->metaObject()->className(), "Migrator");
        QCOMPARE(root->property("exporter").value<QObject *>()->metaObject()->className(), "Exporter");
    }

    // The screens' controls take the application's palette when it changes (the dark appearance and back).
    void controlsFollowTheApplicationsPalette()
    {
        const auto windowColour = [this] {
            QObject *palette = m_window->rootObject()->property("palette").value<QObject *>();
            return palette ? palette->property("window").value<QColor>() : QColor();
        };
        const QColor light = windowColour();
        QVERIFY(light.isValid());
        useAppearance(Appearance::Dark);
        QCOMPARE(windowColour(), QGuiApplication::palette().color(QPalette::Window));
        QVERIFY(windowColour().lightness() < 100);
        useAppearance(Appearance::Light);
        QCOMPARE(windowColour(), light);
    }

    void windowHasTheApplicationIcon()
    {
        QVERIFY(QFileInfo::exists(QStringLiteral(VELLORAN_ICON_SOURCE)));
        for (const int size : { 16, 32, 64, 128, 256, 512, 1024 }) {
            const QString png = QStringLiteral(VELLORAN_ICON_DIR) + u"/velloran-%1.png"_s.arg(size);
            QVERIFY2(QFileInfo::exists(png), qPrintable(png));
            QCOMPARE(QImage(png).size(), QSize(size, size));
        }
        QVERIFY(!QGuiApplication::windowIcon().isNull());
        QVERIFY(!m_window->icon().isNull());
        QCOMPARE(m_window->icon().availableSizes().size(), 7);
        // Drawn, not blank: the middle of the plate is the application colour's gradient, opaque.
        const QImage image = m_window->icon().pixmap(QSize(64, 64)).toImage();
        QCOMPARE(image.size(), QSize(64, 64));
        QCOMPARE(image.pixelColor(32, 50).alpha(), 255);
        QCOMPARE(image.pixelColor(0, 0).alpha(), 0);
    }

    // Qt's macOS settings store under the organisation domain's labels reversed, then the application name:
    // that must be the bundle identifier, so the favourite folder lands in the application's own domain.
    void settingsLiveInTheBundleIdentifiersDomain()
    {
        QStringList labels = QCoreApplication::organizationDomain().split(u'.');
        std::reverse(labels.begin(), labels.end());
        labels.append(QCoreApplication::applicationName());
        QCOMPARE(labels.join(u'.'), QStringLiteral(VELLORAN_BUNDLE_ID));
        QCOMPARE(QCoreApplication::organizationName(), u"Velloran"_s);
#ifdef Q_OS_MACOS
        QCOMPARE(QSettings().fileName(),
            QDir::homePath() + u"/Library/Preferences/"_s + QStringLiteral(VELLORAN_BUNDLE_ID) + u".plist"_s);
#else
        // Elsewhere the settings are a file named after the organisation and the application.
        QVERIFY2(QSettings().fileName().endsWith(u"/Velloran/Velloran.conf"_s), qPrintable(QSettings().fileName()));
#endif
    }

    void favouriteFolderIsStoredUnderItsKey()
    {
        auto *exporter = qobject_cast<Exporter *>(m_window->rootObject()->property("exporter").value<QObject *>());
        QVERIFY(exporter);
        QTemporaryDir folder;
        exporter->setFavourite(QUrl::fromLocalFile(folder.path()));
        QSettings settings;
        settings.sync();
        QCOMPARE(settings.value(u"velloran/favouriteExportFolder"_s).toString(), folder.path());
#ifndef Q_OS_MACOS
        // In the file: the group "velloran" and the key "favouriteExportFolder" (on macOS one key,
        // "velloran.favouriteExportFolder").
        QFile file(settings.fileName());
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QString text = QString::fromUtf8(file.readAll());
        QVERIFY2(text.contains(u"[velloran]\nfavouriteExportFolder="_s), qPrintable(text));
#endif
        exporter->setFavourite(std::nullopt);
        settings.sync();
        QVERIFY(!settings.contains(u"velloran/favouriteExportFolder"_s));
    }

private:
    VelloranApp &m_app;
    QQuickView *m_window = nullptr;
};

int main(int argc, char **argv)
{
    VelloranApp app(argc, argv);
    tst_VelloranApp test(app);
    return QTest::qExec(&test, argc, argv);
}

#include "tst_VelloranApp.moc"
