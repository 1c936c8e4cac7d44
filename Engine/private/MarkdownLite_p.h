#pragma once

#include <QString>
#include <QStringList>

#include <optional>
#include <utility>

// Helpers of the Markdown renderer, declared here so that tests can reach them.
namespace MarkdownLite {

/// The href for a link target taken from escaped text: the target trimmed, or "" when it is not http,
/// https or mailto. It is not escaped again.
QString sanitizeHref(const QString &url);

/// Undoes the escaping of "&", "<", ">", '"' and "'"; any other "&" stays as it is.
QString unescape(QStringView escaped);

/// The level 1 to 6 of an ATX heading line ("# " to "###### "), or none.
std::optional<int> headingLevel(QStringView trimmed);

/// Spaces count 1 and tabs 4, up to the first other character.
int leadingIndent(QStringView line);

/// Splits a table row's inner text at unescaped "|"; "\|" is a literal bar. Always at least one cell.
QStringList splitTableRow(QStringView row);

/// Whether every cell is a non-empty run of "-", ":" and spaces holding at least one "-".
bool isTableSeparator(const QStringList &cells);

/// The task box ("☐ ", "☑ " or "") and the rest of a list item's text.
std::pair<QString, QString> splitTaskMarker(const QString &text);

/// ("ul" or "ol", item text) when the trimmed line is a list item.
std::optional<std::pair<QString, QString>> listItem(const QString &trimmed);

/// Closes every open list, innermost first, appending one "</ul>" or "</ol>" fragment each.
void closeLists(QList<std::pair<QString, int>> &stack, QStringList &fragments);

} // namespace MarkdownLite
