#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <optional>
#include <utility>

// Helpers of the Markdown renderer, declared here so that tests can reach them.
namespace MarkdownLite {

using Transform = std::function<QString(const QStringList &groups)>;

/// Finds every match of `pattern` first, then replaces them from the last to the first with
/// `transform(groups 1..groups)`; a match where fewer than `groups` groups took part is left alone.
/// The replacement text is never searched again. A pattern that does not compile changes nothing.
QString replace(const QString &text, const QString &pattern, int groups, const Transform &transform);
/// The same with one group.
QString replace(const QString &text, const QString &pattern, const Transform &transform);

/// Replaces every match with `replacementTemplate`, in which "$1" is group 1.
QString regexSub(const QString &text, const QString &pattern, const QString &replacementTemplate);

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
