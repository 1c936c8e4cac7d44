#pragma once

#include "HtmlToMarkdown.h"
#include "HtmlTokenizer_p.h"

#include <QList>
#include <QString>
#include <QStringView>

#include <vector>

// The second half of HtmlToMarkdown::convert: the renderer that walks the tokens (HtmlTokenizer_p.h)
// and writes Markdown, declared here so that tests can reach it.
namespace HtmlToMarkdown {

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
