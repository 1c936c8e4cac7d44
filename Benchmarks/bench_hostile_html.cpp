// Cost of HtmlToMarkdown::convert on note bodies made to be slow: each shape at 32, 64 and 128 KiB (and
// 256 KiB where it is cheap), so that the growth from one size to the next shows whether the cost stays
// near-linear. A shape whose time quadruples when its size doubles has come back.
//
//   build/release/Benchmarks/bench_hostile_html
//   build/release/Benchmarks/bench_hostile_html --benchmark_filter=NestedLists

#include "HtmlToMarkdown.h"

#include <QString>

#include <benchmark/benchmark.h>

#include <functional>

using namespace Qt::StringLiterals;

namespace {

/// `piece` repeated until the result holds at least `bytes` code units.
QString repeatedTo(const QString &piece, qsizetype bytes)
{
    return piece.repeated((bytes + piece.size() - 1) / piece.size());
}

/// Two pieces, each repeated to half of `bytes`: the first run, then the second.
QString halves(const QString &first, const QString &second, qsizetype bytes)
{
    return repeatedTo(first, bytes / 2) + repeatedTo(second, bytes / 2);
}

void convertShape(benchmark::State &state, const std::function<QString(qsizetype)> &make)
{
    const QString html = make(state.range(0));
    qsizetype outputSize = 0;
    for (auto _ : state) {
        const QString markdown = HtmlToMarkdown::convert(html);
        outputSize = markdown.size();
        benchmark::DoNotOptimize(markdown);
    }
    state.SetBytesProcessed(state.iterations() * html.size());
    state.counters["out"] = double(outputSize);
}

#define HOSTILE_SHAPE(name, ...)                                                                                       \
    void BM_Hostile##name(benchmark::State &state)                                                                     \
    {                                                                                                                  \
        convertShape(state, __VA_ARGS__);                                                                              \
    }                                                                                                                  \
    BENCHMARK(BM_Hostile##name)->RangeMultiplier(2)->Range(32 << 10, 256 << 10)->Unit(benchmark::kMillisecond)

// Lists inside lists: each item's indentation grows with the depth.
HOSTILE_SHAPE(NestedLists, [](qsizetype n) { return repeatedTo(u"<ul><li>x"_s, n); });
// Numeric references only: each one is replaced inside a text of the whole note's length.
HOSTILE_SHAPE(NumericReferences, [](qsizetype n) { return repeatedTo(u"&#65;"_s, n); });
HOSTILE_SHAPE(HexReferences, [](qsizetype n) { return repeatedTo(u"&#x1F600;"_s, n); });
// Named entities, nested ones among them.
HOSTILE_SHAPE(NestedEntities, [](qsizetype n) { return repeatedTo(u"&amp;lt;&amp;amp;&&lt;&amp;#39;"_s, n); });
// "<" with no ">" after it: each looks ahead to the end.
HOSTILE_SHAPE(UnmatchedOpeners, [](qsizetype n) { return repeatedTo(u"<"_s, n); });
HOSTILE_SHAPE(UnmatchedOpenersNonAscii, [](qsizetype n) { return repeatedTo(u"\u00E9<"_s, n); });
// The only ">" at the end carries a combining mark, so it closes nothing.
HOSTILE_SHAPE(UnmatchedOpenersMarkedClose, [](qsizetype n) { return repeatedTo(u"<"_s, n) + u">\u0301"_s; });
// Open bold markers, then closing tags of another kind: each searches the open markers.
HOSTILE_SHAPE(StrayInlineCloses, [](qsizetype n) { return halves(u"<b>"_s, u"</i>"_s, n); });
HOSTILE_SHAPE(NestedInline, [](qsizetype n) { return halves(u"<b>"_s, u"</b>"_s, n); });
// Anchors without a target, nested: each close unwraps a bracket far back in the output.
HOSTILE_SHAPE(NestedEmptyAnchors, [](qsizetype n) { return halves(u"<a>"_s, u"y</a>"_s, n); });
HOSTILE_SHAPE(EmptyAnchorsAroundBrackets,
    [](qsizetype n) { return repeatedTo(u"<a>"_s, n / 3) + repeatedTo(u"]"_s, n / 3) + repeatedTo(u"</a>"_s, n / 3); });
// Closing anchors with nothing open: each looks back for a "[" that is not there.
HOSTILE_SHAPE(StrayAnchorCloses, [](qsizetype n) { return repeatedTo(u"</a>"_s, n); });
// A prepended mark (from a reference) joins the "]" after it: no "]" is a whole character.
HOSTILE_SHAPE(StrayAnchorClosesAfterMark, [](qsizetype n) { return repeatedTo(u"&#x600;</a>"_s, n); });
// Combining marks: one long cluster, and many marked specials.
HOSTILE_SHAPE(CombiningMarkRun, [](qsizetype n) { return u"a"_s + QString(n, QChar(0x0301)); });
HOSTILE_SHAPE(MarkedSpecials, [](qsizetype n) { return repeatedTo(u"*\u0301[\u0301<\u0301"_s, n); });
HOSTILE_SHAPE(EmojiSequenceRun, [](qsizetype n) { return repeatedTo(u"\U0001F469\u200D"_s, n); });
// One tag holding a great many attributes.
HOSTILE_SHAPE(HugeAttributeList, [](qsizetype n) {
    QString html = u"<span"_s;
    for (int i = 0; html.size() < n; ++i)
        html += u" a"_s + QString::number(i) + u"=\"v\""_s;
    return html + u">x"_s;
});
HOSTILE_SHAPE(
    RepeatedAttribute, [](qsizetype n) { return u"<img src=\"i.png\""_s + repeatedTo(u" alt=b"_s, n) + u'>'; });
// Slashes between attributes.
HOSTILE_SHAPE(SlashesBetweenAttributes,
    [](qsizetype n) { return u"<img src=\"a.png\""_s + repeatedTo(u" /"_s, n) + u" alt=\"b\">"_s; });
// Comments and declarations.
HOSTILE_SHAPE(ManyComments, [](qsizetype n) { return repeatedTo(u"<!---->"_s, n); });
HOSTILE_SHAPE(UnclosedCommentOpeners, [](qsizetype n) { return u"x"_s + repeatedTo(u"<!--"_s, n); });
HOSTILE_SHAPE(MarkedCommentEnds, [](qsizetype n) { return u"<!--"_s + repeatedTo(u"-->\u0301"_s, n) + u"-->x"_s; });
HOSTILE_SHAPE(ManyDeclarations, [](qsizetype n) { return repeatedTo(u"<!x>"_s, n); });
// Blocks and lines.
HOSTILE_SHAPE(NestedPre, [](qsizetype n) { return repeatedTo(u"<pre>"_s, n) + u"x"_s; });
HOSTILE_SHAPE(LineBreaks, [](qsizetype n) { return repeatedTo(u"<br>"_s, n) + u"x"_s; });
HOSTILE_SHAPE(NumberedItems, [](qsizetype n) { return u"<ol>"_s + repeatedTo(u"<li>x"_s, n); });
HOSTILE_SHAPE(WhiteSpaceRuns, [](qsizetype n) { return repeatedTo(u"a \t\r\n "_s, n); });
HOSTILE_SHAPE(Specials, [](qsizetype n) { return repeatedTo(u"\\*_`[]"_s, n); });

} // namespace

BENCHMARK_MAIN();
