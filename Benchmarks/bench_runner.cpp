// Overhead of the two script runners: calls per second of NotesBridge::run and NotesExporter::run against
// a trivial program, next to the floor, a bare QProcess start-and-wait of the same program with the same
// arguments. At the end it prints each runner's rate as a fraction of the floor.
//
//   build/bridge-rel/Benchmarks/bench_runner
//
// The trivial program is /bin/true (found on PATH), installed through VELLORAN_OSASCRIPT, so what is
// measured is the runner's own work: the run folder, the script write, the process, the pipes and the
// removal of the folder.

#include "NotesBridge_p.h"
#include "NotesExporter_p.h"
#include "ScriptRunner.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>
#include <QStandardPaths>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>

using namespace Qt::StringLiterals;

namespace {

QString trivialProgram()
{
    static const QString program = QStandardPaths::findExecutable(u"true"_s);
    return program;
}

const QStringList arguments { u"Imported by Velloran"_s };

void BM_NotesBridgeRun(benchmark::State &state)
{
    const QString script = NotesBridge::ensureFolderProgram.toString();
    for (auto _ : state)
        benchmark::DoNotOptimize(NotesBridge::run(script, arguments));
    state.counters["calls/s"] = benchmark::Counter(double(state.iterations()), benchmark::Counter::kIsRate);
}

void BM_NotesExporterRun(benchmark::State &state)
{
    const QString script = NotesExporter::folderListProgram.toString() + NotesExporter::stripSepsHandler.toString();
    for (auto _ : state)
        benchmark::DoNotOptimize(NotesExporter::run(script, arguments));
    state.counters["calls/s"] = benchmark::Counter(double(state.iterations()), benchmark::Counter::kIsRate);
}

/// The floor: the same program and arguments, with no script file, no UUID and no decoding.
void BM_QProcessFloor(benchmark::State &state)
{
    const QStringList args = QStringList { QDir::tempPath() + u"/velloran-floor.applescript"_s } + arguments;
    for (auto _ : state) {
        QProcess process;
        process.start(trivialProgram(), args, QIODevice::ReadOnly);
        process.waitForFinished(-1);
        benchmark::DoNotOptimize(process.exitCode());
    }
    state.counters["calls/s"] = benchmark::Counter(double(state.iterations()), benchmark::Counter::kIsRate);
}

/// The files of a run alone: its private folder, the script written once, and the folder's removal.
void BM_ScriptFileAlone(benchmark::State &state)
{
    const QString script = NotesBridge::ensureFolderProgram.toString();
    for (auto _ : state) {
        ScriptRunner::RunFolder folder;
        benchmark::DoNotOptimize(folder.scriptFile(ScriptRunner::Side::write, script));
    }
    state.counters["calls/s"] = benchmark::Counter(double(state.iterations()), benchmark::Counter::kIsRate);
}

/// Many scripts of one run: the script is written once, and each call starts the program.
void BM_RunsInOneFolder(benchmark::State &state)
{
    const QString script = NotesBridge::ensureFolderProgram.toString();
    ScriptRunner::RunFolder folder;
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            QCoro::waitFor(ScriptRunner::run(ScriptRunner::Side::write, script, arguments, &folder, nullptr)));
    }
    state.counters["calls/s"] = benchmark::Counter(double(state.iterations()), benchmark::Counter::kIsRate);
}

BENCHMARK(BM_QProcessFloor)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_NotesBridgeRun)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_NotesExporterRun)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ScriptFileAlone)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RunsInOneFolder)->UseRealTime()->Unit(benchmark::kMicrosecond);

/// The console report, followed by each runner's rate relative to the floor.
class RatioReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run> &runs) override
    {
        for (const Run &run : runs) {
            const auto found = run.counters.find("calls/s");
            if (found != run.counters.end() && run.run_type == Run::RT_Iteration)
                m_rates[run.benchmark_name()] = found->second.value;
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void Finalize() override
    {
        ConsoleReporter::Finalize();
        const auto floor = m_rates.find("BM_QProcessFloor/real_time");
        if (floor == m_rates.end() || floor->second <= 0)
            return;
        std::printf("\nfloor (bare QProcess start and wait): %.0f calls/s\n", floor->second);
        for (const auto &[name, rate] : m_rates) {
            if (name != floor->first)
                std::printf("%-28s %.0f calls/s, %.2f of the floor (%.0f us more per call)\n", name.c_str(), rate,
                    rate / floor->second, 1e6 / rate - 1e6 / floor->second);
        }
    }

private:
    std::map<std::string, double> m_rates;
};

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    if (trivialProgram().isEmpty()) {
        std::fprintf(stderr, "bench_runner: no \"true\" program on PATH\n");
        return 1;
    }
    qputenv("VELLORAN_OSASCRIPT", trivialProgram().toUtf8());

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
