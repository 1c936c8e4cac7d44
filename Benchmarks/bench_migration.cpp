// Throughput of the Markdown-to-Notes side: MarkdownLite::convert on real notes and on pathological
// inputs, and VaultScanner::scan on a large synthetic vault.
//
//   build/release/Benchmarks/bench_migration
//   build/release/Benchmarks/bench_migration --benchmark_filter=Scan   (alone, for a clean peak RSS)

#include "BenchmarkMain.h"
#include "Files.h"
#include "MarkdownLite.h"
#include "VaultScanner.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <filesystem>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QString sharedDir = QStringLiteral(VELLORAN_SHARED_DIR);

/// The visible .md files of the shared corpus that read as UTF-8, with their total size in bytes.
struct Corpus
{
    QStringList texts;
    qint64 bytes = 0;
};

const Corpus &corpus()
{
    static const Corpus loaded = [] {
        Corpus c;
        QDirIterator it(sharedDir + u"/corpus"_s, { u"*.md"_s }, QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            if (const auto text = Files::readUtf8(it.next())) {
                c.bytes += text->toUtf8().size();
                c.texts.append(*text);
            }
        }
        return c;
    }();
    return loaded;
}

void BM_ConvertCorpus(benchmark::State &state)
{
    const Corpus &c = corpus();
    if (c.texts.isEmpty()) {
        state.SkipWithError("needs the real vaults of ../shared/corpus beside the clone");
        return;
    }
    for (auto _ : state) {
        for (const QString &text : c.texts)
            benchmark::DoNotOptimize(MarkdownLite::convert(VaultScanner::stripFrontmatter(text).first));
    }
    state.SetBytesProcessed(state.iterations() * c.bytes);
    state.counters["notes"] = double(c.texts.size());
}
BENCHMARK(BM_ConvertCorpus)->Unit(benchmark::kMillisecond);

void convertPathological(benchmark::State &state, const QString &markdown)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(MarkdownLite::convert(markdown));
    state.SetBytesProcessed(state.iterations() * markdown.toUtf8().size());
}

void BM_NestedListItems(benchmark::State &state)
{
    QString markdown;
    for (int i = 0; i < state.range(0); ++i)
        markdown += QString(i, u' ') + u"- item\n"_s;
    convertPathological(state, markdown);
}
BENCHMARK(BM_NestedListItems)->Arg(10000)->Unit(benchmark::kMillisecond);

void BM_StarLine(benchmark::State &state)
{
    convertPathological(state, QString(state.range(0), u'*'));
}
BENCHMARK(BM_StarLine)->Arg(1 << 20)->Unit(benchmark::kMillisecond);

void BM_TableRows(benchmark::State &state)
{
    QString markdown = u"| a | b |\n|---|---|\n"_s;
    for (int i = 0; i < state.range(0); ++i)
        markdown += u"| cell %1 | **b** |\n"_s.arg(i);
    convertPathological(state, markdown);
}
BENCHMARK(BM_TableRows)->Arg(100000)->Unit(benchmark::kMillisecond);

// Shapes that made the inline patterns backtrack over the rest of the line from every "[" (49 s for a
// line of 40,000 "["). Each runs at n, 2n and 4n: the time must double, not quadruple, with the size.
void BM_UnclosedMarkersOneLine(benchmark::State &state)
{
    convertPathological(state, u"[[a ![b "_s.repeated(state.range(0)));
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_UnclosedMarkersOneLine)->Apply(doublingFrom<25000>);

void BM_UnclosedBracketsOneLine(benchmark::State &state)
{
    convertPathological(state, QString(state.range(0), u'['));
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_UnclosedBracketsOneLine)->Apply(doublingFrom<100000>);

void BM_LinksWithoutClosingParenthesis(benchmark::State &state)
{
    convertPathological(state, u"[a](b "_s.repeated(state.range(0)));
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_LinksWithoutClosingParenthesis)->Apply(doublingFrom<25000>);

/// The per-note work of the analysis on one text: embeds, images, wiki links and the task search.
void analyseBody(benchmark::State &state, const QString &body)
{
    const QTemporaryDir dir;
    {
        QFile file(dir.filePath(u"note.md"_s));
        file.open(QIODevice::WriteOnly);
        file.write(body.toUtf8());
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(VaultScanner::scan(QUrl::fromLocalFile(dir.path())));
    state.SetBytesProcessed(state.iterations() * body.toUtf8().size());
    state.SetComplexityN(state.range(0));
}

// Blank lines before a task item: the task pattern's "^\s*" could start on every line and run to the end.
void BM_AnalyzeBlankLines(benchmark::State &state)
{
    analyseBody(state, QString(state.range(0), u'\n') + u"x"_s);
}
BENCHMARK(BM_AnalyzeBlankLines)->Apply(doublingFrom<250000>);

void BM_AnalyzeUnclosedEmbeds(benchmark::State &state)
{
    analyseBody(state, u"![[a ![b]( [[c "_s.repeated(state.range(0)));
}
BENCHMARK(BM_AnalyzeUnclosedEmbeds)->Apply(doublingFrom<25000>);

// The same markers one per line: each line is rendered on its own, so this stays linear.
void BM_UnclosedMarkersPerLine(benchmark::State &state)
{
    convertPathological(state, u"[[a ![b\n"_s.repeated(state.range(0)));
}
BENCHMARK(BM_UnclosedMarkersPerLine)->Arg(50000)->Unit(benchmark::kMillisecond);

void BM_HugeParagraph(benchmark::State &state)
{
    const QString sentence = u"A long paragraph with **bold**, *italic*, [[links]] and `code`. "_s;
    QString markdown;
    while (markdown.size() < state.range(0))
        markdown += sentence;
    convertPathological(state, markdown);
}
BENCHMARK(BM_HugeParagraph)->Arg(10 << 20)->Iterations(1)->Unit(benchmark::kMillisecond);

/// A 10,000-note vault from make-vault, made once and kept in the temporary folder.
QString syntheticVault()
{
    const QString dir = QDir::tempPath() + u"/velloran-bench-vault-10000-42"_s;
    if (!QFileInfo::exists(dir + u"/.complete"_s)) {
        QDir(dir).removeRecursively();
        const int status = QProcess::execute(u"python3"_s,
            { QStringLiteral(VELLORAN_SOURCE_DIR "/scripts/make-vault"), u"--notes"_s, u"10000"_s, u"--seed"_s, u"42"_s,
                u"--out"_s, dir });
        if (status != 0)
            return {};
        QFile marker(dir + u"/.complete"_s);
        marker.open(QIODevice::WriteOnly);
    }
    return dir;
}

long peakRssKiB()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

void BM_ScanSyntheticVault(benchmark::State &state)
{
    const QString dir = syntheticVault();
    if (dir.isEmpty()) {
        state.SkipWithError("make-vault failed");
        return;
    }
    const long before = peakRssKiB();
    qsizetype notes = 0;
    for (auto _ : state) {
        const VaultAnalysis analysis = VaultScanner::scan(QUrl::fromLocalFile(dir));
        notes = analysis.notes.size();
        benchmark::DoNotOptimize(analysis);
    }
    state.counters["notes"] = double(notes);
    state.counters["notes_per_s"] = benchmark::Counter(double(notes), benchmark::Counter::kIsIterationInvariantRate);
    state.counters["peak_rss_MiB"] = double(peakRssKiB()) / 1024.0;
    state.counters["peak_rss_growth_MiB"] = double(peakRssKiB() - before) / 1024.0;
}
BENCHMARK(BM_ScanSyntheticVault)->Unit(benchmark::kMillisecond);

/// The floor of the scan: a plain walk of the same vault that opens and reads every .md file once, with
/// nothing parsed and nothing kept.
void BM_ScanFloorReadEveryFile(benchmark::State &state)
{
    const QString dir = syntheticVault();
    if (dir.isEmpty()) {
        state.SkipWithError("make-vault failed");
        return;
    }
    std::vector<char> buffer(1 << 16);
    qint64 files = 0;
    for (auto _ : state) {
        files = 0;
        for (const auto &entry : std::filesystem::recursive_directory_iterator(dir.toStdString())) {
            if (!entry.is_regular_file() || entry.path().extension() != ".md")
                continue;
            const int fd = ::open(entry.path().c_str(), O_RDONLY | O_CLOEXEC);
            if (fd < 0)
                continue;
            while (::read(fd, buffer.data(), buffer.size()) > 0) { }
            ::close(fd);
            ++files;
        }
    }
    state.counters["notes"] = double(files);
}
BENCHMARK(BM_ScanFloorReadEveryFile)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    return runBenchmarks(argc, argv);
}
