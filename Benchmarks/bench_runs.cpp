// Velloran's own cost per note in whole runs, apart from the script runs: a migration of a real vault into
// the Notes stand-in (no delay), and an export of the result back to Markdown, each next to the same
// script runs made bare, with no Velloran around them.
//
//   build/runs-rel/Benchmarks/bench_runs
//
// How the bare runs are made: one capture run goes through a small wrapper in place of the stand-in, which
// keeps a copy of every script file and note-body file before handing over to the stand-in, and the
// stand-in's log gives every argument vector. The bare benchmark then starts the stand-in with exactly
// those files and arguments, one after the other, against a library in the same state. What is left when
// the bare time is taken from the run's time is Velloran's own work: scanning is not included, but reading
// and rendering the notes, resolving images, writing body and script files, starting and reading the
// processes, converting HTML to Markdown and writing the files are. At the end it prints that difference
// in milliseconds per note.

#include "BenchmarkMain.h"
#include "Exporter.h"
#include "Migrator.h"
#include "VaultScanner.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

#include <QCoro/QCoroTask>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

/// The real 205-note vault where it is beside the clone, otherwise the project's own example vault.
const QString vaultPath = QFileInfo::exists(QStringLiteral(VELLORAN_SHARED_DIR "/corpus/obsidian-tasks-demo"))
    ? QStringLiteral(VELLORAN_SHARED_DIR "/corpus/obsidian-tasks-demo")
    : QStringLiteral(VELLORAN_SOURCE_DIR "/examples/vault");
const QString standIn = QStringLiteral(VELLORAN_FAKE_OSASCRIPT);

/// One run of the stand-in as the capture recorded it: the argument vector with the captured files.
using Run = QStringList;

struct Setup
{
    QTemporaryDir dir;
    VaultAnalysis analysis;
    QList<Run> migrationRuns;
    QList<Run> exportRuns;
    /// The library after a migration: where every export starts.
    QByteArray migratedLibrary;

    QString path(const QString &name) const { return dir.filePath(name); }
    QString library() const { return path(u"library.json"_s); }
};

QList<Run> readLog(const QString &logPath, const QString &captureDir)
{
    QList<Run> runs;
    QFile log(logPath);
    if (!log.open(QIODevice::ReadOnly))
        qFatal("bench_runs: no run log");
    for (const QByteArray &line : log.readAll().split('\n')) {
        if (line.isEmpty())
            continue;
        Run run;
        for (const QJsonValue value : QJsonDocument::fromJson(line).object().value(u"argv"_s).toArray()) {
            QString argument = value.toString();
            // Script and body files were removed after their run; the capture kept copies.
            const QString name = QFileInfo(argument).fileName();
            if (name.startsWith(u"velloran-"_s) && QFile::exists(captureDir + u'/' + name))
                argument = captureDir + u'/' + name;
            run.append(argument);
        }
        runs.append(run);
    }
    QFile::remove(logPath);
    return runs;
}

void migrate(Migrator &migrator, const VaultAnalysis &analysis)
{
    QCoro::waitFor(migrator.migrate(analysis, QUrl::fromLocalFile(vaultPath)));
}

void exportAll(Exporter &exporter, const QString &destination)
{
    QCoro::waitFor(exporter.exportNotes({}, QUrl::fromLocalFile(destination)));
}

Setup &setup()
{
    // A static object, so that its temporary folder is removed at exit.
    static Setup setupData;
    static Setup *s = [] {
        Setup *s = &setupData;
        qputenv("TMPDIR", s->path(u"tmp"_s).toUtf8());
        QDir().mkpath(s->path(u"tmp"_s));
        QDir().mkpath(s->path(u"capture"_s));
        s->analysis = VaultScanner::scan(QUrl::fromLocalFile(vaultPath));

        // The wrapper keeps copies of the files that each run reads, then becomes the stand-in.
        const QString wrapper = s->path(u"capture.sh"_s);
        QFile script(wrapper);
        script.open(QIODevice::WriteOnly);
        script.write("#!/bin/sh\nfor a in \"$@\"; do case \"$a\" in */velloran-*) cp \"$a\" '"
            + s->path(u"capture"_s).toUtf8() + "/' ;; esac; done\nexec '" + standIn.toUtf8() + "' \"$@\"\n");
        script.close();
        QFile::setPermissions(wrapper, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);

        qputenv("VELLORAN_FAKE_NOTES", s->library().toUtf8());
        qputenv("VELLORAN_FAKE_NOTES_LOG", s->path(u"runs.jsonl"_s).toUtf8());
        qputenv("VELLORAN_OSASCRIPT", wrapper.toUtf8());
        Migrator migrator;
        migrate(migrator, s->analysis);
        if (!migrator.report() || migrator.report()->notesCreated != s->analysis.notes.size())
            qFatal("bench_runs: the capture migration did not create every note");
        s->migrationRuns = readLog(s->path(u"runs.jsonl"_s), s->path(u"capture"_s));
        // The stand-in keeps what runs change beside the library file until asked to write it there.
        QProcess::execute(standIn, { u"--library"_s, s->library(), u"--sync"_s });
        QFile library(s->library());
        library.open(QIODevice::ReadOnly);
        s->migratedLibrary = library.readAll();

        Exporter exporter;
        exportAll(exporter, s->path(u"capture-export"_s));
        if (!exporter.result() || exporter.result()->written != s->analysis.notes.size())
            qFatal("bench_runs: the capture export did not write every note");
        s->exportRuns = readLog(s->path(u"runs.jsonl"_s), s->path(u"capture"_s));
        qunsetenv("VELLORAN_FAKE_NOTES_LOG");
        qputenv("VELLORAN_OSASCRIPT", standIn.toUtf8());
        return s;
    }();
    return *s;
}

void resetLibrary(const QByteArray &content)
{
    QFile library(setup().library());
    if (content.isEmpty()) {
        library.remove();
        return;
    }
    library.open(QIODevice::WriteOnly);
    library.write(content);
}

void replay(const QList<Run> &runs)
{
    for (const Run &run : runs) {
        QProcess process;
        process.start(standIn, run);
        process.waitForFinished(-1);
    }
}

/// Per benchmark: the run's and the bare runs' milliseconds per note, each the median over the iterations.
struct Figures
{
    double run = 0;
    double bare = 0;
    double own = 0;
};
QMap<QString, Figures> figures;

double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    const qsizetype n = values.size();
    return n == 0 ? 0 : (n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2);
}

/// Times `run` and then `bare` in every iteration, so that both see the same load on the machine, and
/// reports milliseconds per note of each and of their difference (medians over the iterations).
template<typename Run, typename Bare, typename Reset>
void paired(benchmark::State &state, const char *name, Run run, Bare bare, Reset reset)
{
    const double notes = double(setup().analysis.notes.size());
    QList<double> runs, bares, owns;
    for (auto _ : state) {
        reset();
        QElapsedTimer timer;
        timer.start();
        run();
        const double a = double(timer.nsecsElapsed()) / 1e6 / notes;
        reset();
        timer.restart();
        bare();
        const double b = double(timer.nsecsElapsed()) / 1e6 / notes;
        runs.append(a);
        bares.append(b);
        owns.append(a - b);
    }
    const Figures f { median(runs), median(bares), median(owns) };
    figures[QString::fromUtf8(name)] = f;
    state.counters["run ms/note"] = f.run;
    state.counters["bare ms/note"] = f.bare;
    state.counters["own ms/note"] = f.own;
    state.counters["notes"] = notes;
}

void BM_Migration(benchmark::State &state)
{
    Setup &s = setup();
    paired(
        state, "migration",
        [&] {
            Migrator migrator;
            migrate(migrator, s.analysis);
        },
        [&] { replay(s.migrationRuns); }, [] { resetLibrary({}); });
    state.counters["runs"] = double(s.migrationRuns.size());
}

void BM_Export(benchmark::State &state)
{
    Setup &s = setup();
    int round = 0;
    paired(
        state, "export",
        [&] {
            const QString destination = s.path(u"export-%1"_s.arg(round++));
            Exporter exporter;
            exportAll(exporter, destination);
        },
        [&] { replay(s.exportRuns); }, [&] { resetLibrary(s.migratedLibrary); });
    state.counters["runs"] = double(s.exportRuns.size());
}

BENCHMARK(BM_Migration)->Unit(benchmark::kMillisecond)->Iterations(7);
BENCHMARK(BM_Export)->Unit(benchmark::kMillisecond)->Iterations(15);

} // namespace

int main(int argc, char **argv)
{
    const int status = runBenchmarks(argc, argv);
    if (figures.size() == 2) {
        std::printf("\n%lld notes (%s), medians in milliseconds per note\n", qint64(setup().analysis.notes.size()),
            qPrintable(vaultPath));
        for (const char *name : { "migration", "export" }) {
            const Figures f = figures.value(QString::fromUtf8(name));
            std::printf("%-9s  run %.2f  bare stand-in runs %.2f  Velloran's own %.2f\n", name, f.run, f.bare, f.own);
        }
    }
    return status;
}
