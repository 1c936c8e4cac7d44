#pragma once

#include <QHash>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <optional>

// Helpers of the vault scan, declared here so that tests can reach them.
namespace VaultScanner {

/// The folder components of `file` below `vault`; only the component counts are compared.
QStringList relativeFolders(const QUrl &file, const QUrl &vault);

/// The text of capture group 1 of each match of `pattern` (ICU dialect) in `text`.
QStringList matches(const QString &text, const QString &pattern);

/// Image files of a vault by lower-cased file name (with extension) to path; when two share a name, the
/// one met last in the walk wins.
using ImageIndex = QHash<QString, QString>;

/// Indexes every image file (by the nine extensions) below `vault`, skipping hidden files and folders.
/// Empty when the folder cannot be walked.
ImageIndex imageIndex(const QUrl &vault);

/// Where an image reference of a note points, first match winning: the percent-decoded reference (or the
/// reference itself when it does not decode) beside the note, then at the vault root (any existing item
/// counts there), then its last path component, lower-cased, in the image index. Remote references
/// (http://, https://) never resolve.
std::optional<QString> resolveImage(
    const QString &ref, const QString &noteFolder, const QString &vaultPath, const ImageIndex &index);

} // namespace VaultScanner
