#pragma once

#include <QSet>
#include <QString>

#include <optional>

// Helpers of the export writer, declared here so that tests can reach them.
namespace NotesExporter {

/// Creates the folder `path` with any missing parent folders; an existing folder is fine. Gives the
/// system's description of the failure, if there is one.
std::optional<QString> createFolder(const QString &path);

/// The first of `base`, "base (2)", "base (3)", ... whose lower-case form is not in `taken` and for which
/// no file `folder/<candidate>.md` exists.
QString uniqueName(const QString &base, const QSet<QString> &taken, const QString &folder);

/// The text of one exported file: a "# " heading with the note's name, an empty line, the Markdown and
/// a final line feed.
QString fileContent(const QString &noteName, const QString &markdown);

} // namespace NotesExporter
