// Throughput of the Notes-to-Markdown side: HtmlToMarkdown::convert on note bodies shaped like the ones
// Notes gives out (one with a 2 MB data-URI image) and on the HTML that MarkdownLite makes of the shared
// corpus; NotesExporter::exportNotes on 10,000 records, beside the floor of writing the same files with
// plain QSaveFile calls.
//
//   build/h2m-rel/Benchmarks/bench_export
//   build/h2m-rel/Benchmarks/bench_export --benchmark_filter=Export

#include "Files.h"
#include "HtmlToMarkdown.h"
#include "MarkdownLite.h"
#include "NotesExporter.h"
#include "VaultScanner.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QSaveFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

using namespace Qt::StringLiterals;

namespace {

const QString sharedDir = QStringLiteral(VELLORAN_SHARED_DIR);
const QString fixtureDir = QStringLiteral(VELLORAN_SOURCE_DIR "/Tests/data/notes-html");

struct Inputs
{
    QStringList bodies;
    qint64 bytes = 0;

    void add(const QString &html)
    {
        bodies.append(html);
        bytes += html.toUtf8().size();
    }
};

/// The note bodies of Tests/data/notes-html, in the shapes Notes produces.
const Inputs &fixtures()
{
    static const Inputs loaded = [] {
        Inputs inputs;
        QDirIterator it(fixtureDir, { u"*.html"_s }, QDir::Files);
        while (it.hasNext()) {
            if (const auto html = Files::readUtf8(it.next()))
                inputs.add(*html);
        }
        return inputs;
    }();
    return loaded;
}

/// A note of a few paragraphs, a list and a table, with a photo pasted in as Notes embeds it.
QString noteWithImage(qsizetype imageBytes, bool selfClosing)
{
    QString payload;
    payload.reserve(imageBytes);
    const QString alphabet = u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"_s;
    for (qsizetype i = 0; i < imageBytes; ++i)
        payload += alphabet[(i * 7 + i / 64) % 64];
    return u"<div><b><span style=\"font-size: 24px\">Trip</span></b></div>\n<div><br></div>\n"
           "<div>We went to the coast &amp; back.</div>\n<ul class=\"Apple-dash-list\">\n<li>Tickets</li>\n</ul>\n"
           "<div><img style=\"max-width: 100%; max-height: 100%;\" src=\"data:image/heic;base64,"_s
        + payload + (selfClosing ? u"\"/>"_s : u"\">"_s) + u"<br></div>\n<div>The end.</div>\n"_s;
}

/// The HTML that MarkdownLite makes of every note of the shared corpus.
const Inputs &corpusHtml()
{
    static const Inputs loaded = [] {
        Inputs inputs;
        QDirIterator it(sharedDir + u"/corpus"_s, { u"*.md"_s }, QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            if (const auto text = Files::readUtf8(it.next()))
                inputs.add(MarkdownLite::convert(VaultScanner::stripFrontmatter(*text).first).html);
        }
        return inputs;
    }();
    return loaded;
}

void convertAll(benchmark::State &state, const Inputs &inputs)
{
    for (auto _ : state) {
        for (const QString &html : inputs.bodies)
            benchmark::DoNotOptimize(HtmlToMarkdown::convert(html));
    }
    state.SetBytesProcessed(state.iterations() * inputs.bytes);
    state.counters["notes"] = double(inputs.bodies.size());
}

void BM_ConvertNotesShapes(benchmark::State &state)
{
    convertAll(state, fixtures());
}
BENCHMARK(BM_ConvertNotesShapes)->Unit(benchmark::kMicrosecond);

void BM_ConvertImage2MB(benchmark::State &state)
{
    Inputs inputs;
    inputs.add(noteWithImage(2 * 1024 * 1024, state.range(0) != 0));
    convertAll(state, inputs);
}
// 1: self-closing "<img .../>", as Notes writes it (dropped); 0: an open "<img ...>" (written out).
BENCHMARK(BM_ConvertImage2MB)->Arg(1)->Arg(0)->ArgName("selfClosing")->Unit(benchmark::kMillisecond);

void BM_ConvertImage2MBNonAscii(benchmark::State &state)
{
    // A character outside ASCII anywhere in the note takes the whole note off the fastest split.
    Inputs inputs;
    inputs.add(u"<div>Caf\u00E9 cafe\u0301</div>"_s + noteWithImage(2 * 1024 * 1024, false));
    convertAll(state, inputs);
}
BENCHMARK(BM_ConvertImage2MBNonAscii)->Unit(benchmark::kMillisecond);

void BM_ConvertCorpusHtml(benchmark::State &state)
{
    if (corpusHtml().bodies.isEmpty()) {
        state.SkipWithError("needs the real vaults of ../shared/corpus beside the clone");
        return;
    }
    convertAll(state, corpusHtml());
}
BENCHMARK(BM_ConvertCorpusHtml)->Unit(benchmark::kMillisecond);

// Writing the files

constexpr int exportCount = 10000;

/// 10,000 records over 25 folders, bodies cycling through the Notes shapes, names repeating so that
/// some need a number.
const QList<NotesExporter::NoteRecord> &records()
{
    static const QList<NotesExporter::NoteRecord> made = [] {
        QList<NotesExporter::NoteRecord> list;
        const QStringList &bodies = fixtures().bodies;
        for (int i = 0; i < exportCount; ++i) {
            list.append({ u"Folder %1"_s.arg(i % 25), u"Note %1: part %2"_s.arg(i % 3000).arg(i % 7),
                bodies[i % bodies.size()] });
        }
        return list;
    }();
    return made;
}

/// Times `write(folder)` into a new empty folder in every iteration; making and removing the folder is
/// not timed.
template<typename Write> void writeIntoFreshFolders(benchmark::State &state, Write write)
{
    for (auto _ : state) {
        state.PauseTiming();
        QTemporaryDir dir;
        state.ResumeTiming();
        write(dir.path());
        state.PauseTiming();
        dir.remove();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * exportCount);
}

void BM_ExportNotes(benchmark::State &state)
{
    const QList<NotesExporter::NoteRecord> &notes = records();
    writeIntoFreshFolders(state, [&](const QString &folder) {
        const NotesExporter::Result result = NotesExporter::exportNotes(notes, QUrl::fromLocalFile(folder));
        if (result.written != exportCount)
            state.SkipWithError("not every note was written");
    });
}
BENCHMARK(BM_ExportNotes)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();

/// The floor: the files that BM_ExportNotes writes (same folders, names and contents, made beforehand),
/// written with plain QSaveFile calls.
void BM_ExportFloorQSaveFile(benchmark::State &state)
{
    QTemporaryDir sample;
    NotesExporter::exportNotes(records(), QUrl::fromLocalFile(sample.path()));
    QList<std::pair<QString, QByteArray>> files;
    QDirIterator it(sample.path(), { u"*.md"_s }, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        QFile file(path);
        if (file.open(QIODevice::ReadOnly))
            files.append({ QDir(sample.path()).relativeFilePath(path), file.readAll() });
    }
    if (files.size() != exportCount) {
        state.SkipWithError("the sample export is incomplete");
        return;
    }
    QStringList folders;
    for (const auto &[relative, bytes] : std::as_const(files)) {
        const QString folder = relative.section(u'/', 0, 0);
        if (!folders.contains(folder))
            folders.append(folder);
    }

    writeIntoFreshFolders(state, [&](const QString &destination) {
        for (const QString &folder : std::as_const(folders))
            QDir(destination).mkpath(folder);
        for (const auto &[relative, bytes] : std::as_const(files)) {
            QSaveFile file(destination + u'/' + relative);
            if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
                state.SkipWithError("a write failed");
        }
    });
}
BENCHMARK(BM_ExportFloorQSaveFile)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();

/// n notes of one name in one folder: every note after the first needs the next free number, "Same (2)"
/// up to "Same (n)". Run at n and 2n: the time must double, not quadruple, with the number of notes.
void BM_ExportSameNames(benchmark::State &state)
{
    const int count = int(state.range(0));
    QList<NotesExporter::NoteRecord> notes;
    for (int i = 0; i < count; ++i)
        notes.append({ u"Folder"_s, u"Same"_s, u"<div>Note %1</div>"_s.arg(i) });
    for (auto _ : state) {
        state.PauseTiming();
        QTemporaryDir dir;
        state.ResumeTiming();
        const NotesExporter::Result result = NotesExporter::exportNotes(notes, QUrl::fromLocalFile(dir.path()));
        if (result.written != count)
            state.SkipWithError("not every note was written");
        state.PauseTiming();
        dir.remove();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * count);
    state.SetComplexityN(count);
}
BENCHMARK(BM_ExportSameNames)->RangeMultiplier(2)->Range(500, 1000)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
