#pragma once

#include <QByteArray>
#include <QHash>
#include <QSet>
#include <QString>

#include "NotesExporter.h"

#include <QDateTime>
#include <QList>
#include <QStringList>

#include <memory>
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

/// Writes `bytes` as a new file `folder/<name>.md`, where name is the first candidate for `base` (see
/// candidateName) that is neither given out in this run nor present in the folder, and records it in
/// `names`. Every write is checked and flushed to the disk; a failure leaves no file behind, neither
/// the temporary one nor a partial one. When the folder's file system has no hard links, `method`
/// becomes exclusiveCreate, for this note and for the caller to keep.
NewFile writeNewFile(
    const QString &folder, const QString &base, const QByteArray &bytes, RunNames &names, ClaimMethod &method);

/// Writes `bytes` into a new temporary file in `folder` and renames it to `folder/fileName`, replacing the
/// file of that name at once: a reader sees the old file or the new one. A symbolic link of that name is
/// replaced itself, never written through. Gives the system's description of the failure, if there is one;
/// a failure leaves the old file as it was and no temporary file behind.
std::optional<QString> replaceFile(const QString &folder, const QString &fileName, const QByteArray &bytes);

/// The text of one exported file: a "# " heading with the note's name, an empty line, the Markdown and
/// a final line feed.
QString fileContent(const QString &noteName, const QString &markdown);

/// The YAML frontmatter that keeps a note's dates, to go before its heading: "---", "created: " and
/// "modified: " each with its date as ISO 8601 local time ("2024-03-01T09:30:00"), "---", each on a line
/// of its own. A date that Notes did not give is left out, and with neither there is none.
QByteArray datesFrontmatter(const NoteRecord &note);

/// Sets the modification time of the file at `path` (not of what a symbolic link there points to) to
/// `time`, to the second. A failure is ignored: the file itself is written.
void setModificationTime(const QString &path, const QDateTime &time);

/// Writes the notes of one export run, each as a new file, or, when the run updates a previous export,
/// over the file that export wrote for it; and keeps the record of the export (see ExportManifest.h)
/// whenever the notes carry their ids.
class RunWriter
{
public:
    RunWriter(const QString &destination, const QList<NoteRecord> &notes, const ExportOptions &options,
        const QStringList &foldersRead, Result &result);
    ~RunWriter();
    RunWriter(const RunWriter &) = delete;
    RunWriter &operator=(const RunWriter &) = delete;

    /// Why the run cannot start (the record of the export to update cannot be read); empty when it can.
    QString failure() const;
    /// Writes `bytes` for `note`, whose file goes into `subfolder` (at `folderPath`) named after `base`
    /// when it is new, and counts it in the result.
    void write(const NoteRecord &note, const QString &subfolder, const QString &folderPath, const QString &base,
        const QByteArray &bytes, RunNames &names, ClaimMethod &method);
    /// Lists the recorded notes gone from the folders read and writes the record. A run stopped before its
    /// end records what it wrote, and keeps the entries of the notes it did not reach.
    void finish();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace NotesExporter
