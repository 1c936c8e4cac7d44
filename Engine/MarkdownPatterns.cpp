#include "MarkdownPatterns.h"

#include <unicode/uchar.h>

namespace MarkdownPatterns {

namespace {

/// For every position of a text, the first position at or after it that holds one of a few ASCII
/// delimiters, or the text's length when none follows.
class NextTable
{
public:
    NextTable(QStringView text, char16_t first, char16_t second = 0)
        : m_next(text.size() + 1)
    {
        qsizetype next = text.size();
        m_next[text.size()] = next;
        for (qsizetype i = text.size() - 1; i >= 0; --i) {
            const char16_t c = text[i].unicode();
            if (c == first || (second != 0 && c == second))
                next = i;
            m_next[i] = next;
        }
    }
    qsizetype operator()(qsizetype from) const { return m_next[from]; }

private:
    QList<qsizetype> m_next;
};

Regex::Match makeMatch(qsizetype start, qsizetype end, std::initializer_list<std::pair<qsizetype, qsizetype>> groups)
{
    return { start, end, QList<std::pair<qsizetype, qsizetype>>(groups) };
}

/// Walks the candidate starts from left to right; `matchAt(p)` decides the match starting at p, if
/// any. After a match the search goes on at its end, as a leftmost search does.
template<typename MatchAt> QList<Regex::Match> findAll(QStringView text, char16_t startCharacter, MatchAt matchAt)
{
    QList<Regex::Match> found;
    qsizetype p = text.indexOf(QChar(startCharacter));
    while (p >= 0) {
        if (std::optional<Regex::Match> match = matchAt(p)) {
            const qsizetype end = match->end;
            found.append(*std::move(match));
            p = text.indexOf(QChar(startCharacter), end);
        } else {
            p = text.indexOf(QChar(startCharacter), p + 1);
        }
    }
    return found;
}

bool at(QStringView text, qsizetype i, char16_t c)
{
    return i >= 0 && i < text.size() && text[i] == c;
}

/// The wiki form after its opening brackets at `open`: a target of at least one character up to the
/// first "]" or "|", then either "]]" or "|", anything but "]", and "]]".
std::optional<Regex::Match> wikiAt(
    QStringView text, qsizetype start, qsizetype open, const NextTable &barOrClose, const NextTable &close)
{
    const qsizetype q = barOrClose(open);
    if (q == open || q >= text.size())
        return std::nullopt;
    if (text[q] == u']') {
        if (!at(text, q + 1, u']'))
            return std::nullopt;
        return makeMatch(start, q + 2, { { open, q } });
    }
    const qsizetype r = close(q + 1);
    if (!at(text, r + 1, u']'))
        return std::nullopt;
    return makeMatch(start, r + 2, { { open, q } });
}

} // namespace

namespace {

/// The wiki forms that open with "[[": embeds, which have a "!" before it, or links, which have none.
QList<Regex::Match> wikiForms(QStringView text, bool embeds)
{
    const NextTable barOrClose(text, u']', u'|');
    const NextTable close(text, u']');
    return findAll(text, embeds ? u'!' : u'[', [&](qsizetype p) -> std::optional<Regex::Match> {
        const qsizetype brackets = embeds ? p + 1 : p;
        if (!at(text, brackets, u'[') || !at(text, brackets + 1, u'[') || (!embeds && at(text, p - 1, u'!')))
            return std::nullopt;
        return wikiAt(text, p, brackets + 2, barOrClose, close);
    });
}

} // namespace

QList<Regex::Match> wikiEmbeds(QStringView text)
{
    return wikiForms(text, true);
}

QList<Regex::Match> wikiLinkTargets(QStringView text)
{
    return wikiForms(text, false);
}

QList<Regex::Match> aliasedWikiLinks(QStringView text)
{
    const NextTable barOrClose(text, u']', u'|');
    const NextTable close(text, u']');
    return findAll(text, u'[', [&](qsizetype p) -> std::optional<Regex::Match> {
        if (!at(text, p + 1, u'['))
            return std::nullopt;
        const qsizetype q = barOrClose(p + 2);
        if (q == p + 2 || !at(text, q, u'|'))
            return std::nullopt;
        const qsizetype r = close(q + 1);
        if (r == q + 1 || !at(text, r + 1, u']'))
            return std::nullopt;
        return makeMatch(p, r + 2, { { p + 2, q }, { q + 1, r } });
    });
}

QList<Regex::Match> plainWikiLinks(QStringView text)
{
    const NextTable barOrClose(text, u']', u'|');
    return findAll(text, u'[', [&](qsizetype p) -> std::optional<Regex::Match> {
        if (!at(text, p + 1, u'['))
            return std::nullopt;
        const qsizetype q = barOrClose(p + 2);
        if (q == p + 2 || !at(text, q, u']') || !at(text, q + 1, u']'))
            return std::nullopt;
        return makeMatch(p, q + 2, { { p + 2, q } });
    });
}

namespace {

/// The forms "[text](target)": images, which have a "!" before the "[" and give the target alone, or
/// links, which give the label and the target. An image's alt text may be empty; a link's label may not.
QList<Regex::Match> bracketsThenParentheses(QStringView text, bool images)
{
    const NextTable close(text, u']');
    const NextTable paren(text, u')');
    return findAll(text, images ? u'!' : u'[', [&](qsizetype p) -> std::optional<Regex::Match> {
        const qsizetype open = images ? p + 1 : p;
        if (!at(text, open, u'['))
            return std::nullopt;
        const qsizetype q = close(open + 1);
        if ((!images && q == open + 1) || !at(text, q, u']') || !at(text, q + 1, u'('))
            return std::nullopt;
        const qsizetype r = paren(q + 2);
        if (r == q + 2 || r >= text.size())
            return std::nullopt;
        if (images)
            return makeMatch(p, r + 1, { { q + 2, r } });
        return makeMatch(p, r + 1, { { open + 1, q }, { q + 2, r } });
    });
}

} // namespace

QList<Regex::Match> markdownImages(QStringView text)
{
    return bracketsThenParentheses(text, true);
}

QList<Regex::Match> markdownLinks(QStringView text)
{
    return bracketsThenParentheses(text, false);
}

namespace {

/// The white space of the regular expressions' "\s": Unicode's White_Space property.
bool isRegexSpace(char32_t c)
{
    return u_hasBinaryProperty(UChar32(c), UCHAR_WHITE_SPACE);
}

/// What "^" in multi-line mode takes as the end of a line.
bool isLineTerminator(char32_t c)
{
    return (c >= 0x0A && c <= 0x0D) || c == 0x85 || c == 0x2028 || c == 0x2029;
}

} // namespace

bool hasTaskItem(QStringView text)
{
    // Every match ends in one of the five-character items; look back from each over the white space
    // before it for a line start (the start of the text, or the position after a line terminator).
    // The white space runs looked at are disjoint, so the whole search is linear.
    for (qsizetype s = 0; s + 5 <= text.size(); ++s) {
        const char16_t marker = text[s].unicode();
        if ((marker != u'-' && marker != u'*') || text[s + 1] != u' ' || text[s + 2] != u'['
            || (text[s + 3] != u' ' && text[s + 3] != u'x' && text[s + 3] != u'X') || text[s + 4] != u']')
            continue;
        qsizetype b = s;
        bool lineStart = false;
        while (true) {
            if (b == 0) {
                lineStart = true;
                break;
            }
            // The code point before b.
            qsizetype previous = b - 1;
            char32_t c = text[previous].unicode();
            if (QChar::isLowSurrogate(c) && previous > 0 && QChar::isHighSurrogate(text[previous - 1].unicode())) {
                --previous;
                c = QChar::surrogateToUcs4(text[previous], text[b - 1]);
            }
            if (isLineTerminator(c)) {
                lineStart = true;
                break;
            }
            if (!isRegexSpace(c))
                break;
            b = previous;
        }
        if (lineStart)
            return true;
    }
    return false;
}

} // namespace MarkdownPatterns
