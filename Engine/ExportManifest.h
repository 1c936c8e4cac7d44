#pragma once

#include "NotesExporter.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>

#include <optional>

/// The record that an export keeps in its destination, `.velloran/export.json`, of the notes it wrote:
/// per note, its Notes id, its file (relative to the destination, "/"-separated), its modification date
/// in Notes and the SHA-256 of the bytes written. A later export that updates this one reads it to tell
/// which notes changed in Notes and which files were edited since.
///
///     { "notes": [ { "file": "Work/Plan.md", "id": "x-coredata://…/ICNote/p7",
///                    "modified": "2024-03-01T09:30:00", "sha256": "…" } ],
///       "version": 1 }
namespace ExportManifest {

/// One note as the export recorded it.
struct Entry
{
    QString id;
    QString file;
    QString modified;
    QString sha256;

    friend bool operator==(const Entry &, const Entry &) = default;
};

/// The record's path below a destination folder.
inline constexpr char16_t folderName[] = u".velloran";
inline constexpr char16_t fileName[] = u"export.json";

/// The hexadecimal SHA-256 of `bytes`, as the record keeps it.
QString digest(const QByteArray &bytes);

/// A note's date as the record and the file's frontmatter give it: local time to the second,
/// "2024-03-01T09:30:00"; empty for a null date.
QString dateText(const QDateTime &date);

/// The record in `destination`: empty when there is none. When it cannot be read or is not one, no
/// result and `error` says why.
std::optional<QList<Entry>> read(const QString &destination, QString *error);

/// Writes `entries` as the record in `destination`, replacing the last one atomically and never through
/// a symbolic link. Gives the description of the failure, if there is one.
std::optional<QString> write(const QString &destination, const QList<Entry> &entries);

/// The subfolder of a recorded file: its first path component.
QString subfolderOf(const Entry &entry);

} // namespace ExportManifest
