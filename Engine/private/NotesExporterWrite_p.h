#pragma once

#include "NotesExporter.h"

#include <QByteArray>
#include <QHash>
#include <QSet>
#include <QString>

#include <functional>
#include <optional>
#include <utility>

// Helpers of the export writer, declared here so that tests can reach them.
namespace NotesExporter {

/// The longest file or folder name most file systems take, in bytes of UTF-8.
inline constexpr qsizetype maxNameBytes = 255;

/// Creates the folder `path` with any missing parent folders; an existing folder is fine. Gives the
/// system's description of the failure, if there is one.
std::optional<QString> createFolder(const QString &path);

/// The longest start of `text` that takes at most `maxBytes` bytes of UTF-8, cut between two
/// user-perceived characters; when even the first one is longer, cut between two code points instead.
QString cutToUtf8Bytes(const QString &text, qsizetype maxBytes);

/// The file name (without ".md") that try number `counter` gives for `base`: `base` itself for 1, then
/// "base (2)", "base (3)", ... `base` is cut so that the name with its number and ".md" fits in
/// maxNameBytes.
QString candidateName(const QString &base, qint64 counter);

/// The names given out in one run: per subfolder, the names in lower case and without extension, and per
/// (subfolder, base name) the next number to try, so that many notes of one name do not probe the same
/// names again and again.
class RunNames
{
public:
    bool isGiven(const QString &folder, const QString &candidate) const;
    /// The number to start from for `base` in `folder` (1 when nothing was given out for it yet).
    qint64 firstCounter(const QString &folder, const QString &base) const;
    /// Records that try `counter` for `base` in `folder` gave the name `candidate`.
    void give(const QString &folder, const QString &base, const QString &candidate, qint64 counter);

private:
    QHash<QString, QSet<QString>> m_given;
    QHash<std::pair<QString, QString>, qint64> m_next;
};

/// How a new file takes its final name, without ever replacing what is there.
enum class ClaimMethod {
    /// Write a private temporary file in the folder, then link it to the final name (which fails when
    /// anything, even a dangling symbolic link, has that name) and remove the temporary name.
    hardLink,
    /// For file systems without hard links: create the final name exclusively, without following a
    /// symbolic link, and write into it; a failed write removes it again.
    exclusiveCreate,
};

/// The outcome of writing one new file.
struct NewFile
{
    /// The name given (without ".md"); empty when the write failed.
    QString name;
    /// The system's description of the failure; empty when the file was written.
    QString error;
};

/// The file name (with its extension) that try number `counter` gives for a new file, or nothing to pass
/// over that number.
using CandidateName = std::function<std::optional<QString>(qint64 counter)>;

/// The outcome of claiming a name for one new file.
struct ClaimedFile
{
    /// The file name taken, with its extension; empty when the write failed.
    QString fileName;
    /// The try that gave it.
    qint64 counter = 0;
    /// The system's description of the failure; empty when the file was written.
    QString error;
};

/// Writes `bytes` as a new file in `folder` under the first name that `candidate` gives, from try
/// `firstCounter` on, that nothing in the folder has: the way writeNewFile writes a note, for any kind
/// of file. Never replaces anything and never writes through a symbolic link; a failure leaves no file
/// behind. `method` is as for writeNewFile.
ClaimedFile claimNewFile(const QString &folder, qint64 firstCounter, const CandidateName &candidate,
    const QByteArray &bytes, ClaimMethod &method);

/// Writes `bytes` as a new file `folder/<name>.md`, where name is the first candidate for `base` (see
/// candidateName) that is neither given out in this run nor present in the folder, and records it in
/// `names`. Every write is checked and flushed to the disk; a failure leaves no file behind, neither
/// the temporary one nor a partial one. When the folder's file system has no hard links, `method`
/// becomes exclusiveCreate, for this note and for the caller to keep.
NewFile writeNewFile(
    const QString &folder, const QString &base, const QByteArray &bytes, RunNames &names, ClaimMethod &method);

/// The subfolder of the destination that a note goes into: its Notes folder's name, sanitised ("Notes"
/// when it has none).
QString subfolderOf(const NoteRecord &note);
/// The name a note's file is made from: its name, sanitised ("Untitled" when nothing is left).
QString baseNameOf(const NoteRecord &note);

/// The text of one exported file: a "# " heading with the note's name, an empty line, the Markdown and
/// a final line feed.
QString fileContent(const QString &noteName, const QString &markdown);

} // namespace NotesExporter
