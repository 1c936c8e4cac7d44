// The Notes stand-in's cost per call as its library grows: creating a note and reading a folder, each in
// libraries of 100, 1,000 and 10,000 notes, next to a reference taken in turns with every call, the
// stand-in started only to print its usage. At the end it prints every call as a multiple of the
// reference: the same multiple at every size means a call costs what it touches, and a whole run grows
// linearly with the number of calls.
//
//   build/release/Benchmarks/bench_fake_notes
//
// Each library holds its notes the way a migration leaves them, 100 to a subfolder of "Imported by
// Velloran"; the folder read holds 20 notes at every size, and notes are created in an empty subfolder.
// Before each created note the library is written back to its seeded state (untimed), so every call
// finds exactly the number of notes it is named after.

#include "NotesBridge_p.h"
#include "NotesExporter_p.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSaveFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>

using namespace Qt::StringLiterals;

namespace {

const QString standIn = QStringLiteral(VELLORAN_FAKE_OSASCRIPT);
const QString root = u"Imported by Velloran"_s;
constexpr int notesPerFolder = 100;
constexpr int notesRead = 20;

QTemporaryDir &workDir()
{
    static QTemporaryDir dir;
    return dir;
}

QString workPath(const QString &name)
{
    return workDir().filePath(name);
}

QString writeFile(const QString &name, const QByteArray &bytes)
{
    QSaveFile file(workPath(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        qFatal("bench_fake_notes: cannot write %s", qPrintable(file.fileName()));
    return file.fileName();
}

QJsonObject note(const QString &name)
{
    QString body = u"<div>%1</div>"_s.arg(name);
    for (int paragraph = 0; paragraph < 6; ++paragraph)
        body += u"<div>Paragraph %1 of a note of ordinary length, with <b>some</b> formatting.</div>"_s.arg(paragraph);
    return { { u"name"_s, name }, { u"body"_s, body }, { u"attachments"_s, QJsonArray() } };
}

QJsonObject folder(const QString &name, int notes)
{
    QJsonArray list;
    for (int i = 0; i < notes; ++i)
        list.append(note(u"%1 note %2"_s.arg(name).arg(i + 1)));
    return { { u"name"_s, name }, { u"notes"_s, list }, { u"folders"_s, QJsonArray() } };
}

/// A library of `notes` notes: `notes - 20` in full subfolders, then the 20 of "Read", then the empty
/// "Target", all inside the root folder.
QByteArray library(int notes)
{
    QJsonArray subfolders;
    for (int i = 0; i * notesPerFolder < notes - notesRead; ++i)
        subfolders.append(
            folder(u"Folder %1"_s.arg(i + 1), std::min(notesPerFolder, notes - notesRead - i * notesPerFolder)));
    subfolders.append(folder(u"Read"_s, notesRead));
    subfolders.append(folder(u"Target"_s, 0));
    const QJsonObject top { { u"name"_s, root }, { u"notes"_s, QJsonArray() }, { u"folders"_s, subfolders } };
    return QJsonDocument(QJsonObject { { u"folders"_s, QJsonArray { top } } }).toJson(QJsonDocument::Compact);
}

/// Runs the stand-in once and checks that it answered as expected.
bool call(const QStringList &args, const QByteArray &expectedStart)
{
    QProcess process;
    process.start(standIn, args);
    return process.waitForFinished(-1) && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0
        && process.readAllStandardOutput().startsWith(expectedStart);
}

QString libraryFile(int notes)
{
    return u"library-%1.json"_s.arg(notes);
}

/// The library of `notes` notes, seeded once per size, with the stand-in pointed at it. Returns its
/// seeded contents.
const QByteArray &useLibrary(int notes)
{
    static std::map<int, QByteArray> seeded;
    qputenv("VELLORAN_FAKE_NOTES", workPath(libraryFile(notes)).toUtf8());
    auto found = seeded.find(notes);
    if (found == seeded.end()) {
        found = seeded.emplace(notes, library(notes)).first;
        writeFile(libraryFile(notes), found->second);
    }
    return found->second;
}

QString readScript()
{
    static const QString path = writeFile(u"read.applescript"_s,
        (NotesExporter::folderReadProgram.toString() + NotesExporter::stripSepsHandler.toString()).toUtf8());
    return path;
}

QString createScript()
{
    static const QString path = writeFile(u"create.applescript"_s, NotesBridge::createNoteProgram.toString().toUtf8());
    return path;
}

/// Per call and library size: milliseconds per call of the stand-in and of the reference, taken in
/// turns so that both see the same load on the machine.
struct Timing
{
    qint64 call = 0;
    qint64 reference = 0;
};
std::map<std::string, std::map<int, std::pair<double, double>>> perCall;

/// Runs the stand-in once, timed, adding the time to `elapsed`.
bool timedCall(const QStringList &args, const QByteArray &expectedStart, qint64 &elapsed)
{
    QElapsedTimer timer;
    timer.start();
    const bool answered = call(args, expectedStart);
    elapsed += timer.nsecsElapsed();
    return answered;
}

/// The reference, outside the benchmark's own timing: the stand-in started, printing its usage and
/// ending, with no library to open.
void referenceCall(benchmark::State &state, Timing &timing)
{
    state.PauseTiming();
    if (!timedCall({ u"--help"_s }, "Usage:", timing.reference))
        state.SkipWithError("the stand-in did not print its usage");
    state.ResumeTiming();
}

void record(benchmark::State &state, const char *name, int notes, const Timing &timing)
{
    const double calls = double(state.iterations());
    if (calls > 0)
        perCall[name][notes] = { double(timing.call) / 1e6 / calls, double(timing.reference) / 1e6 / calls };
    state.counters["reference ms"] = double(timing.reference) / 1e6 / std::max(calls, 1.0);
}

void BM_ReadFolder(benchmark::State &state)
{
    const int notes = int(state.range(0));
    useLibrary(notes);
    const QStringList args { readScript(), u"Read"_s };
    // The first run after seeding reads the library file in; the store is ready for the timed ones.
    call(args, "Read");
    Timing timing;
    for (auto _ : state) {
        referenceCall(state, timing);
        if (!timedCall(args, "Read", timing.call))
            state.SkipWithError("the folder was not read");
    }
    record(state, "read a folder", notes, timing);
}

void BM_CreateNote(benchmark::State &state)
{
    const int notes = int(state.range(0));
    const QByteArray &seeded = useLibrary(notes);
    const QString body = writeFile(u"body.html"_s, note(u"New"_s).value(u"body"_s).toString().toUtf8());
    int created = 0;
    Timing timing;
    for (auto _ : state) {
        state.PauseTiming();
        writeFile(libraryFile(notes), seeded);
        call({ readScript(), u"Read"_s }, "Read");
        state.ResumeTiming();
        referenceCall(state, timing);
        const QStringList args { createScript(), root, u"Target"_s, u"New note %1"_s.arg(++created), body };
        if (!timedCall(args, "created", timing.call))
            state.SkipWithError("the note was not created");
    }
    record(state, "create a note", notes, timing);
}

BENCHMARK(BM_ReadFolder)->Arg(100)->Arg(1000)->Arg(10000)->UseRealTime()->Unit(benchmark::kMillisecond)->Iterations(60);
BENCHMARK(BM_CreateNote)->Arg(100)->Arg(1000)->Arg(10000)->UseRealTime()->Unit(benchmark::kMillisecond)->Iterations(30);

/// Every call as a multiple of its reference, and how far apart the sizes are.
void printRatios()
{
    std::printf("\nreference: the stand-in started only to print its usage, timed in turns with each call\n");
    for (const char *name : { "read a folder", "create a note" }) {
        double lowest = 0;
        double highest = 0;
        for (const auto &[notes, times] : perCall[name]) {
            const auto [time, reference] = times;
            const double ratio = reference > 0 ? time / reference : 0;
            lowest = lowest == 0 ? ratio : std::min(lowest, ratio);
            highest = std::max(highest, ratio);
            std::printf("%-14s %6d notes: %6.2f ms, reference %5.2f ms, %5.2f times the reference\n", name, notes, time,
                reference, ratio);
        }
        if (lowest > 0)
            std::printf("%-14s largest over smallest: %.2f\n", name, highest / lowest);
    }
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    if (!workDir().isValid())
        qFatal("bench_fake_notes: cannot make a temporary folder");
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    printRatios();
    return 0;
}
