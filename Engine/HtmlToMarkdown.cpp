// The HTML-to-Markdown renderer: one walk over the tokens of a note body, writing Markdown as it goes.

#include "HtmlToMarkdown.h"
#include "HtmlToMarkdown_p.h"

#include "Regex.h"
#include "Text.h"

#include <QByteArrayView>

#include <algorithm>
#include <array>
#include <vector>

using namespace Qt::StringLiterals;

namespace HtmlToMarkdown {

namespace {

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
/// The inline marker that a tag opens and closes, if it is one of the styling tags.
std::optional<InlineMarker> inlineMarkerOf(const QString &name)
{
    if (name == u"b"_s || name == u"strong"_s)
        return InlineMarker::strong;
    if (name == u"i"_s || name == u"em"_s)
        return InlineMarker::emphasis;
    if (name == u"code"_s || name == u"tt"_s)
        return InlineMarker::code;
    if (name == u"s"_s || name == u"strike"_s || name == u"del"_s)
        return InlineMarker::strikethrough;
    return std::nullopt;
}

/// The marks that start a heading line for "h1" to "h6"; deeper headings all fold to level 4.
std::optional<QStringView> headingMarks(const QString &name)
{
    if (name.size() != 2 || name[0] != u'h' || name[1] < u'1' || name[1] > u'6')
        return std::nullopt;
    static constexpr QStringView marks[] = { u"# ", u"## ", u"### ", u"#### " };
    return marks[std::min(name[1].unicode() - u'1', 3)];
}

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
        if (const std::optional<QStringView> marks = headingMarks(name)) {
            heading(*marks);
        } else if (const std::optional<InlineMarker> marker = inlineMarkerOf(name)) {
            openMarker(*marker);
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
        if (headingMarks(name)) {
            ensureBlankLine(out);
        } else if (const std::optional<InlineMarker> marker = inlineMarkerOf(name)) {
            closeMarker(*marker);
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
    Tokenizer tokenizer(html, Tokenizer::Attributes::renderedOnly);
    while (const std::optional<Token> token = tokenizer.next())
        feed(renderer, *token);
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
