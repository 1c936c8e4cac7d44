// fake-osascript: a stand-in for /usr/bin/osascript and Apple Notes, for tests and for trying Velloran on
// machines without Notes. See README.md, or run it with --help.

#include "Library.h"
#include "Notes.h"
#include "Programs.h"
#include "Store.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringDecoder>

#include <csignal>
#include <cstdio>

#include <sys/resource.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const char helpText[] = R"help(Usage: fake-osascript SCRIPT-FILE [ARGUMENT...]
       fake-osascript [--library FILE] --seed FILE
       fake-osascript [--library FILE] --sync
       fake-osascript [--library FILE] --print
       fake-osascript --help

A stand-in for /usr/bin/osascript talking to Apple Notes. Point Velloran at it with
VELLORAN_OSASCRIPT=/path/to/fake-osascript, and give it a library with VELLORAN_FAKE_NOTES.

Running a script
  It runs Velloran's nine AppleScript programs (ensure folder, ensure subfolder, create note, list
  folders, read folder, list folder details, read folder by id, read folder with dates, count folders
  and notes), recognised by their exact text. Any other script fails like a compile error,
  with exit status 1. The result goes to standard output followed by a line feed; an error goes to
  standard error in osascript's form, with exit status 1:
    SCRIPT-FILE:START:END: execution error: Notes got an error: Can’t get folder "X". (-1728)

  As Notes does, as far as is known:
  - the library's "folders" belong to the default account, "iCloud", and "accounts" adds further
    accounts after it; "folder NAME" finds the first folder of that name in any account at any depth,
    and the folder lists name every folder of every account, each before its subfolders; new folders
    are made in the default account, at the top level or one level down;
  - "folder id ID" finds a folder by the id that the folder details give, and the details give each
    folder's account and parent folder (a top-level folder's container is its account);
  - a note is found by its name within one folder;
  - a note's "id" is the library's, or "x-coredata://FakeNotes/ICNote/p" and a number that stays the
    same while the library does; its dates are the library's "created" and "modified", or
    2024-01-01T09:00:00 and 2024-01-02T10:30:00;
  - a new note's body is kept with its name as the first line ("<div>NAME</div>" before the body),
    "h1" and "h2" headings turned into bold 24 px and 18 px spans, "h3" into plain bold, and images
    with a data: source dropped; attachments are kept as their file names;
  - a missing folder, body file or attachment file is a script error.

Terminal use
  --seed FILE      Check FILE (a library, "-" for standard input) and store it as the library.
  --sync           Write the changes that scripts made into the library file.
  --print          Print the library as JSON. A library file that does not exist is empty.
  --library FILE   Use FILE as the library instead of VELLORAN_FAKE_NOTES.
  --help           Show this text.

Library (JSON)
  { "folders": [ { "name": "Work",
                   "notes": [ { "name": "Plan", "body": "<div>Plan</div><div>Step one</div>",
                                "attachments": ["photo.png"] } ],
                   "folders": [ { "name": "Old", "notes": [], "folders": [] } ] } ],
    "accounts": [ { "name": "On My Mac",
                    "folders": [ { "name": "Work", "notes": [], "folders": [] } ] } ] }
  A note may also have "id" (text), "created" and "modified" (local time, "2024-03-01T09:30:00").
  Every key but a folder's or an account's "name" may be left out. A note without "name" is one whose name Notes
  cannot give.
  Scripts keep their changes in FILE.store, a folder beside the library file FILE, so that a run costs what
  it touches; the file is written, atomically, by --sync and at the first change to a library without a
  file. A library file that changes (a new seed, an edit, its removal) replaces the library of the store.

Environment
  VELLORAN_FAKE_NOTES           The library file (needed to run scripts).
  VELLORAN_FAKE_NOTES_DENY      When set (and not 0), Notes refuses Automation:
                                "Not authorized to send Apple events to Notes. (-1743)".
  VELLORAN_FAKE_NOTES_TIMEOUT   When set (and not 0), Notes times out:
                                "Notes got an error: AppleEvent timed out. (-1712)".
  VELLORAN_FAKE_NOTES_FAIL_FOLDER
                                Folder names, one per line: a script that addresses one of them, by
                                name or by id, fails with "AppleEvent handler failed. (-10000)".
  VELLORAN_FAKE_NOTES_FAIL_NOTE Note names, one per line: creating such a note fails (-10000), and
                                reading it gives the read program's could-not-read body.
  VELLORAN_FAKE_NOTES_DELAY_MS  Milliseconds to wait before answering.
  VELLORAN_FAKE_NOTES_HANG      Program names (ensure-folder, ensure-subfolder, create-note, list-folders,
                                read-folder, ...), one per line: running one never answers.
  VELLORAN_FAKE_NOTES_CRASH     Program names, one per line: running one dies with signal 11 and prints
                                nothing.
  VELLORAN_FAKE_NOTES_SILENT    Program names, one per line: running one fails (exit status 1) without a
                                message.
  VELLORAN_FAKE_NOTES_LOG       A file to which each run appends one JSON line:
                                {"program": "create-note" or null, "argv": [SCRIPT-FILE, ARGUMENT...]}.
  VELLORAN_FAKE_NOTES_OLD_NOTES When set (and not 0), the list folder details and read folder by id
                                programs fail to compile, as on a Notes without the terms they use:
                                "SCRIPT-FILE:START:END: syntax error: Expected end of line, etc. but
                                found identifier. (-2741)". So does the read folder with dates program.
  VELLORAN_FAKE_NOTES_NO_DATES  When set (and not 0), only the read folder with dates program fails to
                                compile, in the same way.
)help";

void writeTo(FILE *stream, const QByteArray &bytes)
{
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
    std::fflush(stream);
}

int fail(const QString &message, int status = 1)
{
    writeTo(stderr, (u"fake-osascript: "_s + message + u'\n').toUtf8());
    return status;
}

/// Appends one line to the run log, when there is one.
void logRun(const QStringList &argv, const std::optional<FakePrograms::Program> &program)
{
    const QString path = qEnvironmentVariable("VELLORAN_FAKE_NOTES_LOG");
    if (path.isEmpty())
        return;
    QJsonObject entry;
    entry.insert(u"program"_s, program ? QJsonValue(FakePrograms::name(*program)) : QJsonValue());
    entry.insert(u"argv"_s, QJsonArray::fromStringList(argv));
    QFile log(path);
    if (log.open(QIODevice::WriteOnly | QIODevice::Append))
        log.write(QJsonDocument(entry).toJson(QJsonDocument::Compact) + '\n');
}

int seed(const QString &from, const QString &libraryPath)
{
    QFile input;
    const bool opened = from == u"-" ? input.open(stdin, QIODevice::ReadOnly)
                                     : (input.setFileName(from), input.open(QIODevice::ReadOnly));
    if (!opened)
        return fail(u"%1: %2"_s.arg(from, input.errorString()));
    QString problem;
    const std::optional<FakeLibrary::Library> library = FakeLibrary::fromJson(input.readAll(), &problem);
    if (!library)
        return fail(u"%1: %2"_s.arg(from, problem));
    if (!FakeLibrary::save(FakeLibrary::toJson(*library), libraryPath, &problem))
        return fail(problem);
    return 0;
}

int print(const QString &libraryPath)
{
    try {
        FakeLibrary::Store store(libraryPath, FakeLibrary::Store::Use::reading);
        writeTo(stdout, FakeLibrary::toJson(store.library()));
        store.commit();
    } catch (const FakeLibrary::StoreError &error) {
        return fail(error.message);
    }
    return 0;
}

int sync(const QString &libraryPath)
{
    try {
        FakeLibrary::Store store(libraryPath, FakeLibrary::Store::Use::reading);
        store.writeBack();
        store.commit();
    } catch (const FakeLibrary::StoreError &error) {
        return fail(error.message);
    }
    return 0;
}

/// Terminal use: --help, --seed, --sync, --print and --library.
int runOptions(const QStringList &args)
{
    QString libraryPath = qEnvironmentVariable("VELLORAN_FAKE_NOTES");
    std::optional<QString> seedFrom;
    bool printLibrary = false;
    bool syncLibrary = false;
    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString &arg = args.at(i);
        if (arg == u"--help" || arg == u"-h") {
            writeTo(stdout, helpText);
            return 0;
        }
        if (arg == u"--print") {
            printLibrary = true;
        } else if (arg == u"--sync") {
            syncLibrary = true;
        } else if (arg == u"--seed" && i + 1 < args.size()) {
            seedFrom = args.at(++i);
        } else if (arg == u"--library" && i + 1 < args.size()) {
            libraryPath = args.at(++i);
        } else {
            return fail(u"unknown option or missing value: %1 (see --help)"_s.arg(arg), 2);
        }
    }
    if (libraryPath.isEmpty())
        return fail(u"no library: set VELLORAN_FAKE_NOTES or pass --library FILE"_s, 2);
    if (seedFrom) {
        if (const int status = seed(*seedFrom, libraryPath))
            return status;
    }
    if (syncLibrary) {
        if (const int status = sync(libraryPath))
            return status;
    }
    if (printLibrary)
        return print(libraryPath);
    if (!seedFrom && !syncLibrary)
        return fail(u"nothing to do (see --help)"_s, 2);
    return 0;
}

/// The program names listed, one per line, in the environment variable `variable`.
QStringList programsFrom(const char *variable)
{
    return qEnvironmentVariable(variable).split(u'\n', Qt::SkipEmptyParts);
}

int runScript(const QString &scriptPath, const QStringList &args)
{
    QFile file(scriptPath);
    if (!file.open(QIODevice::ReadOnly)) {
        logRun(QStringList { scriptPath } + args, std::nullopt);
        return fail(u"%1: %2"_s.arg(scriptPath, file.errorString()));
    }
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString script = decoder.decode(file.readAll());
    const std::optional<FakePrograms::Program> program
        = decoder.hasError() ? std::nullopt : FakePrograms::recognise(script);
    logRun(QStringList { scriptPath } + args, program);
    if (!program) {
        writeTo(stderr,
            u"%1:0:0: syntax error: fake-osascript runs only Velloran’s own programs, and this script is none "
            u"of them. (-2741)\n"_s.arg(scriptPath)
                .toUtf8());
        return 1;
    }

    // Failures of osascript itself, by program name: a Notes that never answers, a crash, and a failure
    // that says nothing.
    const QString name = FakePrograms::name(*program);
    if (programsFrom("VELLORAN_FAKE_NOTES_HANG").contains(name)) {
        while (true)
            ::pause();
    }
    if (programsFrom("VELLORAN_FAKE_NOTES_CRASH").contains(name)) {
        const rlimit noCore {};
        ::setrlimit(RLIMIT_CORE, &noCore);
        std::signal(SIGSEGV, SIG_DFL);
        std::raise(SIGSEGV);
    }
    if (programsFrom("VELLORAN_FAKE_NOTES_SILENT").contains(name))
        return 1;

    const QString libraryPath = qEnvironmentVariable("VELLORAN_FAKE_NOTES");
    if (libraryPath.isEmpty())
        return fail(u"VELLORAN_FAKE_NOTES does not name a library file"_s);

    const FakeNotes::Outcome outcome
        = FakeNotes::perform(*program, scriptPath, args, libraryPath, FakeNotes::Switches::fromEnvironment());
    writeTo(stdout, outcome.standardOutput);
    writeTo(stderr, outcome.standardError);
    return outcome.exitCode;
}

} // namespace

int main(int argc, char **argv)
{
    // The arguments exactly as they came, decoded as UTF-8 the way osascript reads them.
    QStringList args;
    for (int i = 1; i < argc; ++i)
        args.append(QString::fromUtf8(argv[i]));

    if (args.isEmpty())
        return fail(u"a script file is needed: Velloran never passes a script on standard input (see --help)"_s, 2);
    if (args.first().startsWith(u'-'))
        return runOptions(args);
    return runScript(args.first(), args.mid(1));
}
