#pragma once

#include <QList>
#include <QString>

#include <optional>

namespace Files {

/// A file read as text, or why it could not be: a short user-facing reason such as "not UTF-8 text",
/// "permission denied" or "not a regular file".
struct TextRead
{
    QString text;
    /// Empty when the file was read.
    QString failure;

    bool ok() const { return failure.isEmpty(); }
};

/// Reads a regular file as UTF-8 text (a leading byte-order mark is not part of the text). Anything that
/// is not a regular file once its links are followed (a folder, a FIFO, a device) is never opened, so a
/// FIFO cannot make the read wait and /dev/zero cannot fill the memory.
TextRead readText(const QString &path);

/// The same, without the reason.
std::optional<QString> readUtf8(const QString &path);

/// What one entry of a folder is, without following a symbolic link.
enum class EntryType : quint8 { file, folder, symbolicLink, other };

struct Entry
{
    QString name;
    EntryType type = EntryType::other;
};

/// Writes `bytes` to a new file at `path` (never over an existing file, never through a link) without
/// syncing it to disk: for temporary files that live only as long as one run. Gives the system's text when
/// it fails, after removing what it made. Not QSaveFile, which syncs every file it commits and replaces
/// whatever stands at the path, nor QTemporaryFile, which picks its own name: a run's files carry the run's
/// UUID in their names, and a file that is already there is an error, never overwritten.
std::optional<QString> writeNewFile(const QString &path, const QByteArray &bytes);

/// A folder's entries (not "." and ".."), sorted by name in code-unit order so that every listing of the
/// same folder comes in the same order, or why the folder could not be listed.
struct Listing
{
    QList<Entry> entries;
    /// Empty when the folder was listed.
    QString failure;

    bool ok() const { return failure.isEmpty(); }
};
Listing listFolder(const QString &path);

/// The user-facing reason for a system error number ("permission denied", "path too long", ...).
QString reasonForError(int error);

} // namespace Files
