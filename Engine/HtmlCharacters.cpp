// The HTML converter's character array: user-perceived characters over UTF-16, with fast paths for
// ASCII, where every code unit is a character of its own.

#include "HtmlCharacters_p.h"

#include <QTextBoundaryFinder>

#include <algorithm>

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

bool isLoneSurrogate(QStringView text, qsizetype i)
{
    const char16_t c = text[i].unicode();
    if (QChar::isHighSurrogate(c))
        return i + 1 >= text.size() || !QChar::isLowSurrogate(text[i + 1].unicode());
    if (QChar::isLowSurrogate(c))
        return i == 0 || !QChar::isHighSurrogate(text[i - 1].unicode());
    return false;
}

} // namespace

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

bool hasLoneSurrogate(QStringView text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (QChar::isSurrogate(text[i].unicode()) && isLoneSurrogate(text, i))
            return true;
    }
    return false;
}

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

// Searches over the character array

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

} // namespace HtmlToMarkdown
