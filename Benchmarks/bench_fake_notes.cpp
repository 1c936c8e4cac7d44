// The Notes stand-in's cost per call as its library grows: creating a note and reading a folder, each in
// libraries of 100, 1,000 and 10,000 notes, next to a reference taken in the same run, the stand-in
// started only to print its usage. At the end it prints every call as a multiple of the reference: the
// same multiple at every size means a call costs what it touches, and a whole run grows linearly.
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

/// The reference: the stand-in started, printing its usage and ending, with no library to open.
void BM_Reference(benchmark::State &state)
{
    for (auto _ : state) {
        if (!call({ u"--help"_s }, "Usage:"))
            state.SkipWithError("the stand-in did not print its usage");
    }
}

void BM_ReadFolder(benchmark::State &state)
{
    useLibrary(int(state.range(0)));
    const QStringList args { readScript(), u"Read"_s };
    // The first run after seeding reads the library file in; the store is ready for the timed ones.
    call(args, "Read");
    for (auto _ : state) {
        if (!call(args, "Read"))
            state.SkipWithError("the folder was not read");
    }
}

void BM_CreateNote(benchmark::State &state)
{
    const int notes = int(state.range(0));
    const QByteArray &seeded = useLibrary(notes);
    const QString body = writeFile(u"body.html"_s, note(u"New"_s).value(u"body"_s).toString().toUtf8());
    int created = 0;
    for (auto _ : state) {
        state.PauseTiming();
        writeFile(libraryFile(notes), seeded);
        call({ readScript(), u"Read"_s }, "Read");
        state.ResumeTiming();
        if (!call({ createScript(), root, u"Target"_s, u"New note %1"_s.arg(++created), body }, "created"))
            state.SkipWithError("the note was not created");
    }
}

BENCHMARK(BM_Reference)->UseRealTime()->Unit(benchmark::kMillisecond)->Iterations(60);
BENCHMARK(BM_ReadFolder)->Arg(100)->Arg(1000)->Arg(10000)->UseRealTime()->Unit(benchmark::kMillisecond)->Iterations(60);
BENCHMARK(BM_CreateNote)->Arg(100)->Arg(1000)->Arg(10000)->UseRealTime()->Unit(benchmark::kMillisecond)->Iterations(30);

/// The console report, followed by every call as a multiple of the reference.
class RatioReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run> &runs) override
    {
        for (const Run &run : runs) {
            if (run.run_type == Run::RT_Iteration && !run.error_occurred)
                m_times[run.benchmark_name()] = run.GetAdjustedRealTime();
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void Finalize() override
    {
        ConsoleReporter::Finalize();
        const auto reference = std::find_if(m_times.begin(), m_times.end(),
            [](const auto &entry) { return entry.first.rfind("BM_Reference", 0) == 0; });
        if (reference == m_times.end() || reference->second <= 0)
            return;
        std::printf("\nreference (the stand-in printing its usage): %.2f ms a call\n", reference->second);
        for (const char *call : { "BM_ReadFolder", "BM_CreateNote" }) {
            double lowest = 0;
            double highest = 0;
            for (const auto &[name, time] : m_times) {
                if (name.rfind(std::string(call) + '/', 0) != 0)
                    continue;
                const double ratio = time / reference->second;
                lowest = lowest == 0 ? ratio : std::min(lowest, ratio);
                highest = std::max(highest, ratio);
                std::printf("%-44s %7.2f ms, %5.2f times the reference\n", name.c_str(), time, ratio);
            }
            if (lowest > 0)
                std::printf("%-44s largest over smallest: %.2f\n", call, highest / lowest);
        }
    }

private:
    std::map<std::string, double> m_times;
};

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    if (!workDir().isValid()) {
        std::fprintf(stderr, "bench_fake_notes: cannot make a temporary folder\n");
        return 1;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
