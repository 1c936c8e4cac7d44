// Tests of the application window: its size limits, placement and first screen.
//
// VelloranApp owns the QGuiApplication, so this test brings its own main() instead of QTEST_MAIN.

#include "VelloranApp.h"

#include <QQuickItem>
#include <QQuickView>
#include <QScreen>
#include <QTest>
#include <QWindow>

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
