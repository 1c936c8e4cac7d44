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

#include "Exporter.h"
#include "Migrator.h"
#include "VaultScanner.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

#include <QCoro/QCoroTask>

#include <benchmark/benchmark.h>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

const QString vaultPath = QStringLiteral(VELLORAN_SHARED_DIR "/corpus/obsidian-tasks-demo");
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
    static Setup *s = [] {
        auto *s = new Setup;
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

/// Milliseconds per note of each benchmark, for the summary.
QMap<QString, double> msPerNote;

void record(benchmark::State &state, const char *name, qint64 nanoseconds)
{
    const double notes = double(setup().analysis.notes.size());
    const double ms = double(nanoseconds) / 1e6 / double(state.iterations()) / notes;
    state.counters["ms/note"] = ms;
    state.counters["notes"] = notes;
    msPerNote[QString::fromUtf8(name)] = ms;
}

void BM_Migration(benchmark::State &state)
{
    Setup &s = setup();
    qint64 elapsed = 0;
    for (auto _ : state) {
        resetLibrary({});
        Migrator migrator;
        QElapsedTimer timer;
        timer.start();
        migrate(migrator, s.analysis);
        elapsed += timer.nsecsElapsed();
    }
    record(state, "migration", elapsed);
}

void replay(const QList<Run> &runs)
{
    for (const Run &run : runs) {
        QProcess process;
        process.start(standIn, run);
        process.waitForFinished(-1);
    }
}

void BM_MigrationBareRuns(benchmark::State &state)
{
    Setup &s = setup();
    qint64 elapsed = 0;
    for (auto _ : state) {
        resetLibrary({});
        QElapsedTimer timer;
        timer.start();
        replay(s.migrationRuns);
        elapsed += timer.nsecsElapsed();
    }
    state.counters["runs"] = double(s.migrationRuns.size());
    record(state, "migration bare", elapsed);
}

void BM_Export(benchmark::State &state)
{
    Setup &s = setup();
    resetLibrary(s.migratedLibrary);
    qint64 elapsed = 0;
    int round = 0;
    for (auto _ : state) {
        const QString destination = s.path(u"export-%1"_s.arg(round++));
        Exporter exporter;
        QElapsedTimer timer;
        timer.start();
        exportAll(exporter, destination);
        elapsed += timer.nsecsElapsed();
        state.PauseTiming();
        QDir(destination).removeRecursively();
        state.ResumeTiming();
    }
    record(state, "export", elapsed);
}

void BM_ExportBareRuns(benchmark::State &state)
{
    Setup &s = setup();
    resetLibrary(s.migratedLibrary);
    qint64 elapsed = 0;
    for (auto _ : state) {
        QElapsedTimer timer;
        timer.start();
        replay(s.exportRuns);
        elapsed += timer.nsecsElapsed();
    }
    state.counters["runs"] = double(s.exportRuns.size());
    record(state, "export bare", elapsed);
}

BENCHMARK(BM_Migration)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_MigrationBareRuns)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_Export)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_ExportBareRuns)->Unit(benchmark::kMillisecond)->Iterations(5);

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    const auto own = [](const char *run, const char *bare) -> double {
        return msPerNote.value(QString::fromUtf8(run)) - msPerNote.value(QString::fromUtf8(bare));
    };
    if (msPerNote.size() == 4) {
        std::printf("\n%lld notes (%s)\n", qint64(setup().analysis.notes.size()), qPrintable(vaultPath));
        std::printf("migration: %.2f ms/note, of which the stand-in's runs %.2f: Velloran's own %.2f ms/note\n",
            msPerNote.value(u"migration"_s), msPerNote.value(u"migration bare"_s), own("migration", "migration bare"));
        std::printf("export:    %.2f ms/note, of which the stand-in's runs %.2f: Velloran's own %.2f ms/note\n",
            msPerNote.value(u"export"_s), msPerNote.value(u"export bare"_s), own("export", "export bare"));
    }
    return 0;
}
