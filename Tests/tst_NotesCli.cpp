// Tests of velloran-cli's Notes commands, folders and doctor, and of the permission check behind doctor,
// run against the Notes stand-in.

#include "NotesAccess_p.h"
#include "NotesFixture.h"

#include <QProcess>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

/// Two accounts: five folders (two of them one level down) and three notes.
const QByteArray library = R"({
    "folders": [{"name": "Notes", "notes": [{"name": "A", "body": "<div>A</div>"}],
                 "folders": [{"name": "Archive"}]}],
    "accounts": [{"name": "On My Mac", "folders": [
        {"name": "Notes", "notes": [{"name": "B", "body": "<div>B</div>"}]},
        {"name": "Work", "folders": [{"name": "Archive", "notes": [{"name": "C", "body": "<div>C</div>"}]}]}]}]
})";

NotesAccess::Check checked()
{
    return QCoro::waitFor(NotesAccess::check());
}

const QString fakeOsascript = QStringLiteral(VELLORAN_FAKE_OSASCRIPT);

const QString refusedOutput = u"Velloran may not control Apple Notes\n"
                              u"No folders or notes could be read.\n"
                              u"\n"
                              u"osascript\n"
                              u"  RUNNER — found\n"
                              u"\n"
                              u"Automation for Notes\n"
                              u"  refused (-1743)\n"
                              u"\n"
                              u"To grant it\n"
                              u"  Open System Settings → Privacy & Security → Automation → Velloran → Notes and "
                              u"switch Notes on.\n"
                              u"  If Velloran is not listed there, have macOS ask again: tccutil reset AppleEvents "
                              u"com.velloran.Velloran\n"
                              u"  Then check again.\n"_s;

} // namespace

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

    // The engine's check

    void checkCountsWhatNotesHolds()
    {
        fixture->seed(library);
        const NotesAccess::Check check = checked();
        QCOMPARE(check.runner, fakeOsascript);
        QVERIFY(check.runnerFound);
        QCOMPARE(check.automation, NotesAccess::Check::Automation::granted);
        QCOMPARE(check.failure, QString());
        QCOMPARE(check.folders, 5);
        QCOMPARE(check.notes, 3);
        QVERIFY(check.ok());
        // One harmless run: the count, nothing that reads names or bodies.
        QCOMPARE(fixture->runs().size(), 1);
        QCOMPARE(fixture->runs().first().value(u"program"_s).toString(), u"count-folders-and-notes"_s);
        QVERIFY(!NotesAccess::outcomeOf(check).hasIssues);
    }

    void checkOfAnEmptyLibrary()
    {
        const NotesAccess::Check check = checked();
        QVERIFY(check.ok());
        QCOMPARE(check.folders, 0);
        QCOMPARE(check.notes, 0);
    }

    void checkSeesTheRefusal()
    {
        qputenv("VELLORAN_FAKE_NOTES_DENY", "1");
        const NotesAccess::Check check = checked();
        QVERIFY(check.runnerFound);
        QCOMPARE(check.automation, NotesAccess::Check::Automation::refused);
        QVERIFY(check.failure.endsWith(u"execution error: Not authorized to send Apple events to Notes. (-1743)"_s));
        QVERIFY(!check.ok());
        QVERIFY(NotesAccess::outcomeOf(check).hasIssues);
    }

    void checkWithoutRunner()
    {
        const QString runner = fixture->path(u"no/such/osascript"_s);
        qputenv("VELLORAN_OSASCRIPT", runner.toUtf8());
        const NotesAccess::Check check = checked();
        QCOMPARE(check.runner, runner);
        QVERIFY(!check.runnerFound);
        QCOMPARE(check.automation, NotesAccess::Check::Automation::unknown);
        QCOMPARE(check.failure, QString());
        QVERIFY(fixture->runs().isEmpty());
    }

    // A file that is there but cannot be run is found, and says why it cannot be started.
    void checkWithRunnerThatCannotStart()
    {
        const QString runner = fixture->writeFile(u"osascript"_s, "not a program");
        qputenv("VELLORAN_OSASCRIPT", runner.toUtf8());
        QProcess probe;
        probe.start(runner, {});
        QVERIFY(!probe.waitForStarted(-1));
        const NotesAccess::Check check = checked();
        QVERIFY(!check.runnerFound);
        QCOMPARE(check.failure, probe.errorString());
        QCOMPARE(NotesAccess::outcomeOf(check).sections.first().entries,
            QStringList { runner + u" — could not be started: "_s + probe.errorString() });
    }

    void runnerOnThePath()
    {
        QVERIFY(NotesAccess::findRunner(u"sh"_s).value_or(QString()).endsWith(u"/sh"_s));
        QVERIFY(!NotesAccess::findRunner(u"no-such-program-of-velloran"_s));
        QCOMPARE(NotesAccess::findRunner(fakeOsascript).value_or(QString()), fakeOsascript);
        // A folder is no program.
        QVERIFY(!NotesAccess::findRunner(fixture->path(QString())));
    }

    void parseCounts_data()
    {
        QTest::addColumn<QString>("output");
        QTest::addColumn<qint64>("folders");
        QTest::addColumn<qint64>("notes");
        QTest::addColumn<bool>("valid");
        QTest::addRow("with osascript's line feed") << u"3 12\n"_s << qint64(3) << qint64(12) << true;
        QTest::addRow("zeros") << u"0 0"_s << qint64(0) << qint64(0) << true;
        QTest::addRow("empty") << QString() << qint64(0) << qint64(0) << false;
        QTest::addRow("one number") << u"3"_s << qint64(0) << qint64(0) << false;
        QTest::addRow("two spaces") << u"3  12"_s << qint64(0) << qint64(0) << false;
        QTest::addRow("negative") << u"-3 12"_s << qint64(0) << qint64(0) << false;
        QTest::addRow("words") << u"three twelve"_s << qint64(0) << qint64(0) << false;
    }

    void parseCounts()
    {
        QFETCH(QString, output);
        QFETCH(qint64, folders);
        QFETCH(qint64, notes);
        QFETCH(bool, valid);
        const std::optional<std::pair<qint64, qint64>> counts = NotesAccess::parseCounts(output);
        QCOMPARE(counts.has_value(), valid);
        if (valid)
            QCOMPARE(*counts, std::pair(folders, notes));
    }

    void meanings_data()
    {
        QTest::addColumn<QString>("failure");
        QTest::addColumn<QString>("meaning");
        QTest::addRow("refused")
            << u"/t/x:1:2: execution error: Not authorized to send Apple events to Notes. (-1743)"_s
            << u"Velloran is not allowed to control Notes (-1743)"_s;
        QTest::addRow("consent could not be asked for")
            << u"/t/x:1:2: execution error: Not authorized. (-1744)"_s
            << u"macOS would have to ask you first, and could not ask now (-1744)"_s;
        QTest::addRow("Notes not running") << u"/t/x:1:2: execution error: Notes got an error: Application isn’t "
                                              u"running. (-600)"_s
                                           << u"Apple Notes is not running and could not be started (-600)"_s;
        QTest::addRow("connection lost") << u"execution error: Connection is invalid. (-609)"_s
                                         << u"the connection to Apple Notes was lost (-609)"_s;
        QTest::addRow("time-out") << u"execution error: Notes got an error: AppleEvent timed out. (-1712)"_s
                                  << u"Apple Notes did not answer in time (-1712)"_s;
        QTest::addRow("not compiled") << u"/t/x:5:9: syntax error: Expected end of line. (-2741)"_s
                                      << u"this Apple Notes does not understand the check (-2741)"_s;
        QTest::addRow("other number") << u"execution error: Notes got an error: AppleEvent handler failed. (-10000)"_s
                                      << u"Apple Notes reported an error"_s;
        QTest::addRow("no number") << u"osascript ended with signal 11"_s << u"Apple Notes reported an error"_s;
        QTest::addRow("number not at the end") << u"(-600) and more"_s << u"Apple Notes reported an error"_s;
    }

    void meanings()
    {
        QFETCH(QString, failure);
        QFETCH(QString, meaning);
        QCOMPARE(NotesAccess::meaningOf(failure), meaning);
    }

    void bundleIdentifier() { QCOMPARE(NotesAccess::bundleIdentifier(), u"com.velloran.Velloran"_s); }

    // velloran-cli doctor

    void doctorAllWell()
    {
        fixture->seed(library);
        const Run run = cli({ u"doctor"_s });
        QCOMPARE(run.err, QByteArray());
        QCOMPARE(QString::fromUtf8(run.out),
            u"Velloran can reach Apple Notes\n"
            u"5 folders · 3 notes\n"
            u"\n"
            u"osascript\n"
            u"  %1 — found\n"
            u"\n"
            u"Automation for Notes\n"
            u"  granted\n"_s.arg(fakeOsascript));
        QCOMPARE(run.status, 0);
    }

    void doctorWithoutOsascript()
    {
        const QString runner = fixture->path(u"no/such/osascript"_s);
        qputenv("VELLORAN_OSASCRIPT", runner.toUtf8());
        const Run run = cli({ u"doctor"_s });
        QCOMPARE(run.err, QByteArray());
        QCOMPARE(QString::fromUtf8(run.out),
            u"osascript is missing\n"
            u"No folders or notes could be read.\n"
            u"\n"
            u"osascript\n"
            u"  %1 — not found\n"
            u"\n"
            u"Automation for Notes\n"
            u"  not checked: asking Notes needs osascript\n"
            u"\n"
            u"Velloran asks Apple Notes through osascript, which macOS keeps at /usr/bin/osascript. "
            u"VELLORAN_OSASCRIPT, when set, names the program to use instead.\n"_s.arg(runner));
        QCOMPARE(run.status, 1);
    }

    void doctorAutomationRefused()
    {
        fixture->seed(library);
        qputenv("VELLORAN_FAKE_NOTES_DENY", "1");
        const Run run = cli({ u"doctor"_s });
        QCOMPARE(run.err, QByteArray());
        QCOMPARE(QString::fromUtf8(run.out), QString(refusedOutput).replace(u"RUNNER"_s, fakeOsascript));
        QCOMPARE(run.status, 1);
    }

    // Another failure says what its number means and what osascript said, without the instructions.
    void doctorNotesTimesOut()
    {
        qputenv("VELLORAN_FAKE_NOTES_TIMEOUT", "1");
        const Run run = cli({ u"doctor"_s });
        const QString script = fixture->lastArgv().value(0);
        const qsizetype start = NotesAccess::countProgram.indexOf(u"count of folders");
        QCOMPARE(QString::fromUtf8(run.out),
            u"Apple Notes did not answer\n"
            u"No folders or notes could be read.\n"
            u"\n"
            u"osascript\n"
            u"  %1 — found\n"
            u"\n"
            u"Automation for Notes\n"
            u"  not known: Apple Notes did not answer in time (-1712)\n"
            u"  osascript said: %2:%3:%4: execution error: Notes got an error: AppleEvent timed out. (-1712)\n"_s
                .arg(fakeOsascript, script)
                .arg(start)
                .arg(start + 16));
        QCOMPARE(run.status, 1);
    }

    void doctorInHelp()
    {
        const Run run = cli({ u"--help"_s });
        QCOMPARE(run.status, 0);
        QVERIFY2(run.out.contains("doctor"), run.out.constData());
    }
};

QTEST_GUILESS_MAIN(tst_NotesCli)
#include "tst_NotesCli.moc"
