// Tests of the read side of the Notes bridge: its script runner against throwaway scripts, its two
// programs, the parsing of their output, and listFolders and readNotes against the Notes stand-in.

#include "NotesExporter_p.h"
#include "NotesFixture.h"
#include "Regex.h"

#include <QProcess>
#include <QSaveFile>
#include <QTest>
#include <QtConcurrent>

#include <QCoro/QCoroTask>

#include <memory>

using namespace Qt::StringLiterals;
using NotesExporter::ExportError;
using NotesExporter::NoteRecord;

namespace {

const QString RS = u"\u001E"_s;
const QString US = u"\u001F"_s;

/// Table lines (indent, text), each ended by a line feed.
QString lines(const QList<std::pair<int, QString>> &table)
{
    QString text;
    for (const auto &[indent, line] : table)
        text += QString(indent, u' ') + line + u'\n';
    return text;
}

template<typename Error, typename Call> std::optional<Error> thrown(Call call)
{
    try {
        call();
    } catch (const Error &error) {
        return error;
    } catch (...) { }
    return std::nullopt;
}

QStringList programsRun(const NotesFixture &fixture)
{
    QStringList programs;
    for (const QJsonObject &run : fixture.runs()) {
        QStringList argv;
        for (const QJsonValue value : run.value(u"argv"_s).toArray())
            argv.append(value.toString());
        programs.append((QStringList { run.value(u"program"_s).toString() } + argv.mid(1)).join(u' '));
    }
    return programs;
}

/// Waits on the event loop for a coroutine form of the read side.
template<typename T> T finished(QCoro::Task<T> task)
{
    return QCoro::waitFor(std::move(task));
}

/// The message of the ExportError that `task` ends with; empty when it ends without one.
QCoro::Task<QString> failureOf(QCoro::Task<QList<NotesExporter::FolderEntry>> task)
{
    try {
        co_await task;
    } catch (const ExportError &error) {
        co_return error.message();
    }
    co_return QString();
}

QString detailRecord(const QString &id, const QString &name, const QString &account, const QString &parent)
{
    return id + US + name + US + account + US + parent + RS;
}

using NotesExporter::FolderEntry;

/// Two accounts, each with a top-level "Notes" and an "Archive" one level down.
const QByteArray twoAccounts = R"({
    "folders": [{"name": "Notes", "notes": [{"name": "A", "body": "<div>iCloud</div>"}],
                 "folders": [{"name": "Archive"}]}],
    "accounts": [{"name": "On My Mac", "folders": [
        {"name": "Notes", "notes": [{"name": "B", "body": "<div>on the \u001fMac\u001e</div>"}]},
        {"name": "Work", "folders": [{"name": "Archive", "notes": [{"name": "C", "body": "<div>old</div>"}]}]}]}]
})";

QString folderId(const QString &place)
{
    return u"x-coredata://FakeNotes/ICFolder/p"_s + place;
}

} // namespace

Q_DECLARE_METATYPE(QList<NoteRecord>)
Q_DECLARE_METATYPE(QList<FolderEntry>)

class tst_NotesExporterRead : public QObject
{
    Q_OBJECT

    std::unique_ptr<NotesFixture> fixture;

private slots:
    void init() { fixture = std::make_unique<NotesFixture>(); }

    void cleanup()
    {
        QCOMPARE(fixture->leftovers(), QStringList());
        fixture.reset();
    }

    // The programs

    void separators()
    {
        QCOMPARE(NotesExporter::recordSep, char16_t(0x1E));
        QCOMPARE(NotesExporter::fieldSep, char16_t(0x1F));
    }

    void stripSepsHandler()
    {
        const QString expected = lines({
            { 0, u"on stripSeps(s)"_s },
            { 4, u"set rs to (ASCII character 30)"_s },
            { 4, u"set us to (ASCII character 31)"_s },
            { 4, u"repeat with bad in {rs, us}"_s },
            { 8, u"set AppleScript's text item delimiters to bad"_s },
            { 8, u"set parts to text items of s"_s },
            { 8, u"set AppleScript's text item delimiters to \"\""_s },
            { 8, u"set s to parts as text"_s },
            { 4, u"end repeat"_s },
            { 4, u"set AppleScript's text item delimiters to \"\""_s },
            { 4, u"return s"_s },
            { 0, u"end stripSeps"_s },
        });
        // No line feed after the handler's last line.
        QCOMPARE(NotesExporter::stripSepsHandler.toString(), expected.chopped(1));
        QCOMPARE(NotesExporter::stripSepsHandler.count(u'\n'), 11);
    }

    void folderListProgram()
    {
        const QString expected = lines({
            { 0, u"on run argv"_s },
            { 4, u"set out to \"\""_s },
            { 4, u"tell application \"Notes\""_s },
            { 8, u"repeat with f in folders"_s },
            { 12, u"set out to out & my stripSeps(name of f) & \""_s + RS + u"\""_s },
            { 8, u"end repeat"_s },
            { 4, u"end tell"_s },
            { 4, u"return out"_s },
            { 0, u"end run"_s },
        });
        QCOMPARE(NotesExporter::folderListProgram.toString(), expected);
        QVERIFY(NotesExporter::folderListProgram.endsWith(u"end run\n"));
    }

    void folderReadProgram()
    {
        const QString expected = lines({
            { 0, u"on run argv"_s },
            { 4, u"set fName to item 1 of argv"_s },
            { 4, u"set out to \"\""_s },
            { 4, u"tell application \"Notes\""_s },
            { 8, u"if (exists folder fName) then"_s },
            { 12, u"set f to folder fName"_s },
            { 12, u"set fClean to my stripSeps(name of f)"_s },
            { 12, u"repeat with n in notes of f"_s },
            { 16, u"set noteName to \"(untitled)\""_s },
            { 16, u"try"_s },
            { 20, u"set noteName to my stripSeps(name of n)"_s },
            { 16, u"end try"_s },
            { 16, u"set noteBody to \"\""_s },
            { 16, u"try"_s },
            { 20, u"set noteBody to (body of n)"_s },
            { 16, u"on error errMsg"_s },
            { 20,
                u"set noteBody to \"<div>[Velloran: could not read this note's body \u2014 \" & errMsg & \"]</div>\""_s },
            { 16, u"end try"_s },
            { 16,
                u"set out to out & fClean & \""_s + US + u"\" & noteName & \""_s + US + u"\" & noteBody & \""_s + RS
                    + u"\""_s },
            { 12, u"end repeat"_s },
            { 8, u"end if"_s },
            { 4, u"end tell"_s },
            { 4, u"return out"_s },
            { 0, u"end run"_s },
        });
        QCOMPARE(NotesExporter::folderReadProgram.toString(), expected);
        QVERIFY(!NotesExporter::folderReadProgram.contains(u'\\'));
    }

    void folderDetailsProgram()
    {
        const QString expected = lines({
            { 0, u"on run argv"_s },
            { 4, u"set rows to {}"_s },
            { 4, u"tell application \"Notes\""_s },
            { 8, u"repeat with f in folders"_s },
            { 12, u"set parentName to \"\""_s },
            { 12, u"set c to container of f"_s },
            { 12, u"if class of c is folder then set parentName to name of c"_s },
            { 12, u"repeat while class of c is folder"_s },
            { 16, u"set c to container of c"_s },
            { 12, u"end repeat"_s },
            { 12,
                u"set end of rows to my stripSeps(id of f) & \""_s + US + u"\" & my stripSeps(name of f) & \""_s + US
                    + u"\" & my stripSeps(name of c) & \""_s + US + u"\" & my stripSeps(parentName)"_s },
            { 8, u"end repeat"_s },
            { 4, u"end tell"_s },
            { 4, u"set end of rows to \"\""_s },
            { 4, u"set AppleScript's text item delimiters to \""_s + RS + u"\""_s },
            { 4, u"set out to rows as text"_s },
            { 4, u"set AppleScript's text item delimiters to \"\""_s },
            { 4, u"return out"_s },
            { 0, u"end run"_s },
        });
        QCOMPARE(NotesExporter::folderDetailsProgram.toString(), expected);
        QVERIFY(!NotesExporter::folderDetailsProgram.contains(u'\\'));
        // The output is joined once, never grown by repeated concatenation.
        QVERIFY(!NotesExporter::folderDetailsProgram.contains(u"set out to out &"));
    }

    void folderReadByIdProgram()
    {
        const QString expected = lines({
            { 0, u"on run argv"_s },
            { 4, u"set fId to item 1 of argv"_s },
            { 4, u"set rows to {}"_s },
            { 4, u"tell application \"Notes\""_s },
            { 8, u"set f to folder id fId"_s },
            { 8, u"set fClean to my stripSeps(name of f)"_s },
            { 8, u"repeat with n in notes of f"_s },
            { 12, u"set noteName to \"(untitled)\""_s },
            { 12, u"try"_s },
            { 16, u"set noteName to my stripSeps(name of n)"_s },
            { 12, u"end try"_s },
            { 12, u"set noteBody to \"\""_s },
            { 12, u"try"_s },
            { 16, u"set noteBody to my stripSeps(body of n)"_s },
            { 12, u"on error errMsg"_s },
            { 16,
                u"set noteBody to \"<div>[Velloran: could not read this note's body \u2014 \" & my stripSeps(errMsg) & "
                u"\"]</div>\""_s },
            { 12, u"end try"_s },
            { 12, u"set end of rows to fClean & \""_s + US + u"\" & noteName & \""_s + US + u"\" & noteBody"_s },
            { 8, u"end repeat"_s },
            { 4, u"end tell"_s },
            { 4, u"set end of rows to \"\""_s },
            { 4, u"set AppleScript's text item delimiters to \""_s + RS + u"\""_s },
            { 4, u"set out to rows as text"_s },
            { 4, u"set AppleScript's text item delimiters to \"\""_s },
            { 4, u"return out"_s },
            { 0, u"end run"_s },
        });
        QCOMPARE(NotesExporter::folderReadByIdProgram.toString(), expected);
        QVERIFY(!NotesExporter::folderReadByIdProgram.contains(u'\\'));
        QVERIFY(!NotesExporter::folderReadByIdProgram.contains(u"set out to out &"));
    }

    void scriptsCarryTheHandler()
    {
        // The runner sees the main program and the handler as one file: the handler right after "end run\n".
        fixture->installScript("cat \"$1\"");
        fixture->seed("{}");
        const QString listed = NotesExporter::run(
            NotesExporter::folderListProgram.toString() + NotesExporter::stripSepsHandler.toString(), {});
        QCOMPARE(listed, NotesExporter::folderListProgram.toString() + NotesExporter::stripSepsHandler.toString());
        QVERIFY(listed.contains(u"    return out\nend run\non stripSeps(s)\n"));
        QVERIFY(listed.endsWith(u"    return s\nend stripSeps"));

        // listFolders and readNotes hand exactly those texts to the runner: the stand-in knows no other.
        qputenv("VELLORAN_OSASCRIPT", VELLORAN_FAKE_OSASCRIPT);
        fixture->seed(R"({"folders": [{"name": "A", "notes": [{"name": "n", "body": "b"}]}]})");
        QCOMPARE(NotesExporter::readNotes(), (QList<NoteRecord> { { u"A"_s, u"n"_s, u"b"_s } }));
        QCOMPARE(programsRun(*fixture), (QStringList { u"list-folders"_s, u"read-folder A"_s }));
    }

    // The runner, against throwaway scripts

    void runReturnsOutputUntrimmed()
    {
        fixture->installScript("printf 'created\\n'");
        QCOMPARE(NotesExporter::run(u"script"_s, {}), u"created\n"_s);
    }

    void runReadsInvalidUtf8AsEmpty()
    {
        fixture->installScript("printf 'ok\\n\\300\\257'");
        QCOMPARE(NotesExporter::run(u"script"_s, {}), QString());
    }

    void runFailure_data() { addRunFailureRows(); }

    void runFailure()
    {
        QFETCH(QByteArray, shell);
        QFETCH(QString, message);
        QFETCH(QString, description);
        fixture->installScript(shell);
        const auto error = thrown<ExportError>([] { NotesExporter::run(u"script"_s, { u"a"_s }); });
        QVERIFY(error);
        QCOMPARE(error->kind(), ExportError::Kind::scriptFailed);
        QCOMPARE(error->message(), message);
        QCOMPARE(error->errorDescription(), description);
        QCOMPARE(errorDescription(*error), description);
    }

    void errorDescriptions_data()
    {
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("description");
        QTest::addRow("script failed, refused") << u"… (-1743)"_s << permissionText();
        QTest::addRow("script failed, other") << u"boom (-1712)"_s << u"Apple Notes error: boom (-1712)"_s;
        QTest::addRow("script failed, empty") << QString() << u"Apple Notes error: "_s;
    }

    void errorDescriptions()
    {
        QFETCH(QString, message);
        QFETCH(QString, description);
        const ExportError error = ExportError::scriptFailed(message);
        QCOMPARE(error.kind(), ExportError::Kind::scriptFailed);
        QCOMPARE(error.message(), message);
        QCOMPARE(error.errorDescription(), description);
        QCOMPARE(errorDescription(error), description);
    }

    void runnerResult()
    {
        fixture->installScript("printf 'a\\036b\\n'; printf ignored >&2");
        QCOMPARE(NotesExporter::run(u"script"_s, {}), u"a\u001Eb\n"_s);
        fixture->installScript("printf '\\377'");
        QCOMPARE(NotesExporter::run(u"script"_s, {}), QString());
        fixture->installScript("printf out; printf '\\t err \\n' >&2; exit 1");
        const auto error = thrown<ExportError>([] { NotesExporter::run(u"script"_s, {}); });
        QVERIFY(error);
        QCOMPARE(error->message(), u"err"_s);
        fixture->installScript("kill -SEGV $$");
        const auto crash = thrown<ExportError>([] { NotesExporter::run(u"script"_s, {}); });
        QVERIFY(crash);
        QCOMPARE(crash->message(), u"osascript ended with signal 11"_s);
    }

    // Each run's script lies in a private folder of its own in the temporary directory, gone with the run.
    void scriptFileIsInAPrivateRunFolder()
    {
        fixture->installScript("printf '%s' \"$1\"");
        const QString first = NotesExporter::run(u"script"_s, {});
        const QString second = NotesExporter::run(u"script"_s, {});
        const Regex form(
            u"^velloran-export-[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}\\.applescript$"_s);
        for (const QString &path : { first, second }) {
            const QFileInfo info(path);
            QVERIFY(info.isAbsolute());
            QCOMPARE(QFileInfo(info.absolutePath()).absolutePath(), fixture->tempDir());
            QVERIFY(QFileInfo(info.absolutePath()).fileName().startsWith(u"velloran-run-"_s));
            QVERIFY2(form.contains(info.fileName()), qPrintable(path));
            QVERIFY(!QFileInfo::exists(info.absolutePath()));
        }
        QVERIFY(first != second);
    }

    void scriptFileHoldsTheScriptAsUtf8()
    {
        fixture->installScript("cat \"$1\"");
        const QString script = NotesExporter::folderReadProgram.toString() + NotesExporter::stripSepsHandler.toString();
        QCOMPARE(NotesExporter::run(script, {}), script);
    }

    void argumentsArriveByteForByte()
    {
        const QString argvFile = fixture->path(u"argv"_s);
        fixture->installScript("for a in \"$@\"; do printf '%s\\0' \"$a\"; done > '" + argvFile.toUtf8() + "'");
        const QStringList args = awkwardArguments();
        NotesExporter::run(u"script"_s, args);
        QFile file(argvFile);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QList<QByteArray> argv = file.readAll().split('\0');
        QCOMPARE(argv.takeLast(), QByteArray());
        QCOMPARE(argv.size(), args.size() + 1);
        // The script file first, as an absolute path; the arguments after it, exactly.
        QVERIFY(QFileInfo(QString::fromUtf8(argv.first())).isAbsolute());
        QVERIFY(QFileInfo(QString::fromUtf8(argv.first())).fileName().startsWith(u"velloran-export-"));
        for (qsizetype i = 0; i < args.size(); ++i)
            QCOMPARE(argv[i + 1], args[i].toUtf8());
    }

    void argumentsReachTheStandIn()
    {
        const QStringList names = awkwardArguments();
        fixture->seed("{}");
        for (const QString &name : names) {
            QCOMPARE(NotesExporter::readNotes(QStringList { name }), QList<NoteRecord>());
            QCOMPARE(fixture->lastArgv().mid(1), QStringList { name });
        }
    }

    void launchFailure()
    {
        const QString program = fixture->path(u"no/such/osascript"_s);
        qputenv("VELLORAN_OSASCRIPT", program.toUtf8());
        QProcess probe;
        probe.start(program, {});
        QVERIFY(!probe.waitForStarted(-1));
        const auto error = thrown<LaunchError>([] { NotesExporter::run(u"script"_s, {}); });
        QVERIFY(error);
        QCOMPARE(error->errorDescription(), probe.errorString());
    }

    void fileSystemFailureLaunchesNothing()
    {
        const QString marker = fixture->path(u"launched"_s);
        fixture->installScript("touch '" + marker.toUtf8() + "'");
        const QString notADirectory = fixture->writeFile(u"plain-file"_s, "x");
        qputenv("TMPDIR", notADirectory.toUtf8());
        QSaveFile probe(notADirectory + u"/probe"_s);
        QVERIFY(!probe.open(QIODevice::WriteOnly));
        const auto error = thrown<FileSystemError>([] { NotesExporter::run(u"script"_s, {}); });
        QVERIFY(error);
        QCOMPARE(error->errorDescription(), probe.errorString());
        QVERIFY(!QFile::exists(marker));
        qputenv("TMPDIR", fixture->tempDir().toUtf8());
    }

    void noScriptFileIsLeftBehind_data()
    {
        QTest::addColumn<QByteArray>("shell");
        QTest::addColumn<QString>("program");
        QTest::addRow("success") << QByteArray("printf 'x'") << QString();
        QTest::addRow("failure") << QByteArray("exit 1") << QString();
        QTest::addRow("killed") << QByteArray("kill -9 $$") << QString();
        QTest::addRow("launch failure") << QByteArray() << u"no/such/program"_s;
    }

    void noScriptFileIsLeftBehind()
    {
        QFETCH(QByteArray, shell);
        QFETCH(QString, program);
        if (program.isEmpty())
            fixture->installScript(shell);
        else
            qputenv("VELLORAN_OSASCRIPT", fixture->path(program).toUtf8());
        try {
            NotesExporter::run(u"script"_s, {});
        } catch (const VelloranError &) { }
        QCOMPARE(
            QDir(fixture->tempDir()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden), QStringList());
    }

    void largeOutputComesBackWhole()
    {
        // A folder read of notes with images: 50 MB of records, multi-byte characters across every boundary.
        fixture->installScript("yes 'Folder\037Note — ü\037<div>ünïcödé 0123456789</div>\036' | head -n 1100000");
        const QString record = u"Folder\u001FNote — ü\u001F<div>ünïcödé 0123456789</div>\u001E\n"_s;
        const QString output = NotesExporter::run(u"script"_s, {});
        QCOMPARE(output.toUtf8().size(), qsizetype(record.toUtf8().size()) * 1100000);
        QVERIFY(output.toUtf8().size() > 50 * 1024 * 1024);
        QVERIFY(output == record.repeated(1100000));
    }

    void bothPipesFullAtOnce_data()
    {
        QTest::addColumn<int>("status");
        QTest::addRow("success") << 0;
        QTest::addRow("failure") << 1;
    }

    void bothPipesFullAtOnce()
    {
        QFETCH(int, status);
        fixture->installScript("i=0; while [ $i -lt 64 ]; do head -c 65536 /dev/zero | tr '\\0' e >&2; "
                               "head -c 65536 /dev/zero | tr '\\0' o; i=$((i+1)); done; exit "
            + QByteArray::number(status));
        if (status == 0) {
            QCOMPARE(NotesExporter::run(u"script"_s, {}), QString(64 * 65536, u'o'));
        } else {
            const auto error = thrown<ExportError>([] { NotesExporter::run(u"script"_s, {}); });
            QVERIFY(error);
            QCOMPARE(error->message(), QString(64 * 65536, u'e'));
        }
    }

    void concurrentRunsUseTheirOwnFiles()
    {
        fixture->installScript("cat \"$1\"; printf '|%s' \"$1\"");
        QList<int> numbers;
        for (int i = 0; i < 16; ++i)
            numbers.append(i);
        const QList<QString> outputs = QtConcurrent::blockingMapped(
            numbers, [](int i) { return NotesExporter::run(u"script %1"_s.arg(i), {}); });
        QSet<QString> paths;
        for (int i = 0; i < 16; ++i) {
            const QStringList parts = outputs[i].split(u'|');
            QCOMPARE(parts.size(), 2);
            QCOMPARE(parts[0], u"script %1"_s.arg(i));
            paths.insert(parts[1]);
        }
        QCOMPARE(paths.size(), 16);
    }

    // Parsing

    void parseRecords_data()
    {
        QTest::addColumn<QString>("output");
        QTest::addColumn<QList<NoteRecord>>("records");

        QTest::addRow("empty") << QString() << QList<NoteRecord>();
        QTest::addRow("osascript's line break only") << u"\n"_s << QList<NoteRecord>();
        QTest::addRow("one record and the line break")
            << u"F\u001FN\u001F<div>b</div>\u001E\n"_s << QList<NoteRecord> { { u"F"_s, u"N"_s, u"<div>b</div>"_s } };
        QTest::addRow("two records in order")
            << u"F\u001Fone\u001F1\u001EF\u001Ftwo\u001F2\u001E\n"_s
            << QList<NoteRecord> { { u"F"_s, u"one"_s, u"1"_s }, { u"F"_s, u"two"_s, u"2"_s } };
        QTest::addRow("body with field separators survives whole")
            << u"F\u001FN\u001Fa\u001Fb\u001F\u001Fc\u001E"_s
            << QList<NoteRecord> { { u"F"_s, u"N"_s, u"a\u001Fb\u001F\u001Fc"_s } };
        QTest::addRow("body with a record separator is cut")
            << u"F\u001FN\u001Fbefore\u001Eafter\u001E\n"_s << QList<NoteRecord> { { u"F"_s, u"N"_s, u"before"_s } };
        QTest::addRow("cut-off part with three fields becomes a record")
            << u"F\u001FN\u001Fx\u001Ey\u001Fz\u001Fw\u001E"_s
            << QList<NoteRecord> { { u"F"_s, u"N"_s, u"x"_s }, { u"y"_s, u"z"_s, u"w"_s } };
        QTest::addRow("fewer than three fields skipped") << u"only\u001Ftwo\u001Eone\u001EF\u001FN\u001Fb\u001E"_s
                                                         << QList<NoteRecord> { { u"F"_s, u"N"_s, u"b"_s } };
        QTest::addRow("fields are not trimmed")
            << u" F \u001F N \u001F\n body \n\u001E"_s << QList<NoteRecord> { { u" F "_s, u" N "_s, u"\n body \n"_s } };
        QTest::addRow("blank pieces skipped")
            << u" \u001E\t\r\n\u001EF\u001FN\u001F\u001E"_s << QList<NoteRecord> { { u"F"_s, u"N"_s, QString() } };
        QTest::addRow("empty fields kept")
            << u"\u001F\u001F\u001E"_s << QList<NoteRecord> { { QString(), QString(), QString() } };
        QTest::addRow("untitled and an unreadable body")
            << u"F\u001F(untitled)\u001F<div>[Velloran: could not read this note's body — oops]</div>\u001E\n"_s
            << QList<NoteRecord> { { u"F"_s, u"(untitled)"_s,
                   u"<div>[Velloran: could not read this note's body — oops]</div>"_s } };
        QTest::addRow("line break before a record belongs to its folder")
            << u"\nF\u001FN\u001Fb\u001E"_s << QList<NoteRecord> { { u"\nF"_s, u"N"_s, u"b"_s } };
    }

    void parseRecords()
    {
        QFETCH(QString, output);
        QFETCH(QList<NoteRecord>, records);
        QCOMPARE(NotesExporter::parseRecords(output), records);
    }

    void stripFieldSeparators_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("stripped");
        QTest::addRow("nothing to strip") << u"Plain — ü"_s << u"Plain — ü"_s;
        QTest::addRow("both separators") << u"\u001Ea\u001Fb\u001E\u001F"_s << u"ab"_s;
        QTest::addRow("other control characters stay") << u"a\u001Db\u0001c\tc"_s << u"a\u001Db\u0001c\tc"_s;
        QTest::addRow("empty") << QString() << QString();
    }

    void stripFieldSeparators()
    {
        QFETCH(QString, text);
        QFETCH(QString, stripped);
        QCOMPARE(NotesExporter::stripFieldSeparators(text), stripped);
    }

    void parseFolderDetails_data()
    {
        QTest::addColumn<QString>("output");
        QTest::addColumn<QList<FolderEntry>>("folders");
        QTest::addRow("empty") << QString() << QList<FolderEntry>();
        QTest::addRow("only the line break") << u"\n"_s << QList<FolderEntry>();
        QTest::addRow("two folders, the line break after the last")
            << detailRecord(u"i1"_s, u"Notes"_s, u"iCloud"_s, QString())
                + detailRecord(u"i2"_s, u"Archive"_s, u"iCloud"_s, u"Notes"_s) + u'\n'
            << QList<FolderEntry> { { u"i1"_s, u"Notes"_s, u"iCloud"_s, QString() },
                   { u"i2"_s, u"Archive"_s, u"iCloud"_s, u"Notes"_s } };
        QTest::addRow("fields trimmed") << u" i1 "_s + US + u"  Trip\t"_s + US + u" On My Mac "_s + US + u" Work\n"_s
                                        << QList<FolderEntry> { { u"i1"_s, u"Trip"_s, u"On My Mac"_s, u"Work"_s } };
        QTest::addRow("too few fields skipped")
            << u"i1"_s + US + u"Notes"_s + US + u"iCloud"_s + RS + detailRecord(u"i2"_s, u"B"_s, u"a"_s, QString())
            << QList<FolderEntry> { { u"i2"_s, u"B"_s, u"a"_s, QString() } };
        QTest::addRow("no id or no name skipped")
            << detailRecord(QString(), u"A"_s, u"a"_s, QString()) + detailRecord(u"i"_s, u" "_s, u"a"_s, QString())
            << QList<FolderEntry>();
        QTest::addRow("a fifth field joins the parent's name") << u"i"_s + US + u"A"_s + US + u"a"_s + US + u"P"_s + US
                + u"Q"_s + RS << QList<FolderEntry> { { u"i"_s, u"A"_s, u"a"_s, u"P"_s } };
    }

    void parseFolderDetails()
    {
        QFETCH(QString, output);
        QFETCH(QList<FolderEntry>, folders);
        QCOMPARE(NotesExporter::parseFolderDetails(output), folders);
    }

    void isCompileFailure_data()
    {
        QTest::addColumn<QString>("message");
        QTest::addColumn<bool>("compile");
        QTest::addRow("syntax error") << u"/t/x.applescript:10:19: syntax error: Expected end of line, etc. but "
                                         u"found identifier. (-2741)"_s
                                      << true;
        QTest::addRow("-2740") << u"/t/x:1:2: syntax error: A identifier can’t go after this identifier. (-2740)"_s
                               << true;
        QTest::addRow("line break after") << u"x (-2741)\n"_s << true;
        QTest::addRow("execution error") << u"/t/x:1:2: execution error: Can’t get folder id \"x\". (-1728)"_s << false;
        QTest::addRow("number inside the text") << u"error (-2741) and more"_s << false;
        QTest::addRow("without the minus") << u"x (2741)"_s << false;
    }

    void isCompileFailure()
    {
        QFETCH(QString, message);
        QFETCH(bool, compile);
        QCOMPARE(NotesExporter::isCompileFailure(message), compile);
    }

    // The coroutine forms that tell same-named folders apart, against the Notes stand-in

    void listFolderDetailsOfTwoAccounts()
    {
        fixture->seed(twoAccounts);
        // Sorted by name; folders of one name keep Notes' order.
        const QList<FolderEntry> expected {
            { folderId(u"0-1-1"_s), u"Archive"_s, u"iCloud"_s, u"Notes"_s },
            { folderId(u"1-2-1"_s), u"Archive"_s, u"On My Mac"_s, u"Work"_s },
            { folderId(u"0-1"_s), u"Notes"_s, u"iCloud"_s, QString() },
            { folderId(u"1-1"_s), u"Notes"_s, u"On My Mac"_s, QString() },
            { folderId(u"1-2"_s), u"Work"_s, u"On My Mac"_s, QString() },
        };
        QCOMPARE(finished(NotesExporter::listFolderDetails({})), expected);
        QCOMPARE(programsRun(*fixture), QStringList { u"list-folder-details"_s });
    }

    void listFolderDetailsFallsBackToNames()
    {
        fixture->seed(twoAccounts);
        qputenv("VELLORAN_FAKE_NOTES_OLD_NOTES", "1");
        const QList<FolderEntry> expected {
            { QString(), u"Archive"_s, QString(), QString() },
            { QString(), u"Archive"_s, QString(), QString() },
            { QString(), u"Notes"_s, QString(), QString() },
            { QString(), u"Notes"_s, QString(), QString() },
            { QString(), u"Work"_s, QString(), QString() },
        };
        QCOMPARE(finished(NotesExporter::listFolderDetails({})), expected);
        QCOMPARE(programsRun(*fixture), (QStringList { u"list-folder-details"_s, u"list-folders"_s }));
    }

    void listFolderDetailsPassesOtherErrorsOn()
    {
        fixture->seed(twoAccounts);
        qputenv("VELLORAN_FAKE_NOTES_DENY", "1");
        const QString message = finished(failureOf(NotesExporter::listFolderDetails({})));
        QVERIFY2(message.endsWith(u"Not authorized to send Apple events to Notes. (-1743)"_s), qPrintable(message));
        QCOMPARE(programsRun(*fixture), QStringList { u"list-folder-details"_s });
    }

    void readFolderByIdReadsTheOneFolder()
    {
        fixture->seed(twoAccounts);
        // The second "Notes"; its body's separators are gone.
        NotesExporter::FolderRead read = finished(NotesExporter::readFolderById({}, folderId(u"1-1"_s)));
        QCOMPARE(read.failure, QString());
        QCOMPARE(read.notCompiled, false);
        QCOMPARE(read.notes, (QList<NoteRecord> { { u"Notes"_s, u"B"_s, u"<div>on the Mac</div>"_s } }));
        read = finished(NotesExporter::readFolderById({}, folderId(u"1-2-1"_s)));
        QCOMPARE(read.notes, (QList<NoteRecord> { { u"Archive"_s, u"C"_s, u"<div>old</div>"_s } }));
        // By name, only the first "Notes" can be reached.
        QCOMPARE(finished(NotesExporter::readFolder({}, u"Notes"_s)).notes,
            (QList<NoteRecord> { { u"Notes"_s, u"A"_s, u"<div>iCloud</div>"_s } }));
        QCOMPARE(programsRun(*fixture),
            (QStringList { u"read-folder-by-id "_s + folderId(u"1-1"_s), u"read-folder-by-id "_s + folderId(u"1-2-1"_s),
                u"read-folder Notes"_s }));
    }

    void readFolderByIdFailures()
    {
        fixture->seed(twoAccounts);
        NotesExporter::FolderRead read = finished(NotesExporter::readFolderById({}, folderId(u"7"_s)));
        QVERIFY(read.notes.isEmpty());
        QVERIFY2(read.failure.startsWith(u"Apple Notes error: "_s), qPrintable(read.failure));
        QVERIFY(read.failure.endsWith(
            u"execution error: Notes got an error: Can’t get folder id \"x-coredata://FakeNotes/ICFolder/p7\". (-1728)"_s));
        QCOMPARE(read.notCompiled, false);

        qputenv("VELLORAN_FAKE_NOTES_OLD_NOTES", "1");
        read = finished(NotesExporter::readFolderById({}, folderId(u"1-1"_s)));
        QVERIFY(read.notes.isEmpty());
        QVERIFY(read.failure.endsWith(u"syntax error: Expected end of line, etc. but found identifier. (-2741)"_s));
        QCOMPARE(read.notCompiled, true);
    }

    // listFolders and readNotes, against the Notes stand-in

    void noFolders()
    {
        QCOMPARE(NotesExporter::listFolders(), QStringList());
        QCOMPARE(NotesExporter::readNotes(), QList<NoteRecord>());
        QCOMPARE(NotesExporter::readNotes(QStringList()), QList<NoteRecord>());
        // Only the folder list ran: with no folders there is nothing to read.
        QCOMPARE(programsRun(*fixture), (QStringList { u"list-folders"_s, u"list-folders"_s, u"list-folders"_s }));
    }

    void listFoldersSorts_data()
    {
        QTest::addColumn<QStringList>("inNotes");
        QTest::addColumn<QStringList>("listed");
        QTest::addRow("equal names keep Notes' order")
            << QStringList { u"beta"_s, u"Alpha"_s, u"alpha"_s } << QStringList { u"Alpha"_s, u"alpha"_s, u"beta"_s };
        QTest::addRow("equal names keep Notes' order, reversed")
            << QStringList { u"beta"_s, u"alpha"_s, u"Alpha"_s } << QStringList { u"alpha"_s, u"Alpha"_s, u"beta"_s };
        QTest::addRow("case does not order")
            << QStringList { u"b"_s, u"C"_s, u"a"_s, u"B"_s } << QStringList { u"a"_s, u"b"_s, u"B"_s, u"C"_s };
        QTest::addRow("accents sort with their letter") << QStringList { u"Zebra"_s, u"Éclair"_s, u"apple"_s,
            u"eagle"_s } << QStringList { u"apple"_s, u"eagle"_s, u"Éclair"_s, u"Zebra"_s };
        QTest::addRow("duplicates kept") << QStringList { u"Work"_s, u"Home"_s, u"Work"_s }
                                         << QStringList { u"Home"_s, u"Work"_s, u"Work"_s };
        QTest::addRow("names trimmed") << QStringList { u"  Trip"_s, u"Notes \n"_s, u"\tA\u00A0"_s }
                                       << QStringList { u"A"_s, u"Notes"_s, u"Trip"_s };
        QTest::addRow("blank names dropped") << QStringList { u"   "_s, u"x"_s, QString() } << QStringList { u"x"_s };
        QTest::addRow("separators stripped from names")
            << QStringList { u"a\u001Eb"_s, u"c\u001Fd"_s } << QStringList { u"ab"_s, u"cd"_s };
    }

    void listFoldersSorts()
    {
        QFETCH(QStringList, inNotes);
        QFETCH(QStringList, listed);
        QJsonArray folders;
        for (const QString &name : inNotes)
            folders.append(QJsonObject { { u"name"_s, name } });
        fixture->seed(QJsonDocument(QJsonObject { { u"folders"_s, folders } }).toJson());
        QCOMPARE(NotesExporter::listFolders(), listed);
    }

    void listFoldersIncludesSubfolders()
    {
        fixture->seed(R"({"folders": [{"name": "Imported by Velloran", "folders": [{"name": "b ▸ c"}, {"name": "A"}]},
                                      {"name": "Notes"}]})");
        QCOMPARE(
            NotesExporter::listFolders(), (QStringList { u"A"_s, u"b ▸ c"_s, u"Imported by Velloran"_s, u"Notes"_s }));
    }

    void readNotesOfAllFolders()
    {
        fixture->seed(R"({"folders": [
            {"name": "work", "notes": [{"name": "w2", "body": "<div>2</div>"}, {"name": "w1", "body": "<div>1</div>"}]},
            {"name": "Home", "notes": [{"name": "h", "body": "<div>h</div>"}]},
            {"name": "Empty"}]})");
        const QList<NoteRecord> expected {
            { u"Home"_s, u"h"_s, u"<div>h</div>"_s },
            { u"work"_s, u"w2"_s, u"<div>2</div>"_s },
            { u"work"_s, u"w1"_s, u"<div>1</div>"_s },
        };
        QCOMPARE(NotesExporter::readNotes(), expected);
        QCOMPARE(NotesExporter::readNotes(QStringList()), expected);
        // Folders in the sorted order of the list; within one, the order Notes gives.
        QCOMPARE(programsRun(*fixture),
            (QStringList { u"list-folders"_s, u"read-folder Empty"_s, u"read-folder Home"_s, u"read-folder work"_s,
                u"list-folders"_s, u"read-folder Empty"_s, u"read-folder Home"_s, u"read-folder work"_s }));
    }

    void readNotesOfChosenFolders()
    {
        fixture->seed(R"({"folders": [{"name": "A", "notes": [{"name": "a", "body": "1"}]},
                                      {"name": "B", "notes": [{"name": "b", "body": "2"}]},
                                      {"name": "C", "notes": [{"name": "c", "body": "3"}]}]})");
        QCOMPARE(NotesExporter::readNotes(QStringList { u"C"_s, u"A"_s }),
            (QList<NoteRecord> { { u"C"_s, u"c"_s, u"3"_s }, { u"A"_s, u"a"_s, u"1"_s } }));
        QCOMPARE(programsRun(*fixture), (QStringList { u"read-folder C"_s, u"read-folder A"_s }));
    }

    void folderWithLeadingSpacesIsReadByItsTrimmedName()
    {
        fixture->seed(R"({"folders": [{"name": "  Trip", "notes": [{"name": "Rome", "body": "x"}]}]})");
        QCOMPARE(NotesExporter::listFolders(), QStringList { u"Trip"_s });
        // Notes has no folder called "Trip", so the read finds nothing, and that is no error.
        QCOMPARE(NotesExporter::readNotes(), QList<NoteRecord>());
        QCOMPARE(programsRun(*fixture), (QStringList { u"list-folders"_s, u"list-folders"_s, u"read-folder Trip"_s }));
    }

    void missingFolderGivesNoRecords()
    {
        fixture->seed(R"({"folders": [{"name": "A", "notes": [{"name": "a", "body": "1"}]}]})");
        QCOMPARE(NotesExporter::readNotes(QStringList { u"Nope"_s }), QList<NoteRecord>());
        QCOMPARE(NotesExporter::readNotes(QStringList { u"Nope"_s, u"A"_s }),
            (QList<NoteRecord> { { u"A"_s, u"a"_s, u"1"_s } }));
    }

    void bodiesWithSeparators()
    {
        QJsonArray notes;
        notes.append(QJsonObject { { u"name"_s, u"unit"_s }, { u"body"_s, u"<div>a\u001Fb\u001F</div>"_s } });
        notes.append(QJsonObject { { u"name"_s, u"record"_s }, { u"body"_s, u"<div>kept\u001Elost</div>"_s } });
        notes.append(QJsonObject { { u"name"_s, u"after"_s }, { u"body"_s, u"<div>fine</div>"_s } });
        const QJsonObject folder { { u"name"_s, u"F"_s }, { u"notes"_s, notes } };
        fixture->seed(QJsonDocument(QJsonObject { { u"folders"_s, QJsonArray { folder } } }).toJson());
        QCOMPARE(NotesExporter::readNotes(QStringList { u"F"_s }),
            (QList<NoteRecord> {
                { u"F"_s, u"unit"_s, u"<div>a\u001Fb\u001F</div>"_s },
                { u"F"_s, u"record"_s, u"<div>kept"_s },
                { u"F"_s, u"after"_s, u"<div>fine</div>"_s },
            }));
    }

    void unreadableNamesAndBodies()
    {
        fixture->seed(R"({"folders": [{"name": "F", "notes": [{"body": "<div>nameless</div>"},
                                                              {"name": "Locked", "body": "<div>secret</div>"}]}]})");
        qputenv("VELLORAN_FAKE_NOTES_FAIL_NOTE", "Locked");
        QCOMPARE(NotesExporter::readNotes(QStringList { u"F"_s }),
            (QList<NoteRecord> {
                { u"F"_s, u"(untitled)"_s, u"<div>nameless</div>"_s },
                { u"F"_s, u"Locked"_s,
                    u"<div>[Velloran: could not read this note's body — Notes got an error: AppleEvent handler "
                    u"failed.]</div>"_s },
            }));
    }

    void oneFolderFailsSilently()
    {
        fixture->seed(R"({"folders": [{"name": "Good", "notes": [{"name": "g", "body": "1"}]},
                                      {"name": "Broken", "notes": [{"name": "b", "body": "2"}]}]})");
        qputenv("VELLORAN_FAKE_NOTES_FAIL_FOLDER", "Broken");
        const QList<NoteRecord> good { { u"Good"_s, u"g"_s, u"1"_s } };
        QCOMPARE(NotesExporter::readNotes(QStringList { u"Good"_s, u"Broken"_s }), good);
        QCOMPARE(NotesExporter::readNotes(QStringList { u"Broken"_s, u"Good"_s }), good);
        QCOMPARE(NotesExporter::readNotes(), good);
    }

    void everyFolderFailsWithTheLastError()
    {
        fixture->seed(R"({"folders": [{"name": "A"}, {"name": "B"}]})");
        qputenv("VELLORAN_FAKE_NOTES_FAIL_FOLDER", "A\nB");
        const auto error = thrown<ExportError>([] { NotesExporter::readNotes(QStringList { u"A"_s, u"B"_s }); });
        QVERIFY(error);
        const QString script = fixture->lastArgv().value(0);
        const qsizetype start = NotesExporter::folderReadProgram.indexOf(u"exists folder fName");
        QCOMPARE(error->message(),
            u"%1:%2:%3: execution error: Notes got an error: AppleEvent handler failed. (-10000)"_s.arg(script)
                .arg(start)
                .arg(start + 19));
        QCOMPARE(fixture->lastArgv().mid(1), QStringList { u"B"_s });
    }

    void lastErrorWins_data()
    {
        QTest::addColumn<QStringList>("folders");
        QTest::addColumn<QString>("message");
        QTest::addRow("two folders") << QStringList { u"first"_s, u"second"_s } << u"failed on second"_s;
        QTest::addRow("three folders") << QStringList { u"c"_s, u"b"_s, u"a"_s } << u"failed on a"_s;
        QTest::addRow("one folder") << QStringList { u"only"_s } << u"failed on only"_s;
    }

    void lastErrorWins()
    {
        QFETCH(QStringList, folders);
        QFETCH(QString, message);
        fixture->installScript("printf 'failed on %s\\n' \"$2\" >&2; exit 1");
        const auto error = thrown<ExportError>([&] { NotesExporter::readNotes(folders); });
        QVERIFY(error);
        QCOMPARE(error->message(), message);
    }

    void lastErrorOfAnyKind()
    {
        // A folder whose run cannot even start counts as failed like any other.
        fixture->seed(R"({"folders": [{"name": "A"}]})");
        qputenv("VELLORAN_FAKE_NOTES_FAIL_FOLDER", "A");
        qputenv("VELLORAN_OSASCRIPT", fixture->path(u"no/such/program"_s).toUtf8());
        QVERIFY(thrown<LaunchError>([] { NotesExporter::readNotes(QStringList { u"A"_s, u"B"_s }); }));
    }

    void automationRefused()
    {
        fixture->seed(R"({"folders": [{"name": "A"}]})");
        qputenv("VELLORAN_FAKE_NOTES_DENY", "1");
        for (const auto &call : std::initializer_list<std::function<void()>> {
                 [] { NotesExporter::listFolders(); },
                 [] { NotesExporter::readNotes(); },
                 [] { NotesExporter::readNotes(QStringList { u"A"_s }); },
             }) {
            const auto error = thrown<ExportError>(call);
            QVERIFY(error);
            QVERIFY(
                error->message().endsWith(u" execution error: Not authorized to send Apple events to Notes. (-1743)"));
            QCOMPARE(error->errorDescription(), permissionText());
        }
        // readNotes without a list stops at the folder list.
        QCOMPARE(programsRun(*fixture), (QStringList { u"list-folders"_s, u"list-folders"_s, u"read-folder A"_s }));
    }

    void readsBackWhatTheWriteSideMade()
    {
        fixture->seed(R"({"folders": [{"name": "Imported by Velloran", "folders": [{"name": "Trips"}]}]})");
        const QString body = fixture->writeFile(
            u"body.html"_s, "<h1>Rome</h1><div>Day <img src=\"data:image/png;base64,AAAA\">one</div>");
        const QString script = fixture->writeFile(u"create.applescript"_s, R"(on run argv
    set rootName to item 1 of argv
    set subName to item 2 of argv
    set noteName to item 3 of argv
    set htmlPath to item 4 of argv
    set bodyHTML to read POSIX file htmlPath as «class utf8»
    tell application "Notes"
        set targetFolder to folder rootName
        if subName is not "" then
            set targetFolder to folder subName of (folder rootName)
        end if
        -- Idempotencia: no duplicar si ya existe una nota con ese nombre en destino.
        if (exists note noteName of targetFolder) then
            return "skipped"
        end if
        set n to make new note at targetFolder with properties {name:noteName, body:bodyHTML}
        if (count of argv) > 4 then
            repeat with i from 5 to (count of argv)
                tell n to make new attachment with data (POSIX file (item i of argv))
            end repeat
        end if
    end tell
    return "created"
end run)");
        QProcess create;
        create.start(QStringLiteral(VELLORAN_FAKE_OSASCRIPT),
            { script, u"Imported by Velloran"_s, u"Trips"_s, u"Rome & Co"_s, body });
        QVERIFY(create.waitForFinished(-1));
        QCOMPARE(create.readAllStandardOutput(), QByteArray("created\n"));
        QCOMPARE(NotesExporter::readNotes(QStringList { u"Trips"_s }),
            (QList<NoteRecord> { { u"Trips"_s, u"Rome & Co"_s,
                u"<div>Rome &amp; Co</div><div><b><span style=\"font-size: 24px\">Rome</span></b>"
                u"</div><div>Day one</div>"_s } }));
    }
};

QTEST_GUILESS_MAIN(tst_NotesExporterRead)
#include "tst_NotesExporterRead.moc"
