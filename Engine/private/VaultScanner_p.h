#pragma once

#include "VaultScanner.h"

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

/// Indexes every image file (by the nine extensions) below `vault`, skipping hidden files and folders.
/// Empty when the folder cannot be walked.
ImageIndex imageIndex(const QUrl &vault);

/// The vault's path with every symbolic link resolved: what "inside the vault" is measured against.
QString canonicalVaultPath(const QUrl &vault);

/// Where an image reference of a note points, or why it is not attached.
struct ImageResolution
{
    /// The file to attach (its path with links resolved), when there is one.
    std::optional<QString> file;
    /// When there is no file: empty for an image that is simply not there (or remote), otherwise the
    /// reason ("outside the folder", "not a regular file", "permission denied").
    QString reason;
};

/// Resolves an image reference of a note. The first place where something exists decides: the
/// percent-decoded reference (or the reference itself when it does not decode) beside the note, then at
/// the vault root, then its last path component, lower-cased, in the image index (an entry whose file is
/// gone since the index was made is not there). Only a readable
/// regular file inside the vault (links and ".." resolved) is attached. Remote references (http://,
/// https://) never resolve; absolute paths and file: URLs are outside the folder.
ImageResolution resolveImage(
    const QString &ref, const QString &noteFolder, const QString &canonicalVault, const ImageIndex &index);

/// "title: reference" for an image not attached, with the reason in parentheses when there is one.
QString missingImageEntry(const QString &title, const QString &ref, const QString &reason);

/// Whether `canonicalPath` (links resolved) lies inside `canonicalVault` or is it.
bool isInsideVault(const QString &canonicalPath, const QString &canonicalVault);

} // namespace VaultScanner
