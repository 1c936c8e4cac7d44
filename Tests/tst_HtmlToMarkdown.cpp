// Tests of the Notes-HTML-to-Markdown converter: the character array, the tokenizer, entity decoding,
// the renderer's rules, note bodies in the shapes Notes produces, and inputs made to be slow.

#include "HtmlToMarkdown.h"
#include "HtmlToMarkdown_p.h"

#include "Text.h"

#include <QDir>
#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace HtmlToMarkdown;

namespace {

/// A readable form of a token, so that a failing comparison shows what was made.
QString describe(const Token &token)
{
    switch (token.kind) {
    case Token::Kind::text:
        return u"text \"%1\""_s.arg(token.value);
    case Token::Kind::open: {
        QStringList attributes;
        for (auto it = token.attributes.cbegin(); it != token.attributes.cend(); ++it)
            attributes.append(u"%1=\"%2\""_s.arg(it.key(), it.value()));
        return u"open %1 {%2}"_s.arg(token.value, attributes.join(u' '));
    }
    case Token::Kind::close:
        return u"close "_s + token.value;
    case Token::Kind::selfClosing:
        return u"selfClosing "_s + token.value;
    }
    return {};
}

QStringList describe(const QList<Token> &tokens)
{
    QStringList described;
    for (const Token &token : tokens)
        described.append(describe(token));
    return described;
}

QStringList clusters(const Characters &chars)
{
    QStringList list;
    for (qsizetype i = 0; i < chars.size(); ++i)
        list.append(chars.at(i).toString());
    return list;
}

QStringList clusters(const QList<QStringView> &views)
{
    QStringList list;
    for (QStringView view : views)
        list.append(view.toString());
    return list;
}

QByteArray readFixture(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

const QString fixtureDir = QStringLiteral(VELLORAN_SOURCE_DIR "/Tests/data/notes-html");

/// A data URI of about `bytes` bytes, as Notes embeds a photo.
QString dataUri(qsizetype bytes)
{
    QString payload;
    payload.reserve(bytes);
    const QString alphabet = u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"_s;
    for (qsizetype i = 0; i < bytes; ++i)
        payload += alphabet[(i * 7 + i / 64) % 64];
    return u"data:image/heic;base64,"_s + payload;
}

/// Entity decoding as a chain of whole-text replacements: the named rows in a fixed order with "&amp;"
/// last, then the hexadecimal and the decimal references, each replaced from a search over the text
/// that the step before left.
QString sequentialDecode(const QString &text)
{
    const QList<std::pair<QString, QString>> rows { { u"&lt;"_s, u"<"_s }, { u"&gt;"_s, u">"_s },
        { u"&quot;"_s, u"\""_s }, { u"&apos;"_s, u"'"_s }, { u"&#39;"_s, u"'"_s }, { u"&nbsp;"_s, u" "_s },
        { u"&hellip;"_s, u"\u2026"_s }, { u"&mdash;"_s, u"\u2014"_s }, { u"&ndash;"_s, u"\u2013"_s },
        { u"&copy;"_s, u"\u00A9"_s }, { u"&reg;"_s, u"\u00AE"_s }, { u"&trade;"_s, u"\u2122"_s },
        { u"&rsquo;"_s, u"\u2019"_s }, { u"&lsquo;"_s, u"\u2018"_s }, { u"&rdquo;"_s, u"\u201D"_s },
        { u"&ldquo;"_s, u"\u201C"_s }, { u"&middot;"_s, u"\u00B7"_s }, { u"&amp;"_s, u"&"_s } };
    QString result = text;
    for (const auto &[entity, replacement] : rows)
        result.replace(entity, replacement);
    const auto scalar = [](QStringView digits, int base) -> std::optional<QString> {
        bool ok = false;
        const qulonglong value = digits.toULongLong(&ok, base);
        if (!ok || digits.size() > 40 || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF))
            return std::nullopt;
        const char32_t c = char32_t(value);
        return QString::fromUcs4(&c, 1);
    };
    result = HtmlToMarkdown::replaceRegex(
        result, u"&#x([0-9A-Fa-f]+);"_s, [&](QStringView digits) { return scalar(digits, 16); });
    return HtmlToMarkdown::replaceRegex(
        result, u"&#([0-9]+);"_s, [&](QStringView digits) { return scalar(digits, 10); });
}

} // namespace

class tst_HtmlToMarkdown : public QObject
{
    Q_OBJECT

private slots:
    // Token

    void tokenKindsInOrder()
    {
        QCOMPARE(int(Token::Kind::text), 0);
        QCOMPARE(int(Token::Kind::open), 1);
        QCOMPARE(int(Token::Kind::close), 2);
        QCOMPARE(int(Token::Kind::selfClosing), 3);
    }

    // Characters

    void charactersMatchGraphemeClusters_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addRow("empty") << QString();
        QTest::addRow("plain ASCII") << u"<div class=\"a\">x & y</div>"_s;
        QTest::addRow("CRLF is one character") << u"a\r\nb\r\n"_s;
        QTest::addRow("lone CR and LF") << u"a\rb\nc\n\r"_s;
        QTest::addRow("combining mark after <") << u"<\u0301div>"_s;
        QTest::addRow("decomposed letters") << u"cafe\u0301 nai\u0308ve"_s;
        QTest::addRow("precomposed letters") << u"café naïve ’quoted’"_s;
        QTest::addRow("emoji with skin tone and ZWJ") << u"a👩🏽‍💻b👨‍👩‍👧c"_s;
        QTest::addRow("regional indicators, odd count") << u"x🇫🇷🇩🇪🇮y"_s;
        QTest::addRow("prepend mark before ASCII") << u"\u0600a.\u0600/"_s;
        QTest::addRow("Hangul jamo") << u"\u1100\u1161\u11A8<"_s;
        QTest::addRow("spacing mark") << u"<\u0915\u093F>"_s;
        QTest::addRow("variation selector") << u"<\u2764\uFE0F>"_s;
        QTest::addRow("lone surrogates") << u"a"_s + QChar(0xD800) + u"b"_s + QChar(0xDC00);
        QTest::addRow("CR before combining mark") << u"\r\u0301\n\u0301"_s;
        QString mixed;
        const QStringList pieces { u"<"_s, u">"_s, u"e\u0301"_s, u"\r\n"_s, u" "_s, u"👍🏻"_s, u"🇯🇵"_s, u"\u0600"_s,
            u"x"_s, u"&"_s, u"\u0301"_s };
        for (int i = 0; i < 2000; ++i)
            mixed += pieces[(i * 7 + i / 3) % pieces.size()];
        QTest::addRow("long mixture") << mixed;
    }

    void charactersMatchGraphemeClusters()
    {
        QFETCH(QString, text);
        const Characters chars(text);
        QCOMPARE(clusters(chars), clusters(Text::graphemeClusters(text)));
        for (qsizetype i = 0; i <= chars.size(); ++i)
            QCOMPARE(chars.indexAtOffset(chars.start(i)), std::optional<qsizetype>(i));
    }

    void charactersSimpleWhenEveryCharacterIsOneUnit()
    {
        QVERIFY(Characters(u"<div>plain</div>"_s).isSimple());
        QVERIFY(Characters(u"café ’x’"_s).isSimple());
        QVERIFY(!Characters(u"a\r\nb"_s).isSimple());
        QVERIFY(!Characters(u"e\u0301"_s).isSimple());
        const QString flag = u"a🇫🇷"_s;
        const Characters chars(flag);
        QCOMPARE(chars.size(), 2);
        QCOMPARE(chars.indexAtOffset(2), std::nullopt);
    }

    void tokensSameOnAsciiFastPath()
    {
        // The same markup once in plain ASCII and once after a character that needs the boundary
        // finder: the tokens after it must not differ.
        const QString markup = u"a<div class=\"x\">a<b>b</b><!-- c --><br/>d &amp; e\n<img src=\"i.png\">f<g"_s;
        const QList<Token> plain = HtmlToMarkdown::tokenize(markup);
        const QList<Token> mixed = HtmlToMarkdown::tokenize(u"e\u0301"_s + markup);
        QCOMPARE(describe(mixed.mid(1)), describe(plain.mid(1)));
        QCOMPARE(describe(mixed.first()), u"text \"e\u0301a\""_s);
        QCOMPARE(describe(plain.first()), u"text \"a\""_s);
    }

    void matchAheadAndFind()
    {
        const QString text = u"a<!-->\r\n>e\u0301-->x"_s;
        const Characters chars(text);
        // a < ! - - > CRLF > é - - > x
        QCOMPARE(chars.size(), 13);
        QVERIFY(matchAhead(chars, 1, u"<!--"));
        QVERIFY(!matchAhead(chars, 0, u"<!--"));
        QVERIFY(matchAhead(chars, 10, u"->x"));
        QVERIFY(!matchAhead(chars, 11, u"->x!"));
        QVERIFY(matchAhead(chars, 6, u"\r\n>"));
        QVERIFY(!matchAhead(chars, 8, u"e"));
        QVERIFY(matchAhead(chars, 8, u"e\u0301"));
        QCOMPARE(findSubstring(chars, 0, u"-->"), std::optional<qsizetype>(3));
        QCOMPARE(findSubstring(chars, 4, u"-->"), std::optional<qsizetype>(9));
        QCOMPARE(findSubstring(chars, 10, u"-->"), std::nullopt);
        QCOMPARE(findSubstring(chars, 0, u"e"), std::nullopt);
        QCOMPARE(indexOf(chars, 0, u'>'), std::optional<qsizetype>(5));
        QCOMPARE(indexOf(chars, 6, u'>'), std::optional<qsizetype>(7));
        QCOMPARE(indexOf(chars, 0, u'\n'), std::nullopt);
        QCOMPARE(indexOf(chars, 0, u'\r'), std::nullopt);
        QCOMPARE(indexOf(chars, 13, u'x'), std::nullopt);
        QCOMPARE(indexOf(chars, 12, u'x'), std::optional<qsizetype>(12));
    }

    void findOnCombiningMarks()
    {
        const QString text = u"->\u0301 -->"_s;
        const Characters chars(text);
        QCOMPARE(findSubstring(chars, 0, u"-->"), std::optional<qsizetype>(3));
        QCOMPARE(indexOf(chars, 0, u'>'), std::optional<qsizetype>(5));
    }

    // Tokenizer

    void tokenize_data()
    {
        QTest::addColumn<QString>("html");
        QTest::addColumn<QStringList>("tokens");
        QTest::addRow("empty") << QString() << QStringList();
        QTest::addRow("only text") << u"plain"_s << QStringList { u"text \"plain\""_s };
        QTest::addRow("a<b without >") << u"a<b"_s << QStringList { u"text \"a<b\""_s };
        QTest::addRow("unclosed comment") << u"x<!-- never closed"_s << QStringList { u"text \"x\""_s };
        QTest::addRow("comment between text") << u"a<!-- c -->b"_s << QStringList { u"text \"a\""_s, u"text \"b\""_s };
        QTest::addRow("<!--> is a whole comment") << u"<!-->x"_s << QStringList { u"text \"x\""_s };
        QTest::addRow("unclosed comment drops tags after it") << u"a<!-- <b>x</b>"_s << QStringList { u"text \"a\""_s };
        QTest::addRow("doctype") << u"<!DOCTYPE html><p>x"_s << QStringList { u"open p {}"_s, u"text \"x\""_s };
        QTest::addRow("declaration ends at the next >")
            << u"a<!x <b>c"_s << QStringList { u"text \"a\""_s, u"text \"c\""_s };
        QTest::addRow("unclosed declaration") << u"a<!x <b"_s << QStringList { u"text \"a\""_s };
        QTest::addRow("<!- is a declaration") << u"<!- x >y"_s << QStringList { u"text \"y\""_s };
        QTest::addRow("BR") << u"<BR>"_s << QStringList { u"selfClosing br"_s };
        QTest::addRow("br with space") << u"<br >"_s << QStringList { u"selfClosing br"_s };
        QTest::addRow("br/") << u"<br/>"_s << QStringList { u"selfClosing br"_s };
        QTest::addRow("br /") << u"<br />"_s << QStringList { u"selfClosing br"_s };
        QTest::addRow("br with attributes") << u"<br class=\"x\">"_s << QStringList { u"selfClosing br"_s };
        QTest::addRow("hr") << u"<hr>"_s << QStringList { u"selfClosing hr"_s };
        QTest::addRow("img") << u"<img src=\"a.png\">"_s
                             << QStringList { u"open img {src=\"a.png\"}"_s, u"close img"_s };
        QTest::addRow("img self-closing") << u"<img src=\"a.png\"/>"_s << QStringList { u"selfClosing img"_s };
        QTest::addRow("img self-closing after space")
            << u"<img src=\"a\" / >"_s << QStringList { u"selfClosing img"_s };
        QTest::addRow("upper-case tag and attribute") << u"<A HREF='x'>"_s << QStringList { u"open a {href=\"x\"}"_s };
        QTest::addRow("attribute without value")
            << u"<input disabled>"_s << QStringList { u"open input {disabled=\"\"}"_s };
        QTest::addRow("entity in attribute")
            << u"<a title=\"Tom &amp; Jerry\">"_s << QStringList { u"open a {title=\"Tom & Jerry\"}"_s };
        QTest::addRow("<> is an open tag with no name") << u"<>"_s << QStringList { u"open  {}"_s };
        QTest::addRow("close tag") << u"</DIV>"_s << QStringList { u"close div"_s };
        QTest::addRow("close tag with spaces") << u"</ div >"_s << QStringList { u"close div"_s };
        QTest::addRow("lone slash") << u"</>"_s << QStringList { u"close "_s };
        QTest::addRow("text around tags")
            << u"a <b>x</b> c"_s
            << QStringList { u"text \"a \""_s, u"open b {}"_s, u"text \"x\""_s, u"close b"_s, u"text \" c\""_s };
        QTest::addRow("< pairs with the next >")
            << u"a < b > c"_s << QStringList { u"text \"a \""_s, u"open b {}"_s, u"text \" c\""_s };
        QTest::addRow("> inside a quoted value ends the tag")
            << u"<a href=\"x>y\">"_s << QStringList { u"open a {href=\"x\"}"_s, u"text \"y\">\""_s };
        QTest::addRow("stray >") << u"x>y"_s << QStringList { u"text \"x>y\""_s };
        QTest::addRow("unmatched < then tag")
            << u"1 < 2 <b>"_s << QStringList { u"text \"1 \""_s, u"open 2 {<b=\"\"}"_s };
        QTest::addRow("line break inside tag") << u"<p\nclass=\"x\">"_s << QStringList { u"open p {class=\"x\"}"_s };
        QTest::addRow("white space around inner") << u"< \n b \t>"_s << QStringList { u"open b {}"_s };
        QTest::addRow("< with combining mark is text") << u"<\u0301b>x"_s << QStringList { u"text \"<\u0301b>x\""_s };
        QTest::addRow("> with combining mark does not end a tag")
            << u"<b>\u0301x>"_s << QStringList { u"open b>\u0301x {}"_s };
        QTest::addRow("CRLF is not a line feed in a tag")
            << u"<b\r\nclass=x>"_s << QStringList { u"open b\r\nclass=x {}"_s };
        QTest::addRow("CRLF trimmed at the ends") << u"<br\r\n>"_s << QStringList { u"selfClosing br"_s };
        QTest::addRow("slash with combining mark is not a close")
            << u"</\u0301b>"_s << QStringList { u"open /\u0301b {}"_s };
        QTest::addRow("attribute ends with slash at tag end") << u"<a href=x/>"_s << QStringList { u"selfClosing a"_s };
        QTest::addRow("slash inside values")
            << u"<a href=\"x/y\" title=a/b>"_s << QStringList { u"open a {href=\"x/y\" title=\"a/b\"}"_s };
    }

    void tokenize()
    {
        QFETCH(QString, html);
        QFETCH(QStringList, tokens);
        QCOMPARE(describe(HtmlToMarkdown::tokenize(html)), tokens);
    }

    void tokenTextIsRaw()
    {
        const QList<Token> tokens = HtmlToMarkdown::tokenize(u"a &amp; b"_s);
        QCOMPARE(tokens.size(), 1);
        QCOMPARE(tokens[0], Token::text(u"a &amp; b"_s));
    }

    void selfClosingCarriesNoAttributes()
    {
        const QList<Token> tokens = HtmlToMarkdown::tokenize(u"<img src=\"a.png\" alt=\"x\"/><br class=\"y\">"_s);
        QCOMPARE(tokens.size(), 2);
        QCOMPARE(tokens[0], Token::selfClosing(u"img"_s));
        QVERIFY(tokens[0].attributes.isEmpty());
        QCOMPARE(tokens[1], Token::selfClosing(u"br"_s));
        QVERIFY(tokens[1].attributes.isEmpty());
    }

    void tagName_data()
    {
        QTest::addColumn<QString>("inner");
        QTest::addColumn<QString>("name");
        QTest::addRow("bare") << u"DIV"_s << u"div"_s;
        QTest::addRow("with attributes") << u"span style=\"x\""_s << u"span"_s;
        QTest::addRow("spaces and tabs trimmed") << u" \tLi\t "_s << u"li"_s;
        QTest::addRow("ends at tab") << u"td\tclass=x"_s << u"td"_s;
        QTest::addRow("ends at line feed") << u"p\nclass=x"_s << u"p"_s;
        QTest::addRow("ends at slash") << u"br/"_s << u"br"_s;
        QTest::addRow("line feed not trimmed first") << u"\nb"_s << QString();
        QTest::addRow("CRLF does not end a name") << u"b\r\nc"_s << u"b\r\nc"_s;
        QTest::addRow("space with a mark does not end a name") << u"b \u0301c"_s << u"b \u0301c"_s;
        QTest::addRow("empty") << QString() << QString();
        QTest::addRow("non-ASCII lower-cased") << u"ÉCOLE"_s << u"école"_s;
    }

    void tagName()
    {
        QFETCH(QString, inner);
        QFETCH(QString, name);
        QCOMPARE(HtmlToMarkdown::tagName(inner), name);
    }

    void parseAttrs_data()
    {
        QTest::addColumn<QString>("inner");
        QTest::addColumn<QStringList>("attributes");
        QTest::addRow("empty") << QString() << QStringList();
        QTest::addRow("bare tag") << u"div"_s << QStringList();
        QTest::addRow("double quotes") << u"a href=\"x y\""_s << QStringList { u"href=x y"_s };
        QTest::addRow("single quotes") << u"a href='x \"y\"'"_s << QStringList { u"href=x \"y\""_s };
        QTest::addRow("unquoted") << u"a href=x.md title=t"_s << QStringList { u"href=x.md"_s, u"title=t"_s };
        QTest::addRow("spaces around =") << u"a href = \"x\""_s << QStringList { u"href=x"_s };
        QTest::addRow("tab before = is part of the name") << u"a href\t=\t'x'"_s << QStringList { u"href\t=x"_s };
        QTest::addRow("no value") << u"input disabled checked"_s << QStringList { u"checked="_s, u"disabled="_s };
        QTest::addRow("later replaces earlier") << u"a x=1 X=2"_s << QStringList { u"x=2"_s };
        QTest::addRow("names lower-cased") << u"a DATA-Id=7"_s << QStringList { u"data-id=7"_s };
        QTest::addRow("missing closing quote reads to the end") << u"a href=\"x y"_s << QStringList { u"href=x y"_s };
        QTest::addRow("tab inside a name") << u"a x\ty=1"_s << QStringList { u"x\ty=1"_s };
        QTest::addRow("line feed inside a name") << u"a x\ny=1"_s << QStringList { u"x\ny=1"_s };
        QTest::addRow("line feed does not end an unquoted value") << u"a\nx=1\ny=2"_s << QStringList { u"x=1\ny=2"_s };
        QTest::addRow("line feeds between quoted values")
            << u"a\nx=\"1\"\ny='2'"_s << QStringList { u"x=1"_s, u"y=2"_s };
        QTest::addRow("line feed before = ends nothing") << u"a x\n=1"_s << QStringList { u"x\n=1"_s };
        QTest::addRow("value decoded") << u"a href=\"?a=1&amp;b=2\""_s << QStringList { u"href=?a=1&b=2"_s };
        QTest::addRow("unquoted value decoded") << u"a t=&lt;x&gt;"_s << QStringList { u"t=<x>"_s };
        QTest::addRow("empty name is not stored") << u"a =x y=1"_s << QStringList { u"y=1"_s };
        QTest::addRow("style with colons")
            << u"span style=\"font-size: 24px\""_s << QStringList { u"style=font-size: 24px"_s };
        QTest::addRow("slash inside quoted value")
            << u"img src=\"a/b.png\" alt=\"c\""_s << QStringList { u"alt=c"_s, u"src=a/b.png"_s };
        QTest::addRow("tab after tag name") << u"td\tclass=x"_s << QStringList { u"class=x"_s };
        QTest::addRow("CRLF is no separator") << u"b\r\nclass=x"_s << QStringList();
        QTest::addRow("quote with a mark is not a quote")
            << u"a t=\"\u0301x\" y"_s << QStringList { u"t=\"\u0301x\""_s, u"y="_s };
    }

    void parseAttrs()
    {
        QFETCH(QString, inner);
        QFETCH(QStringList, attributes);
        const QMap<QString, QString> parsed = HtmlToMarkdown::parseAttrs(inner);
        QStringList flat;
        for (auto it = parsed.cbegin(); it != parsed.cend(); ++it)
            flat.append(it.key() + u'=' + it.value());
        QCOMPARE(flat, attributes);
    }

    void slashBetweenAttributesIsSteppedOver()
    {
        const QList<Token> tokens = HtmlToMarkdown::tokenize(u"<img src=\"a.png\" / alt=\"b\">"_s);
        QCOMPARE(tokens.size(), 2);
        QCOMPARE(tokens[0], Token::open(u"img"_s, { { u"src"_s, u"a.png"_s }, { u"alt"_s, u"b"_s } }));
        QCOMPARE(tokens[1], Token::close(u"img"_s));
        QCOMPARE(HtmlToMarkdown::convert(u"<img src=\"a.png\" / alt=\"b\">"_s), u"![b](a.png)"_s);
    }

    void slashesBetweenAttributes_data()
    {
        QTest::addColumn<QString>("html");
        QTest::addColumn<QStringList>("tokens");
        QTest::addColumn<QString>("markdown");
        QTest::addRow("slash after the tag name")
            << u"<a / href=\"x\">t</a>"_s << QStringList { u"open a {href=\"x\"}"_s, u"text \"t\""_s, u"close a"_s }
            << u"[t](x)"_s;
        QTest::addRow("slashes only, last one closing")
            << u"<p / / />"_s << QStringList { u"selfClosing p"_s } << QString();
        QTest::addRow("slashes only, tag not closed by one")
            << u"<p / / x>y"_s << QStringList { u"open p {x=\"\"}"_s, u"text \"y\""_s } << u"y"_s;
        QTest::addRow("run of slashes") << u"<span //// a=1>z"_s
                                        << QStringList { u"open span {a=\"1\"}"_s, u"text \"z\""_s } << u"z"_s;
        QTest::addRow("slash right after a quoted value")
            << u"<img src=\"a.png\"/ alt=\"b\">"_s
            << QStringList { u"open img {alt=\"b\" src=\"a.png\"}"_s, u"close img"_s } << u"![b](a.png)"_s;
        QTest::addRow("slash right after a name")
            << u"<input disabled/ checked>"_s << QStringList { u"open input {checked=\"\" disabled=\"\"}"_s }
            << QString();
        QTest::addRow("slash inside an unquoted value is part of it")
            << u"<img src=a.png/ alt=b>"_s << QStringList { u"open img {alt=\"b\" src=\"a.png/\"}"_s, u"close img"_s }
            << u"![b](a.png/)"_s;
        QTest::addRow("slash with a combining mark is a name")
            << u"<img src=\"a.png\" /\u0301 alt=\"b\">"_s
            << QStringList { u"open img {/\u0301=\"\" alt=\"b\" src=\"a.png\"}"_s, u"close img"_s } << u"![b](a.png)"_s;
        QTest::addRow("slash before =") << u"<a x/=y href=h>t</a>"_s
                                        << QStringList { u"open a {href=\"h\" x=\"\"}"_s, u"text \"t\""_s,
                                               u"close a"_s }
                                        << u"[t](h)"_s;
    }

    void slashesBetweenAttributes()
    {
        QFETCH(QString, html);
        QFETCH(QStringList, tokens);
        QFETCH(QString, markdown);
        QCOMPARE(describe(HtmlToMarkdown::tokenize(html)), tokens);
        QCOMPARE(HtmlToMarkdown::convert(html), markdown);
    }

    void attributeScanStepsOverSlash()
    {
        // Round by round: the round that stands on the "/" moves one character on.
        AttributeScan scan(u"src=\"a.png\" / alt=\"b\""_s);
        scan.step();
        QCOMPARE(scan.position(), 11);
        scan.step();
        QCOMPARE(scan.position(), 12);
        scan.step();
        QCOMPARE(scan.position(), 13);
        scan.step();
        QVERIFY(scan.atEnd());
        QCOMPARE(scan.attributes().size(), 2);
        QCOMPARE(scan.attributes().value(u"src"_s), u"a.png"_s);
        QCOMPARE(scan.attributes().value(u"alt"_s), u"b"_s);
    }

    void attributeScanStepsOverSlashAfterName()
    {
        AttributeScan scan(u"disabled/ x"_s);
        scan.step();
        QCOMPARE(scan.position(), 8);
        QCOMPARE(scan.attributes().value(u"disabled"_s, u"absent"_s), QString());
        scan.step();
        QCOMPARE(scan.position(), 9);
        scan.step();
        QVERIFY(scan.atEnd());
        QCOMPARE(scan.attributes().keys(), (QStringList { u"disabled"_s, u"x"_s }));
    }

    void everyShortTagEnds()
    {
        // Every attribute text of up to six characters drawn from the ones that steer the scan: each
        // converts, to the image or, when the tag ends with "/", to nothing.
        const QStringList alphabet { u"/"_s, u" "_s, u"="_s, u"a"_s, u"\""_s, u"\n"_s };
        QList<QString> texts { QString() };
        qsizetype from = 0;
        for (int length = 1; length <= 6; ++length) {
            const qsizetype to = texts.size();
            for (qsizetype k = from; k < to; ++k) {
                for (const QString &c : alphabet)
                    texts.append(texts[k] + c);
            }
            from = to;
        }
        QCOMPARE(texts.size(), 55987);
        for (const QString &text : std::as_const(texts)) {
            const QString html = u"<img src=i "_s + text + u">"_s;
            const QString markdown = HtmlToMarkdown::convert(html);
            // Only a tag that ends with "/" is self-closing, and an image in that form is dropped.
            const bool selfClosing = Text::trimWhitespaceAndNewlines(text).endsWith(u'/');
            QCOMPARE(markdown, selfClosing ? QString() : u"![](i)"_s);
        }
    }

    void attributeScanEnds()
    {
        AttributeScan scan(u"a=1  b='2' c"_s);
        int rounds = 0;
        while (!scan.atEnd()) {
            scan.step();
            ++rounds;
        }
        QCOMPARE(rounds, 3);
        QCOMPARE(scan.attributes().value(u"b"_s), u"2"_s);
    }

    // Entities

    void decodeEntities_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("decoded");
        QTest::addRow("no ampersand") << u"plain text"_s << u"plain text"_s;
        QTest::addRow("&amp;") << u"a&amp;b"_s << u"a&b"_s;
        QTest::addRow("&lt;") << u"&lt;"_s << u"<"_s;
        QTest::addRow("&gt;") << u"&gt;"_s << u">"_s;
        QTest::addRow("&quot;") << u"&quot;"_s << u"\""_s;
        QTest::addRow("&apos;") << u"&apos;"_s << u"'"_s;
        QTest::addRow("&#39;") << u"&#39;"_s << u"'"_s;
        QTest::addRow("&nbsp; is a plain space") << u"&nbsp;"_s << u" "_s;
        QTest::addRow("&hellip;") << u"&hellip;"_s << u"\u2026"_s;
        QTest::addRow("&mdash;") << u"&mdash;"_s << u"\u2014"_s;
        QTest::addRow("&ndash;") << u"&ndash;"_s << u"\u2013"_s;
        QTest::addRow("&copy;") << u"&copy;"_s << u"\u00A9"_s;
        QTest::addRow("&reg;") << u"&reg;"_s << u"\u00AE"_s;
        QTest::addRow("&trade;") << u"&trade;"_s << u"\u2122"_s;
        QTest::addRow("&rsquo;") << u"&rsquo;"_s << u"\u2019"_s;
        QTest::addRow("&lsquo;") << u"&lsquo;"_s << u"\u2018"_s;
        QTest::addRow("&rdquo;") << u"&rdquo;"_s << u"\u201D"_s;
        QTest::addRow("&ldquo;") << u"&ldquo;"_s << u"\u201C"_s;
        QTest::addRow("&middot;") << u"&middot;"_s << u"\u00B7"_s;
        QTest::addRow("every occurrence") << u"&lt;&lt;a&gt;&gt;"_s << u"<<a>>"_s;
        QTest::addRow("hexadecimal beyond the BMP") << u"&#x1F600;"_s << u"\U0001F600"_s;
        QTest::addRow("hexadecimal upper-case digits") << u"&#x4A;&#x6a;"_s << u"Jj"_s;
        QTest::addRow("hexadecimal surrogate stays") << u"&#xD800;"_s << u"&#xD800;"_s;
        QTest::addRow("hexadecimal last surrogate stays") << u"&#xDFFF;"_s << u"&#xDFFF;"_s;
        QTest::addRow("upper-case X stays") << u"&#X41;"_s << u"&#X41;"_s;
        QTest::addRow("hexadecimal highest scalar") << u"&#x10FFFF;"_s << u"\U0010FFFF"_s;
        QTest::addRow("hexadecimal above the highest scalar") << u"&#x110000;"_s << u"&#x110000;"_s;
        QTest::addRow("hexadecimal largest 32-bit") << u"&#xFFFFFFFF;"_s << u"&#xFFFFFFFF;"_s;
        QTest::addRow("hexadecimal beyond 32 bits") << u"&#x100000041;"_s << u"&#x100000041;"_s;
        QTest::addRow("hexadecimal leading zeros") << u"&#x000000000041;"_s << u"A"_s;
        QTest::addRow("hexadecimal without digits") << u"&#x;"_s << u"&#x;"_s;
        QTest::addRow("decimal") << u"&#65;"_s << u"A"_s;
        QTest::addRow("decimal leading zeros") << u"&#0000000000065;"_s << u"A"_s;
        QTest::addRow("decimal surrogate stays") << u"&#55296;"_s << u"&#55296;"_s;
        QTest::addRow("decimal after the surrogates") << u"&#57344;"_s << u"\uE000"_s;
        QTest::addRow("decimal beyond 32 bits") << u"&#4294967361;"_s << u"&#4294967361;"_s;
        QTest::addRow("decimal zero") << u"&#0;"_s << QString(QChar(0));
        QTest::addRow("decimal without digits") << u"&#;"_s << u"&#;"_s;
        QTest::addRow("decimal with hexadecimal digit") << u"&#6A;"_s << u"&#6A;"_s;
        QTest::addRow("decimal with Arabic-Indic digits") << u"&#\u0666\u0665;"_s << u"&#\u0666\u0665;"_s;
        QTest::addRow("decimal with full-width digits") << u"&#\uFF16\uFF15;"_s << u"&#\uFF16\uFF15;"_s;
        QTest::addRow("decimal with a sign") << u"&#+65;&#-65;"_s << u"&#+65;&#-65;"_s;
        QTest::addRow("decimal with spaces") << u"&# 65;&#65 ;"_s << u"&# 65;&#65 ;"_s;
        QTest::addRow("decimal after a hundred zeros") << u"&#"_s + QString(100, u'0') + u"65;"_s << u"A"_s;
        QTest::addRow("decimal largest 32-bit") << u"&#4294967295;"_s << u"&#4294967295;"_s;
        QTest::addRow("hexadecimal with a prefix") << u"&#x0x41;"_s << u"&#x0x41;"_s;
        QTest::addRow("hexadecimal with full-width digits") << u"&#x\uFF14\uFF11;"_s << u"&#x\uFF14\uFF11;"_s;
        QTest::addRow("hexadecimal after a hundred zeros") << u"&#x"_s + QString(100, u'0') + u"41;"_s << u"A"_s;
        QTest::addRow("unknown name") << u"&foo;"_s << u"&foo;"_s;
        QTest::addRow("names are case-sensitive") << u"&AMP;&Lt;"_s << u"&AMP;&Lt;"_s;
        QTest::addRow("no semicolon") << u"&amp&amp"_s << u"&amp&amp"_s;
        QTest::addRow("no semicolon, letters after") << u"&ltu&gt"_s << u"&ltu&gt"_s;
        QTest::addRow("numeric without semicolon") << u"&#65 &#x41"_s << u"&#65 &#x41"_s;
        QTest::addRow("named before numeric") << u"&amp;#65;"_s << u"A"_s;
        QTest::addRow("mixed") << u"Tom &amp; Jerry&#8217;s &hellip;"_s << u"Tom & Jerry\u2019s \u2026"_s;
    }

    void decodeEntities()
    {
        QFETCH(QString, text);
        QFETCH(QString, decoded);
        QCOMPARE(HtmlToMarkdown::decodeEntities(text), decoded);
    }

    void nestedEntitiesDecodeOnceInAFixedOrder_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("decoded");
        QTest::addRow("&amp;lt;") << u"&amp;lt;b&amp;gt;"_s << u"&lt;b&gt;"_s;
        QTest::addRow("&amp;amp;") << u"&amp;amp;"_s << u"&amp;"_s;
        QTest::addRow("&amp;amp;amp;") << u"&amp;amp;amp;"_s << u"&amp;amp;"_s;
        QTest::addRow("&&lt;") << u"&&lt;"_s << u"&<"_s;
        QTest::addRow("&amp;&lt;") << u"&amp;&lt;"_s << u"&<"_s;
        QTest::addRow("&lt;amp;") << u"&lt;amp;"_s << u"<amp;"_s;
        QTest::addRow("&amp;#39; decodes through the decimal pass") << u"&amp;#39;"_s << u"'"_s;
        QTest::addRow("&amp;#65;") << u"&amp;#65;"_s << u"A"_s;
        QTest::addRow("&amp;#x41;") << u"&amp;#x41;"_s << u"A"_s;
        QTest::addRow("&amp;amp;#65;") << u"&amp;amp;#65;"_s << u"&amp;#65;"_s;
        QTest::addRow("&amp;nbsp;") << u"&amp;nbsp;"_s << u"&nbsp;"_s;
        QTest::addRow("&amp;hellip;") << u"&amp;hellip;"_s << u"&hellip;"_s;
        QTest::addRow("hexadecimal makes a decimal reference") << u"&#x26;#65;"_s << u"A"_s;
        QTest::addRow("hexadecimal result not searched again") << u"&#x26;#x41;"_s << u"&#x41;"_s;
        QTest::addRow("decimal result not searched again") << u"&#38;#65;"_s << u"&#65;"_s;
        QTest::addRow("&#38;amp;") << u"&#38;amp;"_s << u"&amp;"_s;
        QTest::addRow("unknown stays") << u"&amp;foo;&foo;"_s << u"&foo;&foo;"_s;
        QTest::addRow("&amp without semicolon before") << u"&amp&amp;lt;"_s << u"&amp&lt;"_s;
        QTest::addRow("&#&#65;") << u"&#&#65;"_s << u"&#A"_s;
        QTest::addRow("&#x&#x41;") << u"&#x&#x41;"_s << u"&#xA"_s;
        QTest::addRow("&#x41&#x42;") << u"&#x41&#x42;"_s << u"&#x41B"_s;
        QTest::addRow("surrogate reference stays whole") << u"&#xD800;&#65;"_s << u"&#xD800;A"_s;
    }

    void nestedEntitiesDecodeOnceInAFixedOrder()
    {
        QFETCH(QString, text);
        QFETCH(QString, decoded);
        for (int round = 0; round < 50; ++round)
            QCOMPARE(HtmlToMarkdown::decodeEntities(text), decoded);
        QCOMPARE(HtmlToMarkdown::decodeEntities(text), sequentialDecode(text));
    }

    void nestedEntitiesThroughConvert()
    {
        // The "&" of "&lt;" is not one of the characters the Markdown escapes.
        QCOMPARE(HtmlToMarkdown::convert(u"&amp;lt;b&amp;gt;"_s), u"&lt;b&gt;"_s);
        QCOMPARE(HtmlToMarkdown::convert(u"<div>&amp;amp; &amp;#42;</div>"_s), u"&amp; \\*"_s);
        QCOMPARE(HtmlToMarkdown::convert(u"<a href=\"?a=1&amp;amp;b=2\">x</a>"_s), u"[x](?a=1&amp;b=2)"_s);
    }

    void decodingMatchesRowByRowReplacement()
    {
        // Texts made of pieces that can nest: the one-pass decoding gives what replacing the rows one
        // after another gives.
        const QStringList pieces { u"&"_s, u"amp;"_s, u"lt;"_s, u"#"_s, u"x"_s, u"4"_s, u"1"_s, u"6"_s, u";"_s,
            u"&amp;"_s, u"&lt;"_s, u"&#"_s, u"&#x"_s, u"nbsp;"_s, u"a"_s };
        quint32 state = 12345;
        for (int sample = 0; sample < 20000; ++sample) {
            QString text;
            const int length = 1 + sample % 12;
            for (int k = 0; k < length; ++k) {
                state = state * 1664525u + 1013904223u;
                text += pieces[(state >> 16) % pieces.size()];
            }
            QCOMPARE(HtmlToMarkdown::decodeEntities(text), sequentialDecode(text));
        }
    }

    // Regular expressions

    void replaceRegex()
    {
        const auto bracket = [](QStringView group) { return std::optional<QString>(u'<' + group.toString() + u'>'); };
        QCOMPARE(HtmlToMarkdown::replaceRegex(u"a1b22c333"_s, u"([0-9]+)"_s, bracket), u"a<1>b<22>c<333>"_s);
        QCOMPARE(HtmlToMarkdown::replaceRegex(u"a1b"_s, u"([0-9"_s, bracket), u"a1b"_s);
        QCOMPARE(HtmlToMarkdown::replaceRegex(u"ab"_s, u"(a)|b"_s, bracket), u"<a>b"_s);
        const auto onlyEven = [](QStringView group) {
            return group.toInt() % 2 == 0 ? std::optional<QString>(u"even"_s) : std::nullopt;
        };
        QCOMPARE(HtmlToMarkdown::replaceRegex(u"1 2 3 4"_s, u"([0-9])"_s, onlyEven), u"1 even 3 even"_s);
        QCOMPARE(HtmlToMarkdown::replaceRegex(QString(), u"(x)"_s, bracket), QString());
    }

    // Renderer helpers

    void ensureNewline_data()
    {
        QTest::addColumn<QString>("out");
        QTest::addColumn<QString>("after");
        QTest::addRow("empty") << QString() << QString();
        QTest::addRow("text") << u"a"_s << u"a\n"_s;
        QTest::addRow("line feed") << u"a\n"_s << u"a\n"_s;
        QTest::addRow("CRLF is not a line feed") << u"a\r\n"_s << u"a\r\n\n"_s;
        QTest::addRow("line feed with a mark") << u"a\n\u0301"_s << u"a\n\u0301\n"_s;
    }

    void ensureNewline()
    {
        QFETCH(QString, out);
        QFETCH(QString, after);
        HtmlToMarkdown::ensureNewline(out);
        QCOMPARE(out, after);
    }

    void ensureBlankLine_data()
    {
        QTest::addColumn<QString>("out");
        QTest::addColumn<QString>("after");
        QTest::addRow("empty") << QString() << QString();
        QTest::addRow("text") << u"a"_s << u"a\n\n"_s;
        QTest::addRow("line feed") << u"a\n"_s << u"a\n\n"_s;
        QTest::addRow("blank line") << u"a\n\n"_s << u"a\n\n"_s;
        QTest::addRow("three line feeds") << u"a\n\n\n"_s << u"a\n\n\n"_s;
        QTest::addRow("CRLF") << u"a\r\n"_s << u"a\r\n\n\n"_s;
        QTest::addRow("CRLF then LF") << u"a\r\n\n"_s << u"a\r\n\n\n"_s;
        QTest::addRow("only a line feed") << u"\n"_s << u"\n\n"_s;
    }

    void ensureBlankLine()
    {
        QFETCH(QString, out);
        QFETCH(QString, after);
        HtmlToMarkdown::ensureBlankLine(out);
        QCOMPARE(out, after);
    }

    void inlineMarkers()
    {
        QString out;
        QList<InlineMarker> stack;
        openInline(out, stack, InlineMarker::strong);
        openInline(out, stack, InlineMarker::emphasis);
        openInline(out, stack, InlineMarker::strong);
        QCOMPARE(out, u"*****"_s);
        closeInline(out, stack, InlineMarker::code);
        QCOMPARE(out, u"*****"_s);
        QCOMPARE(stack.size(), 3);
        // The last "**" goes, not the first.
        closeInline(out, stack, InlineMarker::strong);
        QCOMPARE(stack, (QList<InlineMarker> { InlineMarker::strong, InlineMarker::emphasis }));
        // Removed from below the top.
        closeInline(out, stack, InlineMarker::strong);
        QCOMPARE(stack, QList<InlineMarker> { InlineMarker::emphasis });
        QCOMPARE(out, u"*********"_s);
        openInline(out, stack, InlineMarker::code);
        openInline(out, stack, InlineMarker::strikethrough);
        QCOMPARE(out, u"*********`~~"_s);
        QCOMPARE(markerText(InlineMarker::strikethrough), u"~~"_s);
    }

    void escapeMarkdown_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("escaped");
        QTest::addRow("specials") << u"\\*_`[]"_s << u"\\\\\\*\\_\\`\\[\\]"_s;
        QTest::addRow("not escaped") << u"# > - ~ | + ! ( ) < & ."_s << u"# > - ~ | + ! ( ) < & ."_s;
        QTest::addRow("a_b*c") << u"a_b*c"_s << u"a\\_b\\*c"_s;
        QTest::addRow("star with a mark is another character") << u"*\u0301*"_s << u"*\u0301\\*"_s;
        QTest::addRow("empty") << QString() << QString();
    }

    void escapeMarkdown()
    {
        QFETCH(QString, text);
        QFETCH(QString, escaped);
        QCOMPARE(HtmlToMarkdown::escapeMarkdown(text), escaped);
    }

    void collapseEmptyLink_data()
    {
        QTest::addColumn<QString>("out");
        QTest::addColumn<QString>("collapsed");
        QTest::addRow("unwraps") << u"a [b]"_s << u"a b"_s;
        QTest::addRow("drops after ]") << u"[b]c"_s << u"b"_s;
        QTest::addRow("no ]") << u"[b"_s << u"[b"_s;
        QTest::addRow("no [ before ]") << u"b]["_s << u"b]["_s;
        QTest::addRow("last pair") << u"x[a][b]"_s << u"x[a]b"_s;
        QTest::addRow("escaped bracket counts") << u"[\\[x\\]]"_s << u"[\\x\\]"_s;
        QTest::addRow("] with a mark is not ]") << u"[a]\u0301"_s << u"[a]\u0301"_s;
        QTest::addRow("empty") << QString() << QString();
    }

    void collapseEmptyLink()
    {
        QFETCH(QString, out);
        QFETCH(QString, collapsed);
        QCOMPARE(HtmlToMarkdown::collapseEmptyLink(out), collapsed);
    }

    // convert

    // A target with a space, a parenthesis or a line break would end the Markdown link early: such a
    // target goes between "<" and ">", with "<", ">" and line breaks percent-encoded.
    void linkTargetsThatWouldBreakTheLinkAreBracketed_data()
    {
        QTest::addColumn<QString>("html");
        QTest::addColumn<QString>("markdown");
        QTest::addRow("parenthesis") << u"<a href=\"https://en.wikipedia.org/wiki/Foo_(bar)\">Foo</a>"_s
                                     << u"[Foo](<https://en.wikipedia.org/wiki/Foo_(bar)>)"_s;
        QTest::addRow("space") << u"<a href=\"my file.pdf\">doc</a>"_s << u"[doc](<my file.pdf>)"_s;
        QTest::addRow("angle brackets") << u"<a href=\"a b&lt;c&gt;\">x</a>"_s << u"[x](<a b%3Cc%3E>)"_s;
        QTest::addRow("line break") << u"<a href=\"a\nb\">x</a>"_s << u"[x](<a%0Ab>)"_s;
        QTest::addRow("image with a space") << u"<img src=\"my photo.png\" alt=\"p\">"_s << u"![p](<my photo.png>)"_s;
        QTest::addRow("plain target unchanged")
            << u"<a href=\"https://host/?a=1&amp;b=2\">q</a>"_s << u"[q](https://host/?a=1&b=2)"_s;
    }
    void linkTargetsThatWouldBreakTheLinkAreBracketed()
    {
        QFETCH(QString, html);
        QFETCH(QString, markdown);
        QCOMPARE(HtmlToMarkdown::convert(html), markdown);
    }

    void convert_data()
    {
        QTest::addColumn<QString>("html");
        QTest::addColumn<QString>("markdown");
        QTest::addRow("empty") << QString() << QString();
        QTest::addRow("only white space") << u" \n\t\r\n "_s << QString();
        QTest::addRow("two divs") << u"<div>a</div><div>b</div>"_s << u"a\nb"_s;
        QTest::addRow("heading then div") << u"<h1>T</h1><div>x</div>"_s << u"# T\n\nx"_s;
        QTest::addRow("h2") << u"<h2>x</h2>"_s << u"## x"_s;
        QTest::addRow("h3") << u"<h3>x</h3>"_s << u"### x"_s;
        QTest::addRow("h4") << u"<h4>x</h4>"_s << u"#### x"_s;
        QTest::addRow("h5 folds to four") << u"<h5>x</h5>"_s << u"#### x"_s;
        QTest::addRow("h6 folds to four") << u"<h6>x</h6>"_s << u"#### x"_s;
        QTest::addRow("heading after text") << u"x<h2>T</h2>y"_s << u"x\n\n## T\n\ny"_s;
        QTest::addRow("heading runs on until a boundary") << u"<h1>A<b>B</b>C"_s << u"# A**B**C"_s;
        QTest::addRow("nested list") << u"<ul><li>a</li><li>b<ul><li>c</li></ul></li></ul>"_s << u"- a\n- b\n    - c"_s;
        QTest::addRow("numbered list") << u"<ol><li>a</li><li>b</li></ol>"_s << u"1. a\n2. b"_s;
        QTest::addRow("numbered inside bullets")
            << u"<ul><li>a<ol><li>b</li><li>c</li></ol></li><li>d</li></ul>"_s << u"- a\n    1. b\n    2. c\n- d"_s;
        QTest::addRow("numbering per list") << u"<ol><li>a</li></ol><ol><li>b</li></ol>"_s << u"1. a\n\n1. b"_s;
        QTest::addRow("item outside a list") << u"<li>a"_s << u"- a"_s;
        QTest::addRow("list between paragraphs")
            << u"<div>x</div><ul><li>a</li></ul><div>y</div>"_s << u"x\n\n- a\n\ny"_s;
        QTest::addRow("stray list close") << u"a</ol>b"_s << u"a\n\nb"_s;
        QTest::addRow("closing ol pops a ul") << u"<ul><li>a<ul><li>b</ol><li>c"_s << u"- a\n    - b\n- c"_s;
        QTest::addRow("link") << u"<a href=\"b.md\">t</a>"_s << u"[t](b.md)"_s;
        QTest::addRow("anchor without href") << u"<a>t</a>"_s << u"t"_s;
        QTest::addRow("anchor with empty href") << u"<a href=\"\">t</a>"_s << u"t"_s;
        QTest::addRow("link target not escaped") << u"<a href=\"a_b*c.md\">x_y</a>"_s << u"[x\\_y](a_b*c.md)"_s;
        QTest::addRow("image in a link") << u"<a href=\"x\"><img src=\"i.png\"></a>"_s << u"[![](i.png)](x)"_s;
        QTest::addRow("unclosed anchor") << u"<a href=\"x\">t"_s << u"[t"_s;
        QTest::addRow("stray anchor close") << u"x</a>"_s << u"x]"_s;
        QTest::addRow("empty anchor around brackets") << u"<a>[x]</a>"_s << u"[\\x\\]"_s;
        QTest::addRow("nested anchors") << u"<a href=\"o\">1<a>2</a>3</a>"_s << u"[123](o)"_s;
        QTest::addRow("stray bold close") << u"</b>"_s << QString();
        QTest::addRow("unclosed bold") << u"<b>x"_s << u"**x"_s;
        QTest::addRow("strong") << u"<strong>x</strong>"_s << u"**x**"_s;
        QTest::addRow("italic and em") << u"<i>x</i><em>y</em>"_s << u"*x**y*"_s;
        QTest::addRow("code and tt") << u"<code>x</code> <tt>y</tt>"_s << u"`x` `y`"_s;
        QTest::addRow("strike forms") << u"<s>a</s><strike>b</strike><del>c</del>"_s << u"~~a~~~~b~~~~c~~"_s;
        QTest::addRow("underline stays HTML") << u"<u>x</u>"_s << u"<u>x</u>"_s;
        QTest::addRow("close removes the last matching marker") << u"<b><i>x</b>y</i>"_s << u"***x**y*"_s;
        QTest::addRow("bold closed by strong") << u"<b>x</strong>"_s << u"**x**"_s;
        QTest::addRow("markers keep white space") << u"<b> x </b>"_s << u"** x **"_s;
        QTest::addRow("escaping") << u"a_b*c"_s << u"a\\_b\\*c"_s;
        QTest::addRow("backslash and brackets") << u"\\ [x] `y`"_s << u"\\\\ \\[x\\] \\`y\\`"_s;
        QTest::addRow("heading marks not escaped") << u"# not a heading - ~ |"_s << u"# not a heading - ~ |"_s;
        QTest::addRow("decoded entities escaped") << u"&lt;b&gt; &amp;lowbar; &#42;"_s << u"<b> &lowbar; \\*"_s;
        QTest::addRow("pre") << u"<pre>a  b\n*c*</pre>"_s << u"```\na  b\n*c*\n```"_s;
        QTest::addRow("pre keeps entities decoded") << u"<pre>&lt;x&gt; &amp;</pre>"_s << u"```\n<x> &\n```"_s;
        QTest::addRow("tags act inside pre") << u"<pre>a<br>b<div>c</div></pre>"_s << u"```\na\nb\nc\n```"_s;
        QTest::addRow("nested pre") << u"<pre>a<pre>b</pre>c</pre>"_s << u"```\na\n\n```\nb\n```\n\nc\n```"_s;
        QTest::addRow("stray pre close") << u"x</pre>y"_s << u"x\n```\n\ny"_s;
        QTest::addRow("CRLF in pre is one character") << u"<pre>a\r\n</pre>"_s << u"```\na\r\n\n```"_s;
        QTest::addRow("white space collapsed") << u"a \t\r\n b"_s << u"a b"_s;
        QTest::addRow("no-break spaces collapse") << u"a&nbsp;&nbsp;b"_s << u"a b"_s;
        QTest::addRow("no-break character kept") << u"a\u00A0\u00A0b"_s << u"a\u00A0\u00A0b"_s;
        QTest::addRow("space between blocks dropped") << u"<div>a</div> <div>b</div>"_s << u"a\nb"_s;
        QTest::addRow("space after text kept") << u"a<b> </b>c"_s << u"a** **c"_s;
        QTest::addRow("spaces inside markers") << u"a <b> </b> c"_s << u"a ** ** c"_s;
        QTest::addRow("single space not doubled") << u"x <span> </span>y"_s << u"x y"_s;
        QTest::addRow("leading space of a line kept") << u"a<br> b"_s << u"a\n b"_s;
        QTest::addRow("line break") << u"a<br>b"_s << u"a\nb"_s;
        QTest::addRow("four blank lines shrink to one") << u"a<br><br><br><br><br>b"_s << u"a\n\nb"_s;
        QTest::addRow("blank lines from pre shrink too") << u"<pre>a\n\n\n\nb</pre>"_s << u"```\na\n\nb\n```"_s;
        QTest::addRow("blockquote marks its first line only")
            << u"<blockquote>a<br>b</blockquote>c"_s << u"> a\nb\nc"_s;
        QTest::addRow("paragraphs") << u"<p>a</p><p>b</p>"_s << u"a\nb"_s;
        QTest::addRow("table rows as lines")
            << u"<table><tr><td>a</td> <td>b</td></tr><tr><td>c</td></tr></table>"_s << u"a b\nc"_s;
        QTest::addRow("table header cells") << u"<table><tr><th>h</th><th>i</th></tr></table>"_s << u"hi"_s;
        QTest::addRow("image") << u"<img src=\"a.png\" alt=\"A_1\">"_s << u"![A_1](a.png)"_s;
        QTest::addRow("image without source") << u"<img alt=\"x\">"_s << QString();
        QTest::addRow("self-closing image dropped") << u"a<img src=\"a.png\"/>b"_s << u"ab"_s;
        QTest::addRow("image source kept as given")
            << u"<img src=\"https://x/y?a=1&amp;b=2\">"_s << u"![](https://x/y?a=1&b=2)"_s;
        QTest::addRow("rule") << u"a<hr>b"_s << u"a\n\n---\n\nb"_s;
        QTest::addRow("self-closing rule") << u"a<hr/>b"_s << u"a\n\n---\n\nb"_s;
        QTest::addRow("unknown tags dropped, text kept") << u"<span><font color=red>x</font></span>"_s << u"x"_s;
        QTest::addRow("unknown self-closing tag") << u"a<wbr/>b"_s << u"ab"_s;
        QTest::addRow("trailing space trimmed") << u"<div>a </div>"_s << u"a"_s;
        QTest::addRow("< with a mark stays text") << u"<\u0301b>x"_s << u"<\u0301b>x"_s;
        QTest::addRow("decomposed text kept") << u"<div>cafe\u0301</div>"_s << u"cafe\u0301"_s;
        QTest::addRow("entities without semicolon") << u"&amp&amp &ltu&gt"_s << u"&amp&amp &ltu&gt"_s;
    }

    void convert()
    {
        QFETCH(QString, html);
        QFETCH(QString, markdown);
        QCOMPARE(HtmlToMarkdown::convert(html), markdown);
    }

    // Conversion with options: Notes' heading styles, links between notes, images saved elsewhere

    void convertWithOptions_data()
    {
        QTest::addColumn<QString>("html");
        QTest::addColumn<bool>("headings");
        QTest::addColumn<QString>("markdown");
        const QString title = u"<div><b><span style=\"font-size: 24px\">Weekly plan</span></b></div>"
                              u"<div><br></div><div>Groceries &amp; errands.</div>"_s;
        QTest::addRow("title style") << title << true << u"# Weekly plan\n\nGroceries & errands."_s;
        QTest::addRow("title style without the option")
            << title << false << u"**Weekly plan**\n\nGroceries & errands."_s;
        QTest::addRow("heading style")
            << u"<div>a</div><div><b><span style=\"font-size: 18px\">Section</span></b></div><div>b</div>"_s << true
            << u"a\n\n## Section\n\nb"_s;
        QTest::addRow("sizes without spaces, as the migration writes them")
            << u"<div><b><span style=\"font-size:20px\">Two</span></b></div>"
               u"<div><b><span style=\"font-size:16px\">Three</span></b></div>"
               u"<div><b><span style=\"font-size:14px\">Four</span></b></div>"_s
            << true << u"## Two\n\n### Three\n\n### Four"_s;
        QTest::addRow("larger than the title")
            << u"<div><b><span style=\"FONT-SIZE: 28.5px\">Big</span></b></div>"_s << true << u"# Big"_s;
        QTest::addRow("bold line") << u"<div><b>Sub</b></div><div>text</div>"_s << true << u"### Sub\n\ntext"_s;
        QTest::addRow("bold line without the option")
            << u"<div><b>Sub</b></div><div>text</div>"_s << false << u"**Sub**\ntext"_s;
        QTest::addRow("bold start of a line stays bold")
            << u"<div><b>Sub</b> more</div>"_s << true << u"**Sub** more"_s;
        QTest::addRow("two bold runs stay bold") << u"<div><b>A</b><b>B</b></div>"_s << true << u"**A****B**"_s;
        QTest::addRow("styled text in a heading")
            << u"<div><b><span style=\"font-size: 24px\">A <i>b</i> <u>c</u></span></b></div>"_s << true
            << u"# A *b* <u>c</u>"_s;
        QTest::addRow("span without a size stays bold")
            << u"<div><b><span style=\"color: red\">X</span></b></div>"_s << true << u"**X**"_s;
        QTest::addRow("sized span with more after it stays bold")
            << u"<div><b><span style=\"font-size: 24px\">X</span> y</b></div>"_s << true << u"**X y**"_s;
        QTest::addRow("empty bold line is no heading")
            << u"<div>a</div><div><b> </b></div><div>b</div>"_s << true << u"a\n** **\nb"_s;
        QTest::addRow("line break in a bold line") << u"<div><b>a<br>b</b></div>"_s << true << u"**a\nb**"_s;
        QTest::addRow("bold line in a list stays bold")
            << u"<ul><li><div><b>X</b></div></li></ul>"_s << true << u"- \n**X**"_s;
        QTest::addRow("paragraph inside a paragraph") << u"<div><div><b>X</b></div></div>"_s << true << u"### X"_s;
        QTest::addRow("input ends inside a heading")
            << u"<div><b><span style=\"font-size: 24px\">X"_s << true << u"**X"_s;
        QTest::addRow("link to a note by its short id")
            << u"<div>See <a href=\"applenotes:note/p7\">the trip</a>.</div>"_s << false << u"See [[Trip]]."_s;
        QTest::addRow("link to a note by its whole id")
            << u"<a href=\"applenotes:note/x-coredata://FakeNotes/ICNote/p7?ownerIdentifier=x\">t</a>"_s << false
            << u"[[Trip]]"_s;
        QTest::addRow("notes scheme")
            << u"<a href=\"notes://showNote?identifier=x-coredata%3A%2F%2FFakeNotes%2FICNote%2Fp8\">x</a>"_s << false
            << u"[[Plan (2)]]"_s;
        QTest::addRow("link to a note outside")
            << u"<a href=\"applenotes:note/p99\">Elsewhere</a>"_s << false << u"[Elsewhere](applenotes:note/p99)"_s;
        QTest::addRow("web link unchanged")
            << u"<a href=\"https://example.com\">x</a>"_s << false << u"[x](https://example.com)"_s;
        QTest::addRow("styled text of a note link")
            << u"<a href=\"APPLENOTES:note/p7\"><b>T</b></a> after"_s << false << u"[[Trip]] after"_s;
        QTest::addRow("note link not closed on its line")
            << u"<div><a href=\"applenotes:note/p7\">T</div><div>next</div>"_s << false << u"[[Trip]]\nnext"_s;
        QTest::addRow("note link cut by a line break")
            << u"<div>a <a href=\"applenotes:note/p7\">T<br>U</a> b</div>"_s << false << u"a [[Trip]]\nU b"_s;
        QTest::addRow("note link in a heading")
            << u"<div><b><span style=\"font-size: 18px\">See <a href=\"applenotes:note/p7\">it</a></span></b></div>"_s
            << true << u"## See [[Trip]]"_s;
        QTest::addRow("image as Notes writes it") << u"<div><img src=\"data:image/png;base64,AAAA\"/><br></div>"_s
                                                  << false << u"![](attachments/Img%201.png)"_s;
        QTest::addRow("image as an open tag")
            << u"<img src=\"data:image/png;base64,AAAA\" alt=\"x\">"_s << false << u"![x](attachments/Img%201.png)"_s;
        QTest::addRow("image that is not saved stays inline")
            << u"<img src=\"data:image/png;base64,@@\"/>"_s << false << u"![](data:image/png;base64,@@)"_s;
        QTest::addRow("self-closing image from a file still dropped")
            << u"a<img src=\"a.png\"/>b"_s << false << u"ab"_s;
        QTest::addRow("image from a file unchanged") << u"<img src=\"a.png\">"_s << false << u"![](a.png)"_s;
    }

    void convertWithOptions()
    {
        QFETCH(QString, html);
        QFETCH(bool, headings);
        QFETCH(QString, markdown);
        NoteLinkTargets targets;
        targets.add(u"x-coredata://FakeNotes/ICNote/p7"_s, u"Trip"_s);
        targets.add(u"x-coredata://FakeNotes/ICNote/p8"_s, u"Plan (2)"_s);
        ConvertOptions options;
        options.headings = headings;
        options.noteLink = [&targets](const QString &url) { return targets.resolve(url); };
        options.image = [](const QString &source) -> std::optional<QString> {
            if (source == u"data:image/png;base64,AAAA"_s)
                return u"attachments/Img%201.png"_s;
            return std::nullopt;
        };
        QCOMPARE(HtmlToMarkdown::convert(html, options), markdown);
    }

    void callbacksAskedOnlyForTheirLinksAndImages()
    {
        QStringList asked;
        ConvertOptions options;
        options.noteLink = [&asked](const QString &url) -> std::optional<QString> {
            asked.append(u"link "_s + url);
            return std::nullopt;
        };
        options.image = [&asked](const QString &source) -> std::optional<QString> {
            asked.append(u"image "_s + source);
            return std::nullopt;
        };
        const QString html = u"<a href=\"https://x\">a</a><a href=\"applenotes:note/p1\">b</a>"
                             u"<a href=\"notes://showNote?identifier=p2\">c</a><img src=\"x.png\">"
                             u"<img src=\"data:image/gif;base64,R0lG\"/>"_s;
        QCOMPARE(HtmlToMarkdown::convert(html, options),
            u"[a](https://x)[b](applenotes:note/p1)[c](notes://showNote?identifier=p2)![](x.png)"
            u"![](data:image/gif;base64,R0lG)"_s);
        QCOMPARE(asked,
            QStringList({ u"link applenotes:note/p1"_s, u"link notes://showNote?identifier=p2"_s,
                u"image data:image/gif;base64,R0lG"_s }));
    }

    void noOptionsConvertAsThePlainRules()
    {
        const QStringList names = QDir(fixtureDir).entryList({ u"*.html"_s }, QDir::Files, QDir::Name);
        QVERIFY(!names.isEmpty());
        for (const QString &name : names) {
            const QString html = QString::fromUtf8(readFixture(fixtureDir + u'/' + name));
            QCOMPARE(HtmlToMarkdown::convert(html, ConvertOptions {}), HtmlToMarkdown::convert(html));
        }
    }

    void headingsOfTheNotesFixtures()
    {
        ConvertOptions options;
        options.headings = true;
        const auto convertFixture = [&options](const QString &name) {
            return HtmlToMarkdown::convert(QString::fromUtf8(readFixture(fixtureDir + u'/' + name)), options);
        };
        QCOMPARE(convertFixture(u"title-bold-span.html"_s), u"# Weekly plan\n\nGroceries & errands."_s);
        QCOMPARE(convertFixture(u"title-h1.html"_s), u"# Weekly plan\n\nGroceries & errands."_s);
    }

    void noteLinkIdentifiers_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<QString>("identifier");
        QTest::addRow("short") << u"applenotes:note/p7"_s << u"p7"_s;
        QTest::addRow("query dropped") << u"applenotes:note/p7?ownerIdentifier=a"_s << u"p7"_s;
        QTest::addRow("whole id") << u"applenotes:note/x-coredata://S/ICNote/p7"_s << u"x-coredata://S/ICNote/p7"_s;
        QTest::addRow("percent-encoded") << u"applenotes:note/a%20b"_s << u"a b"_s;
        QTest::addRow("notes scheme") << u"notes://showNote?identifier=p3"_s << u"p3"_s;
        QTest::addRow("notes scheme, more parameters") << u"notes://shownote?a=1&identifier=x%2Fp3&b=2"_s << u"x/p3"_s;
        QTest::addRow("empty") << u"applenotes:note/"_s << QString();
        QTest::addRow("other note path") << u"applenotes:folder/p1"_s << QString();
        QTest::addRow("notes scheme without identifier") << u"notes://showNote?id=p3"_s << QString();
        QTest::addRow("web") << u"https://example.com/applenotes:note/p1"_s << QString();
    }

    void noteLinkIdentifiers()
    {
        QFETCH(QString, url);
        QFETCH(QString, identifier);
        QCOMPARE(noteLinkIdentifier(url).value_or(QString()), identifier);
    }

    void sharedLastPartsLinkNowhere()
    {
        NoteLinkTargets targets;
        targets.add(u"x-coredata://A/ICNote/p1"_s, u"One"_s);
        targets.add(u"x-coredata://B/ICNote/p1"_s, u"Other"_s);
        targets.add(u"x-coredata://B/ICNote/p2"_s, u"Two"_s);
        targets.add(QString(), u"No id"_s);
        QCOMPARE(targets.resolve(u"applenotes:note/p1"_s), std::nullopt);
        QCOMPARE(targets.resolve(u"applenotes:note/x-coredata://A/ICNote/p1"_s), u"One"_s);
        QCOMPARE(targets.resolve(u"applenotes:note/x-coredata://B/ICNote/p1"_s), u"Other"_s);
        QCOMPARE(targets.resolve(u"applenotes:note/p2"_s), u"Two"_s);
        QCOMPARE(targets.resolve(u"applenotes:note/"_s), std::nullopt);
        QCOMPARE(targets.resolve(u"https://x"_s), std::nullopt);
    }

    void pathologicalHeadingParagraphs()
    {
        ConvertOptions options;
        options.headings = true;
        // Paragraphs that break the heading shape one token before its end: each token is held once.
        const QString broken = u"<div><b><span style=\"font-size: 24px\">x</span></b><b>"_s.repeated(20000);
        QCOMPARE(HtmlToMarkdown::convert(broken, options), HtmlToMarkdown::convert(broken));
        const QString nested = u"<div><b>"_s.repeated(65000);
        QCOMPARE(HtmlToMarkdown::convert(nested, options), HtmlToMarkdown::convert(nested));
        const QString headings = u"<div><b><span style=\"font-size: 18px\">x</span></b></div>"_s.repeated(20000);
        QCOMPARE(HtmlToMarkdown::convert(headings, options), QStringList(20000, u"## x"_s).join(u"\n\n"_s));
    }

    void renderKeepsRawOutput()
    {
        // Blank lines are tidied and the ends trimmed only by convert.
        const QList<Token> tokens { Token::selfClosing(u"br"_s), Token::text(u"a"_s), Token::selfClosing(u"br"_s),
            Token::selfClosing(u"br"_s), Token::selfClosing(u"br"_s) };
        QCOMPARE(render(tokens), u"\na\n\n\n"_s);
        QCOMPARE(render({ Token::open(u"h3"_s), Token::text(u"x"_s), Token::close(u"h3"_s) }), u"### x\n\n"_s);
    }

    void renderUnknownOpenTagsWithAttributes()
    {
        QCOMPARE(render({ Token::open(u"br"_s) }), u"\n"_s);
        QCOMPARE(render({ Token::text(u"a"_s), Token::open(u"hr"_s) }), u"a\n\n---\n\n"_s);
        QCOMPARE(render({ Token::close(u"li"_s), Token::close(u"img"_s), Token::close(u"h7"_s) }), QString());
    }

    // Note bodies as Notes gives them

    void notesFixtures_data()
    {
        QTest::addColumn<QString>("htmlPath");
        const QStringList names = QDir(fixtureDir).entryList({ u"*.html"_s }, QDir::Files, QDir::Name);
        QCOMPARE(names.size(), 15);
        for (const QString &name : names)
            QTest::addRow("%s", qPrintable(name)) << fixtureDir + u'/' + name;
    }

    void notesFixtures()
    {
        QFETCH(QString, htmlPath);
        const QByteArray html = readFixture(htmlPath);
        QVERIFY(!html.isEmpty());
        QString markdownPath = htmlPath;
        markdownPath.replace(u".html"_s, u".md"_s);
        const QByteArray expected = readFixture(markdownPath);
        QVERIFY(!expected.isEmpty());
        QCOMPARE(HtmlToMarkdown::convert(QString::fromUtf8(html)).toUtf8(), expected);
    }

    void megabyteImage()
    {
        const QString uri = dataUri(2 * 1024 * 1024);
        // Notes writes images in the self-closing form, which is dropped with its attributes.
        const QString selfClosing = u"<div>Before</div><div><img style=\"max-width: 100%; max-height: 100%;\" src=\""_s
            + uri + u"\"/><br></div><div>After</div>"_s;
        QCOMPARE(HtmlToMarkdown::convert(selfClosing), u"Before\n\nAfter"_s);
        // As an open tag, the source is written exactly as given.
        const QString open = u"<div>Before</div><div><img style=\"max-width: 100%; max-height: 100%;\" src=\""_s + uri
            + u"\"><br></div><div>After</div>"_s;
        QCOMPARE(HtmlToMarkdown::convert(open), u"Before\n![]("_s + uri + u")\nAfter"_s);
        // With a non-ASCII character elsewhere in the note, the slower character split gives the same.
        QCOMPARE(HtmlToMarkdown::convert(u"<div>Caf\u00E9 e\u0301</div>"_s + open),
            u"Caf\u00E9 e\u0301\nBefore\n![]("_s + uri + u")\nAfter"_s);
    }

    // Inputs made to be slow

    void pathologicalUnmatchedOpeners()
    {
        // Once no ">" follows a position, none follows any later one: each "<" costs no look-ahead.
        const QString html(65000, u'<');
        QCOMPARE(HtmlToMarkdown::convert(html), html);
    }

    void pathologicalMarkedOpeners()
    {
        const QString html = u"<\u0301"_s.repeated(65000);
        QCOMPARE(HtmlToMarkdown::convert(html), html);
    }

    void pathologicalNestedInline()
    {
        const QString html = u"<b>"_s.repeated(65000) + u"x"_s + u"</b>"_s.repeated(65000);
        QCOMPARE(HtmlToMarkdown::convert(html), u"**"_s.repeated(65000) + u"x"_s + u"**"_s.repeated(65000));
    }

    void pathologicalStrayCloses()
    {
        // The renderer counts the open markers: a stray "</i>" over 65,000 open "**" costs no search.
        const QString html = u"<b>"_s.repeated(65000) + u"</i>"_s.repeated(65000);
        QCOMPARE(HtmlToMarkdown::convert(html), u"**"_s.repeated(65000));
    }

    void pathologicalEmptyAnchors()
    {
        QCOMPARE(HtmlToMarkdown::convert(u"<a>"_s.repeated(65000) + u"x"_s + u"</a>"_s.repeated(65000)), u"x"_s);
        // No "[" anywhere before: each stray "</a>" leaves its "]".
        QCOMPARE(HtmlToMarkdown::convert(u"</a>"_s.repeated(65000)), u"]"_s.repeated(65000));
    }

    void pathologicalNesting()
    {
        QCOMPARE(HtmlToMarkdown::convert(u"<ul>"_s.repeated(65000) + u"x"_s + u"</ul>"_s.repeated(65000)), u"x"_s);
        QCOMPARE(HtmlToMarkdown::convert(u"<div>"_s.repeated(65000) + u"x"_s + u"</div>"_s.repeated(65000)), u"x"_s);
        QCOMPARE(
            HtmlToMarkdown::convert(u"<pre>"_s.repeated(65000) + u"x"_s), u"```\n\n"_s.repeated(64999) + u"```\nx"_s);
    }

    void pathologicalFlatStructures()
    {
        const QString numbered = HtmlToMarkdown::convert(u"<ol>"_s + u"<li>x</li>"_s.repeated(65000) + u"</ol>"_s);
        QCOMPARE(numbered.count(u'\n'), 64999);
        QVERIFY(numbered.startsWith(u"1. x\n2. x\n"_s));
        QVERIFY(numbered.endsWith(u"\n64999. x\n65000. x"_s));
        QCOMPARE(HtmlToMarkdown::convert(u"<!x>"_s.repeated(65000) + u"y"_s), u"y"_s);
        QCOMPARE(HtmlToMarkdown::convert(u"&amp"_s.repeated(65000)), u"&amp"_s.repeated(65000));
        QCOMPARE(HtmlToMarkdown::convert(u"&amp;"_s.repeated(65000)), u"&"_s.repeated(65000));
        QString attributes;
        for (int i = 0; i < 65000; ++i)
            attributes += u" a"_s + QString::number(i) + u"=\"v\""_s;
        const QList<Token> tokens = HtmlToMarkdown::tokenize(u"<span"_s + attributes + u'>');
        QCOMPARE(tokens.size(), 1);
        QCOMPARE(tokens[0].attributes.size(), 65000);
        QCOMPARE(HtmlToMarkdown::convert(u"<a href=\""_s + QString(65000, u'x') + u'>'), u"["_s);
    }

    void nestedListIndentationStopsAt32Levels()
    {
        QStringList expected;
        for (int level = 1; level <= 40; ++level)
            expected.append(u"    "_s.repeated(std::min(level, 32) - 1) + u"- x"_s);
        const QString markdown = HtmlToMarkdown::convert(u"<ul><li>x"_s.repeated(40));
        QCOMPARE(markdown.split(u'\n'), expected);
        // The item at level 40 is indented as the one at level 32: 31 steps of four spaces.
        QCOMPARE(markdown.split(u'\n').at(39), QString(124, u' ') + u"- x"_s);
        QCOMPARE(markdown.split(u'\n').at(31), QString(124, u' ') + u"- x"_s);
        QCOMPARE(markdown.split(u'\n').at(30), QString(120, u' ') + u"- x"_s);
        // Numbered items keep their numbers at any depth.
        const QString numbered
            = HtmlToMarkdown::convert(u"<ol><li>a"_s.repeated(40) + u"<li>b"_s + u"</ol><li>c"_s.repeated(10));
        const QStringList lines = numbered.split(u'\n');
        QCOMPARE(lines.size(), 51);
        QCOMPARE(lines.at(39), QString(124, u' ') + u"1. a"_s);
        QCOMPARE(lines.at(40), QString(124, u' ') + u"2. b"_s);
        // Back out to level 33, then 32, ... 30: the counters of the lists still open go on.
        QCOMPARE(lines.at(41), QString(124, u' ') + u"2. c"_s);
        QCOMPARE(lines.at(48), QString(124, u' ') + u"2. c"_s);
        QCOMPARE(lines.at(49), QString(120, u' ') + u"2. c"_s);
        QCOMPARE(lines.at(50), QString(116, u' ') + u"2. c"_s);
    }

    void hostileInputsEnd_data()
    {
        QTest::addColumn<QString>("html");
        QTest::addColumn<QString>("markdown");
        const QString deepList = [] {
            QStringList lines;
            for (int level = 1; level <= 25000; ++level)
                lines.append(u"    "_s.repeated(std::min(level, 32) - 1) + u"- x"_s);
            return lines.join(u'\n');
        }();
        QTest::addRow("nested lists") << u"<ul><li>x"_s.repeated(25000) << deepList;
        QTest::addRow("numeric references") << u"&#65;"_s.repeated(100000) << u"A"_s.repeated(100000);
        QTest::addRow("hexadecimal references") << u"&#x1F600;"_s.repeated(50000) << u"\U0001F600"_s.repeated(50000);
        QTest::addRow("nested entities") << u"&amp;lt;&amp;amp;&&lt;&amp;#39;"_s.repeated(10000)
                                         << u"&lt;&amp;&<'"_s.repeated(10000);
        QTest::addRow("unmatched <") << QString(500000, u'<') << QString(500000, u'<');
        QTest::addRow("unmatched < after non-ASCII") << u"\u00E9<"_s.repeated(200000) << u"\u00E9<"_s.repeated(200000);
        QTest::addRow("unmatched < before a marked >")
            << QString(300000, u'<') + u">\u0301"_s << QString(300000, u'<') + u">\u0301"_s;
        QTest::addRow("stray inline closes")
            << u"<b>"_s.repeated(100000) + u"</i>"_s.repeated(100000) << u"**"_s.repeated(100000);
        QTest::addRow("nested empty anchors")
            << u"<a>"_s.repeated(100000) + u"y</a>"_s.repeated(100000) << u"y"_s.repeated(100000);
        QTest::addRow("empty anchors around brackets") << u"<a>"_s.repeated(50000) + u"]"_s.repeated(50000)
                + u"</a>"_s.repeated(50000) << u"\\]"_s.repeated(50000);
        QTest::addRow("stray anchor closes") << u"</a>"_s.repeated(100000) << u"]"_s.repeated(100000);
        // A prepended mark joins the "]" after it, so no "]" is a whole character.
        QTest::addRow("stray anchor closes after a prepended mark")
            << u"&#x600;</a>"_s.repeated(50000) << u"\u0600]"_s.repeated(50000);
        QTest::addRow("combining mark run")
            << u"a"_s + QString(500000, QChar(0x0301)) << u"a"_s + QString(500000, QChar(0x0301));
        QTest::addRow("marked specials") << u"*\u0301[\u0301<\u0301"_s.repeated(50000)
                                         << u"*\u0301[\u0301<\u0301"_s.repeated(50000);
        QTest::addRow("emoji sequence run")
            << u"\U0001F469\u200D"_s.repeated(50000) << u"\U0001F469\u200D"_s.repeated(50000);
        QString attributes;
        for (int i = 0; i < 30000; ++i)
            attributes += u" a"_s + QString::number(i) + u"=\"v\""_s;
        QTest::addRow("huge attribute list") << u"<span"_s + attributes + u">x"_s << u"x"_s;
        QTest::addRow("slashes between attributes")
            << u"<img src=\"a.png\""_s + u" /"_s.repeated(200000) + u" alt=\"b\">"_s << u"![b](a.png)"_s;
        QTest::addRow("many comments") << u"<!---->"_s.repeated(100000) + u"x"_s << u"x"_s;
        QTest::addRow("unclosed comment openers") << u"x"_s + u"<!--"_s.repeated(100000) << u"x"_s;
        QTest::addRow("marked comment ends") << u"<!--"_s + u"-->\u0301"_s.repeated(50000) + u"-->x"_s << u"x"_s;
        QTest::addRow("line breaks") << u"<br>"_s.repeated(200000) + u"x"_s << u"x"_s;
    }

    void hostileInputsEnd()
    {
        QFETCH(QString, html);
        QFETCH(QString, markdown);
        const QString converted = HtmlToMarkdown::convert(html);
        QCOMPARE(converted.size(), markdown.size());
        QVERIFY(converted == markdown);
    }

    void emptyLinkCollapserMatchesCollapseEmptyLink()
    {
        // Random output made of pieces around brackets (marks after them, prepended marks before them,
        // line breaks, pairs of surrogates), with an anchor closed now and then: the collapser keeps the
        // same text as collapseEmptyLink, and the same last characters at every step.
        const QStringList pieces { u"["_s, u"["_s, u"["_s, u"]"_s, u"a"_s, u"\u0301"_s, u"\u0600"_s, u"\r"_s, u"\n"_s,
            u"\\["_s, u"e\u0301"_s, u"\U0001F44D"_s, u" "_s, u"\r\n"_s, u"xyz"_s, u"\u200D"_s, u"\U0001F1EB"_s };
        quint32 state = 2024;
        auto next = [&state](quint32 bound) {
            state = state * 1664525u + 1013904223u;
            return (state >> 8) % bound;
        };
        for (int sample = 0; sample < 1500; ++sample) {
            QString out;
            QString expected;
            EmptyLinkCollapser collapser;
            const int steps = 20 + int(next(400));
            for (int step = 0; step < steps; ++step) {
                if (next(3) == 0) {
                    out += u']';
                    collapser.collapse(out);
                    expected = HtmlToMarkdown::collapseEmptyLink(expected + u']');
                } else {
                    const QString &piece = pieces[next(pieces.size())];
                    out += piece;
                    expected += piece;
                }
                QCOMPARE(out.isEmpty(), expected.isEmpty());
                QCOMPARE(out.right(8), expected.right(8));
                QCOMPARE(collapser.finish(out), expected);
            }
        }
    }

    void anchorsUnwrapAsOnTheExactPath()
    {
        // Random notes full of anchors and brackets, rendered once as usual and once with a token that
        // holds a lone surrogate (an ignored tag's attribute, which writes nothing): that one takes
        // collapseEmptyLink on the whole output at every closing anchor. Both must give the same.
        const QStringList pieces { u"<a>"_s, u"<a>"_s, u"</a>"_s, u"</a>"_s, u"<a href=\"h\">"_s, u"["_s, u"]"_s,
            u"x"_s, u"&#x600;"_s, u"\u0301"_s, u"<b>"_s, u"</b>"_s, u"<br>"_s, u"<div>"_s, u"</div>"_s, u"<ul>"_s,
            u"<li>"_s, u"</ul>"_s, u"<pre>"_s, u"</pre>"_s, u" "_s, u"\n"_s, u"<"_s, u"<img src=i alt=]>"_s,
            u"e\u0301"_s, u"\U0001F600"_s, u"\r\n"_s, u"&lt;"_s, u"\\"_s, u"yz"_s };
        const Token ignored = Token::open(u"span"_s, { { u"x"_s, QString(QChar(0xD800)) } });
        quint32 state = 7;
        for (int sample = 0; sample < 3000; ++sample) {
            QString html;
            const int length = 1 + sample % 80;
            for (int k = 0; k < length; ++k) {
                state = state * 1664525u + 1013904223u;
                html += pieces[(state >> 8) % pieces.size()];
            }
            QList<Token> tokens = HtmlToMarkdown::tokenize(html);
            const QString usual = render(tokens);
            tokens.append(ignored);
            QCOMPARE(usual, render(tokens));
        }
    }

    void sameOutputOnEveryRun()
    {
        const QString html = u"<div>&amp;lt;<a>x</a> <b>y</i></b> &#65;&amp;amp;<ul><li>z</ul>"_s
            + u"<img src=\"a.png\" / alt=\"b\"></div>"_s;
        const QString first = HtmlToMarkdown::convert(html);
        QCOMPARE(first, u"&lt;x **y** A&amp;\n\n- z\n\n![b](a.png)"_s);
        for (int round = 0; round < 50; ++round)
            QCOMPARE(HtmlToMarkdown::convert(html), first);
    }
};

QTEST_GUILESS_MAIN(tst_HtmlToMarkdown)
#include "tst_HtmlToMarkdown.moc"
