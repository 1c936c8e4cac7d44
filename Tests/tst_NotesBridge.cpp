// Tests of the write side of the Notes bridge: its script runner against throwaway scripts, and its three
// programs and operations against the Notes stand-in (fake-osascript).

#include "NotesBridge_p.h"
#include "NotesFixture.h"
#include "Regex.h"

#include <QProcess>
#include <QSaveFile>
#include <QTest>
#include <QtConcurrent>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

/// A program written out as (indent, text) lines, joined by line feeds with none after the last.
QString program(const QList<std::pair<int, QString>> &lines)
{
    QStringList joined;
    for (const auto &[indent, text] : lines)
        joined.append(QString(indent, u' ') + text);
    return joined.join(u'\n');
}

/// The error that `call` throws, or nothing when it throws none (or another type).
template<typename Error, typename Call> std::optional<Error> thrown(Call call)
{
    try {
        call();
    } catch (const Error &error) {
        return error;
    } catch (...) { }
    return std::nullopt;
}

QJsonObject folderNamed(const QJsonArray &folders, const QString &name)
{
    for (const QJsonValue folder : folders) {
        if (folder.toObject().value(u"name"_s).toString() == name)
            return folder.toObject();
    }
    return {};
}

QStringList strings(const QJsonValue &array)
{
    QStringList list;
    for (const QJsonValue value : array.toArray())
        list.append(value.toString());
    return list;
}

/// The character range that the stand-in reports for an error raised by `source` inside `script`.
QString errorAt(const QString &scriptPath, QStringView script, const QString &source)
{
    const qsizetype start = script.indexOf(source);
    return u"%1:%2:%3: execution error: "_s.arg(scriptPath).arg(start).arg(start + source.size());
}

} // namespace

class tst_NotesBridge : public QObject
{
    Q_OBJECT

    std::unique_ptr<NotesFixture> fixture;

private slots:
    void init() { fixture = std::make_unique<NotesFixture>(); }

    void cleanup()
    {
        // No script file outlives a call, whatever its outcome.
        QCOMPARE(fixture->leftovers(), QStringList());
        fixture.reset();
    }

    // The three programs

    void programText_data()
    {
        QTest::addColumn<QString>("actual");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<int>("utf8Bytes");

        QTest::addRow("ensure folder") << ensureFolderProgramText()
                                       << program({
                                              { 0, u"on run argv"_s },
                                              { 4, u"tell application \"Notes\""_s },
                                              { 8, u"if not (exists folder (item 1 of argv)) then"_s },
                                              { 12, u"make new folder with properties {name:(item 1 of argv)}"_s },
                                              { 8, u"end if"_s },
                                              { 4, u"end tell"_s },
                                              { 0, u"end run"_s },
                                          })
                                       << 197;
        QTest::addRow("ensure subfolder")
            << NotesBridge::ensureSubfolderProgram.toString()
            << program({
                   { 0, u"on run argv"_s },
                   { 4, u"set rootName to item 1 of argv"_s },
                   { 4, u"set subName to item 2 of argv"_s },
                   { 4, u"tell application \"Notes\""_s },
                   { 8, u"set rootFolder to folder rootName"_s },
                   { 8, u"if not (exists folder subName of rootFolder) then"_s },
                   { 12, u"make new folder at rootFolder with properties {name:subName}"_s },
                   { 8, u"end if"_s },
                   { 4, u"end tell"_s },
                   { 0, u"end run"_s },
               })
            << 318;
        QTest::addRow("create note")
            << NotesBridge::createNoteProgram.toString()
            << program({
                   { 0, u"on run argv"_s },
                   { 4, u"set rootName to item 1 of argv"_s },
                   { 4, u"set subName to item 2 of argv"_s },
                   { 4, u"set noteName to item 3 of argv"_s },
                   { 4, u"set htmlPath to item 4 of argv"_s },
                   { 4, u"set bodyHTML to read POSIX file htmlPath as \u00ABclass utf8\u00BB"_s },
                   { 4, u"tell application \"Notes\""_s },
                   { 8, u"set targetFolder to folder rootName"_s },
                   { 8, u"if subName is not \"\" then"_s },
                   { 12, u"set targetFolder to folder subName of (folder rootName)"_s },
                   { 8, u"end if"_s },
                   { 8, u"-- Idempotencia: no duplicar si ya existe una nota con ese nombre en destino."_s },
                   { 8, u"if (exists note noteName of targetFolder) then"_s },
                   { 12, u"return \"skipped\""_s },
                   { 8, u"end if"_s },
                   { 8, u"set n to make new note at targetFolder with properties {name:noteName, body:bodyHTML}"_s },
                   { 8, u"if (count of argv) > 4 then"_s },
                   { 12, u"repeat with i from 5 to (count of argv)"_s },
                   { 16, u"tell n to make new attachment with data (POSIX file (item i of argv))"_s },
                   { 12, u"end repeat"_s },
                   { 8, u"end if"_s },
                   { 4, u"end tell"_s },
                   { 4, u"return \"created\""_s },
                   { 0, u"end run"_s },
               })
            << 936;
    }

    void programText()
    {
        QFETCH(QString, actual);
        QFETCH(QString, expected);
        QFETCH(int, utf8Bytes);
        QCOMPARE(actual, expected);
        QCOMPARE(actual.toUtf8().size(), utf8Bytes);
        QVERIFY(!actual.endsWith(u'\n'));
    }

    // The runner, against throwaway scripts

    void runReturnsOutputUntrimmed()
    {
        fixture->installScript("printf 'created\\n'");
        QCOMPARE(NotesBridge::run(u"script"_s, {}), u"created\n"_s);
    }

    void runDecodesOutputAsUtf8()
    {
        fixture->installScript("printf '  caf\\303\\251 \\342\\200\\224 \\360\\237\\231\\202\\n\\n'");
        QCOMPARE(NotesBridge::run(u"script"_s, {}), u"  café — 🙂\n\n"_s);
    }

    void runReadsInvalidUtf8AsEmpty_data()
    {
        QTest::addColumn<QByteArray>("shell");
        QTest::addRow("stray continuation byte") << QByteArray("printf 'abc\\200def'");
        QTest::addRow("cut multi-byte sequence at the end") << QByteArray("printf 'caf\\303'");
        QTest::addRow("UTF-16 byte-order mark") << QByteArray("printf '\\377\\376a\\000'");
    }

    void runReadsInvalidUtf8AsEmpty()
    {
        QFETCH(QByteArray, shell);
        fixture->installScript(shell);
        QCOMPARE(NotesBridge::run(u"script"_s, {}), QString());
    }

    void runFailure_data() { addRunFailureRows(); }

    void runFailure()
    {
        QFETCH(QByteArray, shell);
        QFETCH(QString, message);
        QFETCH(QString, description);
        fixture->installScript(shell);
        const auto error = thrown<NotesBridge::BridgeError>([] { NotesBridge::run(u"script"_s, { u"a"_s }); });
        QVERIFY(error);
        QCOMPARE(error->kind(), NotesBridge::BridgeError::Kind::scriptFailed);
        QCOMPARE(error->message(), message);
        QCOMPARE(error->errorDescription(), description);
        QCOMPARE(errorDescription(*error), description);
    }

    void runnerResult_data()
    {
        QTest::addColumn<QByteArray>("shell");
        QTest::addColumn<QString>("result");
        QTest::addColumn<QString>("message");

        QTest::addRow("success keeps the line break")
            << QByteArray("printf 'created\\n'") << u"created\n"_s << QString();
        QTest::addRow("success ignores standard error")
            << QByteArray("printf ' x '; printf 'warning' >&2") << u" x "_s << QString();
        QTest::addRow("success with invalid UTF-8") << QByteArray("printf '\\303('") << QString() << QString();
        QTest::addRow("failure trims standard error")
            << QByteArray("printf created; printf '  word\\n' >&2; exit 1") << QString() << u"word"_s;
        QTest::addRow("failure keeps inner line breaks")
            << QByteArray("printf '\\na\\n\\nb\\n' >&2; exit 1") << QString() << u"a\n\nb"_s;
        QTest::addRow("failure trims Unicode spaces")
            << QByteArray("printf '\\302\\240\\342\\200\\250word\\343\\200\\200' >&2; exit 1") << QString()
            << u"word"_s;
        // A failure that says nothing still says how it ended.
        QTest::addRow("failure without a message")
            << QByteArray("exit 1") << QString() << u"osascript failed without a message (exit status 1)"_s;
        QTest::addRow("crash") << QByteArray("kill -SEGV $$") << QString() << u"osascript ended with signal 11"_s;
        QTest::addRow("killed") << QByteArray("kill -9 $$") << QString() << u"osascript ended with signal 9"_s;
    }

    void runnerResult()
    {
        QFETCH(QByteArray, shell);
        QFETCH(QString, result);
        QFETCH(QString, message);
        fixture->installScript(shell);
        if (message.isEmpty()) {
            QCOMPARE(NotesBridge::run(u"script"_s, {}), result);
            return;
        }
        const auto error = thrown<NotesBridge::BridgeError>([] { NotesBridge::run(u"script"_s, {}); });
        QVERIFY(error);
        QCOMPARE(error->message(), message);
    }

    void errorDescriptions_data()
    {
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("description");
        QTest::addRow("permission, number at the end") << u"x (-1743)"_s << permissionText();
        QTest::addRow("permission, number at the start") << u"-1743"_s << permissionText();
        QTest::addRow("other number") << u"Can’t get folder \"X\". (-1728)"_s
                                      << u"Apple Notes error: Can’t get folder \"X\". (-1728)"_s;
        QTest::addRow("empty") << QString() << u"Apple Notes error: "_s;
        QTest::addRow("placeholder-like text stays") << u"%1 %2 100%"_s << u"Apple Notes error: %1 %2 100%"_s;
        QTest::addRow("1743 alone") << u"17431743"_s << u"Apple Notes error: 17431743"_s;
    }

    void errorDescriptions()
    {
        QFETCH(QString, message);
        QFETCH(QString, description);
        const NotesBridge::BridgeError error = NotesBridge::BridgeError::scriptFailed(message);
        QCOMPARE(error.message(), message);
        QCOMPARE(error.errorDescription(), description);
        QCOMPARE(errorDescription(error), description);
        QCOMPARE(QString::fromUtf8(error.what()), description);
    }

    // Each run's script lies in a private folder of its own (mode 0700) in the temporary directory, which
    // is gone when the run is.
    void scriptFileIsInAPrivateRunFolder()
    {
        fixture->installScript("printf '%s %s' \"$1\" \"$(stat -c %a \"$(dirname \"$1\")\")\"");
        const QString first = NotesBridge::run(u"script"_s, {});
        const QString second = NotesBridge::run(u"script"_s, {});
        const Regex form(
            u"^velloran-[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}\\.applescript 700$"_s);
        const Regex folderForm(u"^velloran-run-"_s + QString::number(QCoreApplication::applicationPid())
            + u"-[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}$"_s);
        for (const QString &output : { first, second }) {
            const QFileInfo info(output);
            QVERIFY(info.isAbsolute());
            QCOMPARE(QFileInfo(info.absolutePath()).absolutePath(), fixture->tempDir());
            QVERIFY2(folderForm.contains(QFileInfo(info.absolutePath()).fileName()), qPrintable(output));
            QVERIFY2(form.contains(info.fileName()), qPrintable(output));
            QVERIFY(!QFileInfo::exists(info.absolutePath()));
        }
        QVERIFY(first != second);
    }

    // A run killed before it could clean up leaves its folder; the next run removes it, and only it.
    void foldersOfDeadRunsAreRemoved()
    {
        QProcess gone;
        gone.start(u"true"_s, QStringList());
        QVERIFY(gone.waitForFinished());
        const qint64 deadPid = gone.processId() > 0 ? gone.processId() : 999999;
        const QString uuid = u"01234567-89AB-CDEF-0123-456789ABCDEF"_s;
        const QDir temp(fixture->tempDir());
        const QString dead = u"velloran-run-%1-%2"_s.arg(deadPid).arg(uuid);
        const QString alive = u"velloran-run-1-%1"_s.arg(uuid);
        const QString mine = u"velloran-run-%1-%2"_s.arg(QCoreApplication::applicationPid()).arg(uuid);
        for (const QString &name : { dead, alive, mine }) {
            QVERIFY(temp.mkpath(name));
            fixture->writeFile(u"tmp/"_s + name + u"/velloran-body-x.html"_s, "left");
        }
        fixture->installScript("printf ok");
        QCOMPARE(NotesBridge::run(u"script"_s, {}), u"ok"_s);
        QVERIFY(!temp.exists(dead));
        QVERIFY(temp.exists(alive));
        QVERIFY(temp.exists(mine));
        QVERIFY(QDir(temp.filePath(alive)).removeRecursively());
        QVERIFY(QDir(temp.filePath(mine)).removeRecursively());
    }

    void scriptFileHoldsTheScriptAsUtf8()
    {
        fixture->installScript("cat \"$1\"");
        QCOMPARE(
            NotesBridge::run(NotesBridge::createNoteProgram.toString(), {}), NotesBridge::createNoteProgram.toString());
        const QString awkward = u"«class utf8» — 日本語\u001E\u001F\r\n\"\\ 🙂"_s;
        QCOMPARE(NotesBridge::run(awkward, {}), awkward);
    }

    void scriptFileIsTheFirstArgument()
    {
        const QString argvFile = fixture->path(u"argv"_s);
        fixture->installScript(
            "for a in \"$@\"; do printf '%s\\0' \"$a\"; done > '" + argvFile.toUtf8() + "'; head -c 11 \"$1\"");
        QCOMPARE(NotesBridge::run(NotesBridge::ensureFolderProgram.toString(), { u"first"_s, u"second"_s }),
            u"on run argv"_s);
        QFile file(argvFile);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QList<QByteArray> argv = file.readAll().split('\0');
        QCOMPARE(argv.size(), 4); // three arguments, each ended by a NUL
        QVERIFY(QFileInfo(QString::fromUtf8(argv[0])).isAbsolute());
        QVERIFY(QFileInfo(QString::fromUtf8(argv[0])).fileName().startsWith(u"velloran-"));
        QCOMPARE(argv[1], QByteArray("first"));
        QCOMPARE(argv[2], QByteArray("second"));
        QCOMPARE(argv[3], QByteArray());
    }

    void argumentsArriveByteForByte()
    {
        const QString argvFile = fixture->path(u"argv"_s);
        fixture->installScript("shift; for a in \"$@\"; do printf '%s\\0' \"$a\"; done > '" + argvFile.toUtf8() + "'");
        const QStringList args = awkwardArguments();
        NotesBridge::run(u"script"_s, args);
        QFile file(argvFile);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QByteArray expected;
        for (const QString &arg : args)
            expected += arg.toUtf8() + '\0';
        QCOMPARE(file.readAll(), expected);
    }

    void launchFailure_data()
    {
        QTest::addColumn<bool>("exists");
        QTest::addRow("no such program") << false;
        QTest::addRow("not executable") << true;
    }

    void launchFailure()
    {
        QFETCH(bool, exists);
        const QString program = exists ? fixture->writeFile(u"not-a-program"_s, "#!/bin/sh\nexit 0\n")
                                       : fixture->path(u"no/such/osascript"_s);
        qputenv("VELLORAN_OSASCRIPT", program.toUtf8());

        // The system's own text for the same failure.
        QProcess probe;
        probe.start(program, { u"x"_s });
        QVERIFY(!probe.waitForStarted(-1));
        const QString systemText = probe.errorString();
        QVERIFY(!systemText.isEmpty());

        const auto error = thrown<LaunchError>([] { NotesBridge::run(u"script"_s, {}); });
        QVERIFY(error);
        QCOMPARE(error->errorDescription(), systemText);
        QCOMPARE(errorDescription(*error), systemText);
    }

    void fileSystemFailureLaunchesNothing()
    {
        const QString marker = fixture->path(u"launched"_s);
        fixture->installScript("touch '" + marker.toUtf8() + "'");
        // A temporary "directory" that is a plain file: nothing can be written under it.
        const QString notADirectory = fixture->writeFile(u"plain-file"_s, "x");
        qputenv("TMPDIR", notADirectory.toUtf8());
        QSaveFile probe(notADirectory + u"/probe"_s);
        QVERIFY(!probe.open(QIODevice::WriteOnly));

        const auto error = thrown<FileSystemError>([] { NotesBridge::run(u"script"_s, {}); });
        QVERIFY(error);
        QCOMPARE(error->errorDescription(), probe.errorString());
        QVERIFY(!QFile::exists(marker));
        qputenv("TMPDIR", fixture->tempDir().toUtf8());
    }

    void noScriptFileIsLeftBehind_data()
    {
        QTest::addColumn<QByteArray>("shell");
        QTest::addColumn<QString>("program");
        QTest::addRow("success") << QByteArray("printf 'created\\n'") << QString();
        QTest::addRow("failure") << QByteArray("printf 'no\\n' >&2; exit 1") << QString();
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
            NotesBridge::run(u"script"_s, { u"a"_s });
        } catch (const VelloranError &) { }
        QCOMPARE(fixture->leftovers(), QStringList());
        QCOMPARE(
            QDir(fixture->tempDir()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden), QStringList());
    }

    void largeOutputComesBackWhole()
    {
        // 50 MB of numbered lines with multi-byte characters, which straddle every read boundary.
        fixture->installScript("yes 'é — ünïcödé 0123456789 abcdefghijklmnopqrstuvwxyz' | head -n 920000");
        const QString line = u"é — ünïcödé 0123456789 abcdefghijklmnopqrstuvwxyz\n"_s;
        const QString output = NotesBridge::run(u"script"_s, {});
        QCOMPARE(output.toUtf8().size(), qsizetype(line.toUtf8().size()) * 920000);
        QVERIFY(output.toUtf8().size() > 50 * 1024 * 1024);
        QVERIFY(output == line.repeated(920000));
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
        // Interleaved writes of 4 MB to each pipe: far more than a pipe holds, so a runner that waits on
        // one pipe while the other fills would hang here.
        fixture->installScript("i=0; while [ $i -lt 64 ]; do head -c 65536 /dev/zero | tr '\\0' o; "
                               "head -c 65536 /dev/zero | tr '\\0' e >&2; i=$((i+1)); done; exit "
            + QByteArray::number(status));
        if (status == 0) {
            QCOMPARE(NotesBridge::run(u"script"_s, {}), QString(64 * 65536, u'o'));
        } else {
            const auto error = thrown<NotesBridge::BridgeError>([] { NotesBridge::run(u"script"_s, {}); });
            QVERIFY(error);
            QCOMPARE(error->message(), QString(64 * 65536, u'e'));
        }
    }

    void concurrentRunsUseTheirOwnFiles()
    {
        fixture->installScript("cat \"$1\"; printf '|%s' \"$1\" \"$2\"");
        QList<int> numbers;
        for (int i = 0; i < 16; ++i)
            numbers.append(i);
        const QList<QString> outputs = QtConcurrent::blockingMapped(
            numbers, [](int i) { return NotesBridge::run(u"script %1"_s.arg(i), { QString::number(i) }); });
        QSet<QString> paths;
        for (int i = 0; i < 16; ++i) {
            const QStringList parts = outputs[i].split(u'|');
            QCOMPARE(parts.size(), 3);
            QCOMPARE(parts[0], u"script %1"_s.arg(i));
            QCOMPARE(parts[2], QString::number(i));
            paths.insert(parts[1]);
        }
        QCOMPARE(paths.size(), 16);
    }

    void osascriptIsTheDefaultProgram()
    {
        qunsetenv("VELLORAN_OSASCRIPT");
        QCOMPARE(NotesBridge::scriptRunnerProgram(), u"/usr/bin/osascript"_s);
        qputenv("VELLORAN_OSASCRIPT", "");
        QCOMPARE(NotesBridge::scriptRunnerProgram(), u"/usr/bin/osascript"_s);
        qputenv("VELLORAN_OSASCRIPT", "/opt/fake");
        QCOMPARE(NotesBridge::scriptRunnerProgram(), u"/opt/fake"_s);
    }

    // The operations, against the Notes stand-in

    void ensureFolderTwiceCreatesOnce()
    {
        NotesBridge::ensureFolder(u"Imported by Velloran"_s);
        NotesBridge::ensureFolder(u"Imported by Velloran"_s);
        const QJsonArray folders = fixture->folders();
        QCOMPARE(folders.size(), 1);
        QCOMPARE(folders[0].toObject().value(u"name"_s).toString(), u"Imported by Velloran"_s);
        const QList<QJsonObject> runs = fixture->runs();
        QCOMPARE(runs.size(), 2);
        QCOMPARE(runs[1].value(u"program"_s).toString(), u"ensure-folder"_s);
        QCOMPARE(fixture->lastArgv().mid(1), QStringList { u"Imported by Velloran"_s });
    }

    void ensureSubfolderTwiceCreatesOnce()
    {
        NotesBridge::ensureFolder(u"Imported by Velloran"_s);
        NotesBridge::ensureSubfolder(u"Imported by Velloran"_s, u"Projects"_s);
        NotesBridge::ensureSubfolder(u"Imported by Velloran"_s, u"Projects"_s);
        NotesBridge::ensureSubfolder(u"Imported by Velloran"_s, u"Projects ▸ 2024"_s);
        const QJsonArray folders = fixture->folders();
        QCOMPARE(folders.size(), 1);
        const QJsonArray subfolders = folders[0].toObject().value(u"folders"_s).toArray();
        QCOMPARE(subfolders.size(), 2);
        QCOMPARE(subfolders[0].toObject().value(u"name"_s).toString(), u"Projects"_s);
        QCOMPARE(subfolders[1].toObject().value(u"name"_s).toString(), u"Projects ▸ 2024"_s);
        QCOMPARE(fixture->runs().last().value(u"program"_s).toString(), u"ensure-subfolder"_s);
        QCOMPARE(fixture->lastArgv().mid(1), (QStringList { u"Imported by Velloran"_s, u"Projects ▸ 2024"_s }));
    }

    void ensureSubfolderNeedsTheRoot()
    {
        const auto error = thrown<NotesBridge::BridgeError>(
            [] { NotesBridge::ensureSubfolder(u"Imported by Velloran"_s, u"Projects"_s); });
        QVERIFY(error);
        const QString script = fixture->lastArgv().value(0);
        QCOMPARE(error->message(),
            errorAt(script, NotesBridge::ensureSubfolderProgram, u"folder rootName"_s)
                + u"Notes got an error: Can’t get folder \"Imported by Velloran\". (-1728)"_s);
        QCOMPARE(error->errorDescription(), u"Apple Notes error: "_s + error->message());
        QCOMPARE(fixture->folders().size(), 0);
    }

    void ensureFolderOutputIsIgnored()
    {
        const QString calls = fixture->path(u"calls"_s);
        fixture->installScript("printf '%s\\n' \"$2\" >> '" + calls.toUtf8()
            + "'; printf 'folder id x-coredata://1 of application \"Notes\"\\n'");
        NotesBridge::ensureFolder(u"A"_s);
        NotesBridge::ensureSubfolder(u"A"_s, u"B"_s);
        QFile file(calls);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), QByteArray("A\nA\n"));
    }

    void createNoteWritesNameBodyAndAttachments()
    {
        NotesBridge::ensureFolder(u"Imported by Velloran"_s);
        NotesBridge::ensureSubfolder(u"Imported by Velloran"_s, u"Trips ▸ Italy"_s);
        const QString body = fixture->writeFile(u"velloran-body.html"_s, "<div>Pasta &amp; «vino» — 🍝</div>");
        const QString first = fixture->writeFile(u"first photo.png"_s, "png");
        const QString second = fixture->writeFile(u"second.jpg"_s, "jpg");

        QCOMPARE(
            NotesBridge::createNote(u"Imported by Velloran"_s, u"Trips ▸ Italy"_s, u"Rome"_s, body, { first, second }),
            true);

        QCOMPARE(fixture->runs().last().value(u"program"_s).toString(), u"create-note"_s);
        QCOMPARE(fixture->lastArgv().mid(1),
            (QStringList { u"Imported by Velloran"_s, u"Trips ▸ Italy"_s, u"Rome"_s, body, first, second }));
        const QJsonObject sub = fixture->folders()[0].toObject().value(u"folders"_s).toArray()[0].toObject();
        QCOMPARE(sub.value(u"name"_s).toString(), u"Trips ▸ Italy"_s);
        const QJsonArray notes = sub.value(u"notes"_s).toArray();
        QCOMPARE(notes.size(), 1);
        QCOMPARE(notes[0].toObject().value(u"name"_s).toString(), u"Rome"_s);
        QCOMPARE(
            notes[0].toObject().value(u"body"_s).toString(), u"<div>Rome</div><div>Pasta &amp; «vino» — 🍝</div>"_s);
        QCOMPARE(strings(notes[0].toObject().value(u"attachments"_s)),
            (QStringList { u"first photo.png"_s, u"second.jpg"_s }));
    }

    void createNoteWithoutSubfolderUsesTheRoot()
    {
        NotesBridge::ensureFolder(u"Root"_s);
        const QString body = fixture->writeFile(u"body.html"_s, "<div>x</div>");
        QVERIFY(NotesBridge::createNote(u"Root"_s, std::nullopt, u"Top"_s, body, {}));
        // An absent subfolder travels as an empty second argument; no attachments means four arguments.
        QCOMPARE(fixture->lastArgv().mid(1), (QStringList { u"Root"_s, QString(), u"Top"_s, body }));
        const QJsonObject root = fixture->folders()[0].toObject();
        QCOMPARE(root.value(u"notes"_s).toArray().size(), 1);
        QCOMPARE(root.value(u"notes"_s).toArray()[0].toObject().value(u"name"_s).toString(), u"Top"_s);
        QCOMPARE(strings(root.value(u"notes"_s).toArray()[0].toObject().value(u"attachments"_s)), QStringList());
    }

    void createNoteSkipsAnExistingTitle()
    {
        NotesBridge::ensureFolder(u"Root"_s);
        NotesBridge::ensureSubfolder(u"Root"_s, u"Sub"_s);
        const QString body = fixture->writeFile(u"body.html"_s, "<div>one</div>");
        const QString photo = fixture->writeFile(u"photo.png"_s, "png");
        QCOMPARE(NotesBridge::createNote(u"Root"_s, u"Sub"_s, u"Same"_s, body, {}), true);

        const QString otherBody = fixture->writeFile(u"other.html"_s, "<div>two</div>");
        QCOMPARE(NotesBridge::createNote(u"Root"_s, u"Sub"_s, u"Same"_s, otherBody, { photo }), false);

        const QJsonArray notes
            = fixture->folders()[0].toObject().value(u"folders"_s).toArray()[0].toObject().value(u"notes"_s).toArray();
        QCOMPARE(notes.size(), 1);
        QCOMPARE(notes[0].toObject().value(u"body"_s).toString(), u"<div>Same</div><div>one</div>"_s);
        QCOMPARE(strings(notes[0].toObject().value(u"attachments"_s)), QStringList());
    }

    void createNoteOfATitleThatExistsElsewhere()
    {
        NotesBridge::ensureFolder(u"Root"_s);
        NotesBridge::ensureSubfolder(u"Root"_s, u"Sub"_s);
        const QString body = fixture->writeFile(u"body.html"_s, "<div>x</div>");
        QCOMPARE(NotesBridge::createNote(u"Root"_s, std::nullopt, u"Twin"_s, body), true);
        QCOMPARE(NotesBridge::createNote(u"Root"_s, u"Sub"_s, u"Twin"_s, body), true);
        QCOMPARE(NotesBridge::createNote(u"Root"_s, u"Sub"_s, u"Twin"_s, body), false);
        const QJsonObject root = fixture->folders()[0].toObject();
        QCOMPARE(root.value(u"notes"_s).toArray().size(), 1);
        QCOMPARE(root.value(u"folders"_s).toArray()[0].toObject().value(u"notes"_s).toArray().size(), 1);
    }

    void createNoteResult_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<bool>("created");
        QTest::addRow("skipped") << QByteArray("skipped") << false;
        QTest::addRow("skipped and a line break") << QByteArray("skipped\n") << false;
        QTest::addRow("skipped in white space") << QByteArray(" \t\r\nskipped \r\n\n") << false;
        QTest::addRow("created") << QByteArray("created\n") << true;
        QTest::addRow("empty") << QByteArray() << true;
        QTest::addRow("other case") << QByteArray("Skipped\n") << true;
        QTest::addRow("more than skipped") << QByteArray("skipped.\n") << true;
        QTest::addRow("two words") << QByteArray("skipped skipped") << true;
        QTest::addRow("unexpected") << QByteArray("folder id 4\n") << true;
    }

    void createNoteResult()
    {
        QFETCH(QByteArray, output);
        QFETCH(bool, created);
        fixture->writeFile(u"output"_s, output);
        fixture->installScript("cat '" + fixture->path(u"output"_s).toUtf8() + "'");
        QCOMPARE(NotesBridge::createNote(u"R"_s, std::nullopt, u"T"_s, u"/nowhere.html"_s, {}), created);
    }

    void createNoteFailures_data()
    {
        QTest::addColumn<QString>("sub");
        QTest::addColumn<bool>("bodyExists");
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("message");
        QTest::addRow("missing subfolder") << u"Nope"_s << true << u"folder subName of (folder rootName)"_s
                                           << u"Notes got an error: Can’t get folder \"Nope\" of folder \"Root\". "
                                              u"(-1728)"_s;
        QTest::addRow("missing body file")
            << QString() << false << u"read POSIX file htmlPath as «class utf8»"_s << u"File %1 wasn’t found. (-43)"_s;
    }

    void createNoteFailures()
    {
        QFETCH(QString, sub);
        QFETCH(bool, bodyExists);
        QFETCH(QString, source);
        QFETCH(QString, message);
        NotesBridge::ensureFolder(u"Root"_s);
        const QString body
            = bodyExists ? fixture->writeFile(u"body.html"_s, "<div>x</div>") : fixture->path(u"missing.html"_s);
        const auto error = thrown<NotesBridge::BridgeError>([&] {
            NotesBridge::createNote(u"Root"_s, sub.isEmpty() ? std::nullopt : std::optional(sub), u"T"_s, body);
        });
        QVERIFY(error);
        QCOMPARE(error->message(),
            errorAt(fixture->lastArgv().value(0), NotesBridge::createNoteProgram, source)
                + (message.contains(u"%1") ? message.arg(body) : message));
        QCOMPARE(fixture->folders()[0].toObject().value(u"notes"_s).toArray().size(), 0);
    }

    void createNoteKeepsTheNoteWhenAnAttachmentFails()
    {
        NotesBridge::ensureFolder(u"Root"_s);
        const QString body = fixture->writeFile(u"body.html"_s, "<div>x</div>");
        const QString present = fixture->writeFile(u"present.png"_s, "png");
        const QString missing = fixture->path(u"missing.png"_s);
        const QString later = fixture->writeFile(u"later.png"_s, "png");
        const auto error = thrown<NotesBridge::BridgeError>([&] {
            NotesBridge::createNote(u"Root"_s, std::nullopt, u"T"_s, body, { present, missing, later });
        });
        QVERIFY(error);
        QCOMPARE(error->message(),
            errorAt(fixture->lastArgv().value(0), NotesBridge::createNoteProgram,
                u"make new attachment with data (POSIX file (item i of argv))"_s)
                + u"Notes got an error: File %1 wasn’t found. (-43)"_s.arg(missing));
        const QJsonArray notes = fixture->folders()[0].toObject().value(u"notes"_s).toArray();
        QCOMPARE(notes.size(), 1);
        QCOMPARE(strings(notes[0].toObject().value(u"attachments"_s)), QStringList { u"present.png"_s });
    }

    void awkwardNamesReachNotesByteForByte()
    {
        const QStringList names = awkwardArguments();
        const QString body = fixture->writeFile(u"body.html"_s, "<div>x</div>");
        for (qsizetype i = 0; i + 2 < names.size(); ++i) {
            const QString root = names[i];
            const QString sub = names[i + 1];
            const QString title = names[i + 2];
            NotesBridge::ensureFolder(root);
            QCOMPARE(fixture->lastArgv().mid(1), QStringList { root });
            NotesBridge::ensureSubfolder(root, sub);
            QCOMPARE(fixture->lastArgv().mid(1), (QStringList { root, sub }));
            NotesBridge::createNote(root, sub, title, body, {});
            QCOMPARE(fixture->lastArgv().mid(1), (QStringList { root, sub, title, body }));
        }
        // The library holds the names exactly as given.
        const QJsonObject first = folderNamed(fixture->folders(), names[0]);
        QCOMPARE(first.value(u"folders"_s).toArray()[0].toObject().value(u"name"_s).toString(), names[1]);
        QCOMPARE(first.value(u"folders"_s)
                     .toArray()[0]
                     .toObject()
                     .value(u"notes"_s)
                     .toArray()[0]
                     .toObject()
                     .value(u"name"_s)
                     .toString(),
            names[2]);
    }

    void automationRefused()
    {
        qputenv("VELLORAN_FAKE_NOTES_DENY", "1");
        const auto error = thrown<NotesBridge::BridgeError>([] { NotesBridge::ensureFolder(u"Root"_s); });
        QVERIFY(error);
        QCOMPARE(error->message(),
            errorAt(fixture->lastArgv().value(0), NotesBridge::ensureFolderProgram, u"exists folder (item 1 of argv)"_s)
                + u"Not authorized to send Apple events to Notes. (-1743)"_s);
        QCOMPARE(error->errorDescription(), permissionText());
        QCOMPARE(fixture->folders().size(), 0);
    }

    void notesTimesOut()
    {
        NotesBridge::ensureFolder(u"Root"_s);
        qputenv("VELLORAN_FAKE_NOTES_TIMEOUT", "1");
        const auto error = thrown<NotesBridge::BridgeError>([] { NotesBridge::ensureSubfolder(u"Root"_s, u"Sub"_s); });
        QVERIFY(error);
        const QString message
            = errorAt(fixture->lastArgv().value(0), NotesBridge::ensureSubfolderProgram, u"folder rootName"_s)
            + u"Notes got an error: AppleEvent timed out. (-1712)"_s;
        QCOMPARE(error->message(), message);
        QCOMPARE(error->errorDescription(), u"Apple Notes error: "_s + message);
    }

private:
    static QString ensureFolderProgramText() { return NotesBridge::ensureFolderProgram.toString(); }
};

QTEST_GUILESS_MAIN(tst_NotesBridge)
#include "tst_NotesBridge.moc"
