#include "DropHelper.h"
#include "TestUtil.h"

#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <QThreadPool>

#include <optional>

using namespace Qt::StringLiterals;

// Resolving dropped items into one folder, against real files and folders.
class tst_DropHelper : public QObject
{
    Q_OBJECT

private:
    struct Outcome
    {
        int calls = 0;
        bool onMainThread = false;
        std::optional<QUrl> folder;
    };

    // Resolves `items` and waits for the completion; fails when it does not come.
    static Outcome resolve(const QList<QUrl> &items, QObject *context)
    {
        Outcome outcome;
        DropHelper::resolveFolder(items, context, [&outcome](const std::optional<QUrl> &folder) {
            ++outcome.calls;
            outcome.onMainThread = QThread::currentThread() == QCoreApplication::instance()->thread();
            outcome.folder = folder;
        });
        [&] { QTRY_COMPARE_WITH_TIMEOUT(outcome.calls, 1, 10000); }();
        return outcome;
    }

    QTemporaryDir m_root;

private slots:
    void initTestCase()
    {
        QVERIFY(m_root.isValid());
        TestUtil::writeFile(m_root.path(), u"vault/Note.md"_s, "# Note\n");
        TestUtil::writeFile(m_root.path(), u"vault/Sub/Deep.md"_s, "# Deep\n");
        TestUtil::makeDir(m_root.path(), u"other"_s);
    }

    void folderFor_data()
    {
        QTest::addColumn<QUrl>("item");
        QTest::addColumn<std::optional<QUrl>>("expected");
        const QString root = m_root.path();
        const QUrl vault = QUrl::fromLocalFile(root + u"/vault"_s);
        QTest::addRow("a folder is itself") << vault << std::optional<QUrl>(vault);
        const QUrl slashed = QUrl::fromLocalFile(root + u"/vault/"_s);
        QTest::addRow("a folder with a trailing slash is itself") << slashed << std::optional<QUrl>(slashed);
        QTest::addRow("a Markdown file selects its folder")
            << QUrl::fromLocalFile(root + u"/vault/Note.md"_s) << std::optional<QUrl>(vault);
        QTest::addRow("a file in a subfolder selects the subfolder") << QUrl::fromLocalFile(
            root + u"/vault/Sub/Deep.md"_s) << std::optional<QUrl>(QUrl::fromLocalFile(root + u"/vault/Sub"_s));
        QTest::addRow("a missing path is nothing") << QUrl::fromLocalFile(root + u"/gone"_s) << std::optional<QUrl>();
        QTest::addRow("a missing file in an existing folder is nothing")
            << QUrl::fromLocalFile(root + u"/vault/Gone.md"_s) << std::optional<QUrl>();
        QTest::addRow("a web address is nothing") << QUrl(u"https://example.com/notes"_s) << std::optional<QUrl>();
        QTest::addRow("an empty url is nothing") << QUrl() << std::optional<QUrl>();
    }

    void folderFor()
    {
        QFETCH(QUrl, item);
        QFETCH(std::optional<QUrl>, expected);
        QCOMPARE(DropHelper::folderFor(item), expected);
    }

    void resolveFolder_data()
    {
        QTest::addColumn<QList<QUrl>>("items");
        QTest::addColumn<std::optional<QUrl>>("expected");
        const QString root = m_root.path();
        const QUrl vault = QUrl::fromLocalFile(root + u"/vault"_s);
        const QUrl other = QUrl::fromLocalFile(root + u"/other"_s);
        const QUrl gone = QUrl::fromLocalFile(root + u"/gone"_s);
        QTest::addRow("one folder") << QList<QUrl> { vault } << std::optional<QUrl>(vault);
        QTest::addRow("several folders: the first only") << QList<QUrl> { other, vault } << std::optional<QUrl>(other);
        QTest::addRow("a file: its folder")
            << QList<QUrl> { QUrl::fromLocalFile(root + u"/vault/Note.md"_s) } << std::optional<QUrl>(vault);
        QTest::addRow("a missing path") << QList<QUrl> { gone } << std::optional<QUrl>();
        QTest::addRow("a missing first item, a folder second") << QList<QUrl> { gone, vault } << std::optional<QUrl>();
        QTest::addRow("nothing dropped") << QList<QUrl> {} << std::optional<QUrl>();
    }

    void resolveFolder()
    {
        QFETCH(QList<QUrl>, items);
        QFETCH(std::optional<QUrl>, expected);
        QObject context;
        const Outcome outcome = resolve(items, &context);
        QCOMPARE(outcome.folder, expected);
        QVERIFY(outcome.onMainThread);
        // Exactly once: nothing more arrives once the queue is drained.
        QCoreApplication::processEvents();
        QCOMPARE(outcome.calls, 1);
    }

    void completionNeverRunsInsideTheCall_data()
    {
        QTest::addColumn<QList<QUrl>>("items");
        QTest::addRow("a folder") << QList<QUrl> { QUrl::fromLocalFile(m_root.path() + u"/vault"_s) };
        QTest::addRow("nothing dropped") << QList<QUrl> {};
    }

    void completionNeverRunsInsideTheCall()
    {
        QFETCH(QList<QUrl>, items);
        QObject context;
        int calls = 0;
        DropHelper::resolveFolder(items, &context, [&calls](const std::optional<QUrl> &) { ++calls; });
        QCOMPARE(calls, 0);
        QTRY_COMPARE_WITH_TIMEOUT(calls, 1, 10000);
    }

    void nothingArrivesAfterTheContextIsGone()
    {
        int calls = 0;
        {
            QObject context;
            DropHelper::resolveFolder(
                { QUrl::fromLocalFile(m_root.path() + u"/vault"_s) }, &context, [&calls](const auto &) { ++calls; });
            DropHelper::resolveFolder({}, &context, [&calls](const auto &) { ++calls; });
        }
        // Once the background work is done and every queued call delivered, still nothing has come.
        QThreadPool::globalInstance()->waitForDone();
        QCoreApplication::processEvents();
        QCoreApplication::processEvents();
        QCOMPARE(calls, 0);
    }
};

QTEST_GUILESS_MAIN(tst_DropHelper)
#include "tst_DropHelper.moc"
