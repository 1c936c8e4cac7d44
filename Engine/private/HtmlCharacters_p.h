#pragma once

#include <QList>
#include <QString>
#include <QStringView>

#include <optional>

// The HTML converter's view of text as user-perceived characters (extended grapheme clusters): the
// character array that the tokenizer scans, and the boundary tests that both the tokenizer and the
// renderer use to tell a character such as "<" from the same code unit carrying a combining mark.
namespace HtmlToMarkdown {

/// A text seen as an array of user-perceived characters, indexed from 0.
///
/// Holds a view: the text must outlive the array. Runs of plain ASCII, where every code unit is a
/// character of its own (apart from "\r\n"), are split without the boundary finder; a text in which no
/// character is longer than one code unit stores no offsets at all.
class Characters
{
public:
    explicit Characters(QStringView text);

    qsizetype size() const { return m_starts.isEmpty() ? m_text.size() : m_starts.size() - 1; }
    /// The character at `i`, as a view into the text.
    QStringView at(qsizetype i) const { return slice(i, i + 1); }
    /// Whether the character at `i` is exactly the one code unit `c` (not `c` with marks attached).
    bool is(qsizetype i, char16_t c) const
    {
        if (m_starts.isEmpty())
            return m_text[i] == c;
        return m_starts[i + 1] - m_starts[i] == 1 && m_text[m_starts[i]] == c;
    }
    /// The code-unit offset at which character `i` starts; `start(size())` is the text's length.
    qsizetype start(qsizetype i) const { return m_starts.isEmpty() ? i : m_starts[i]; }
    /// The characters from `from` up to, not including, `to`, as one view.
    QStringView slice(qsizetype from, qsizetype to) const
    {
        return m_text.sliced(start(from), start(to) - start(from));
    }
    /// The index of the character that starts at code-unit offset `offset`, if one does.
    std::optional<qsizetype> indexAtOffset(qsizetype offset) const;
    /// True when every character is one code unit (no offsets are stored).
    bool isSimple() const { return m_starts.isEmpty(); }
    QStringView text() const { return m_text; }

private:
    QStringView m_text;
    /// The start of each character and, last, the text's length; empty when the array is simple.
    QList<qsizetype> m_starts;
};

/// Whether the characters of `needle` stand in `chars` from index `start` on.
bool matchAhead(const Characters &chars, qsizetype start, QStringView needle);
/// The first index at or after `start` where the characters of `needle` stand.
std::optional<qsizetype> findSubstring(const Characters &chars, qsizetype start, QStringView needle);
/// The first index at or after `start` of the character that is exactly `c`.
std::optional<qsizetype> indexOf(const Characters &chars, qsizetype start, QChar c);

// Boundary tests on plain text, without building a character array: each looks only at the code units
// around the place it is asked about.

/// Whether a user-perceived character starts at code-unit offset `pos` of `text`.
bool isCharacterBoundary(QStringView text, qsizetype pos);
/// Whether the code unit at `pos` is a whole character.
bool isWholeCharacter(QStringView text, qsizetype pos);
/// Whether `text` begins with the character `c` alone.
bool startsWithCharacter(QStringView text, QChar c);
/// Whether the last characters of `text` are those of `suffix` (each of which is one code unit).
bool endsWithCharacters(QStringView text, QStringView suffix);
/// The code-unit offset of the first character of `text` that is exactly one of `set`, or -1.
qsizetype firstCharacterIn(QStringView text, QStringView set);
/// The code-unit offset of the last character exactly `c` that starts before `before`, or -1.
qsizetype lastCharacter(QStringView text, QChar c, qsizetype before);

/// Whether `text` holds a high surrogate without its low half, or a low one without its high half.
bool hasLoneSurrogate(QStringView text);

} // namespace HtmlToMarkdown
