// Tests of fake-osascript, the stand-in for osascript and Apple Notes: its terminal commands, the five
// programs it knows, its output and error forms, its switches and its library file.

#include "NotesAccess_p.h"
#include "NotesBridge_p.h"
#include "NotesExporter_p.h"
#include "NotesFixture.h"

#include <QProcess>
#include <QSaveFile>
#include <QTest>
#include <QThread>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

struct Run
{
    int status = -1;
    QByteArray out;
    QByteArray err;
};

const QString RS = u"\u001E"_s;
const QString US = u"\u001F"_s;

QString listProgram()
{
    return NotesExporter::folderListProgram.toString() + NotesExporter::stripSepsHandler.toString();
}

QString readProgram()
{
    return NotesExporter::folderReadProgram.toString() + NotesExporter::stripSepsHandler.toString();
}

QString detailsProgram()
{
    return NotesExporter::folderDetailsProgram.toString() + NotesExporter::stripSepsHandler.toString();
}

QString readByIdProgram()
{
    return NotesExporter::folderReadByIdProgram.toString() + NotesExporter::stripSepsHandler.toString();
}

QString readWithDatesProgram()
{
    return NotesExporter::folderReadWithDatesProgram.toString() + NotesExporter::stripSepsHandler.toString();
}

/// Two accounts, each with a top-level "Notes" and an "Archive" one level down.
const QByteArray twoAccounts = R"({
    "folders": [{"name": "Notes", "notes": [{"name": "A", "body": "<div>iCloud</div>"}],
                 "folders": [{"name": "Archive"}]}],
    "accounts": [{"name": "On My Mac", "folders": [
        {"name": "Notes", "notes": [{"name": "B", "body": "<div>on the Mac</div>"}]},
        {"name": "Work", "folders": [{"name": "Archive", "notes": [{"name": "C", "body": "<div>old</div>"}]}]}]}]
})";

QString folderId(const QString &place)
{
    return u"x-coredata://FakeNotes/ICFolder/p"_s + place;
}

} // namespace

class tst_FakeNotes : public QObject
{
    Q_OBJECT

    std::unique_ptr<NotesFixture> fixture;

    /// Runs the stand-in with `args` (and `input` on standard input), in the fixture's environment.
    Run fake(const QStringList &args, const QByteArray &input = {})
    {
        QProcess process;
        process.start(QStringLiteral(VELLORAN_FAKE_OSASCRIPT), args);
        if (!process.waitForStarted(-1))
            return {};
        process.write(input);
        process.closeWriteChannel();
        process.waitForFinished(-1);
        return { process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            process.readAllStandardOutput(), process.readAllStandardError() };
    }

    /// Writes `program` to a script file and runs it with `args`; the script file's path comes back in
    /// `scriptPath`.
    Run script(const QString &program, const QStringList &args, QString *scriptPath = nullptr)
    {
        const QString path = fixture->writeFile(u"script.applescript"_s, program.toUtf8());
        if (scriptPath)
            *scriptPath = path;
        return fake(QStringList { path } + args);
    }

    /// osascript's execution error, as the stand-in prints it for an error raised by `source`.
    static QByteArray executionError(
        const QString &scriptPath, QStringView program, const QString &source, const QString &message)
    {
        const qsizetype start = program.indexOf(source);
        return u"%1:%2:%3: execution error: %4\n"_s.arg(scriptPath)
            .arg(start)
            .arg(start + source.size())
            .arg(message)
            .toUtf8();
    }

    QByteArray printed()
    {
        const Run run = fake({ u"--print"_s });
        return run.status == 0 ? run.out : QByteArray("failed");
    }

private slots:
    void init() { fixture = std::make_unique<NotesFixture>(); }
    void cleanup() { fixture.reset(); }

    // Terminal use

    void help()
    {
        const Run run = fake({ u"--help"_s });
        QCOMPARE(run.status, 0);
        QCOMPARE(run.err, QByteArray());
        QVERIFY(run.out.startsWith("Usage: fake-osascript SCRIPT-FILE [ARGUMENT...]\n"));
        for (const char *line :
            { "  --seed FILE      Check FILE (a library, \"-\" for standard input) and store it as the library.\n",
                "  --sync           Write the changes that scripts made into the library file.\n",
                "  --print          Print the library as JSON. A library file that does not exist is empty.\n",
                "  --library FILE   Use FILE as the library instead of VELLORAN_FAKE_NOTES.\n",
                "  VELLORAN_FAKE_NOTES           The library file (needed to run scripts).\n",
                "  VELLORAN_FAKE_NOTES_DENY      When set (and not 0), Notes refuses Automation:\n",
                "  VELLORAN_FAKE_NOTES_TIMEOUT   When set (and not 0), Notes times out:\n",
                "  VELLORAN_FAKE_NOTES_FAIL_FOLDER\n", "  VELLORAN_FAKE_NOTES_FAIL_NOTE Note names, one per line",
                "  VELLORAN_FAKE_NOTES_DELAY_MS  Milliseconds to wait before answering.\n",
                "  VELLORAN_FAKE_NOTES_LOG       A file to which each run appends one JSON line:\n",
                "  VELLORAN_FAKE_NOTES_OLD_NOTES When set (and not 0), the list folder details and read folder by id\n",
                "  VELLORAN_FAKE_NOTES_NO_DATES  When set (and not 0), only the read folder with dates program fails "
                "to\n",
                "  { \"folders\": [ { \"name\": \"Work\",\n", "    \"accounts\": [ { \"name\": \"On My Mac\",\n" })
            QVERIFY2(run.out.contains(line), line);
        QCOMPARE(fake({ u"-h"_s }).out, run.out);
    }

    void seedAndPrint()
    {
        const QString seed = fixture->writeFile(u"seed.json"_s, R"({"folders": [
            {"name": "Work", "notes": [{"name": "Plan", "body": "<div>Plan</div>", "attachments": ["a.png"]},
                                       {"body": "<div>nameless</div>"}],
             "folders": [{"name": "Old"}]},
            {"name": "Empty"}]})");
        const Run run = fake({ u"--seed"_s, seed });
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out, QByteArray());
        QCOMPARE(run.err, QByteArray());
        const QJsonObject expected = QJsonDocument::fromJson(R"({"folders": [
            {"name": "Work", "notes": [{"name": "Plan", "body": "<div>Plan</div>", "attachments": ["a.png"]},
                                       {"body": "<div>nameless</div>", "attachments": []}],
             "folders": [{"name": "Old", "notes": [], "folders": []}]},
            {"name": "Empty", "notes": [], "folders": []}]})")
                                         .object();
        QCOMPARE(QJsonDocument::fromJson(printed()).object(), expected);
        QCOMPARE(fixture->library(), expected);
        QVERIFY(printed().endsWith("}\n"));
    }

    void seedAndPrintAccounts()
    {
        fixture->seed(R"({"folders": [], "accounts": [{"name": "On My Mac", "folders": [{"name": "N"}]},
                                                      {"name": "Exchange"}]})");
        const QJsonObject expected = QJsonDocument::fromJson(R"({"folders": [], "accounts": [
            {"name": "On My Mac", "folders": [{"name": "N", "notes": [], "folders": []}]},
            {"name": "Exchange", "folders": []}]})")
                                         .object();
        QCOMPARE(QJsonDocument::fromJson(printed()).object(), expected);
        // A library without further accounts prints without the key.
        fixture->seed(R"({"folders": [{"name": "N"}], "accounts": []})");
        QCOMPARE(QJsonDocument::fromJson(printed()).object(),
            QJsonDocument::fromJson(R"({"folders": [{"name": "N", "notes": [], "folders": []}]})").object());
    }

    void seedFromStandardInputWithAnotherLibrary()
    {
        const QString other = fixture->path(u"other.json"_s);
        QCOMPARE(fake({ u"--library"_s, other, u"--seed"_s, u"-"_s }, R"({"folders": [{"name": "X"}]})").status, 0);
        const Run run = fake({ u"--library"_s, other, u"--print"_s });
        QCOMPARE(run.status, 0);
        QCOMPARE(QJsonDocument::fromJson(run.out).object(),
            QJsonDocument::fromJson(R"({"folders": [{"name": "X", "notes": [], "folders": []}]})").object());
        // The library of VELLORAN_FAKE_NOTES is untouched.
        QVERIFY(!QFile::exists(fixture->libraryPath()));
    }

    void printOfAMissingLibraryIsEmpty()
    {
        QCOMPARE(QJsonDocument::fromJson(printed()).object(), QJsonDocument::fromJson(R"({"folders": []})").object());
        QVERIFY(!QFile::exists(fixture->libraryPath()));
    }

    void seedRefusesMalformedLibraries_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<QString>("problem");
        QTest::addRow("not JSON") << QByteArray("{") << u"not valid JSON at offset 1: unterminated object"_s;
        QTest::addRow("not an object") << QByteArray("[]")
                                       << u"the library must be a JSON object with a \"folders\" array"_s;
        QTest::addRow("unknown top-level key")
            << QByteArray(R"({"folder": []})") << u"library: unknown key \"folder\""_s;
        QTest::addRow("folder without a name")
            << QByteArray(R"({"folders": [{"notes": []}]})") << u"folders[0].name: a folder needs a name, a string"_s;
        QTest::addRow("misspelt note key") << QByteArray(R"({"folders": [{"name": "A", "notes": [{"titel": "x"}]}]})")
                                           << u"folders[0].notes[0]: unknown key \"titel\""_s;
        QTest::addRow("nested problem") << QByteArray(
            R"({"folders": [{"name": "A", "folders": [{"name": "B", "notes": [{"body": 3}]}]}]})")
                                        << u"folders[0].folders[0].notes[0].body: must be a string"_s;
        QTest::addRow("account without a name") << QByteArray(R"({"accounts": [{"folders": []}]})")
                                                << u"accounts[0].name: an account needs a name, a string"_s;
        QTest::addRow("account with notes")
            << QByteArray(R"({"accounts": [{"name": "A", "notes": []}]})") << u"accounts[0]: unknown key \"notes\""_s;
        QTest::addRow("problem in an account's folder")
            << QByteArray(R"({"accounts": [{"name": "A", "folders": [{"name": 1}]}]})")
            << u"accounts[0].folders[0].name: a folder needs a name, a string"_s;
        QTest::addRow("attachment not a string")
            << QByteArray(R"({"folders": [{"name": "A", "notes": [{"attachments": [1]}]}]})")
            << u"folders[0].notes[0].attachments: must be an array of strings"_s;
    }

    void seedRefusesMalformedLibraries()
    {
        QFETCH(QByteArray, json);
        QFETCH(QString, problem);
        const QString seed = fixture->writeFile(u"seed.json"_s, json);
        const Run run = fake({ u"--seed"_s, seed });
        QCOMPARE(run.status, 1);
        QCOMPARE(run.err, u"fake-osascript: %1: %2\n"_s.arg(seed, problem).toUtf8());
        QVERIFY(!QFile::exists(fixture->libraryPath()));
    }

    void usageErrors_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<bool>("withLibrary");
        QTest::addColumn<QByteArray>("message");
        QTest::addRow("no arguments") << QStringList() << true
                                      << QByteArray("fake-osascript: a script file is needed: Velloran never passes a "
                                                    "script on standard input (see --help)\n");
        QTest::addRow("-e is not taken") << QStringList { u"-e"_s, u"return 1"_s } << true
                                         << QByteArray("fake-osascript: unknown option or missing value: -e (see "
                                                       "--help)\n");
        QTest::addRow("--seed without a file") << QStringList { u"--seed"_s } << true
                                               << QByteArray("fake-osascript: unknown option or missing value: "
                                                             "--seed (see --help)\n");
        QTest::addRow("no library") << QStringList { u"--print"_s } << false
                                    << QByteArray("fake-osascript: no library: set VELLORAN_FAKE_NOTES or pass "
                                                  "--library FILE\n");
    }

    void usageErrors()
    {
        QFETCH(QStringList, args);
        QFETCH(bool, withLibrary);
        QFETCH(QByteArray, message);
        if (!withLibrary)
            qunsetenv("VELLORAN_FAKE_NOTES");
        const Run run = fake(args);
        QCOMPARE(run.status, 2);
        QCOMPARE(run.out, QByteArray());
        QCOMPARE(run.err, message);
    }

    // Recognising the programs

    void knowsVelloransPrograms_data()
    {
        QTest::addColumn<QString>("program");
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<QString>("logged");
        QTest::addRow("ensure folder") << NotesBridge::ensureFolderProgram.toString() << QStringList { u"A"_s }
                                       << u"ensure-folder"_s;
        QTest::addRow("ensure subfolder") << NotesBridge::ensureSubfolderProgram.toString()
                                          << QStringList { u"A"_s, u"B"_s } << u"ensure-subfolder"_s;
        QTest::addRow("create note") << NotesBridge::createNoteProgram.toString()
                                     << QStringList { u"A"_s, QString(), u"N"_s, u"BODY"_s } << u"create-note"_s;
        QTest::addRow("list folders") << listProgram() << QStringList() << u"list-folders"_s;
        QTest::addRow("read folder") << readProgram() << QStringList { u"A"_s } << u"read-folder"_s;
        QTest::addRow("list folder details") << detailsProgram() << QStringList() << u"list-folder-details"_s;
        QTest::addRow("read folder by id")
            << readByIdProgram() << QStringList { folderId(u"0-1"_s) } << u"read-folder-by-id"_s;
        QTest::addRow("read folder with dates")
            << readWithDatesProgram() << QStringList { folderId(u"0-1"_s) } << u"read-folder-with-dates"_s;
        QTest::addRow("count folders and notes")
            << NotesAccess::countProgram.toString() << QStringList() << u"count-folders-and-notes"_s;
    }

    void knowsVelloransPrograms()
    {
        QFETCH(QString, program);
        QFETCH(QStringList, args);
        QFETCH(QString, logged);
        fixture->seed(R"({"folders": [{"name": "A"}]})");
        args.replaceInStrings(u"BODY"_s, fixture->writeFile(u"body.html"_s, "<div>b</div>"));
        QString path;
        const Run run = script(program, args, &path);
        QCOMPARE(run.err, QByteArray());
        QCOMPARE(run.status, 0);
        QCOMPARE(fixture->runs().size(), 1);
        QCOMPARE(fixture->runs().first().value(u"program"_s).toString(), logged);
        QCOMPARE(fixture->lastArgv(), QStringList { path } + args);
    }

    void refusesAnyOtherScript_data()
    {
        QTest::addColumn<QString>("program");
        const QString ensureFolder = NotesBridge::ensureFolderProgram.toString();
        const QString ensureSubfolder = NotesBridge::ensureSubfolderProgram.toString();
        const QString createNote = NotesBridge::createNoteProgram.toString();
        QTest::addRow("some other script") << u"display dialog \"hi\""_s;
        QTest::addRow("empty") << QString();
        QTest::addRow("ensure folder with a line feed at the end") << ensureFolder + u'\n';
        QTest::addRow("ensure subfolder with a tab for spaces")
            << QString(ensureSubfolder).replace(u"    set rootName"_s, u"\tset rootName"_s);
        QTest::addRow("create note with ASCII guillemets")
            << QString(createNote).replace(u"«class utf8»"_s, u"<<class utf8>>"_s);
        QTest::addRow("create note with its comment translated")
            << QString(createNote).replace(u"-- Idempotencia: no duplicar"_s, u"-- Idempotence: do not duplicate"_s);
        QTest::addRow("list folders without the handler") << NotesExporter::folderListProgram.toString();
        QTest::addRow("list folders with a visible separator") << QString(listProgram()).replace(QChar(0x1E), u'|');
        QTest::addRow("read folder with a hyphen for the dash")
            << QString(readProgram()).replace(u"body — \""_s, u"body - \""_s);
        QTest::addRow("read folder with the handler's line feed") << readProgram() + u'\n';
        QTest::addRow("read folder with CRLF line ends") << QString(readProgram()).replace(u"\n"_s, u"\r\n"_s);
        QTest::addRow("folder details without the handler") << NotesExporter::folderDetailsProgram.toString();
        QTest::addRow("read by id with a visible separator") << QString(readByIdProgram()).replace(QChar(0x1F), u'|');
    }

    void refusesAnyOtherScript()
    {
        QFETCH(QString, program);
        QString path;
        const Run run = script(program, { u"A"_s }, &path);
        QCOMPARE(run.status, 1);
        QCOMPARE(run.out, QByteArray());
        QCOMPARE(run.err,
            u"%1:0:0: syntax error: fake-osascript runs only Velloran’s own programs, and this script is "
            u"none of them. (-2741)\n"_s.arg(path)
                .toUtf8());
        QCOMPARE(fixture->runs().size(), 1);
        QVERIFY(fixture->runs().first().value(u"program"_s).isNull());
        QVERIFY(!QFile::exists(fixture->libraryPath()));
    }

    void refusesAScriptThatIsNotUtf8()
    {
        const QString path
            = fixture->writeFile(u"latin1.applescript"_s, NotesBridge::createNoteProgram.toString().toLatin1());
        const Run run = fake({ path, u"A"_s, QString(), u"N"_s, u"/x"_s });
        QCOMPARE(run.status, 1);
        QVERIFY(run.err.contains(": syntax error: "));
    }

    void missingScriptFile()
    {
        const QString path = fixture->path(u"gone.applescript"_s);
        const Run run = fake({ path });
        QCOMPARE(run.status, 1);
        QCOMPARE(run.err, u"fake-osascript: %1: No such file or directory\n"_s.arg(path).toUtf8());
    }

    // Output

    void folderListOutput()
    {
        fixture->seed(R"({"folders": [{"name": "Root", "folders": [{"name": "Sub\u001eA"}, {"name": "Sub B"}]},
                                      {"name": "  Spaced "}, {"name": "Root"}]})");
        const Run run = script(listProgram(), {});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out,
            (u"Root"_s + RS + u"SubA"_s + RS + u"Sub B"_s + RS + u"  Spaced "_s + RS + u"Root"_s + RS + u'\n')
                .toUtf8());
    }

    void folderListOfAnEmptyLibrary()
    {
        const Run run = script(listProgram(), {});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out, QByteArray("\n"));
    }

    void folderReadOutput()
    {
        QJsonArray notes;
        notes.append(QJsonObject { { u"name"_s, u"One\u001F"_s }, { u"body"_s, u"<div>1\u001F\u001E</div>"_s } });
        notes.append(QJsonObject { { u"body"_s, u"<div>2</div>"_s } });
        const QJsonObject sub { { u"name"_s, u"Deep\u001E"_s }, { u"notes"_s, notes } };
        const QJsonObject root { { u"name"_s, u"Root"_s }, { u"folders"_s, QJsonArray { sub } } };
        fixture->seed(QJsonDocument(QJsonObject { { u"folders"_s, QJsonArray { root } } }).toJson());

        // A subfolder is found by its name alone; names lose their separators, bodies keep them.
        const Run run = script(readProgram(), { u"Deep\u001E"_s });
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out,
            (u"Deep"_s + US + u"One"_s + US + u"<div>1\u001F\u001E</div>"_s + RS + u"Deep"_s + US + u"(untitled)"_s + US
                + u"<div>2</div>"_s + RS + u'\n')
                .toUtf8());
        QCOMPARE(script(readProgram(), { u"Root"_s }).out, QByteArray("\n"));
        QCOMPARE(script(readProgram(), { u"Nowhere"_s }).out, QByteArray("\n"));
    }

    void folderDetailsOutput()
    {
        fixture->seed(twoAccounts);
        const Run run = script(detailsProgram(), {});
        QCOMPARE(run.err, QByteArray());
        QCOMPARE(run.status, 0);
        // Id, name, account, parent; every folder of every account, each before its subfolders.
        const QString expected = folderId(u"0-1"_s) + US + u"Notes"_s + US + u"iCloud"_s + US + RS
            + folderId(u"0-1-1"_s) + US + u"Archive"_s + US + u"iCloud"_s + US + u"Notes"_s + RS + folderId(u"1-1"_s)
            + US + u"Notes"_s + US + u"On My Mac"_s + US + RS + folderId(u"1-2"_s) + US + u"Work"_s + US
            + u"On My Mac"_s + US + RS + folderId(u"1-2-1"_s) + US + u"Archive"_s + US + u"On My Mac"_s + US + u"Work"_s
            + RS + u'\n';
        QCOMPARE(run.out, expected.toUtf8());
        QCOMPARE(script(detailsProgram(), {}).out, run.out);

        // Names lose their separators; an empty library lists nothing.
        fixture->seed(R"({"folders": [{"name": "A\u001e", "folders": [{"name": "\u001fB"}]}]})");
        QCOMPARE(script(detailsProgram(), {}).out,
            (folderId(u"0-1"_s) + US + u"A"_s + US + u"iCloud"_s + US + RS + folderId(u"0-1-1"_s) + US + u"B"_s + US
                + u"iCloud"_s + US + u"A"_s + RS + u'\n')
                .toUtf8());
        fixture->seed("{}");
        QCOMPARE(script(detailsProgram(), {}).out, QByteArray("\n"));
    }

    void readFolderByIdOutput()
    {
        fixture->seed(twoAccounts);
        // The second "Notes", which the plain read program cannot reach: it reads the first.
        Run run = script(readByIdProgram(), { folderId(u"1-1"_s) });
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out, (u"Notes"_s + US + u"B"_s + US + u"<div>on the Mac</div>"_s + RS + u'\n').toUtf8());
        QCOMPARE(script(readProgram(), { u"Notes"_s }).out,
            (u"Notes"_s + US + u"A"_s + US + u"<div>iCloud</div>"_s + RS + u'\n').toUtf8());
        QCOMPARE(script(readByIdProgram(), { folderId(u"1-2-1"_s) }).out,
            (u"Archive"_s + US + u"C"_s + US + u"<div>old</div>"_s + RS + u'\n').toUtf8());
        QCOMPARE(script(readByIdProgram(), { folderId(u"0-1-1"_s) }).out, QByteArray("\n"));

        // Bodies lose their separators too.
        fixture->seed(R"({"folders": [{"name": "R", "notes": [{"name": "N\u001e", "body": "<div>1\u001f\u001e2</div>"},
                                                               {"body": "x"}]}]})");
        QCOMPARE(script(readByIdProgram(), { folderId(u"0-1"_s) }).out,
            (u"R"_s + US + u"N"_s + US + u"<div>12</div>"_s + RS + u"R"_s + US + u"(untitled)"_s + US + u"x"_s + RS
                + u'\n')
                .toUtf8());

        // A folder that is not there is an error.
        QString path;
        run = script(readByIdProgram(), { folderId(u"0-9"_s) }, &path);
        QCOMPARE(run.status, 1);
        QCOMPARE(run.out, QByteArray());
        QCOMPARE(run.err,
            executionError(path, readByIdProgram(), u"folder id fId"_s,
                u"Notes got an error: Can’t get folder id \"x-coredata://FakeNotes/ICFolder/p0-9\". (-1728)"_s));
    }

    void readFolderByIdSwitches()
    {
        fixture->seed(twoAccounts);
        QString path;
        qputenv("VELLORAN_FAKE_NOTES_FAIL_FOLDER", "Work\nNotes");
        Run run = script(readByIdProgram(), { folderId(u"1-1"_s) }, &path);
        QCOMPARE(run.status, 1);
        QCOMPARE(run.err,
            executionError(path, readByIdProgram(), u"folder id fId"_s,
                u"Notes got an error: AppleEvent handler failed. (-10000)"_s));
        QCOMPARE(script(readByIdProgram(), { folderId(u"1-2-1"_s) }).status, 0);
        qunsetenv("VELLORAN_FAKE_NOTES_FAIL_FOLDER");

        qputenv("VELLORAN_FAKE_NOTES_FAIL_NOTE", "B");
        QCOMPARE(script(readByIdProgram(), { folderId(u"1-1"_s) }).out,
            (u"Notes"_s + US + u"B"_s + US
                + u"<div>[Velloran: could not read this note's body — Notes got an error: AppleEvent handler "
                  u"failed.]</div>"_s
                + RS + u'\n')
                .toUtf8());
        qunsetenv("VELLORAN_FAKE_NOTES_FAIL_NOTE");

        qputenv("VELLORAN_FAKE_NOTES_DENY", "1");
        run = script(detailsProgram(), {}, &path);
        QCOMPARE(run.status, 1);
        QCOMPARE(run.err,
            executionError(
                path, detailsProgram(), u"folders"_s, u"Not authorized to send Apple events to Notes. (-1743)"_s));
    }

    void notesHaveIdsAndDates()
    {
        fixture->seed(R"({"folders": [{"name": "F", "notes": [
            {"name": "A", "body": "<div>a</div>"},
            {"name": "B", "body": "<div>b</div>", "id": "own-id", "created": "2024-03-01T09:30:00",
             "modified": "2024-03-05T18:02:11"}]},
            {"name": "G", "notes": [{"name": "C", "body": "<div>c</div>", "modified": "2025-12-31T23:59:59"}]}]})");
        const QByteArray folderF
            = (u"F"_s + US + u"A"_s + US + u"x-coredata://FakeNotes/ICNote/p1"_s + US + u"2024-01-01T09:00:00"_s + US
                + u"2024-01-02T10:30:00"_s + US + u"<div>a</div>"_s + RS + u"F"_s + US + u"B"_s + US + u"own-id"_s + US
                + u"2024-03-01T09:30:00"_s + US + u"2024-03-05T18:02:11"_s + US + u"<div>b</div>"_s + RS + u'\n')
                  .toUtf8();
        QCOMPARE(script(readWithDatesProgram(), { folderId(u"0-1"_s) }).out, folderF);
        QCOMPARE(script(readWithDatesProgram(), { folderId(u"0-2"_s) }).out,
            (u"G"_s + US + u"C"_s + US + u"x-coredata://FakeNotes/ICNote/p3"_s + US + u"2024-01-01T09:00:00"_s + US
                + u"2025-12-31T23:59:59"_s + US + u"<div>c</div>"_s + RS + u'\n')
                .toUtf8());

        // A note made by a script takes the next id, and every id stays as it was across runs and --sync;
        // only what the library gave is written back into the file.
        const QString body = fixture->writeFile(u"body.html"_s, "<div>d</div>");
        QCOMPARE(script(NotesBridge::createNoteProgram.toString(), { u"F"_s, QString(), u"D"_s, body }).out,
            QByteArray("created\n"));
        QCOMPARE(fake({ u"--sync"_s }).status, 0);
        const QByteArray afterSync = script(readWithDatesProgram(), { folderId(u"0-1"_s) }).out;
        QVERIFY(afterSync.startsWith(folderF.chopped(1)));
        QVERIFY(afterSync.contains((US + u"x-coredata://FakeNotes/ICNote/p4"_s + US).toUtf8()));
        const QJsonArray notes = fixture->folders().at(0).toObject().value(u"notes"_s).toArray();
        QCOMPARE(notes.at(0).toObject().keys(), QStringList({ u"attachments"_s, u"body"_s, u"name"_s }));
        QCOMPARE(notes.at(1).toObject().value(u"id"_s).toString(), u"own-id"_s);
        QCOMPARE(notes.at(1).toObject().value(u"modified"_s).toString(), u"2024-03-05T18:02:11"_s);
        QCOMPARE(notes.at(2).toObject().keys(), QStringList({ u"attachments"_s, u"body"_s, u"name"_s }));
    }

    void malformedDatesAreRefused()
    {
        const QString seed = fixture->writeFile(
            u"seed.json"_s, R"({"folders": [{"name": "F", "notes": [{"name": "A", "created": "1 March 2024"}]}]})");
        const Run run = fake({ u"--seed"_s, seed });
        QCOMPARE(run.status, 1);
        QVERIFY2(run.err.contains("folders[0].notes[0].created: must be a date and time like \"2024-03-01T09:30:00\""),
            run.err.constData());
    }

    void aNotesWithoutDatesCompilesTheOtherPrograms()
    {
        fixture->seed(twoAccounts);
        qputenv("VELLORAN_FAKE_NOTES_NO_DATES", "1");
        QString path;
        const Run run = script(readWithDatesProgram(), { folderId(u"0-1"_s) }, &path);
        QCOMPARE(run.status, 1);
        const qsizetype start = readWithDatesProgram().indexOf(u"«class isot»"_s);
        QCOMPARE(run.err,
            u"%1:%2:%3: syntax error: Expected end of line, etc. but found identifier. (-2741)\n"_s.arg(path)
                .arg(start)
                .arg(start + 12)
                .toUtf8());
        QCOMPARE(script(readByIdProgram(), { folderId(u"0-1"_s) }).status, 0);
        QCOMPARE(script(detailsProgram(), {}).status, 0);
        qunsetenv("VELLORAN_FAKE_NOTES_NO_DATES");
        qputenv("VELLORAN_FAKE_NOTES_OLD_NOTES", "1");
        QCOMPARE(script(readWithDatesProgram(), { folderId(u"0-1"_s) }).status, 1);
        qunsetenv("VELLORAN_FAKE_NOTES_OLD_NOTES");
    }

    // Every folder of every account at any depth, and every note; a refusal like every other program's.
    void countsFoldersAndNotes()
    {
        const QString program = NotesAccess::countProgram.toString();
        QCOMPARE(script(program, {}).out, QByteArray("0 0\n"));
        fixture->seed(twoAccounts);
        Run run = script(program, {});
        QCOMPARE(run.err, QByteArray());
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out, QByteArray("5 3\n"));

        qputenv("VELLORAN_FAKE_NOTES_DENY", "1");
        QString path;
        run = script(program, {}, &path);
        QCOMPARE(run.status, 1);
        QCOMPARE(run.out, QByteArray());
        QCOMPARE(run.err,
            executionError(
                path, program, u"count of folders"_s, u"Not authorized to send Apple events to Notes. (-1743)"_s));
    }

    void olderNotesCompilesOnlyThePlainPrograms()
    {
        fixture->seed(twoAccounts);
        qputenv("VELLORAN_FAKE_NOTES_OLD_NOTES", "1");
        QString path;
        Run run = script(detailsProgram(), {}, &path);
        QCOMPARE(run.status, 1);
        QCOMPARE(run.out, QByteArray());
        qsizetype start = detailsProgram().indexOf(u"container"_s);
        QCOMPARE(run.err,
            u"%1:%2:%3: syntax error: Expected end of line, etc. but found identifier. (-2741)\n"_s.arg(path)
                .arg(start)
                .arg(start + 9)
                .toUtf8());
        run = script(readByIdProgram(), { folderId(u"1-1"_s) }, &path);
        QCOMPARE(run.status, 1);
        start = readByIdProgram().indexOf(u"id fId"_s);
        QCOMPARE(run.err,
            u"%1:%2:%3: syntax error: Expected end of line, etc. but found identifier. (-2741)\n"_s.arg(path)
                .arg(start)
                .arg(start + 6)
                .toUtf8());
        // The plain programs run as ever.
        QCOMPARE(script(listProgram(), {}).out,
            (u"Notes"_s + RS + u"Archive"_s + RS + u"Notes"_s + RS + u"Work"_s + RS + u"Archive"_s + RS + u'\n')
                .toUtf8());
        QCOMPARE(script(readProgram(), { u"Notes"_s }).status, 0);
        qputenv("VELLORAN_FAKE_NOTES_OLD_NOTES", "0");
        QCOMPARE(script(detailsProgram(), {}).status, 0);
        qunsetenv("VELLORAN_FAKE_NOTES_OLD_NOTES");
    }

    void storedBodies_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("html");
        QTest::addColumn<QString>("stored");
        QTest::addRow("name first") << u"Title"_s << u"<div>x</div>"_s << u"<div>Title</div><div>x</div>"_s;
        QTest::addRow("name escaped") << u"A & <B>"_s << QString() << u"<div>A &amp; &lt;B&gt;</div>"_s;
        QTest::addRow("h1") << u"T"_s << u"<h1>Big</h1>"_s
                            << u"<div>T</div><div><b><span style=\"font-size: 24px\">Big</span></b></div>"_s;
        QTest::addRow("h2 with attributes")
            << u"T"_s << u"<H2 class=\"x\">Mid</H2>"_s
            << u"<div>T</div><div><b><span style=\"font-size: 18px\">Mid</span></b></div>"_s;
        QTest::addRow("h3") << u"T"_s << u"<h3>Small</h3>"_s << u"<div>T</div><div><b>Small</b></div>"_s;
        QTest::addRow("h4 as it was") << u"T"_s << u"<h4>x</h4>"_s << u"<div>T</div><h4>x</h4>"_s;
        QTest::addRow("data images dropped")
            << u"T"_s << u"<div>a<img src=\"data:image/png;base64,AA==\">b<IMG alt='x' SRC='DATA:image/gif;,'>c</div>"_s
            << u"<div>T</div><div>abc</div>"_s;
        QTest::addRow("unquoted data source dropped") << u"T"_s << u"<img src = data:x>"_s << u"<div>T</div>"_s;
        QTest::addRow("file images kept") << u"T"_s << u"<img src=\"photo.png\"><img data-src=\"data:x\">"_s
                                          << u"<div>T</div><img src=\"photo.png\"><img data-src=\"data:x\">"_s;
        QTest::addRow("unclosed tag kept") << u"T"_s << u"a < b"_s << u"<div>T</div>a < b"_s;
        QTest::addRow("Markdown renderer's headings as they are")
            << u"T"_s << u"<div><b><span style=\"font-size:20px\">H</span></b></div>"_s
            << u"<div>T</div><div><b><span style=\"font-size:20px\">H</span></b></div>"_s;
    }

    void storedBodies()
    {
        QFETCH(QString, name);
        QFETCH(QString, html);
        QFETCH(QString, stored);
        fixture->seed(R"({"folders": [{"name": "F"}]})");
        const QString body = fixture->writeFile(u"body.html"_s, html.toUtf8());
        const Run run = script(NotesBridge::createNoteProgram.toString(), { u"F"_s, QString(), name, body });
        QCOMPARE(run.err, QByteArray());
        QCOMPARE(run.out, QByteArray("created\n"));
        QCOMPARE(script(readProgram(), { u"F"_s }).out, (u"F"_s + US + name + US + stored + RS + u'\n').toUtf8());
    }

    // Errors and switches

    void executionErrors_data()
    {
        QTest::addColumn<int>("which");
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("message");
        QTest::addRow("missing root") << 1 << QStringList { u"Nope \"x\""_s, u"S"_s } << u"folder rootName"_s
                                      << u"Notes got an error: Can’t get folder \"Nope \\\"x\\\"\". (-1728)"_s;
        QTest::addRow("missing subfolder")
            << 2 << QStringList { u"F"_s, u"S"_s, u"N"_s, u"BODY"_s } << u"folder subName of (folder rootName)"_s
            << u"Notes got an error: Can’t get folder \"S\" of folder \"F\". (-1728)"_s;
        QTest::addRow("missing argument")
            << 3 << QStringList() << u"item 1 of argv"_s << u"Can’t get item 1 of {}. (-1728)"_s;
        QTest::addRow("too few arguments") << 2 << QStringList { u"F"_s, QString(), u"N\\"_s } << u"item 4 of argv"_s
                                           << u"Can’t get item 4 of {\"F\", \"\", \"N\\\\\"}. (-1728)"_s;
    }

    void executionErrors()
    {
        QFETCH(int, which);
        QFETCH(QStringList, args);
        QFETCH(QString, source);
        QFETCH(QString, message);
        fixture->seed(R"({"folders": [{"name": "F"}]})");
        args.replaceInStrings(u"BODY"_s, fixture->writeFile(u"body.html"_s, "x"));
        const QString program = which == 1 ? NotesBridge::ensureSubfolderProgram.toString()
            : which == 2                   ? NotesBridge::createNoteProgram.toString()
                                           : readProgram();
        QString path;
        const Run run = script(program, args, &path);
        QCOMPARE(run.status, 1);
        QCOMPARE(run.out, QByteArray());
        QCOMPARE(run.err, executionError(path, program, source, message));
        QCOMPARE(fixture->library(), QJsonDocument::fromJson(R"({"folders": [{"name": "F"}]})").object());
    }

    void switches_data()
    {
        QTest::addColumn<QByteArray>("variable");
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<int>("which");
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("message");
        QTest::addRow("Automation refused, list")
            << QByteArray("VELLORAN_FAKE_NOTES_DENY") << QByteArray("1") << 0 << u"folders"_s
            << u"Not authorized to send Apple events to Notes. (-1743)"_s;
        QTest::addRow("Automation refused, create")
            << QByteArray("VELLORAN_FAKE_NOTES_DENY") << QByteArray("yes") << 2 << u"folder rootName"_s
            << u"Not authorized to send Apple events to Notes. (-1743)"_s;
        QTest::addRow("time-out, read") << QByteArray("VELLORAN_FAKE_NOTES_TIMEOUT") << QByteArray("1") << 3
                                        << u"exists folder fName"_s
                                        << u"Notes got an error: AppleEvent timed out. (-1712)"_s;
        QTest::addRow("failing folder, ensure")
            << QByteArray("VELLORAN_FAKE_NOTES_FAIL_FOLDER") << QByteArray("Other\nF") << 1
            << u"exists folder (item 1 of argv)"_s << u"Notes got an error: AppleEvent handler failed. (-10000)"_s;
        QTest::addRow("failing folder, read")
            << QByteArray("VELLORAN_FAKE_NOTES_FAIL_FOLDER") << QByteArray("F") << 3 << u"exists folder fName"_s
            << u"Notes got an error: AppleEvent handler failed. (-10000)"_s;
        QTest::addRow("failing note, create")
            << QByteArray("VELLORAN_FAKE_NOTES_FAIL_NOTE") << QByteArray("N") << 2
            << u"make new note at targetFolder with properties {name:noteName, body:bodyHTML}"_s
            << u"Notes got an error: AppleEvent handler failed. (-10000)"_s;
    }

    void switches()
    {
        QFETCH(QByteArray, variable);
        QFETCH(QByteArray, value);
        QFETCH(int, which);
        QFETCH(QString, source);
        QFETCH(QString, message);
        const QByteArray seeded = R"({"folders": [{"name": "F", "notes": [{"name": "x", "body": "b"}]}]})";
        fixture->seed(seeded);
        qputenv(variable.constData(), value);
        const QString body = fixture->writeFile(u"body.html"_s, "x");
        const QString program = which == 0 ? listProgram()
            : which == 1                   ? NotesBridge::ensureFolderProgram.toString()
            : which == 2                   ? NotesBridge::createNoteProgram.toString()
                                           : readProgram();
        const QStringList args = which == 0 ? QStringList()
            : which == 2                    ? QStringList { u"F"_s, QString(), u"N"_s, body }
                                            : QStringList { u"F"_s };
        QString path;
        const Run run = script(program, args, &path);
        QCOMPARE(run.status, 1);
        QCOMPARE(run.out, QByteArray());
        QCOMPARE(run.err, executionError(path, program, source, message));
        QCOMPARE(fixture->library(), QJsonDocument::fromJson(seeded).object());

        // Switched off again, the same run succeeds.
        qputenv(variable.constData(), "0");
        if (variable != "VELLORAN_FAKE_NOTES_DENY" && variable != "VELLORAN_FAKE_NOTES_TIMEOUT")
            qputenv(variable.constData(), "");
        QCOMPARE(script(program, args).status, 0);
    }

    void failingNoteReadsAsAnError()
    {
        fixture->seed(
            R"({"folders": [{"name": "F", "notes": [{"name": "a", "body": "A"}, {"name": "b", "body": "B"}]}]})");
        qputenv("VELLORAN_FAKE_NOTES_FAIL_NOTE", "b");
        const Run run = script(readProgram(), { u"F"_s });
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out,
            (u"F"_s + US + u"a"_s + US + u"A"_s + RS + u"F"_s + US + u"b"_s + US
                + u"<div>[Velloran: could not read this note's body — Notes got an error: AppleEvent "
                  u"handler failed.]</div>"_s
                + RS + u'\n')
                .toUtf8());
    }

    void delayStillAnswers()
    {
        fixture->seed(R"({"folders": [{"name": "F"}]})");
        qputenv("VELLORAN_FAKE_NOTES_DELAY_MS", "20");
        const Run run = script(listProgram(), {});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out, (u"F"_s + RS + u'\n').toUtf8());
    }

    // The library file

    void corruptLibrary()
    {
        fixture->seed("{\"folders\": 3}");
        const Run run = script(listProgram(), {});
        QCOMPARE(run.status, 1);
        QCOMPARE(run.err, u"fake-osascript: %1: folders: must be an array\n"_s.arg(fixture->libraryPath()).toUtf8());
    }

    void libraryIsWrittenWholeAndOnlyOnChange()
    {
        const QString ensure = NotesBridge::ensureFolderProgram.toString();
        QCOMPARE(script(ensure, { u"A"_s }).status, 0);
        const QDateTime written = QFileInfo(fixture->libraryPath()).lastModified();
        const QByteArray first = printed();
        QCOMPARE(script(ensure, { u"A"_s }).status, 0);
        QCOMPARE(script(listProgram(), {}).status, 0);
        QCOMPARE(printed(), first);
        QCOMPARE(QFileInfo(fixture->libraryPath()).lastModified(), written);
        // Nothing but the library, its lock and the test's own files: no half-written copies.
        const QStringList entries = QDir(fixture->path(QString())).entryList(QDir::Files | QDir::Hidden);
        for (const QString &entry : entries)
            QVERIFY2(entry == u"library.json" || entry == u"library.json.lock" || entry == u"runs.jsonl"
                    || entry == u"script.applescript",
                qPrintable(entry));
    }

    void concurrentRunsLoseNothing()
    {
        fixture->seed(R"({"folders": [{"name": "F"}]})");
        const QString body = fixture->writeFile(u"body.html"_s, "x");
        const QString program
            = fixture->writeFile(u"create.applescript"_s, NotesBridge::createNoteProgram.toString().toUtf8());
        QList<QProcess *> processes;
        for (int i = 0; i < 12; ++i) {
            auto *process = new QProcess(this);
            process->start(
                QStringLiteral(VELLORAN_FAKE_OSASCRIPT), { program, u"F"_s, QString(), u"note %1"_s.arg(i), body });
            processes.append(process);
        }
        for (QProcess *process : std::as_const(processes)) {
            QVERIFY(process->waitForFinished(-1));
            QCOMPARE(process->readAllStandardOutput(), QByteArray("created\n"));
            delete process;
        }
        QSet<QString> names;
        for (const QJsonValue note : fixture->folders()[0].toObject().value(u"notes"_s).toArray())
            names.insert(note.toObject().value(u"name"_s).toString());
        QCOMPARE(names.size(), 12);
    }

    // The store beside the library file

    void syncWritesOnlyWhatScriptsChanged()
    {
        const QByteArray seeded = R"({"folders": [{"name": "F"}]})";
        fixture->seed(seeded);
        QCOMPARE(script(listProgram(), {}).out, (u"F"_s + RS + u'\n').toUtf8());
        // Nothing changed: the file stays as it was written.
        Run run = fake({ u"--sync"_s });
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out, QByteArray());
        QCOMPARE(run.err, QByteArray());
        QCOMPARE(QFile(fixture->libraryPath()).size(), qint64(seeded.size()));

        // A change stays in the store until --sync writes it.
        const QString body = fixture->writeFile(u"body.html"_s, "<div>b</div>");
        QCOMPARE(script(NotesBridge::createNoteProgram.toString(), { u"F"_s, QString(), u"N"_s, body }).out,
            QByteArray("created\n"));
        QCOMPARE(QFile(fixture->libraryPath()).size(), qint64(seeded.size()));
        QCOMPARE(fake({ u"--sync"_s }).status, 0);
        QFile file(fixture->libraryPath());
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray written = file.readAll();
        QCOMPARE(written, printed());
        QCOMPARE(QJsonDocument::fromJson(written).object(),
            QJsonDocument::fromJson(R"({"folders": [{"name": "F",
            "notes": [{"name": "N", "body": "<div>N</div><div>b</div>", "attachments": []}], "folders": []}]})")
                .object());
    }

    void aChangedFileReplacesTheStoredLibrary()
    {
        fixture->seed(R"({"folders": [{"name": "A"}]})");
        QCOMPARE(script(listProgram(), {}).out, (u"A"_s + RS + u'\n').toUtf8());
        QCOMPARE(script(NotesBridge::ensureFolderProgram.toString(), { u"C"_s }).status, 0);
        // Rewritten in place at once, to the same size: only its contents tell.
        fixture->seed(R"({"folders": [{"name": "B"}]})");
        QCOMPARE(script(listProgram(), {}).out, (u"B"_s + RS + u'\n').toUtf8());
        // Replaced by another file, as an editor saves it.
        QSaveFile replacement(fixture->libraryPath());
        QVERIFY(replacement.open(QIODevice::WriteOnly));
        replacement.write(R"({"folders": [{"name": "D"}]})");
        QVERIFY(replacement.commit());
        QCOMPARE(script(listProgram(), {}).out, (u"D"_s + RS + u'\n').toUtf8());
        // Removed: an empty library.
        QVERIFY(QFile::remove(fixture->libraryPath()));
        QCOMPARE(script(listProgram(), {}).out, QByteArray("\n"));
    }

    void aLibraryWithoutAFileGetsOneAtItsFirstChange()
    {
        QCOMPARE(script(NotesBridge::ensureFolderProgram.toString(), { u"A"_s }).status, 0);
        QCOMPARE(fixture->library(),
            QJsonDocument::fromJson(R"({"folders": [{"name": "A", "notes": [], "folders": []}]})").object());
        // So that removing it empties the library again.
        QVERIFY(QFile::remove(fixture->libraryPath()));
        QCOMPARE(script(listProgram(), {}).out, QByteArray("\n"));
    }

    void readingNothingLeavesNothing()
    {
        QCOMPARE(script(listProgram(), {}).out, QByteArray("\n"));
        QCOMPARE(fake({ u"--sync"_s }).status, 0);
        QCOMPARE(QJsonDocument::fromJson(printed()).object(), QJsonDocument::fromJson(R"({"folders": []})").object());
        QVERIFY(!QFile::exists(fixture->libraryPath()));
        QVERIFY(!QFileInfo::exists(fixture->libraryPath() + u".store"_s));
    }

    void aRemovedStoreIsRebuiltFromTheFile()
    {
        fixture->seed(R"({"folders": [{"name": "A"}]})");
        QCOMPARE(script(NotesBridge::ensureFolderProgram.toString(), { u"B"_s }).status, 0);
        QCOMPARE(fake({ u"--sync"_s }).status, 0);
        QVERIFY(QDir(fixture->libraryPath() + u".store"_s).removeRecursively());
        QCOMPARE(script(listProgram(), {}).out, (u"A"_s + RS + u"B"_s + RS + u'\n').toUtf8());
    }

    void killedRunsLeaveAUsableLibrary()
    {
        fixture->seed(R"({"folders": [{"name": "F"}]})");
        const QString body = fixture->writeFile(u"body.html"_s, "x");
        const QString program
            = fixture->writeFile(u"create.applescript"_s, NotesBridge::createNoteProgram.toString().toUtf8());
        // Killed at different points of their runs, from before the store is open to after it is written.
        for (int i = 0; i < 16; ++i) {
            QProcess process;
            process.start(
                QStringLiteral(VELLORAN_FAKE_OSASCRIPT), { program, u"F"_s, QString(), u"note %1"_s.arg(i), body });
            QVERIFY(process.waitForStarted(-1));
            QThread::usleep(1000UL * ulong(i));
            process.kill();
            process.waitForFinished(-1);
        }
        const Run run = script(NotesBridge::createNoteProgram.toString(), { u"F"_s, QString(), u"last"_s, body });
        QCOMPARE(run.err, QByteArray());
        QCOMPARE(run.out, QByteArray("created\n"));
        // Every note that made it is whole, and the last one is there.
        const QJsonArray notes = fixture->folders()[0].toObject().value(u"notes"_s).toArray();
        QVERIFY(!notes.isEmpty());
        for (const QJsonValue note : notes) {
            const QString name = note.toObject().value(u"name"_s).toString();
            QCOMPARE(note.toObject().value(u"body"_s).toString(), u"<div>%1</div>x"_s.arg(name));
        }
        QCOMPARE(notes.last().toObject().value(u"name"_s).toString(), u"last"_s);
    }
};

QTEST_GUILESS_MAIN(tst_FakeNotes)
#include "tst_FakeNotes.moc"
