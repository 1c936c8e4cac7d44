// Tests of the Markdown renderer that turns a note's text into an Apple Notes body.

#include "MarkdownLite.h"
#include "MarkdownLite_p.h"
#include "Regex.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString cell = u" style=\"border:1px solid #ccc;padding:3px 6px\">"_s;
const QString table = u"<table cellspacing=\"0\" style=\"border-collapse:collapse\">"_s;
QString th(const QString &html)
{
    return u"<th"_s + cell + html + u"</th>"_s;
}
QString td(const QString &html)
{
    return u"<td"_s + cell + html + u"</td>"_s;
}
QString heading(int size, const QString &html)
{
    return u"<div><b><span style=\"font-size:"_s + QString::number(size) + u"px\">"_s + html + u"</span></b></div>"_s;
}

} // namespace

class tst_MarkdownLite : public QObject
{
    Q_OBJECT

private slots:
    // A code block is escaped and nothing else: "&" first, so an entity already there is escaped again.
    void codeBlockEscapesHtml_data()
    {
        QTest::addColumn<QString>("input");
        QTest::addColumn<QString>("expected");
        QTest::addRow("all five") << u"&<>\"'"_s << u"&amp;&lt;&gt;&quot;&#39;"_s;
        QTest::addRow("entity escaped again") << u"&amp;"_s << u"&amp;amp;"_s;
        QTest::addRow("plain") << u"plain text"_s << u"plain text"_s;
        QTest::addRow("empty") << QString() << QString();
    }
    void codeBlockEscapesHtml()
    {
        QFETCH(QString, input);
        QFETCH(QString, expected);
        const MarkdownLite::Output output = MarkdownLite::convert(u"```\n"_s + input + u"\n```"_s);
        QCOMPARE(output.html, u"<pre style=\"font-family:Menlo,monospace\">"_s + expected + u"</pre>"_s);
    }

    void inlineRendering_data()
    {
        QTest::addColumn<QString>("input");
        QTest::addColumn<QString>("html");
        QTest::addColumn<QStringList>("images");

        QTest::addRow("escaping") << u"a < b & c"_s << u"a &lt; b &amp; c"_s << QStringList();
        QTest::addRow("plain text untouched") << u"just words"_s << u"just words"_s << QStringList();
        QTest::addRow("wiki embed with size")
            << u"![[photo.png|300]]"_s << u"📎 <i>[image: photo.png]</i>"_s << QStringList { u"photo.png"_s };
        QTest::addRow("markdown image keeps escapes")
            << u"![cat](img/cat%201.png)"_s << u"📎 <i>[image: cat%201.png]</i>"_s
            << QStringList { u"img/cat%201.png"_s };
        QTest::addRow("image target collected as written")
            << u"![[a&b.png]]"_s << u"📎 <i>[image: a&amp;b.png]</i>"_s << QStringList { u"a&b.png"_s };
        QTest::addRow("markdown image target collected as written")
            << u"![x](c'd \"e\" <f>.png)"_s << u"📎 <i>[image: c&#39;d &quot;e&quot; &lt;f&gt;.png]</i>"_s
            << QStringList { u"c'd \"e\" <f>.png"_s };
        QTest::addRow("same image twice")
            << u"![[x.png]] ![[x.png]]"_s << u"📎 <i>[image: x.png]</i> 📎 <i>[image: x.png]</i>"_s
            << QStringList { u"x.png"_s, u"x.png"_s };
        QTest::addRow("aliased wiki link") << u"[[Page|Shown]]"_s << u"<u>Shown</u>"_s << QStringList();
        QTest::addRow("plain wiki link") << u"[[Page]]"_s << u"<u>Page</u>"_s << QStringList();
        QTest::addRow("wiki link to heading") << u"[[Page#Section]]"_s << u"<u>Page#Section</u>"_s << QStringList();
        QTest::addRow("link target escaped once")
            << u"[site](https://host/?a=1&b=2)"_s << u"<a href=\"https://host/?a=1&amp;b=2\">site</a>"_s
            << QStringList();
        QTest::addRow("mailto target escaped once")
            << u"[me](mailto:a@b.c?subject=x&body=y)"_s << u"<a href=\"mailto:a@b.c?subject=x&amp;body=y\">me</a>"_s
            << QStringList();
        QTest::addRow("quotes in a link target escaped once")
            << u"[q](https://h/\"a\"'b')"_s << u"<a href=\"https://h/&quot;a&quot;&#39;b&#39;\">q</a>"_s
            << QStringList();
        QTest::addRow("relative link loses its anchor") << u"[doc](./doc.md)"_s << u"doc"_s << QStringList();
        QTest::addRow("mailto link") << u"[me](mailto:a@b.c)"_s << u"<a href=\"mailto:a@b.c\">me</a>"_s
                                     << QStringList();
        QTest::addRow("upper-case scheme kept as written")
            << u"[x]( HTTPS://h )"_s << u"<a href=\"HTTPS://h\">x</a>"_s << QStringList();
        QTest::addRow("script link dropped") << u"[x](javascript:alert(1))"_s << u"x)"_s << QStringList();
        QTest::addRow("bold italic") << u"***x***"_s << u"<b><i>x</i></b>"_s << QStringList();
        QTest::addRow("bold and italic") << u"**a** and *b*"_s << u"<b>a</b> and <i>b</i>"_s << QStringList();
        QTest::addRow("stars between digits") << u"2*3*4"_s << u"2*3*4"_s << QStringList();
        QTest::addRow("strikethrough") << u"~~old~~"_s << u"<strike>old</strike>"_s << QStringList();
        QTest::addRow("inline code") << u"`code`"_s << u"<font face=\"Menlo\">code</font>"_s << QStringList();
        QTest::addRow("code does not protect bold")
            << u"`**x**`"_s << u"<font face=\"Menlo\"><b>x</b></font>"_s << QStringList();
        QTest::addRow("code with inner stars")
            << u"`a*b*c`"_s << u"<font face=\"Menlo\">a*b*c</font>"_s << QStringList();
        QTest::addRow("underscores are not emphasis") << u"_x_ __y__"_s << u"_x_ __y__"_s << QStringList();
        QTest::addRow("embed is not a wiki link")
            << u"![[Page]]"_s << u"📎 <i>[image: Page]</i>"_s << QStringList { u"Page"_s };
        QTest::addRow("image is not a link") << u"![a](b)"_s << u"📎 <i>[image: b]</i>"_s << QStringList { u"b"_s };
        QTest::addRow("quotes in text") << u"say \"hi\""_s << u"say &quot;hi&quot;"_s << QStringList();
        QTest::addRow("unclosed markers") << u"[[a ![[b **c"_s << u"[[a ![[b **c"_s << QStringList();
    }
    void inlineRendering()
    {
        QFETCH(QString, input);
        QFETCH(QString, html);
        QFETCH(QStringList, images);
        QStringList collected;
        QCOMPARE(MarkdownLite::inlineHtml(input, collected), html);
        QCOMPARE(collected, images);
    }

    void inlineAppendsToGivenList()
    {
        QStringList images { u"earlier.png"_s };
        MarkdownLite::inlineHtml(u"![[later.png]]"_s, images);
        QCOMPARE(images, (QStringList { u"earlier.png"_s, u"later.png"_s }));
    }

    // Within one step the matches are visited from the last to the first, so the image list grows in
    // that order; wiki embeds (one step) all come before Markdown images (a later step).
    void imagesWithinOneStepAreCollectedLastFirst()
    {
        QStringList images;
        MarkdownLite::inlineHtml(u"![[a.png]] ![b](b.png) ![[c.png]] ![d](d.png)"_s, images);
        QCOMPARE(images, (QStringList { u"c.png"_s, u"a.png"_s, u"d.png"_s, u"b.png"_s }));
    }

    // The shared substitution behind the inline steps: every match is found first, the replacement
    // sees them from the last to the first, and its output is never searched again.
    void replaceEachVisitsMatchesLastFirst()
    {
        QStringList seen;
        const QString text = u"<1><2><3>"_s;
        const QString out = Regex(u"<(\\d)>"_s).replaceEach(text, [&](const Regex::Match &match) {
            seen.append(match.group(text, 1).toString());
            return std::optional(u"["_s + match.group(text, 1).toString() + u"]"_s);
        });
        QCOMPARE(out, u"[1][2][3]"_s);
        QCOMPARE(seen, (QStringList { u"3"_s, u"2"_s, u"1"_s }));
    }

    void replaceEachNeverRescansItsOutput()
    {
        const QString out
            = Regex(u"a"_s).replaceEach(u"ab"_s, [](const Regex::Match &) { return std::optional(u"aa"_s); });
        QCOMPARE(out, u"aab"_s);
    }

    void replaceWithBadPattern()
    {
        const Regex bad(u"(x"_s);
        QVERIFY(!bad.isValid());
        QCOMPARE(bad.replaceEach(u"(x"_s, [](const Regex::Match &) { return std::optional(u"!"_s); }), u"(x"_s);
        QCOMPARE(bad.replaceAll(u"(x"_s, u"!"_s), u"(x"_s);
    }

    void replaceAllTemplate()
    {
        QCOMPARE(Regex(u"~~(.+?)~~"_s).replaceAll(u"~~a~~ ~~b~~"_s, u"<s>$1</s>"_s), u"<s>a</s> <s>b</s>"_s);
    }

    void sanitizeHref_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<QString>("href");
        QTest::addRow("http") << u"http://a"_s << u"http://a"_s;
        QTest::addRow("https trimmed") << u"  https://a\t"_s << u"https://a"_s;
        QTest::addRow("mailto") << u"mailto:x@y"_s << u"mailto:x@y"_s;
        QTest::addRow("file") << u"file:///etc/passwd"_s << QString();
        QTest::addRow("relative") << u"notes/a.md"_s << QString();
        QTest::addRow("escaped target kept as it is") << u"http://a/?q=&quot;x&quot;&amp;y=&#39;z&#39;&lt;&gt;"_s
                                                      << u"http://a/?q=&quot;x&quot;&amp;y=&#39;z&#39;&lt;&gt;"_s;
    }
    void sanitizeHref()
    {
        QFETCH(QString, url);
        QFETCH(QString, href);
        QCOMPARE(MarkdownLite::sanitizeHref(url), href);
    }

    void headingLevel_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<int>("level"); // 0: none
        QTest::addRow("one") << u"# Title"_s << 1;
        QTest::addRow("six") << u"###### x"_s << 6;
        QTest::addRow("seven") << u"####### x"_s << 0;
        QTest::addRow("tag") << u"#tag"_s << 0;
        QTest::addRow("lone hash") << u"#"_s << 0;
        QTest::addRow("hash and space only") << u"# "_s << 1;
        QTest::addRow("no hash") << u"Title"_s << 0;
    }
    void headingLevel()
    {
        QFETCH(QString, line);
        QFETCH(int, level);
        QCOMPARE(MarkdownLite::headingLevel(line).value_or(0), level);
    }

    void leadingIndent_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<int>("indent");
        QTest::addRow("none") << u"- a"_s << 0;
        QTest::addRow("two spaces") << u"  - a"_s << 2;
        QTest::addRow("tab") << u"\t- a"_s << 4;
        QTest::addRow("mixed") << u" \t - a"_s << 6;
        QTest::addRow("stops at first other") << u"  x  "_s << 2;
    }
    void leadingIndent()
    {
        QFETCH(QString, line);
        QFETCH(int, indent);
        QCOMPARE(MarkdownLite::leadingIndent(line), indent);
    }

    void splitTableRow_data()
    {
        QTest::addColumn<QString>("row");
        QTest::addColumn<QStringList>("cells");
        QTest::addRow("two cells") << u" a | b "_s << QStringList { u" a "_s, u" b "_s };
        QTest::addRow("escaped bar") << u"a \\| b"_s << QStringList { u"a | b"_s };
        QTest::addRow("other escape kept") << u"a\\nb"_s << QStringList { u"a\\nb"_s };
        QTest::addRow("pending backslash") << u"a\\"_s << QStringList { u"a\\"_s };
        QTest::addRow("empty") << QString() << QStringList { QString() };
        QTest::addRow("empty cells") << u"|"_s << QStringList { QString(), QString() };
    }
    void splitTableRow()
    {
        QFETCH(QString, row);
        QFETCH(QStringList, cells);
        QCOMPARE(MarkdownLite::splitTableRow(row), cells);
    }

    void isTableSeparator_data()
    {
        QTest::addColumn<QStringList>("cells");
        QTest::addColumn<bool>("separator");
        QTest::addRow("dashes") << QStringList { u"---"_s, u":-:"_s } << true;
        QTest::addRow("with spaces") << QStringList { u"- -"_s } << true;
        QTest::addRow("empty cell") << QStringList { u"---"_s, QString() } << false;
        QTest::addRow("colons only") << QStringList { u"::"_s } << false;
        QTest::addRow("text") << QStringList { u"-a-"_s } << false;
    }
    void isTableSeparator()
    {
        QFETCH(QStringList, cells);
        QFETCH(bool, separator);
        QCOMPARE(MarkdownLite::isTableSeparator(cells), separator);
    }

    void splitTaskMarker_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("checkbox");
        QTest::addColumn<QString>("rest");
        QTest::addRow("open") << u"[ ] water plants"_s << u"☐ "_s << u"water plants"_s;
        QTest::addRow("done") << u"[x] done"_s << u"☑ "_s << u"done"_s;
        QTest::addRow("done upper") << u"[X] Done"_s << u"☑ "_s << u"Done"_s;
        QTest::addRow("alone") << u"[x]"_s << u"☑ "_s << QString();
        QTest::addRow("open alone") << u"[ ]"_s << u"☐ "_s << QString();
        QTest::addRow("leading spaces") << u"  [ ] a"_s << u"☐ "_s << u"a"_s;
        QTest::addRow("no space after box") << u"[x]a"_s << QString() << u"[x]a"_s;
        QTest::addRow("plain") << u"  plain"_s << QString() << u"  plain"_s;
    }
    void splitTaskMarker()
    {
        QFETCH(QString, text);
        QFETCH(QString, checkbox);
        QFETCH(QString, rest);
        const auto [box, remainder] = MarkdownLite::splitTaskMarker(text);
        QCOMPARE(box, checkbox);
        QCOMPARE(remainder, rest);
    }

    void listItem_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("tag");
        QTest::addColumn<QString>("text");
        QTest::addRow("dash") << u"- a"_s << u"ul"_s << u"a"_s;
        QTest::addRow("star") << u"* a"_s << u"ul"_s << u"a"_s;
        QTest::addRow("plus") << u"+ a"_s << u"ul"_s << u"a"_s;
        QTest::addRow("numbered") << u"12. a"_s << u"ol"_s << u"a"_s;
        QTest::addRow("Arabic-Indic digits") << u"\u0661\u0662. a"_s << u"ol"_s << u"a"_s;
        QTest::addRow("spaced dashes") << u"- - -"_s << u"ul"_s << u"- -"_s;
        QTest::addRow("no space") << u"-a"_s << QString() << QString();
        QTest::addRow("number without space") << u"1.a"_s << QString() << QString();
    }
    void listItem()
    {
        QFETCH(QString, line);
        QFETCH(QString, tag);
        QFETCH(QString, text);
        const auto item = MarkdownLite::listItem(line);
        QCOMPARE(item.has_value(), !tag.isEmpty());
        if (item) {
            QCOMPARE(item->first, tag);
            QCOMPARE(item->second, text);
        }
    }

    void closeLists()
    {
        QList<std::pair<QString, int>> stack { { u"ul"_s, 0 }, { u"ol"_s, 2 } };
        QStringList fragments { u"x"_s };
        MarkdownLite::closeLists(stack, fragments);
        QVERIFY(stack.isEmpty());
        QCOMPARE(fragments, (QStringList { u"x"_s, u"</ol>"_s, u"</ul>"_s }));
    }

    void convert_data()
    {
        QTest::addColumn<QString>("markdown");
        QTest::addColumn<QStringList>("fragments");

        QTest::addRow("empty") << QString() << QStringList { u"<div><br></div>"_s };
        QTest::addRow("paragraphs are never joined")
            << u"one\ntwo"_s << QStringList { u"<div>one</div>"_s, u"<div>two</div>"_s };
        QTest::addRow("paragraph trimmed") << u"  \tx \u00A0"_s << QStringList { u"<div>x</div>"_s };
        QTest::addRow("blank lines kept as runs")
            << u"a\n\n\nb"_s
            << QStringList { u"<div>a</div>"_s, u"<div><br></div>"_s, u"<div><br></div>"_s, u"<div>b</div>"_s };
        QTest::addRow("carriage return stays in the line")
            << u"a\r\nb"_s << QStringList { u"<div>a\r</div>"_s, u"<div>b</div>"_s };
        QTest::addRow("code block") << u"```swift\n<b>\n**x**\n```\nafter"_s
                                    << QStringList {
                                           u"<pre style=\"font-family:Menlo,monospace\">&lt;b&gt;\n**x**</pre>"_s,
                                           u"<div>after</div>"_s
                                       };
        QTest::addRow("code lines untrimmed")
            << u"```\n  indented\n```"_s
            << QStringList { u"<pre style=\"font-family:Menlo,monospace\">  indented</pre>"_s };
        QTest::addRow("unclosed fence takes the rest")
            << u"```\na\n\nb"_s << QStringList { u"<pre style=\"font-family:Menlo,monospace\">a\n\nb</pre>"_s };
        QTest::addRow("empty code block")
            << u"```\n```"_s << QStringList { u"<pre style=\"font-family:Menlo,monospace\"></pre>"_s };
        QTest::addRow("table with separator") << u"| a | b |\n|---|:-:|\n| 1 | 2 |"_s
                                              << QStringList { table + u"<tr>"_s + th(u"a"_s) + th(u"b"_s)
                                                     + u"</tr><tr>"_s + td(u"1"_s) + td(u"2"_s) + u"</tr></table>"_s };
        QTest::addRow("table without separator")
            << u"| a | b |\n| 1 | 2 |"_s
            << QStringList { table + u"<tr>"_s + th(u"a"_s) + th(u"b"_s) + u"</tr><tr>"_s + td(u"1"_s) + td(u"2"_s)
                   + u"</tr></table>"_s };
        QTest::addRow("separator-like third row is data")
            << u"|a|\n|b|\n|---|"_s
            << QStringList { table + u"<tr>"_s + th(u"a"_s) + u"</tr><tr>"_s + td(u"b"_s) + u"</tr><tr>"_s
                   + td(u"---"_s) + u"</tr></table>"_s };
        QTest::addRow("escaped bar in cell")
            << u"| a \\| b |"_s << QStringList { table + u"<tr>"_s + th(u"a | b"_s) + u"</tr></table>"_s };
        QTest::addRow("later row without closing bar loses its last character")
            << u"|a|\n|bc"_s
            << QStringList { table + u"<tr>"_s + th(u"a"_s) + u"</tr><tr>"_s + td(u"b"_s) + u"</tr></table>"_s };
        QTest::addRow("rows not padded") << u"|a|b|\n|c|"_s
                                         << QStringList { table + u"<tr>"_s + th(u"a"_s) + th(u"b"_s) + u"</tr><tr>"_s
                                                + td(u"c"_s) + u"</tr></table>"_s };
        QTest::addRow("cells rendered inline")
            << u"| **b** | [[P]] |"_s
            << QStringList { table + u"<tr>"_s + th(u"<b>b</b>"_s) + th(u"<u>P</u>"_s) + u"</tr></table>"_s };
        QTest::addRow("first line must end with a bar") << u"| a | b"_s << QStringList { u"<div>| a | b</div>"_s };
        QTest::addRow("table ends at a line without a bar")
            << u"|a|\nafter"_s
            << QStringList { table + u"<tr>"_s + th(u"a"_s) + u"</tr></table>"_s, u"<div>after</div>"_s };
        QTest::addRow("headings") << u"# Title\n### Title\n#### Title\n###### T"_s
                                  << QStringList { heading(24, u"Title"_s), heading(16, u"Title"_s),
                                         heading(14, u"Title"_s), heading(14, u"T"_s) };
        QTest::addRow("heading two") << u"## Sub"_s << QStringList { heading(20, u"Sub"_s) };
        QTest::addRow("hash without space is a paragraph") << u"#Title"_s << QStringList { u"<div>#Title</div>"_s };
        QTest::addRow("trailing hashes kept") << u"# A #"_s << QStringList { heading(24, u"A #"_s) };
        QTest::addRow("nested list") << u"- a\n  - b\n- c"_s
                                     << QStringList { u"<ul>"_s, u"<li>a</li>"_s, u"<ul>"_s, u"<li>b</li>"_s,
                                            u"</ul>"_s, u"<li>c</li>"_s, u"</ul>"_s };
        QTest::addRow("bullet then numbered at the same indent")
            << u"- a\n1. b"_s
            << QStringList { u"<ul>"_s, u"<li>a</li>"_s, u"</ul>"_s, u"<ol>"_s, u"<li>b</li>"_s, u"</ol>"_s };
        QTest::addRow("tab nests under two spaces")
            << u"  - a\n\t- b"_s
            << QStringList { u"<ul>"_s, u"<li>a</li>"_s, u"<ul>"_s, u"<li>b</li>"_s, u"</ul>"_s, u"</ul>"_s };
        QTest::addRow("numbers are discarded")
            << u"3. a\n7. b"_s << QStringList { u"<ol>"_s, u"<li>a</li>"_s, u"<li>b</li>"_s, u"</ol>"_s };
        QTest::addRow("dedent closes deeper lists")
            << u"- a\n  - b\n    - c\n- d"_s
            << QStringList { u"<ul>"_s, u"<li>a</li>"_s, u"<ul>"_s, u"<li>b</li>"_s, u"<ul>"_s, u"<li>c</li>"_s,
                   u"</ul>"_s, u"</ul>"_s, u"<li>d</li>"_s, u"</ul>"_s };
        QTest::addRow("tasks") << u"- [ ] water plants\n- [x]"_s
                               << QStringList { u"<ul>"_s, u"<li>☐ water plants</li>"_s, u"<li>☑ </li>"_s, u"</ul>"_s };
        QTest::addRow("paragraph closes the list")
            << u"- a\nb"_s << QStringList { u"<ul>"_s, u"<li>a</li>"_s, u"</ul>"_s, u"<div>b</div>"_s };
        QTest::addRow("blank line closes the list")
            << u"- a\n\n- b"_s
            << QStringList { u"<ul>"_s, u"<li>a</li>"_s, u"</ul>"_s, u"<div><br></div>"_s, u"<ul>"_s, u"<li>b</li>"_s,
                   u"</ul>"_s };
        QTest::addRow("heading closes the list")
            << u"- a\n# H"_s << QStringList { u"<ul>"_s, u"<li>a</li>"_s, u"</ul>"_s, heading(24, u"H"_s) };
        QTest::addRow("quote") << u"> quoted *x*"_s << QStringList { u"<div>┃ <i>quoted <i>x</i></i></div>"_s };
        QTest::addRow("nested quote flattens") << u"> > deep"_s << QStringList { u"<div>┃ <i>deep</i></div>"_s };
        QTest::addRow("empty quote") << u">"_s << QStringList { u"<div>┃ <i></i></div>"_s };
        QTest::addRow("rules") << u"---\n***"_s
                               << QStringList { u"<div>━━━━━━━━━━</div>"_s, u"<div>━━━━━━━━━━</div>"_s };
        QTest::addRow("not rules") << u"___\n----\n**bold**"_s
                                   << QStringList { u"<div>___</div>"_s, u"<div>----</div>"_s,
                                          u"<div><b>bold</b></div>"_s };
        QTest::addRow("spaced dashes are a list item")
            << u"- - -"_s << QStringList { u"<ul>"_s, u"<li>- -</li>"_s, u"</ul>"_s };
        QTest::addRow("list closes before a code block")
            << u"- a\n```\nx\n```"_s
            << QStringList { u"<ul>"_s, u"<li>a</li>"_s, u"</ul>"_s,
                   u"<pre style=\"font-family:Menlo,monospace\">x</pre>"_s };
        QTest::addRow("list still open at the end")
            << u"1. a\n   - b"_s
            << QStringList { u"<ol>"_s, u"<li>a</li>"_s, u"<ul>"_s, u"<li>b</li>"_s, u"</ul>"_s, u"</ol>"_s };
    }
    void convert()
    {
        QFETCH(QString, markdown);
        QFETCH(QStringList, fragments);
        const MarkdownLite::Output output = MarkdownLite::convert(markdown);
        QCOMPARE(output.html, fragments.join(u'\n'));
    }

    void convertEmptyHasNoImages() { QVERIFY(MarkdownLite::convert(QString()).images.isEmpty()); }

    void convertCollectsImagesFromEveryBlock()
    {
        const MarkdownLite::Output output = MarkdownLite::convert(
            u"# ![[h.png]]\n- ![i](l.png)\n> ![[q.png]]\n| ![[t.png]] |\n![[p.png]] ![[p2.png]]\n```\n![[code.png]]\n```"_s);
        QCOMPARE(
            output.images, (QStringList { u"h.png"_s, u"l.png"_s, u"q.png"_s, u"t.png"_s, u"p2.png"_s, u"p.png"_s }));
    }

    // Inputs that would take quadratic time in a careless renderer. They must finish and stay exact.
    void pathologicalInputs()
    {
        QString nested;
        for (int i = 0; i < 2000; ++i)
            nested += QString(i % 200, u' ') + u"- x\n"_s;
        const MarkdownLite::Output lists = MarkdownLite::convert(nested);
        QCOMPARE(lists.html.count(u"<li>x</li>"_s), 2000);
        QCOMPARE(lists.html.count(u"<ul>"_s), lists.html.count(u"</ul>"_s));

        // Every run of seven stars is a bold-italic star; the italic step then pairs the stars that are
        // left across two neighbouring runs.
        const QString stars(14 * 7142, u'*');
        QCOMPARE(MarkdownLite::convert(stars).html,
            u"<div>"_s + u"<b><i><i></i></b><b><i></i></i></b>"_s.repeated(7142) + u"</div>"_s);

        QStringList images;
        const QString embeds = u"![[x.png]] "_s.repeated(20000);
        MarkdownLite::inlineHtml(embeds, images);
        QCOMPARE(images.size(), 20000);
    }
};

QTEST_GUILESS_MAIN(tst_MarkdownLite)
#include "tst_MarkdownLite.moc"
