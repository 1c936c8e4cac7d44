#include "HtmlToMarkdown.h"
#include "HtmlToMarkdown_p.h"

#include "Regex.h"
#include "Text.h"

#include <QByteArrayView>
#include <QTextBoundaryFinder>

#include <algorithm>
#include <array>
#include <vector>

using namespace Qt::StringLiterals;

namespace HtmlToMarkdown {

namespace {

bool isAscii(char16_t c)
{
    return c < 0x80;
}

/// Between two ASCII code units there is always a character boundary, except inside "\r\n": no rule of
/// extended grapheme clusters joins two ASCII characters otherwise.
bool isAsciiBoundary(char16_t before, char16_t after)
{
    return !(before == u'\r' && after == u'\n');
}

/// Whether a user-perceived character starts at code-unit offset `pos` of `text`.
bool isCharacterBoundary(QStringView text, qsizetype pos)
{
    if (pos <= 0 || pos >= text.size())
        return true;
    const char16_t before = text[pos - 1].unicode();
    const char16_t after = text[pos].unicode();
    if (isAscii(before) && isAscii(after))
        return isAsciiBoundary(before, after);
    qsizetype from = pos - 1;
    if (isAscii(before) || isAscii(after)) {
        // With an ASCII character on one side, only the pair itself decides (a combining mark after it,
        // a prepended mark before it, "\r\n"): look at the two code points alone.
        if (QChar::isLowSurrogate(before) && from > 0 && QChar::isHighSurrogate(text[from - 1].unicode()))
            --from;
    } else {
        // Emoji sequences and regional-indicator pairs look further back: start from a position that is
        // a boundary whatever precedes it.
        while (from > 0
            && !(isAscii(text[from - 1].unicode()) && isAscii(text[from].unicode())
                && isAsciiBoundary(text[from - 1].unicode(), text[from].unicode())))
            --from;
    }
    qsizetype to = pos + 1;
    if (QChar::isHighSurrogate(after) && to < text.size() && QChar::isLowSurrogate(text[to].unicode()))
        ++to;
    const QStringView window = text.sliced(from, to - from);
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, window.data(), window.size());
    finder.setPosition(pos - from);
    return finder.isAtBoundary();
}

/// Whether the code unit at `pos` is a whole character.
bool isWholeCharacter(QStringView text, qsizetype pos)
{
    return isCharacterBoundary(text, pos) && isCharacterBoundary(text, pos + 1);
}

bool startsWithCharacter(QStringView text, QChar c)
{
    return !text.isEmpty() && text.front() == c && isCharacterBoundary(text, 1);
}

/// Whether the last characters of `text` are those of `suffix` (each of which is one code unit).
bool endsWithCharacters(QStringView text, QStringView suffix)
{
    return text.endsWith(suffix) && isCharacterBoundary(text, text.size() - suffix.size());
}

/// The code-unit offset of the first character of `text` that is exactly one of `set`, or -1.
qsizetype firstCharacterIn(QStringView text, QStringView set)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (set.contains(text[i]) && isWholeCharacter(text, i))
            return i;
    }
    return -1;
}

/// The code-unit offset of the last character exactly `c` that starts before `before`, or -1.
qsizetype lastCharacter(QStringView text, QChar c, qsizetype before)
{
    qsizetype pos = before;
    while (pos > 0) {
        pos = text.first(pos).lastIndexOf(c);
        if (pos < 0 || isWholeCharacter(text, pos))
            return pos;
    }
    return -1;
}

/// `digits` read as an unsigned 32-bit number in `base`, made into a character when it is a Unicode
/// scalar value.
std::optional<QString> scalarFromDigits(QStringView digits, char32_t base)
{
    char32_t value = 0;
    for (const QChar digit : digits) {
        const char16_t c = digit.unicode();
        char32_t d = 0;
        if (c >= u'0' && c <= u'9')
            d = c - u'0';
        else if (c >= u'a' && c <= u'f')
            d = c - u'a' + 10;
        else if (c >= u'A' && c <= u'F')
            d = c - u'A' + 10;
        else
            return std::nullopt;
        if (__builtin_mul_overflow(value, base, &value) || __builtin_add_overflow(value, d, &value))
            return std::nullopt;
    }
    if (value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF))
        return std::nullopt;
    return QString::fromUcs4(&value, 1);
}

bool isCollapsedWhiteSpace(QChar c)
{
    return c == u' ' || c == u'\t' || c == u'\r' || c == u'\n';
}

/// Whether collapsing runs of spaces, tabs and line breaks to one space would change `text`: most text
/// runs hold only single spaces, and need no regular-expression pass.
bool hasWhiteSpaceToCollapse(QStringView text)
{
    bool afterSpace = false;
    for (const QChar c : text) {
        switch (c.unicode()) {
        case u'\t':
        case u'\r':
        case u'\n':
            return true;
        case u' ':
            if (afterSpace)
                return true;
            afterSpace = true;
            break;
        default:
            afterSpace = false;
            break;
        }
    }
    return false;
}

/// Lists nested deeper than this are indented as this level: each item of a list 20,000 levels deep
/// would otherwise carry 80,000 spaces.
constexpr qsizetype maxIndentedListDepth = 32;

struct ListEntry
{
    bool numbered = false;
    qint64 counter = 0;
};

bool isLoneSurrogate(QStringView text, qsizetype i)
{
    const char16_t c = text[i].unicode();
    if (QChar::isHighSurrogate(c))
        return i + 1 >= text.size() || !QChar::isLowSurrogate(text[i + 1].unicode());
    if (QChar::isLowSurrogate(c))
        return i == 0 || !QChar::isHighSurrogate(text[i - 1].unicode());
    return false;
}

bool hasLoneSurrogate(QStringView text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (QChar::isSurrogate(text[i].unicode()) && isLoneSurrogate(text, i))
            return true;
    }
    return false;
}

/// The state of one render call.
struct Renderer
{
    /// Whether the text holds lone surrogates: then anchors are unwrapped by collapseEmptyLink itself.
    explicit Renderer(bool exactCollapse)
        : exactCollapse(exactCollapse)
    { }

    QString out;
    QList<ListEntry> lists;
    /// The inline markers that are open, counted by kind: closing one writes it when any is open, and
    /// which of them goes makes no difference to the output.
    std::array<qint64, 4> inlines {};
    QList<QString> links;
    qint64 preDepth = 0;
    bool exactCollapse = false;
    EmptyLinkCollapser collapser;

    void openMarker(InlineMarker marker)
    {
        ++inlines[size_t(marker)];
        out += markerText(marker);
    }

    void closeMarker(InlineMarker marker)
    {
        if (inlines[size_t(marker)] == 0)
            return; // a stray closing tag writes nothing
        --inlines[size_t(marker)];
        out += markerText(marker);
    }

    QString finish() const { return collapser.finish(out); }

    void text(const QString &raw)
    {
        const QString decoded = decodeEntities(raw);
        if (preDepth >= 1) {
            out += decoded;
            return;
        }
        static const Regex whiteSpace(u"[ \\t\\r\\n]+"_s);
        QString collapsed = decoded;
        if (std::all_of(decoded.cbegin(), decoded.cend(), isCollapsedWhiteSpace))
            collapsed = u" "_s; // the line breaks between block tags: one run, one space
        else if (hasWhiteSpaceToCollapse(decoded))
            collapsed = whiteSpace.replaceAll(decoded, u" "_s);
        if (collapsed == u" "_s) {
            if (!out.isEmpty() && !endsWithCharacters(out, u"\n") && !endsWithCharacters(out, u" "))
                out += u' ';
            return;
        }
        out += escapeMarkdown(collapsed);
    }

    void heading(QStringView hashes)
    {
        ensureBlankLine(out);
        out += hashes;
    }

    void rule()
    {
        ensureBlankLine(out);
        out += u"---"_s;
        ensureBlankLine(out);
    }

    void listItem()
    {
        ensureNewline(out);
        const qsizetype depth = std::min(lists.size(), maxIndentedListDepth);
        const QString indentation = depth == 0 ? QString() : u"    "_s.repeated(depth - 1);
        if (!lists.isEmpty() && lists.last().numbered) {
            ++lists.last().counter;
            out += indentation + QString::number(lists.last().counter) + u". "_s;
        } else {
            out += indentation + u"- "_s;
        }
    }

    void open(const Token &token)
    {
        const QString &name = token.value;
        if (name == u"h1"_s) {
            heading(u"# ");
        } else if (name == u"h2"_s) {
            heading(u"## ");
        } else if (name == u"h3"_s) {
            heading(u"### ");
        } else if (name == u"h4"_s || name == u"h5"_s || name == u"h6"_s) {
            // Deeper headings all fold to level 4.
            heading(u"#### ");
        } else if (name == u"b"_s || name == u"strong"_s) {
            openMarker(InlineMarker::strong);
        } else if (name == u"i"_s || name == u"em"_s) {
            openMarker(InlineMarker::emphasis);
        } else if (name == u"code"_s || name == u"tt"_s) {
            openMarker(InlineMarker::code);
        } else if (name == u"s"_s || name == u"strike"_s || name == u"del"_s) {
            openMarker(InlineMarker::strikethrough);
        } else if (name == u"u"_s) {
            // Markdown has no underline: it stays as raw HTML.
            out += u"<u>"_s;
        } else if (name == u"pre"_s) {
            ensureBlankLine(out);
            out += u"```\n"_s;
            ++preDepth;
        } else if (name == u"a"_s) {
            links.append(token.attributes.value(u"href"_s));
            out += u'[';
        } else if (name == u"ul"_s || name == u"ol"_s) {
            if (!lists.isEmpty())
                ensureNewline(out);
            else
                ensureBlankLine(out);
            lists.append({ name == u"ol"_s, 0 });
        } else if (name == u"li"_s) {
            listItem();
        } else if (name == u"blockquote"_s) {
            ensureBlankLine(out);
            out += u"> "_s;
        } else if (name == u"div"_s || name == u"p"_s) {
            ensureNewline(out);
        } else if (name == u"br"_s) {
            out += u'\n';
        } else if (name == u"img"_s) {
            const QString src = token.attributes.value(u"src"_s);
            if (!src.isEmpty())
                out += u"!["_s + token.attributes.value(u"alt"_s) + u"]("_s + linkDestination(src) + u')';
        } else if (name == u"hr"_s) {
            rule();
        }
    }

    void close(const Token &token)
    {
        const QString &name = token.value;
        if (name.size() == 2 && name[0] == u'h' && name[1] >= u'1' && name[1] <= u'6') {
            ensureBlankLine(out);
        } else if (name == u"b"_s || name == u"strong"_s) {
            closeMarker(InlineMarker::strong);
        } else if (name == u"i"_s || name == u"em"_s) {
            closeMarker(InlineMarker::emphasis);
        } else if (name == u"code"_s || name == u"tt"_s) {
            closeMarker(InlineMarker::code);
        } else if (name == u"s"_s || name == u"strike"_s || name == u"del"_s) {
            closeMarker(InlineMarker::strikethrough);
        } else if (name == u"u"_s) {
            out += u"</u>"_s;
        } else if (name == u"pre"_s) {
            if (preDepth >= 1)
                --preDepth;
            // A stray closing tag still writes a fence.
            ensureNewline(out);
            out += u"```"_s;
            ensureBlankLine(out);
        } else if (name == u"a"_s) {
            const QString target = links.isEmpty() ? QString() : links.takeLast();
            if (target.isEmpty()) {
                // An anchor without a target leaves its text unbracketed.
                out += u']';
                if (exactCollapse)
                    out = collapseEmptyLink(std::move(out));
                else
                    collapser.collapse(out);
            } else {
                out += u"]("_s + linkDestination(target) + u')';
            }
        } else if (name == u"ul"_s || name == u"ol"_s) {
            if (!lists.isEmpty())
                lists.removeLast();
            if (lists.isEmpty())
                ensureBlankLine(out);
        } else if (name == u"blockquote"_s || name == u"div"_s || name == u"p"_s || name == u"tr"_s) {
            ensureNewline(out);
        }
    }

    void selfClosing(const Token &token)
    {
        // Any other self-closing tag writes nothing: an image in that form is dropped.
        if (token.value == u"br"_s)
            out += u'\n';
        else if (token.value == u"hr"_s)
            rule();
    }
};

} // namespace

// MARK: Characters

Characters::Characters(QStringView text)
    : m_text(text)
{
    const qsizetype n = text.size();
    const char16_t *units = reinterpret_cast<const char16_t *>(text.utf16());
    bool simple = true;
    for (qsizetype i = 0; i < n && simple; ++i) {
        if (!isAscii(units[i]) || (units[i] == u'\r' && i + 1 < n && units[i + 1] == u'\n'))
            simple = false;
    }
    if (simple)
        return;

    m_starts.reserve(n + 1);
    qsizetype i = 0;
    while (i < n) {
        if (isAscii(units[i]) && (i + 1 == n || (isAscii(units[i + 1]) && isAsciiBoundary(units[i], units[i + 1])))) {
            m_starts.append(i);
            ++i;
            continue;
        }
        // A stretch that needs the boundary finder ends at the next boundary between two ASCII
        // characters, where no rule can join across.
        qsizetype end = i + 1;
        while (
            end < n && !(isAscii(units[end - 1]) && isAscii(units[end]) && isAsciiBoundary(units[end - 1], units[end])))
            ++end;
        QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.data() + i, end - i);
        qsizetype clusterStart = 0;
        for (qsizetype next = finder.toNextBoundary(); next != -1; next = finder.toNextBoundary()) {
            m_starts.append(i + clusterStart);
            clusterStart = next;
        }
        i = end;
    }
    if (m_starts.size() == n) {
        m_starts.clear();
        return;
    }
    m_starts.append(n);
}

std::optional<qsizetype> Characters::indexAtOffset(qsizetype offset) const
{
    if (offset < 0 || offset > m_text.size())
        return std::nullopt;
    if (m_starts.isEmpty())
        return offset;
    const auto it = std::lower_bound(m_starts.cbegin(), m_starts.cend(), offset);
    if (it == m_starts.cend() || *it != offset)
        return std::nullopt;
    return qsizetype(it - m_starts.cbegin());
}

// MARK: Helpers over the character array

bool matchAhead(const Characters &chars, qsizetype start, QStringView needle)
{
    const Characters wanted(needle);
    if (start < 0 || start + wanted.size() > chars.size())
        return false;
    if (chars.isSimple() && wanted.isSimple())
        return chars.text().sliced(start, needle.size()) == needle;
    for (qsizetype k = 0; k < wanted.size(); ++k) {
        if (chars.at(start + k) != wanted.at(k))
            return false;
    }
    return true;
}

std::optional<qsizetype> findSubstring(const Characters &chars, qsizetype start, QStringView needle)
{
    if (start < 0 || start > chars.size())
        return std::nullopt;
    if (needle.isEmpty())
        return start;
    const QStringView text = chars.text();
    const bool direct = chars.isSimple() && Characters(needle).isSimple();
    for (qsizetype pos = text.indexOf(needle, chars.start(start)); pos >= 0; pos = text.indexOf(needle, pos + 1)) {
        if (direct)
            return pos;
        // A match of code units counts only when it covers whole characters.
        const std::optional<qsizetype> index = chars.indexAtOffset(pos);
        if (index && matchAhead(chars, *index, needle))
            return index;
    }
    return std::nullopt;
}

std::optional<qsizetype> indexOf(const Characters &chars, qsizetype start, QChar c)
{
    if (start < 0 || start >= chars.size())
        return std::nullopt;
    const QStringView text = chars.text();
    for (qsizetype pos = text.indexOf(c, chars.start(start)); pos >= 0; pos = text.indexOf(c, pos + 1)) {
        if (chars.isSimple())
            return pos;
        const std::optional<qsizetype> index = chars.indexAtOffset(pos);
        if (index && chars.is(*index, c.unicode()))
            return index;
    }
    return std::nullopt;
}

// MARK: Tokenizer

namespace {

/// Cuts the HTML into tokens and hands each to `sink` as soon as it is made, so that a caller that
/// renders them as they come never holds the whole list.
///
/// With `allAttributes` false, only the tags whose attributes the renderer reads ("a" and "img") have
/// them parsed; every other open tag comes with none.
template<typename Sink> void forEachToken(const QString &html, bool allAttributes, Sink &&sink)
{
    if (html.isEmpty())
        return;
    const Characters chars(html);
    const qsizetype n = chars.size();
    qsizetype i = 0;
    // The pending text is always the characters from `pending` up to `i`.
    qsizetype pending = 0;
    auto flushText = [&] {
        if (pending < i)
            sink(Token::text(chars.slice(pending, i).toString()));
    };
    // The first ">" at or after the last position looked from, `n` when there is none. Positions only
    // grow, so a ">" found once serves every "<" before it, and once none follows a position, none
    // follows any later one: each character is looked at once, however many "<" are unmatched.
    qsizetype nextClose = -1;
    auto findClose = [&](qsizetype from) -> std::optional<qsizetype> {
        if (nextClose < from)
            nextClose = indexOf(chars, from, u'>').value_or(n);
        if (nextClose >= n)
            return std::nullopt;
        return nextClose;
    };

    while (i < n) {
        if (!chars.is(i, u'<')) {
            // Every character up to the next "<" goes to the pending text.
            i = indexOf(chars, i, u'<').value_or(n);
            continue;
        }
        if (matchAhead(chars, i, u"<!--")) {
            flushText();
            const std::optional<qsizetype> end = findSubstring(chars, i, u"-->");
            if (!end)
                return; // an unterminated comment drops the rest
            i = pending = *end + 3;
            continue;
        }
        if (i + 1 < n && chars.is(i + 1, u'!')) {
            flushText();
            const std::optional<qsizetype> end = findClose(i);
            if (!end)
                return; // an unterminated declaration drops the rest
            i = pending = *end + 1;
            continue;
        }
        const std::optional<qsizetype> end = findClose(i);
        if (!end) {
            ++i; // an unmatched "<" is text
            continue;
        }
        flushText();
        const QStringView inner = Text::trimWhitespaceAndNewlines(chars.slice(i + 1, *end));
        if (startsWithCharacter(inner, u'/')) {
            sink(Token::close(tagName(inner.sliced(1))));
        } else if (endsWithCharacters(inner, u"/")) {
            sink(Token::selfClosing(tagName(inner.chopped(1))));
        } else {
            QString name = tagName(inner);
            if (name == u"br"_s || name == u"hr"_s) {
                sink(Token::selfClosing(std::move(name)));
            } else if (name == u"img"_s) {
                // An image never stays open.
                sink(Token::open(name, parseAttrs(inner)));
                sink(Token::close(name));
            } else {
                QMap<QString, QString> attributes
                    = allAttributes || name == u"a"_s ? parseAttrs(inner) : QMap<QString, QString>();
                sink(Token::open(std::move(name), std::move(attributes)));
            }
        }
        i = pending = *end + 1;
    }
    flushText();
}

} // namespace

QList<Token> tokenize(const QString &html)
{
    QList<Token> tokens;
    forEachToken(html, true, [&](Token &&token) { tokens.append(std::move(token)); });
    return tokens;
}

QString tagName(QStringView inner)
{
    const QStringView trimmed = Text::trimSpacesAndTabs(inner);
    const qsizetype end = firstCharacterIn(trimmed, u" \t\n/");
    return (end < 0 ? trimmed : trimmed.first(end)).toString().toLower();
}

QMap<QString, QString> parseAttrs(QStringView inner)
{
    const qsizetype nameEnd = firstCharacterIn(inner, u" \t\n");
    if (nameEnd < 0)
        return {};
    AttributeScan scan(inner.sliced(nameEnd + 1));
    // Every round moves the scan forward by at least one character (see AttributeScan).
    while (!scan.atEnd())
        scan.step();
    return scan.attributes();
}

AttributeScan::AttributeScan(QStringView attributeText)
    : m_text(attributeText.toString())
    , m_chars(m_text)
{ }

void AttributeScan::step()
{
    const Characters &c = m_chars;
    const qsizetype n = c.size();
    qsizetype &p = m_position;
    const qsizetype roundStart = p;
    auto isSpaceOrTab = [&](qsizetype k) { return c.is(k, u' ') || c.is(k, u'\t'); };

    while (p < n && (isSpaceOrTab(p) || c.is(p, u'\n')))
        ++p;
    // Tabs and line feeds do not end a name.
    const qsizetype nameStart = p;
    while (p < n && !(c.is(p, u'=') || c.is(p, u' ') || c.is(p, u'>') || c.is(p, u'/')))
        ++p;
    const QStringView name = c.slice(nameStart, p);
    while (p < n && isSpaceOrTab(p))
        ++p;

    QStringView value;
    if (p < n && c.is(p, u'=')) {
        ++p;
        while (p < n && isSpaceOrTab(p))
            ++p;
        if (p < n && (c.is(p, u'"') || c.is(p, u'\''))) {
            const QChar quote = c.at(p).front();
            ++p;
            const qsizetype valueEnd = indexOf(c, p, quote).value_or(n);
            value = c.slice(p, valueEnd);
            p = std::min(valueEnd + 1, n);
        } else {
            const qsizetype valueStart = p;
            while (p < n && !(c.is(p, u' ') || c.is(p, u'>')))
                ++p;
            value = c.slice(valueStart, p);
        }
    }

    if (p == roundStart) {
        // Nothing was read: the scan stands on a "/" where a name would begin. Step over it, so that
        // every round moves on and the scan ends.
        ++p;
        return;
    }
    if (name.isEmpty())
        return;
    const QString stored = value.contains(u'&') ? decodeEntities(value.toString()) : value.toString();
    m_attributes.insert(name.toString().toLower(), stored);
}

// MARK: Entities

namespace {

struct NamedEntity
{
    QStringView name;
    QStringView replacement;
};

/// The named entities, in the order they are applied: "&amp;" comes last, so that a nested form such as
/// "&amp;lt;" decodes once, to "&lt;".
constexpr NamedEntity namedEntities[] = {
    { u"&lt;", u"<" },
    { u"&gt;", u">" },
    { u"&quot;", u"\"" },
    { u"&apos;", u"'" },
    { u"&#39;", u"'" },
    { u"&nbsp;", u" " },
    { u"&hellip;", u"\u2026" },
    { u"&mdash;", u"\u2014" },
    { u"&ndash;", u"\u2013" },
    { u"&copy;", u"\u00A9" },
    { u"&reg;", u"\u00AE" },
    { u"&trade;", u"\u2122" },
    { u"&rsquo;", u"\u2019" },
    { u"&lsquo;", u"\u2018" },
    { u"&rdquo;", u"\u201D" },
    { u"&ldquo;", u"\u201C" },
    { u"&middot;", u"\u00B7" },
    { u"&amp;", u"&" },
};

/// The named entities of the table decoded in one pass from left to right.
///
/// Each entity is "&", a name without "&" or ";", and ";", so two occurrences never overlap, and no
/// replacement holds "&", ";" or a letter of a name: replacing the rows one after another over the whole
/// text, in the order of the table, decodes exactly the occurrences that stand in the original text, each
/// once. This pass does the same without scanning any output again: "&amp;lt;" gives "&lt;",
/// "&amp;amp;" gives "&amp;", and "&&lt;" gives "&<".
QString decodeNamedEntities(QStringView text)
{
    QString result;
    result.reserve(text.size());
    qsizetype copied = 0;
    for (qsizetype i = text.indexOf(u'&'); i >= 0; i = text.indexOf(u'&', i)) {
        // An entity runs from the "&" to the first ";", at most eight characters in all.
        const QStringView head = text.sliced(i, std::min<qsizetype>(8, text.size() - i));
        const qsizetype semicolon = head.indexOf(u';');
        const QStringView candidate = head.first(semicolon + 1);
        const auto entity = semicolon < 0 ? std::cend(namedEntities)
                                          : std::find_if(std::cbegin(namedEntities), std::cend(namedEntities),
                                              [&](const NamedEntity &row) { return row.name == candidate; });
        if (entity == std::cend(namedEntities)) {
            ++i;
            continue;
        }
        result += text.sliced(copied, i - copied);
        result += entity->replacement;
        i += entity->name.size();
        copied = i;
    }
    if (copied == 0)
        return text.toString();
    result += text.sliced(copied);
    return result;
}

bool isHexDigit(QChar c)
{
    const char16_t u = c.unicode();
    return (u >= u'0' && u <= u'9') || (u >= u'a' && u <= u'f') || (u >= u'A' && u <= u'F');
}

bool isDecimalDigit(QChar c)
{
    return c.unicode() >= u'0' && c.unicode() <= u'9';
}

/// Replaces each "&#" + `prefix` + digits + ";" whose digits name a Unicode scalar value, in one pass
/// from left to right over `text`, the way a search for the pattern "&#x([0-9A-Fa-f]+);" (or
/// "&#([0-9]+);") replaces its matches: a replacement is never searched again, and a reference that
/// stays as written is stepped over as a whole.
QString decodeNumericReferences(const QString &text, QStringView prefix, bool (*isDigit)(QChar), char32_t base)
{
    const QString opening = u"&#"_s + prefix.toString();
    QString result;
    qsizetype copied = 0;
    qsizetype i = text.indexOf(opening);
    while (i >= 0) {
        const qsizetype digitsStart = i + opening.size();
        qsizetype digitsEnd = digitsStart;
        while (digitsEnd < text.size() && isDigit(text[digitsEnd]))
            ++digitsEnd;
        if (digitsEnd == digitsStart || digitsEnd == text.size() || text[digitsEnd] != u';') {
            // No match starts here; the next one can start no earlier than the next "&".
            i = text.indexOf(opening, i + 1);
            continue;
        }
        const qsizetype matchEnd = digitsEnd + 1;
        if (const std::optional<QString> scalar
            = scalarFromDigits(QStringView(text).sliced(digitsStart, digitsEnd - digitsStart), base)) {
            if (result.isNull())
                result.reserve(text.size());
            result += QStringView(text).sliced(copied, i - copied);
            result += *scalar;
            copied = matchEnd;
        }
        i = text.indexOf(opening, matchEnd);
    }
    if (copied == 0)
        return text;
    result += QStringView(text).sliced(copied);
    return result;
}

} // namespace

QString decodeEntities(const QString &text)
{
    if (!text.contains(u'&'))
        return text;
    QString result = decodeNamedEntities(text);
    if (!result.contains(u"&#"))
        return result; // no numeric reference can match
    result = decodeNumericReferences(result, u"x", isHexDigit, 16);
    return decodeNumericReferences(result, {}, isDecimalDigit, 10);
}

QString replaceRegex(const QString &text, const QString &pattern,
    const std::function<std::optional<QString>(QStringView group)> &transform)
{
    const Regex &regex = Regex::cached(pattern);
    if (!regex.isValid())
        return text;
    const QList<Regex::Match> matches = regex.matches(text);
    // Assembled from the first match to the last in one pass: replacing each match in place would move
    // the rest of the text every time.
    QString result;
    qsizetype copied = 0;
    bool replaced = false;
    for (const Regex::Match &match : matches) {
        if (!match.hasGroup(1))
            continue;
        const std::optional<QString> replacement = transform(match.group(text, 1));
        if (!replacement)
            continue;
        if (!replaced)
            result.reserve(text.size());
        replaced = true;
        result += QStringView(text).sliced(copied, match.start - copied);
        result += *replacement;
        copied = match.end;
    }
    if (!replaced)
        return text;
    result += QStringView(text).sliced(copied);
    return result;
}

// MARK: Unwrapping anchors without a target

namespace {

/// The line helpers read the last four code units at most.
constexpr qsizetype settledEnd = 8;

} // namespace

void EmptyLinkCollapser::collapse(QString &out)
{
    const qsizetype size = out.size();
    scan(out, size - 1);
    qsizetype close = -1;
    if (isWholeCharacter(out, size - 1))
        close = size - 1;
    else if (!m_closes.isEmpty())
        close = m_closes.last();
    else
        return;
    const auto after = std::lower_bound(m_opens.cbegin(), m_opens.cend(), close);
    if (after == m_opens.cbegin())
        return; // no "[" before the "]": unchanged
    const qsizetype openIndex = after - 1 - m_opens.cbegin();
    const qsizetype open = m_opens[openIndex];

    out.truncate(close);
    m_opens.resize(openIndex);
    dropFrom(close);
    if (qsizetype(m_removed.size()) <= open)
        m_removed.resize(open + 1);
    m_removed[open] = true;
    ++m_removedCount;
    settleEnd(out);
    // The last character has lost the one that followed it: whether it is whole waits for the next one.
    forgetFrom(std::max<qsizetype>(0, out.size() - 1));
}

QString EmptyLinkCollapser::finish(const QString &out) const
{
    if (m_removedCount == 0)
        return out;
    QString result;
    result.reserve(out.size());
    qsizetype copied = 0;
    for (qsizetype p = 0; p < qsizetype(m_removed.size()); ++p) {
        if (m_removed[p]) {
            result += QStringView(out).sliced(copied, p - copied);
            copied = p + 1;
        }
    }
    result += QStringView(out).sliced(copied);
    return result;
}

bool EmptyLinkCollapser::isRemoved(qsizetype position) const
{
    return position < qsizetype(m_removed.size()) && m_removed[position];
}

void EmptyLinkCollapser::scan(const QString &out, qsizetype limit)
{
    // Whether a bracket is a whole character depends only on its neighbours, so each waits for the
    // character after it.
    for (qsizetype p = m_scanned; p < limit; ++p) {
        const char16_t c = out[p].unicode();
        if ((c == u'[' || c == u']') && !isRemoved(p) && isWholeCharacter(out, p))
            (c == u'[' ? m_opens : m_closes).append(p);
    }
    m_scanned = std::max(m_scanned, limit);
}

void EmptyLinkCollapser::forgetFrom(qsizetype position)
{
    while (!m_opens.isEmpty() && m_opens.last() >= position)
        m_opens.removeLast();
    while (!m_closes.isEmpty() && m_closes.last() >= position)
        m_closes.removeLast();
    m_scanned = std::min(m_scanned, position);
}

void EmptyLinkCollapser::dropFrom(qsizetype position)
{
    forgetFrom(position);
    for (qsizetype p = position; p < qsizetype(m_removed.size()); ++p) {
        if (m_removed[p])
            --m_removedCount;
    }
    if (qsizetype(m_removed.size()) > position)
        m_removed.resize(position);
}

void EmptyLinkCollapser::settleEnd(QString &out)
{
    // Taking characters out of the end brings earlier ones into it: repeat until it is clear. Each round
    // takes out at least one marked character, and looks at no more than `settledEnd` code units.
    for (;;) {
        qsizetype first = std::max<qsizetype>(0, out.size() - settledEnd);
        while (first < out.size() && !isRemoved(first))
            ++first;
        if (first >= out.size())
            return;
        QString tail;
        for (qsizetype p = first; p < out.size(); ++p) {
            if (!isRemoved(p))
                tail += out[p];
        }
        dropFrom(first);
        out.truncate(first);
        out += tail;
    }
}

// MARK: Renderer

namespace {

void feed(Renderer &renderer, const Token &token)
{
    switch (token.kind) {
    case Token::Kind::text:
        renderer.text(token.value);
        break;
    case Token::Kind::open:
        renderer.open(token);
        break;
    case Token::Kind::close:
        renderer.close(token);
        break;
    case Token::Kind::selfClosing:
        renderer.selfClosing(token);
        break;
    }
}

bool tokenHasLoneSurrogate(const Token &token)
{
    if (hasLoneSurrogate(token.value))
        return true;
    return std::any_of(token.attributes.cbegin(), token.attributes.cend(),
        [](const QString &value) { return hasLoneSurrogate(value); });
}

} // namespace

QString convert(const QString &html)
{
    static const Regex blankLines(u"\\n{3,}"_s);
    // Each token is rendered as soon as it is cut: the token list is never held whole.
    Renderer renderer(hasLoneSurrogate(html));
    forEachToken(html, false, [&](Token &&token) { feed(renderer, token); });
    QString markdown = renderer.finish();
    if (markdown.contains(u"\n\n\n"))
        markdown = blankLines.replaceAll(markdown, u"\n\n"_s);
    // Trimmed in place: the Markdown can be many times the size of the note.
    const QStringView trimmed = Text::trimWhitespaceAndNewlines(markdown);
    if (trimmed.size() == markdown.size())
        return markdown;
    const qsizetype leading = trimmed.data() - markdown.constData();
    markdown.truncate(leading + trimmed.size());
    markdown.remove(0, leading);
    return markdown;
}

QString render(const QList<Token> &tokens)
{
    Renderer renderer(std::any_of(tokens.cbegin(), tokens.cend(), tokenHasLoneSurrogate));
    for (const Token &token : tokens)
        feed(renderer, token);
    return renderer.finish();
}

void ensureNewline(QString &out)
{
    if (!out.isEmpty() && !endsWithCharacters(out, u"\n"))
        out += u'\n';
}

void ensureBlankLine(QString &out)
{
    if (out.isEmpty() || endsWithCharacters(out, u"\n\n"))
        return;
    out += endsWithCharacters(out, u"\n") ? u"\n"_s : u"\n\n"_s;
}

QString markerText(InlineMarker marker)
{
    switch (marker) {
    case InlineMarker::strong:
        return u"**"_s;
    case InlineMarker::emphasis:
        return u"*"_s;
    case InlineMarker::code:
        return u"`"_s;
    case InlineMarker::strikethrough:
        return u"~~"_s;
    }
    return {};
}

void openInline(QString &out, QList<InlineMarker> &stack, InlineMarker marker)
{
    stack.append(marker);
    out += markerText(marker);
}

void closeInline(QString &out, QList<InlineMarker> &stack, InlineMarker marker)
{
    // A search from the top; the renderer counts open markers instead. The markers are one byte each, so
    // the search runs as a byte search.
    static_assert(sizeof(InlineMarker) == 1);
    const QByteArrayView bytes(reinterpret_cast<const char *>(stack.constData()), stack.size());
    const qsizetype last = bytes.lastIndexOf(char(marker));
    if (last < 0)
        return; // a stray closing tag writes nothing
    stack.remove(last);
    out += markerText(marker);
}

QString linkDestination(const QString &target)
{
    const auto needsBrackets = [](QChar c) {
        return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r' || c == u'(' || c == u')' || c == u'<' || c == u'>';
    };
    if (std::none_of(target.cbegin(), target.cend(), needsBrackets))
        return target;
    // Inside "<" and ">" a destination may hold spaces and parentheses; the few characters it may not
    // hold are percent-encoded, which every Markdown editor opens the same way.
    return u'<'
        + Text::replaceCharacters(target, { { u'<', u"%3C" }, { u'>', u"%3E" }, { u'\n', u"%0A" }, { u'\r', u"%0D" } })
        + u'>';
}

QString escapeMarkdown(QStringView text)
{
    QString escaped;
    escaped.reserve(text.size() + text.size() / 8);
    qsizetype copied = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        switch (text[i].unicode()) {
        case u'\\':
        case u'*':
        case u'_':
        case u'`':
        case u'[':
        case u']':
            // Only the character itself: with a mark attached it is another character.
            if (isWholeCharacter(text, i)) {
                escaped += text.sliced(copied, i - copied);
                escaped += u'\\';
                copied = i;
            }
            break;
        default:
            break;
        }
    }
    escaped += text.sliced(copied);
    return escaped;
}

QString collapseEmptyLink(QString out)
{
    const qsizetype close = lastCharacter(out, u']', out.size());
    if (close < 0)
        return out;
    const qsizetype open = lastCharacter(out, u'[', close);
    if (open < 0)
        return out;
    // Edited in place: the text before "[" is usually most of the note.
    out.truncate(close);
    out.remove(open, 1);
    return out;
}

} // namespace HtmlToMarkdown
