#pragma once

#include "HtmlToMarkdown.h"

#include <QList>
#include <QMap>
#include <QString>
#include <QStringView>

#include <functional>
#include <optional>
#include <vector>

// The tokenizer and the renderer behind HtmlToMarkdown::convert, declared here so that tests can reach
// them.
namespace HtmlToMarkdown {

/// A text seen as an array of user-perceived characters (extended grapheme clusters), indexed from 0.
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

/// Splits the HTML into tokens. Never fails; see HtmlToMarkdown.h for what becomes of bad input.
QList<Token> tokenize(const QString &html);

/// The lower-case tag name at the start of the text between "<" and ">".
QString tagName(QStringView inner);

/// The attributes of a tag, from the trimmed text between "<" and ">". Names in lower case, values with
/// entities decoded; a later attribute replaces an earlier one of the same name. A "/" where an attribute
/// name would begin is stepped over (see AttributeScan).
QMap<QString, QString> parseAttrs(QStringView inner);

/// The loop of parseAttrs, one round at a time, over the text that follows the tag name.
///
/// Each round skips spaces, tabs and line feeds, reads a name (up to "=", space, ">" or "/"), skips
/// spaces and tabs, reads an optional "=" and value, and stores a named attribute. A round that would
/// read nothing (it starts on a "/" where a name would begin) steps over that one character instead, so
/// every round moves the scan forward and parseAttrs always ends.
class AttributeScan
{
public:
    explicit AttributeScan(QStringView attributeText);
    AttributeScan(const AttributeScan &) = delete;
    AttributeScan &operator=(const AttributeScan &) = delete;

    bool atEnd() const { return m_position >= m_chars.size(); }
    void step();
    /// The index of the character the next round starts from.
    qsizetype position() const { return m_position; }
    const QMap<QString, QString> &attributes() const { return m_attributes; }

private:
    const QString m_text;
    const Characters m_chars;
    qsizetype m_position = 0;
    QMap<QString, QString> m_attributes;
};

/// Decodes the 18 named entities, then hexadecimal ("&#x...;", lower-case x only) and decimal ("&#...;")
/// references that name a Unicode scalar value. Anything else stays as written.
///
/// The result is always that of replacing the named entities one after another over the whole text in
/// a fixed order with "&amp;" last, then the hexadecimal references, then the decimal ones: a nested
/// form decodes once ("&amp;lt;" gives "&lt;"), except that "&amp;#65;" becomes "&#65;" and then "A".
/// Each step is one pass from left to right.
QString decodeEntities(const QString &text);

/// Replaces each match of `pattern` (ICU dialect, no options) by `transform` of its first capture group;
/// a match whose group took no part, or for which the transform gives no result, stays. An invalid
/// pattern leaves the text unchanged. The result is assembled in one pass.
QString replaceRegex(const QString &text, const QString &pattern,
    const std::function<std::optional<QString>(QStringView group)> &transform);

/// Whether the characters of `needle` stand in `chars` from index `start` on.
bool matchAhead(const Characters &chars, qsizetype start, QStringView needle);
/// The first index at or after `start` where the characters of `needle` stand.
std::optional<qsizetype> findSubstring(const Characters &chars, qsizetype start, QStringView needle);
/// The first index at or after `start` of the character that is exactly `c`.
std::optional<qsizetype> indexOf(const Characters &chars, qsizetype start, QChar c);

/// Walks the tokens once and writes raw Markdown (before blank lines are tidied).
QString render(const QList<Token> &tokens);

/// Appends "\n" unless `out` is empty or already ends with a line feed.
void ensureNewline(QString &out);
/// Makes `out` end with an empty line, unless it is empty.
void ensureBlankLine(QString &out);

/// An inline marker: "**", "*", "`" or "~~".
enum class InlineMarker : quint8 { strong, emphasis, code, strikethrough };
QString markerText(InlineMarker marker);

/// Pushes `marker` on the stack and writes it.
void openInline(QString &out, QList<InlineMarker> &stack, InlineMarker marker);
/// Removes the last occurrence of `marker` from the stack, wherever it stands, and writes it; does
/// nothing when the marker is not open. Only whether the marker is open decides what is written, so
/// the renderer itself keeps a count per marker instead of this stack.
void closeInline(QString &out, QList<InlineMarker> &stack, InlineMarker marker);

/// Puts a backslash before "\", "*", "_", "`", "[" and "]".
QString escapeMarkdown(QStringView text);

/// A link or image target as a Markdown destination that still works: as it is, or, when it holds a space,
/// a parenthesis, a line break, "<" or ">", between "<" and ">" with "<", ">" and line breaks
/// percent-encoded.
QString linkDestination(const QString &target);

/// Unwraps the last bracketed span: the last "[" before the last "]" is removed, and the "]" and all
/// after it are dropped. Unchanged when there is no such pair. The renderer gets the same result
/// without looking back through its whole output on every closing anchor.
QString collapseEmptyLink(QString out);

/// What collapseEmptyLink does to the output on every closing anchor without a target, at a cost that
/// does not grow with the output.
///
/// collapseEmptyLink looks back through the whole output for the last "]" and the "[" before it, and
/// removes that "[" from the middle of the text: over thousands of anchors that is quadratic. Here the
/// positions of the whole "[" and "]" characters are collected once, as the output grows, on two
/// stacks; a removed "[" is only marked, and the marked characters are taken out in one pass by
/// finish(). The last few code units of the output, which the line helpers look at, never hold a marked
/// one, so everything that reads the end of the output sees what collapseEmptyLink would have left.
///
/// Taking a whole "[" out never changes whether a neighbouring bracket is a whole character: a bracket
/// joins only a mark after it or a prepended mark before it, and the "[" taken out had neither. Joining
/// halves of a surrogate pair on both sides of it would, so output that can hold lone surrogates is left
/// to collapseEmptyLink itself.
class EmptyLinkCollapser
{
public:
    /// Unwraps the last bracketed span of `out`, which has just had "]" appended; `out` is only ever
    /// appended to, or changed by this call.
    void collapse(QString &out);
    /// `out` with the marked characters taken out: what collapseEmptyLink would have made of it.
    QString finish(const QString &out) const;

private:
    bool isRemoved(qsizetype position) const;
    /// Collects the whole brackets that start before `limit`.
    void scan(const QString &out, qsizetype limit);
    /// Forgets the brackets from `position` on, to be looked at again.
    void forgetFrom(qsizetype position);
    /// Forgets everything from `position` on, where the output has been cut.
    void dropFrom(qsizetype position);
    void settleEnd(QString &out);

    /// Brackets before this position have been looked at.
    qsizetype m_scanned = 0;
    /// Whole "[" (not taken out) and "]" characters before `m_scanned`, in order.
    QList<qsizetype> m_opens;
    QList<qsizetype> m_closes;
    /// The "[" characters taken out, by position.
    std::vector<bool> m_removed;
    qsizetype m_removedCount = 0;
};

} // namespace HtmlToMarkdown
