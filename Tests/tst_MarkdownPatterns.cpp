// The linear finders of the bracketed Markdown forms against the regular expressions they stand for:
// on many random texts built from the characters that matter, both give the same matches, groups and
// answers. Then the shapes that made the expressions take quadratic time finish at once.

#include "MarkdownPatterns.h"
#include "Regex.h"

#include <QRandomGenerator>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

using Finder = QList<Regex::Match> (*)(QStringView);

/// A random text of up to `maxPieces` pieces, each a delimiter, a letter, white space, a line end of
/// some kind, a combining mark, a character outside the BMP or a whole task marker.
QString randomText(QRandomGenerator &random, int maxPieces)
{
    static const QStringList pieces { u"!"_s, u"["_s, u"]"_s, u"|"_s, u"("_s, u")"_s, u"a"_s, u"b"_s, u" "_s, u"\t"_s,
        u"\n"_s, u"\r"_s, u"\r\n"_s, u"\u000B"_s, u"\u000C"_s, u"\u0085"_s, u"\u2028"_s, u"\u00A0"_s, u"\u3000"_s,
        u"\u0301"_s, u"é"_s, u"😀"_s, u"-"_s, u"*"_s, u"x"_s, u"X"_s, u"- [ ]"_s, u"* [x]"_s, u"[["_s, u"]]"_s, u"!["_s,
        u"]("_s, u"![["_s };
    QString text;
    const int n = int(random.bounded(maxPieces + 1));
    for (int i = 0; i < n; ++i)
        text += pieces[int(random.bounded(qsizetype(pieces.size())))];
    return text;
}

QString describe(const QList<Regex::Match> &matches)
{
    QStringList parts;
    for (const Regex::Match &m : matches) {
        QString part = u"[%1,%2)"_s.arg(m.start).arg(m.end);
        for (const auto &[from, to] : m.groups)
            part += u" g(%1,%2)"_s.arg(from).arg(to);
        parts.append(part);
    }
    return parts.join(u"; "_s);
}

} // namespace

class tst_MarkdownPatterns : public QObject
{
    Q_OBJECT

private slots:
    void findersGiveTheSameMatchesAsThePatterns_data()
    {
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<quintptr>("finder");
        QTest::addRow("wiki embeds") << uR"(!\[\[([^\]|]+?)(?:\|[^\]]*)?\]\])"_s
                                     << quintptr(&MarkdownPatterns::wikiEmbeds);
        QTest::addRow("wiki link targets")
            << uR"((?<!\!)\[\[([^\]|]+?)(?:\|[^\]]*)?\]\])"_s << quintptr(&MarkdownPatterns::wikiLinkTargets);
        QTest::addRow("aliased wiki links")
            << uR"(\[\[([^\]|]+?)\|([^\]]+?)\]\])"_s << quintptr(&MarkdownPatterns::aliasedWikiLinks);
        QTest::addRow("plain wiki links") << uR"(\[\[([^\]|]+?)\]\])"_s << quintptr(&MarkdownPatterns::plainWikiLinks);
        QTest::addRow("markdown images") << uR"(!\[[^\]]*\]\(([^)]+)\))"_s
                                         << quintptr(&MarkdownPatterns::markdownImages);
        QTest::addRow("markdown links") << uR"(\[([^\]]+)\]\(([^)]+)\))"_s
                                        << quintptr(&MarkdownPatterns::markdownLinks);
    }
    void findersGiveTheSameMatchesAsThePatterns()
    {
        QFETCH(QString, pattern);
        QFETCH(quintptr, finder);
        const Regex regex(pattern);
        QVERIFY(regex.isValid());
        const auto find = reinterpret_cast<Finder>(finder);
        QRandomGenerator random(20261123);
        int withMatches = 0;
        for (int round = 0; round < 150000; ++round) {
            const QString text = randomText(random, round < 100000 ? 12 : 40);
            const QList<Regex::Match> expected = regex.matches(text);
            const QList<Regex::Match> found = find(text);
            if (!expected.isEmpty())
                ++withMatches;
            if (describe(found) != describe(expected)) {
                QFAIL(
                    qPrintable(u"text \"%1\": found %2, expected %3"_s.arg(text, describe(found), describe(expected))));
            }
        }
        // The random texts do exercise the patterns.
        QVERIFY2(withMatches > 300, qPrintable(QString::number(withMatches)));
    }

    void taskItemSearchAgreesWithThePattern()
    {
        const Regex regex(uR"((?m)^\s*[-*] \[[ xX]\])"_s);
        QRandomGenerator random(7);
        int found = 0;
        for (int round = 0; round < 30000; ++round) {
            const QString text = randomText(random, 10);
            const bool expected = regex.contains(text);
            found += expected ? 1 : 0;
            if (MarkdownPatterns::hasTaskItem(text) != expected)
                QFAIL(qPrintable(u"text \"%1\": expected %2"_s.arg(text).arg(expected)));
        }
        QVERIFY2(found > 1000, qPrintable(QString::number(found)));
    }

    // The task search decides white space as the pattern's "\s" does, for every character of the BMP.
    void taskItemWhiteSpaceIsThePatternsWhiteSpace()
    {
        const Regex regex(uR"((?m)^\s*[-*] \[[ xX]\])"_s);
        for (char32_t c = 1; c < 0x10000; ++c) {
            if (QChar::isSurrogate(c))
                continue;
            const QString text = u"a"_s + QChar(char16_t(c)) + u"- [ ]"_s;
            QCOMPARE(MarkdownPatterns::hasTaskItem(text), regex.contains(text));
        }
    }

    // A line of 200,000 "[" (or of "[[a ![b ", or of "[a](b") made the patterns backtrack over the rest of
    // the line from every "[": minutes of work. The finders read the line a few times.
    void unclosedBracketsTakeLinearTime_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addRow("brackets") << QString(200000, u'[');
        QTest::addRow("embeds and links") << u"[[a ![b "_s.repeated(25000);
        QTest::addRow("links without a closing parenthesis") << u"[a](b"_s.repeated(40000);
        QTest::addRow("images without a closing bracket") << u"![a"_s.repeated(60000);
    }
    void unclosedBracketsTakeLinearTime()
    {
        QFETCH(QString, text);
        qsizetype total = 0;
        for (const Finder find : { &MarkdownPatterns::wikiEmbeds, &MarkdownPatterns::wikiLinkTargets,
                 &MarkdownPatterns::aliasedWikiLinks, &MarkdownPatterns::plainWikiLinks,
                 &MarkdownPatterns::markdownImages, &MarkdownPatterns::markdownLinks })
            total += find(text).size();
        QCOMPARE(total, 0);
        QCOMPARE(MarkdownPatterns::hasTaskItem(text), false);
    }
};

QTEST_GUILESS_MAIN(tst_MarkdownPatterns)
#include "tst_MarkdownPatterns.moc"
