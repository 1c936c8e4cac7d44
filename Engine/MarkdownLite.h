#pragma once

#include <QString>
#include <QStringList>

/// Renders the Markdown of one note as the HTML that Apple Notes accepts as a note body.
///
/// A small, line-by-line renderer: fenced code, pipe tables, ATX headings, bullet, numbered and task
/// lists, block quotes, "---" and "***" rules, blank lines and one paragraph per line. Styling is inline
/// (bold, italics, sizes in pixels, a monospace face). Never fails: anything it does not recognise is a
/// paragraph of escaped text.
namespace MarkdownLite {

struct Output
{
    /// The note body: one fragment per block, list opening tag and list closing tag, joined with "\n".
    QString html;
    /// The image targets met while rendering, as written in the Markdown, duplicates kept.
    QStringList images;
};

/// Renders a note's text, from which frontmatter has already been removed.
Output convert(const QString &markdown);

/// Renders the text of one block: escapes it, turns image embeds into placeholders (appending their
/// targets to `images`), wiki links into underlined text, links into anchors, then emphasis,
/// strikethrough and inline code. Named inlineHtml because `inline` is a C++ keyword.
QString inlineHtml(const QString &text, QStringList &images);

} // namespace MarkdownLite
