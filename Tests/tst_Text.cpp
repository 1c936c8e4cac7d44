// Tests of the shared helpers: ICU regular expressions, trimming, grapheme clusters, strict percent
// decoding, checked counters and locale-aware ordering.

#include "Counters.h"
#include "Regex.h"
#include "Text.h"

#include <QTest>
#include <QtConcurrent>

using namespace Qt::StringLiterals;

class tst_Text : public QObject
{
    Q_OBJECT

private slots:
    void replaceCharactersInOnePass()
    {
        QCOMPARE(Text::replaceCharacters(u"a<b>&c", { { u'<', u"&lt;" }, { u'&', u"&amp;" } }), u"a&lt;b>&amp;c"_s);
        // A replacement is never looked at again.
        QCOMPARE(Text::replaceCharacters(u"&", { { u'&', u"&amp;" }, { u'a', u"A" } }), u"&amp;"_s);
        QCOMPARE(Text::replaceCharacters(u"", { { u'x', u"y" } }), QString());
        QCOMPARE(Text::replaceCharacters(u"e\u0301<", { { u'<', u"%3C" } }), u"e\u0301%3C"_s);
    }

    void regexGroups()
    {
        const Regex re(u"!\\[\\[([^\\]|]+?)(?:\\|[^\\]]*)?\\]\\]"_s);
        QVERIFY(re.isValid());
        const QString text = u"a ![[x.png]] b ![[y.png|300]]"_s;
        const QList<Regex::Match> found = re.matches(text);
        QCOMPARE(found.size(), 2);
        QCOMPARE(found[0].group(text, 1).toString(), u"x.png"_s);
        QCOMPARE(found[1].group(text, 1).toString(), u"y.png"_s);
        QCOMPARE(found[1].whole(text).toString(), u"![[y.png|300]]"_s);
    }

    void regexNonParticipatingGroup()
    {
        const Regex re(u"(a)|(b)"_s);
        const QString text = u"b"_s;
        const QList<Regex::Match> found = re.matches(text);
        QCOMPARE(found.size(), 1);
        QVERIFY(!found[0].hasGroup(1));
        QVERIFY(found[0].hasGroup(2));
        QCOMPARE(found[0].group(text, 1).toString(), QString());
    }

    void regexIcuSemantics_data()
    {
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("found");
        QTest::addRow("\\d takes Arabic-Indic digits") << u"^\\d+\\. "_s << u"\u0663. x"_s << true;
        QTest::addRow("\\w takes a combining mark") << u"^\\w+$"_s << u"e\u0301"_s << true;
        QTest::addRow("look-behind") << u"(?<!\\!)\\[\\["_s << u"![["_s << false;
        QTest::addRow("multi-line mode") << u"(?m)^\\s*[-*] \\[[ xX]\\]"_s << u"x\n  - [x] y"_s << true;
        QTest::addRow("no multi-line by default") << u"^- \\[ \\]"_s << u"x\n- [ ] y"_s << false;
    }

    void regexIcuSemantics()
    {
        QFETCH(QString, pattern);
        QFETCH(QString, text);
        QFETCH(bool, found);
        QCOMPARE(Regex(pattern).contains(text), found);
    }

    void regexInvalidPattern()
    {
        const Regex re(u"(unclosed"_s);
        QVERIFY(!re.isValid());
        QVERIFY(re.matches(u"unclosed"_s).isEmpty());
        QCOMPARE(re.replaceAll(u"(unclosed"_s, u"x"_s), u"(unclosed"_s);
    }

    void regexReplaceAll()
    {
        const Regex re(u"\\*\\*(.+?)\\*\\*"_s);
        QCOMPARE(re.replaceAll(u"**a** and **b**"_s, u"<b>$1</b>"_s), u"<b>a</b> and <b>b</b>"_s);
        QCOMPARE(re.replaceAll(QString(), u"<b>$1</b>"_s), QString());
    }

    void regexMatchesInPlace()
    {
        // A view into the middle of a string: positions are relative to the view.
        const QString whole = u"xx**a**yy"_s;
        const QStringView view = QStringView(whole).sliced(2, 5);
        const QList<Regex::Match> found = Regex(u"\\*\\*(.+?)\\*\\*"_s).matches(view);
        QCOMPARE(found.size(), 1);
        QCOMPARE(found[0].start, 0);
        QCOMPARE(found[0].group(view, 1).toString(), u"a"_s);
    }

    void regexCachedIsCompiledOnce()
    {
        const Regex &a = Regex::cached(u"a+"_s);
        const Regex &b = Regex::cached(u"a+"_s);
        QCOMPARE(&a, &b);
    }

    void regexFromManyThreads()
    {
        const Regex &re = Regex::cached(u"(\\w+)@"_s);
        QList<int> inputs(64);
        std::iota(inputs.begin(), inputs.end(), 0);
        const QList<qsizetype> counts = QtConcurrent::blockingMapped(inputs, [&re](int i) {
            const QString text = u"a@ b@ c@ "_s.repeated(i + 1);
            return re.matches(text).size();
        });
        for (int i = 0; i < counts.size(); ++i)
            QCOMPARE(counts[i], qsizetype(3 * (i + 1)));
    }

    void trimming_data()
    {
        QTest::addColumn<QString>("input");
        QTest::addColumn<QString>("horizontal");
        QTest::addColumn<QString>("withNewlines");
        QTest::addColumn<QString>("spacesAndTabs");
        QTest::addRow("spaces and tabs") << u" \tx \t"_s << u"x"_s << u"x"_s << u"x"_s;
        QTest::addRow("line ends") << u"\nx\r\n"_s << u"\nx\r\n"_s << u"x"_s << u"\nx\r\n"_s;
        QTest::addRow("no-break space") << u"\u00A0x\u3000"_s << u"x"_s << u"x"_s << u"\u00A0x\u3000"_s;
        QTest::addRow("line separator") << u"\u2028x\u0085"_s << u"\u2028x\u0085"_s << u"x"_s << u"\u2028x\u0085"_s;
        QTest::addRow("inner space kept") << u" a b "_s << u"a b"_s << u"a b"_s << u"a b"_s;
        QTest::addRow("empty") << QString() << QString() << QString() << QString();
        QTest::addRow("only space") << u" \t "_s << QString() << QString() << QString();
    }

    void trimming()
    {
        QFETCH(QString, input);
        QFETCH(QString, horizontal);
        QFETCH(QString, withNewlines);
        QFETCH(QString, spacesAndTabs);
        QCOMPARE(Text::trimHorizontal(input).toString(), horizontal);
        QCOMPARE(Text::trimWhitespaceAndNewlines(input).toString(), withNewlines);
        QCOMPARE(Text::trimSpacesAndTabs(input).toString(), spacesAndTabs);
    }

    void graphemes()
    {
        const QString text = u"e\u0301\r\nab\U0001F4CE"_s;
        const QList<QStringView> clusters = Text::graphemeClusters(text);
        QCOMPARE(clusters.size(), 5);
        QCOMPARE(clusters[0].toString(), u"e\u0301"_s);
        QCOMPARE(clusters[1].toString(), u"\r\n"_s);
        QCOMPARE(clusters[4].toString(), u"\U0001F4CE"_s);
        QCOMPARE(Text::graphemeCount(text), 5);
        QCOMPARE(Text::leftGraphemes(text, 2).toString(), u"e\u0301\r\n"_s);
        QCOMPARE(Text::leftGraphemes(text, 10).toString(), text);
        QCOMPARE(Text::leftGraphemes(text, 0).toString(), QString());
        QCOMPARE(Text::graphemeCount(QString()), 0);
    }

    void percentDecoding_data()
    {
        QTest::addColumn<QString>("input");
        QTest::addColumn<bool>("ok");
        QTest::addColumn<QString>("decoded");
        QTest::addRow("space") << u"my%20photo.png"_s << true << u"my photo.png"_s;
        QTest::addRow("no escapes") << u"plain.png"_s << true << u"plain.png"_s;
        QTest::addRow("two-byte UTF-8") << u"caf%C3%A9"_s << true << u"caf\u00E9"_s;
        QTest::addRow("lower-case hex") << u"%c3%a9"_s << true << u"\u00E9"_s;
        QTest::addRow("non-ASCII passes through") << u"\u00E9%20"_s << true << u"\u00E9 "_s;
        QTest::addRow("lone percent") << u"100%"_s << false << QString();
        QTest::addRow("one digit") << u"%2"_s << false << QString();
        QTest::addRow("not hex") << u"%zz.png"_s << false << QString();
        QTest::addRow("invalid UTF-8") << u"%FF.png"_s << false << QString();
        QTest::addRow("truncated sequence") << u"%C3"_s << false << QString();
        QTest::addRow("byte-order mark kept") << u"%EF%BB%BFx"_s << true << u"\uFEFFx"_s;
    }

    void percentDecoding()
    {
        QFETCH(QString, input);
        QFETCH(bool, ok);
        QFETCH(QString, decoded);
        const std::optional<QString> result = Text::percentDecodeStrict(input);
        QCOMPARE(result.has_value(), ok);
        if (ok)
            QCOMPARE(*result, decoded);
    }

    void checkedCounter()
    {
        qint64 counter = 0;
        addChecked(counter);
        addChecked(counter, 41);
        QCOMPARE(counter, 42);
    }

    void localizedOrder()
    {
        QVERIFY(Text::localizedCaseInsensitiveLess(u"apple", u"Banana"));
        QVERIFY(!Text::localizedCaseInsensitiveLess(u"Banana", u"apple"));
        QVERIFY(!Text::localizedCaseInsensitiveLess(u"b", u"B"));
        QVERIFY(!Text::localizedCaseInsensitiveLess(u"B", u"b"));
        QStringList names { u"beta"_s, u"Alpha"_s, u"alpha"_s };
        Text::stableSortLocalized(names, [](const QString &s) { return QStringView(s); });
        QCOMPARE(names, (QStringList { u"Alpha"_s, u"alpha"_s, u"beta"_s }));
    }
};

QTEST_GUILESS_MAIN(tst_Text)
#include "tst_Text.moc"
