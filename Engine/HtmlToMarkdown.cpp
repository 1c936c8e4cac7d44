// The HTML-to-Markdown renderer: one walk over the tokens of a note body, writing Markdown as it goes.

#include "HtmlToMarkdown.h"
#include "HtmlToMarkdown_p.h"

#include "Regex.h"
#include "Text.h"

#include <QByteArrayView>
#include <QList>
#include <QSet>

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
    explicit Renderer(bool exactCollapse, const ConvertOptions *options = nullptr)
        : exactCollapse(exactCollapse)
        , options(options)
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
    /// What the conversion does beyond the plain rules; none for convert(html).
    const ConvertOptions *options = nullptr;
    /// Anchors open inside a link to another note that became a wiki link: their text is in the wiki
    /// link's place, so everything up to the link's end is left out.
    qint64 skippedAnchors = 0;
    /// Anchors of a wiki link that a block tag ended before their closing tags came.
    qint64 unclosedNoteLinks = 0;

    /// Whether nothing is open that a heading line would break: no list, code block or link.
    bool atTopLevel() const { return lists.isEmpty() && preDepth == 0 && links.isEmpty() && skippedAnchors == 0; }

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
            const QString href = token.attributes.value(u"href"_s);
            if (const std::optional<QString> wikiName = noteLinkName(href)) {
                out += u"[["_s + *wikiName + u"]]"_s;
                skippedAnchors = 1;
                return;
            }
            links.append(href);
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
                out += u"!["_s + token.attributes.value(u"alt"_s) + u"]("_s + imageDestination(src) + u')';
        } else if (name == u"hr"_s) {
            rule();
        }
    }

    /// The wiki link name for a link to another note, when the options turn it into one.
    std::optional<QString> noteLinkName(const QString &href) const
    {
        if (!options || !options->noteLink || !noteLinkIdentifier(href))
            return std::nullopt;
        return options->noteLink(href);
    }

    /// Where an image refers to: the file that the options put a `data:` image in, or its source.
    QString imageDestination(const QString &src) const
    {
        if (options && options->image && src.startsWith(u"data:"_s, Qt::CaseInsensitive)) {
            if (const std::optional<QString> destination = options->image(src))
                return linkDestination(*destination);
        }
        return linkDestination(src);
    }

    /// Inside a link that became a wiki link, whether `token` is left out. The link ends at its closing
    /// tag, or at the first block tag when it is not closed on its line.
    bool skipsInAnchor(const Token &token)
    {
        if (skippedAnchors == 0)
            return false;
        if (token.value == u"a"_s && token.kind == Token::Kind::open) {
            ++skippedAnchors;
            return true;
        }
        if (token.value == u"a"_s && token.kind == Token::Kind::close) {
            --skippedAnchors;
            return true;
        }
        static const QSet<QString> blocks { u"div"_s, u"p"_s, u"br"_s, u"li"_s, u"ul"_s, u"ol"_s, u"pre"_s,
            u"blockquote"_s, u"hr"_s, u"table"_s, u"tr"_s, u"td"_s, u"th"_s, u"h1"_s, u"h2"_s, u"h3"_s, u"h4"_s,
            u"h5"_s, u"h6"_s };
        if (token.kind != Token::Kind::text && blocks.contains(token.value)) {
            // Their closing tags may still come: they close nothing, and leave no stray "]".
            unclosedNoteLinks = std::exchange(skippedAnchors, 0);
            return false;
        }
        return true;
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
        } else if (name == u"a"_s && links.isEmpty() && unclosedNoteLinks > 0) {
            --unclosedNoteLinks;
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
    if (renderer.skipsInAnchor(token))
        return;
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

/// The font size, in pixels, that a `style` attribute gives; nothing when it gives none in pixels.
std::optional<double> fontSizeOf(const QString &style)
{
    static const Regex fontSize(u"(?i)font-size\\s*:\\s*([0-9]+(?:\\.[0-9]+)?)\\s*px"_s);
    const std::optional<Regex::Match> match = fontSize.firstMatch(style);
    if (!match)
        return std::nullopt;
    return match->group(style, 1).toDouble();
}

/// The heading marks for a heading paragraph in a span of `pixels`: Notes' Title is 24 px and its
/// Heading 18 px; anything smaller is read as the third level, as a bold line alone is.
QStringView sizedHeadingMarks(double pixels)
{
    if (pixels >= 24)
        return u"# ";
    if (pixels >= 18)
        return u"## ";
    return u"### ";
}

/// Whether `token` may stand in the text of a heading paragraph: text, and the inline tags other than
/// bold (which ends the paragraph's bold run) and spans.
bool isHeadingContent(const Token &token)
{
    if (token.kind == Token::Kind::text)
        return true;
    if (token.kind == Token::Kind::selfClosing)
        return false;
    static const QSet<QString> inlineTags { u"i"_s, u"em"_s, u"u"_s, u"s"_s, u"strike"_s, u"del"_s, u"code"_s, u"tt"_s,
        u"a"_s, u"img"_s };
    return inlineTags.contains(token.value);
}

bool isVisibleText(const Token &token)
{
    if (token.kind != Token::Kind::text)
        return false;
    const QString decoded = decodeEntities(token.value);
    return std::any_of(decoded.cbegin(), decoded.cend(), [](QChar c) { return !c.isSpace(); });
}

/// Renders Notes' heading paragraphs as headings (see ConvertOptions::headings) and every other token as
/// it comes. The tokens from a paragraph's opening "div" on are held back until they either close it in
/// a heading's shape or break that shape; each token is held at most once and handed on at most once, so
/// the cost stays linear in the input.
class HeadingFinder
{
public:
    explicit HeadingFinder(Renderer &renderer)
        : m_renderer(renderer)
    { }

    void push(Token token)
    {
        if (m_held.isEmpty()) {
            if (token.kind == Token::Kind::open && token.value == u"div"_s && m_renderer.atTopLevel())
                m_held.append(std::move(token));
            else
                feed(m_renderer, token);
            return;
        }
        m_held.append(std::move(token));
        // A paragraph still open keeps its tokens held.
        if (const Shape shape = step(); shape == Shape::heading)
            renderHeading();
        else if (shape == Shape::broken)
            release();
    }

    /// Hands on what is still held: the input ended inside a paragraph.
    void finish()
    {
        const QList<Token> held = std::exchange(m_held, {});
        for (const Token &token : held)
            feed(m_renderer, token);
    }

private:
    enum class Shape { open, heading, broken };
    /// Where the held paragraph stands: after "<div>", inside its bold run (after the sized span's start,
    /// if it has one), after the span's end, after the bold run's end.
    enum class Part { bold, content, spanClosed, boldClosed };

    /// Where the paragraph stands after its latest token.
    Shape step()
    {
        const Token &token = m_held.last();
        if (m_held.size() == 2) {
            if (token.kind != Token::Kind::open || token.value != u"b"_s)
                return Shape::broken;
            m_part = Part::content;
            m_sized = false;
            m_hasText = false;
            return Shape::open;
        }
        if (m_held.size() == 3 && token.kind == Token::Kind::open && token.value == u"span"_s) {
            const std::optional<double> pixels = fontSizeOf(token.attributes.value(u"style"_s));
            if (!pixels)
                return Shape::broken;
            m_sized = true;
            m_marks = sizedHeadingMarks(*pixels);
            m_contentStart = 3;
            return Shape::open;
        }
        if (m_held.size() == 3) {
            m_marks = u"### ";
            m_contentStart = 2;
        }
        return stepAfterStart(token);
    }

    Shape stepAfterStart(const Token &token)
    {
        const bool closes = token.kind == Token::Kind::close;
        switch (m_part) {
        case Part::bold:
            return Shape::broken;
        case Part::content:
            if (closes && token.value == (m_sized ? u"span"_s : u"b"_s)) {
                m_contentEnd = m_held.size() - 1;
                m_part = m_sized ? Part::spanClosed : Part::boldClosed;
                return Shape::open;
            }
            if (!isHeadingContent(token))
                return Shape::broken;
            m_hasText = m_hasText || isVisibleText(token);
            return Shape::open;
        case Part::spanClosed:
            if (!closes || token.value != u"b"_s)
                return Shape::broken;
            m_part = Part::boldClosed;
            return Shape::open;
        case Part::boldClosed:
            return closes && token.value == u"div"_s && m_hasText ? Shape::heading : Shape::broken;
        }
        return Shape::broken;
    }

    void renderHeading()
    {
        const QList<Token> held = std::exchange(m_held, {});
        m_part = Part::bold;
        m_renderer.heading(m_marks);
        for (qsizetype i = m_contentStart; i < m_contentEnd; ++i)
            feed(m_renderer, held[i]);
        ensureBlankLine(m_renderer.out);
    }

    /// Hands on the held tokens as they came. The last one broke the shape, and may itself open the
    /// next paragraph.
    void release()
    {
        QList<Token> held = std::exchange(m_held, {});
        m_part = Part::bold;
        Token last = held.takeLast();
        for (const Token &token : std::as_const(held))
            feed(m_renderer, token);
        push(std::move(last));
    }

    Renderer &m_renderer;
    QList<Token> m_held;
    Part m_part = Part::bold;
    bool m_sized = false;
    bool m_hasText = false;
    QStringView m_marks;
    qsizetype m_contentStart = 0;
    qsizetype m_contentEnd = 0;
};

bool tokenHasLoneSurrogate(const Token &token)
{
    if (hasLoneSurrogate(token.value))
        return true;
    return std::any_of(token.attributes.cbegin(), token.attributes.cend(),
        [](const QString &value) { return hasLoneSurrogate(value); });
}

} // namespace

namespace {

/// The Markdown of one note body: tokenized and rendered (with `options` when given), runs of blank
/// lines cut to one, and trimmed.
QString convertBody(const QString &html, const ConvertOptions *options)
{
    static const Regex blankLines(u"\\n{3,}"_s);
    // Each token is rendered as soon as it is cut: the token list is never held whole.
    Renderer renderer(hasLoneSurrogate(html), options);
    // Headings are told apart by their span's style, which the plain rules never read.
    const bool headings = options && options->headings;
    // Notes writes its images as self-closing tags, which the plain rules drop: images saved as files
    // take them too.
    const auto images = options && options->image ? Tokenizer::SelfClosingImages::dataImagesRead
                                                  : Tokenizer::SelfClosingImages::dropped;
    Tokenizer tokenizer(html, headings ? Tokenizer::Attributes::all : Tokenizer::Attributes::renderedOnly, images);
    if (headings) {
        HeadingFinder finder(renderer);
        while (std::optional<Token> token = tokenizer.next())
            finder.push(*std::move(token));
        finder.finish();
    } else {
        while (const std::optional<Token> token = tokenizer.next())
            feed(renderer, *token);
    }
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

} // namespace

QString convert(const QString &html)
{
    return convertBody(html, nullptr);
}

QString convert(const QString &html, const ConvertOptions &options)
{
    return convertBody(html, &options);
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
