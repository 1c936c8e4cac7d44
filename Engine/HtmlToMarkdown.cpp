#include "HtmlToMarkdown.h"
#include "HtmlToMarkdown_p.h"

#include "Regex.h"
#include "Text.h"

#include <QByteArrayView>
#include <QHash>
#include <QTextBoundaryFinder>

#include <algorithm>

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

struct ListEntry
{
    QString type;
    qint64 counter = 0;
};

/// The state of one render call.
struct Renderer
{
    QString out;
    QList<ListEntry> lists;
    QList<InlineMarker> inlines;
    QList<QString> links;
    qint64 preDepth = 0;

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
        const QString indentation = lists.isEmpty() ? QString() : u"    "_s.repeated(lists.size() - 1);
        if (!lists.isEmpty() && lists.last().type == u"ol"_s) {
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
            openInline(out, inlines, InlineMarker::strong);
        } else if (name == u"i"_s || name == u"em"_s) {
            openInline(out, inlines, InlineMarker::emphasis);
        } else if (name == u"code"_s || name == u"tt"_s) {
            openInline(out, inlines, InlineMarker::code);
        } else if (name == u"s"_s || name == u"strike"_s || name == u"del"_s) {
            openInline(out, inlines, InlineMarker::strikethrough);
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
            lists.append({ name, 0 });
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
                out += u"!["_s + token.attributes.value(u"alt"_s) + u"]("_s + src + u')';
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
            closeInline(out, inlines, InlineMarker::strong);
        } else if (name == u"i"_s || name == u"em"_s) {
            closeInline(out, inlines, InlineMarker::emphasis);
        } else if (name == u"code"_s || name == u"tt"_s) {
            closeInline(out, inlines, InlineMarker::code);
        } else if (name == u"s"_s || name == u"strike"_s || name == u"del"_s) {
            closeInline(out, inlines, InlineMarker::strikethrough);
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
                out = collapseEmptyLink(std::move(out));
            } else {
                out += u"]("_s + target + u')';
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

QList<Token> tokenize(const QString &html)
{
    QList<Token> tokens;
    if (html.isEmpty())
        return tokens;
    const Characters chars(html);
    const qsizetype n = chars.size();
    qsizetype i = 0;
    // The pending text is always the characters from `pending` up to `i`.
    qsizetype pending = 0;
    auto flushText = [&] {
        if (pending < i)
            tokens.append(Token::text(chars.slice(pending, i).toString()));
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
                return tokens; // an unterminated comment drops the rest
            i = pending = *end + 3;
            continue;
        }
        if (i + 1 < n && chars.is(i + 1, u'!')) {
            flushText();
            const std::optional<qsizetype> end = indexOf(chars, i, u'>');
            if (!end)
                return tokens; // an unterminated declaration drops the rest
            i = pending = *end + 1;
            continue;
        }
        // Looks ahead from every "<": many unmatched "<" cost quadratic time, accepted for note-sized
        // input.
        const std::optional<qsizetype> end = indexOf(chars, i, u'>');
        if (!end) {
            ++i; // an unmatched "<" is text
            continue;
        }
        flushText();
        const QStringView inner = Text::trimWhitespaceAndNewlines(chars.slice(i + 1, *end));
        if (startsWithCharacter(inner, u'/')) {
            tokens.append(Token::close(tagName(inner.sliced(1))));
        } else if (endsWithCharacters(inner, u"/")) {
            tokens.append(Token::selfClosing(tagName(inner.chopped(1))));
        } else {
            QString name = tagName(inner);
            if (name == u"br"_s || name == u"hr"_s) {
                tokens.append(Token::selfClosing(std::move(name)));
            } else if (name == u"img"_s) {
                // An image never stays open.
                tokens.append(Token::open(name, parseAttrs(inner)));
                tokens.append(Token::close(name));
            } else {
                QMap<QString, QString> attributes = parseAttrs(inner);
                tokens.append(Token::open(std::move(name), std::move(attributes)));
            }
        }
        i = pending = *end + 1;
    }
    flushText();
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
    // No guard: a "/" where a name would begin keeps this loop where it is (see AttributeScan).
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

    if (name.isEmpty())
        return;
    const QString stored = value.contains(u'&') ? decodeEntities(value.toString()) : value.toString();
    m_attributes.insert(name.toString().toLower(), stored);
}

// MARK: Entities

QString decodeEntities(const QString &text)
{
    if (!text.contains(u'&'))
        return text;
    // Held in a hash, built afresh on each call: the rows are applied in no fixed order.
    const QHash<QString, QString> entities {
        { u"&amp;"_s, u"&"_s },
        { u"&lt;"_s, u"<"_s },
        { u"&gt;"_s, u">"_s },
        { u"&quot;"_s, u"\""_s },
        { u"&apos;"_s, u"'"_s },
        { u"&#39;"_s, u"'"_s },
        { u"&nbsp;"_s, u" "_s },
        { u"&hellip;"_s, u"\u2026"_s },
        { u"&mdash;"_s, u"\u2014"_s },
        { u"&ndash;"_s, u"\u2013"_s },
        { u"&copy;"_s, u"\u00A9"_s },
        { u"&reg;"_s, u"\u00AE"_s },
        { u"&trade;"_s, u"\u2122"_s },
        { u"&rsquo;"_s, u"\u2019"_s },
        { u"&lsquo;"_s, u"\u2018"_s },
        { u"&rdquo;"_s, u"\u201D"_s },
        { u"&ldquo;"_s, u"\u201C"_s },
        { u"&middot;"_s, u"\u00B7"_s },
    };
    QString result = text;
    for (auto it = entities.cbegin(); it != entities.cend(); ++it)
        result.replace(it.key(), it.value());
    if (!result.contains(u"&#"))
        return result; // no numeric reference can match
    result = replaceRegex(
        result, u"&#x([0-9A-Fa-f]+);"_s, [](QStringView digits) { return scalarFromDigits(digits, 16); });
    result = replaceRegex(result, u"&#([0-9]+);"_s, [](QStringView digits) { return scalarFromDigits(digits, 10); });
    return result;
}

QString replaceRegex(const QString &text, const QString &pattern,
    const std::function<std::optional<QString>(QStringView group)> &transform)
{
    const Regex &regex = Regex::cached(pattern);
    if (!regex.isValid())
        return text;
    const QList<Regex::Match> matches = regex.matches(text);
    QString result = text;
    // From the last match to the first, so that the earlier ranges stay valid.
    for (auto it = matches.crbegin(); it != matches.crend(); ++it) {
        if (!it->hasGroup(1))
            continue;
        const std::optional<QString> replacement = transform(it->group(text, 1));
        if (replacement)
            result.replace(it->start, it->end - it->start, *replacement);
    }
    return result;
}

// MARK: Renderer

QString convert(const QString &html)
{
    static const Regex blankLines(u"\\n{3,}"_s);
    QString markdown = render(tokenize(html));
    if (markdown.contains(u"\n\n\n"))
        markdown = blankLines.replaceAll(markdown, u"\n\n"_s);
    return Text::trimWhitespaceAndNewlines(markdown).toString();
}

QString render(const QList<Token> &tokens)
{
    Renderer renderer;
    for (const Token &token : tokens) {
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
    return renderer.out;
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
    // A linear search from the top: a long run of stray closing tags over many open markers costs
    // quadratic time. The markers are one byte each, so the search runs as a byte search.
    static_assert(sizeof(InlineMarker) == 1);
    const QByteArrayView bytes(reinterpret_cast<const char *>(stack.constData()), stack.size());
    const qsizetype last = bytes.lastIndexOf(char(marker));
    if (last < 0)
        return; // a stray closing tag writes nothing
    stack.remove(last);
    out += markerText(marker);
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
