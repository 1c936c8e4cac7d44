// Tests of velloran-cli's folders command, run against the Notes stand-in.

#include "NotesFixture.h"

#include <QProcess>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

struct Run
{
    int status = -1;
    QByteArray out;
    QByteArray err;
};

class tst_NotesCli : public QObject
{
    Q_OBJECT

    std::unique_ptr<NotesFixture> fixture;

    static Run cli(const QStringList &args)
    {
        QProcess process;
        process.start(QStringLiteral(VELLORAN_CLI), args);
        if (!process.waitForFinished(-1) || process.exitStatus() != QProcess::NormalExit)
            return {};
        return { process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError() };
    }

private slots:
    void init() { fixture = std::make_unique<NotesFixture>(); }

    void cleanup()
    {
        QCOMPARE(fixture->leftovers(), QStringList());
        fixture.reset();
    }

    void listsFoldersSorted()
    {
        fixture->seed(R"({"folders": [{"name": "beta"}, {"name": "  Alpha"}, {"name": "alpha"},
                                      {"name": "Ünïcode — 日本"}]})");
        const Run run = cli({ u"folders"_s });
        QCOMPARE(run.err, QByteArray());
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out, u"Alpha\nalpha\nbeta\nÜnïcode — 日本\n"_s.toUtf8());
    }

    void listsFoldersAsJson()
    {
        fixture->seed("{\"folders\": [{\"name\": \"b \\\"q\\\"\"}, {\"name\": \"A\"}]}");
        const Run run = cli({ u"folders"_s, u"--json"_s });
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out, QByteArray("[\"A\",\"b \\\"q\\\"\"]\n"));
    }

    void noFolders_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<QByteArray>("out");
        QTest::addRow("lines") << QStringList { u"folders"_s } << QByteArray();
        QTest::addRow("JSON") << QStringList { u"folders"_s, u"--json"_s } << QByteArray("[]\n");
    }

    void noFolders()
    {
        QFETCH(QStringList, args);
        QFETCH(QByteArray, out);
        const Run run = cli(args);
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out, out);
        QCOMPARE(run.err, QByteArray());
    }

    // Folders that share a name are listed as the export screen shows them, each usable with --folder.
    void sameNamedFoldersAreListedApart()
    {
        fixture->seed(R"({"folders": [{"name": "Notes"}, {"name": "Work"}],
                          "accounts": [{"name": "On My Mac", "folders": [{"name": "Notes"}]}]})");
        const Run run = cli({ u"folders"_s });
        QCOMPARE(run.status, 0);
        QCOMPARE(QString::fromUtf8(run.out), u"Notes — iCloud\nNotes — On My Mac\nWork\n"_s);
    }

    void failures_data()
    {
        QTest::addColumn<QByteArray>("variable");
        QTest::addColumn<QByteArray>("err");
        QTest::addRow("Automation refused")
            << QByteArray("VELLORAN_FAKE_NOTES_DENY") << (permissionText() + u'\n').toUtf8();
        QTest::addRow("time-out") << QByteArray("VELLORAN_FAKE_NOTES_TIMEOUT")
                                  << QByteArray("Apple Notes error: SCRIPT:85:92: execution error: Notes got an error: "
                                                "AppleEvent timed out. (-1712)\n");
    }

    void failures()
    {
        QFETCH(QByteArray, variable);
        QFETCH(QByteArray, err);
        qputenv(variable.constData(), "1");
        Run run = cli({ u"folders"_s });
        QCOMPARE(run.status, 1);
        QCOMPARE(run.out, QByteArray());
        QCOMPARE(run.err, QByteArray(err).replace("SCRIPT", fixture->lastArgv().value(0).toUtf8()));
        // With --json, the same text is also the "error" of one JSON object on standard output.
        run = cli({ u"folders"_s, u"--json"_s });
        const QByteArray message = QByteArray(err).replace("SCRIPT", fixture->lastArgv().value(0).toUtf8());
        QCOMPARE(run.status, 1);
        QCOMPARE(run.err, message);
        QCOMPARE(run.out, "{\"error\":\"" + message.chopped(1) + "\"}\n");
    }

    void launchFailure()
    {
        const QString program = fixture->path(u"no/such/osascript"_s);
        qputenv("VELLORAN_OSASCRIPT", program.toUtf8());
        QProcess probe;
        probe.start(program, {});
        QVERIFY(!probe.waitForStarted(-1));
        const Run run = cli({ u"folders"_s });
        QCOMPARE(run.status, 1);
        QCOMPARE(run.err, (probe.errorString() + u'\n').toUtf8());
    }
};

QTEST_GUILESS_MAIN(tst_NotesCli)
#include "tst_NotesCli.moc"
