#pragma once

#include "Errors.h"
#include "ScriptRunner.h"

#include <QDateTime>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QVariant>

#include <QCoro/QCoroTask>

#include <functional>
#include <optional>
#include <utility>

/// Reading notes out of Apple Notes and writing them as Markdown files.
///
/// Every exchange with Notes is an AppleScript program run through osascript (see NotesExporter_p.h for
/// the runner and the programs). The operations here block the calling thread; the export controller
/// calls them from background tasks.
namespace NotesExporter {

/// One note read from Notes: its folder's name, its name ("(untitled)" when Notes could not give it),
/// and its HTML body as Notes gives it.
struct NoteRecord
{
    QString folder;
    QString name;
    QString html;
    /// Notes' id of the note, and its creation and modification dates; empty unless the folder was read
    /// with the program that also gives them (an export that keeps dates, updates or links notes).
    QString id {};
    QDateTime created {};
    QDateTime modified {};

    friend bool operator==(const NoteRecord &, const NoteRecord &) = default;
};

/// One Notes folder as the folder list gives it.
struct FolderEntry
{
    /// Notes' id of the folder; empty when the folder list came from the plain list program, which
    /// gives names only.
    QString id {};
    QString name;
    /// The name of the folder's account; empty when not known.
    QString account;
    /// The name of the folder that holds it; empty for a top-level folder, or when not known.
    QString parent;

    friend bool operator==(const FolderEntry &, const FolderEntry &) = default;
};

/// A failure of the read side's script runner.
class ExportError : public ScriptError
{
public:
    /// The script runner exited with a non-zero status; `message` is its trimmed standard error.
    static ExportError scriptFailed(QString message) { return ExportError(std::move(message)); }

private:
    using ScriptError::ScriptError;
};

/// What updating a previous export came to.
struct UpdateSummary
{
    Q_GADGET
    Q_PROPERTY(QStringList updated MEMBER updated)
    Q_PROPERTY(qint64 unchanged MEMBER unchanged)
    Q_PROPERTY(QList<std::pair<QString, QString>> keptEdits MEMBER keptEdits)
    Q_PROPERTY(QStringList gone MEMBER gone)

    friend bool operator==(const UpdateSummary &, const UpdateSummary &) = default;

public:
    /// The files (relative to the destination) rewritten in place with a note's new version.
    QStringList updated;
    /// The notes whose files already held what this export would write; they were left alone.
    qint64 unchanged = 0;
    /// One (edited file, new file) pair per note that changed in Notes while its file was edited since
    /// the last export: the edited file was left alone and the new version written beside it.
    QList<std::pair<QString, QString>> keptEdits;
    /// The files of notes that the last export wrote and that are no longer in their Notes folder; left
    /// alone.
    QStringList gone;
};

/// The outcome of one export run.
struct Result
{
    Q_GADGET
    Q_PROPERTY(qint64 written MEMBER written)
    Q_PROPERTY(QList<std::pair<QString, QString>> failed MEMBER failed)
    /// The subfolder names, sorted.
    Q_PROPERTY(QStringList folders READ folderList WRITE setFolderList)
    Q_PROPERTY(bool stopped MEMBER stopped)
    /// An UpdateSummary when the export updated a previous one; undefined (and left out of JSON) otherwise.
    Q_PROPERTY(QVariant update READ updateValue)
    /// true when the dates were asked for and this Notes does not give them; otherwise undefined.
    Q_PROPERTY(QVariant datesUnavailable READ datesUnavailableValue)
    // Each of these is left out of JSON (an invalid QVariant) unless the export was asked for it.
    Q_PROPERTY(QVariant imagesSaved READ imagesSavedValue)
    Q_PROPERTY(QVariant imagesKeptInline READ imagesKeptInlineValue)
    Q_PROPERTY(QVariant linksOutsideExport READ linksOutsideExportValue)

public:
    qint64 written = 0;
    /// One (note name, "(destination)" or "(folder NAME)", reason) pair per note or folder that was not
    /// written whole.
    QList<std::pair<QString, QString>> failed;
    /// The (sanitised) names of the subfolders that notes were placed in.
    QSet<QString> folders;
    /// The run was stopped before its end: the result covers what was done until then.
    bool stopped = false;
    /// What updating a previous export did; only when the export was asked to update one.
    std::optional<UpdateSummary> update = std::nullopt;
    /// The dates were asked for, but this Notes does not give them: the files were written without.
    bool datesUnavailable = false;

    QVariant updateValue() const { return update ? QVariant::fromValue(*update) : QVariant(); }
    QVariant datesUnavailableValue() const { return datesUnavailable ? QVariant(true) : QVariant(); }

    QStringList folderList() const
    {
        QStringList sorted = folders.values();
        sorted.sort();
        return sorted;
    }
    void setFolderList(const QStringList &list) { folders = QSet<QString>(list.cbegin(), list.cend()); }

    /// The export saved images as files: imagesSaved and imagesKeptInline tell how that went.
    bool imagesAsFiles = false;
    /// The image files written.
    qint64 imagesSaved = 0;
    /// One (note name, reason) pair per image that stayed inline in its note.
    QList<std::pair<QString, QString>> imagesKeptInline {};
    /// The export turned links between notes into wiki links: linksOutsideExport tells which could not be.
    bool linksBetweenNotes = false;
    /// One (note name, link target) pair per link to a note that is not part of the export, kept as it was.
    QList<std::pair<QString, QString>> linksOutsideExport {};

    QVariant imagesSavedValue() const { return imagesAsFiles ? QVariant(imagesSaved) : QVariant(); }
    QVariant imagesKeptInlineValue() const
    {
        return imagesAsFiles ? QVariant::fromValue(imagesKeptInline) : QVariant();
    }
    QVariant linksOutsideExportValue() const
    {
        return linksBetweenNotes ? QVariant::fromValue(linksOutsideExport) : QVariant();
    }
};

/// What an export does beyond writing each note's Markdown as it comes. Everything is off unless asked
/// for, and an export without options writes exactly what it always has.
struct ExportOptions
{
    /// Each `data:` image is written once as a file in an "attachments" subfolder of the note's folder,
    /// and the Markdown refers to it by relative path, instead of holding it inline.
    bool imagesAsFiles = false;
    /// The note's creation and modification dates as YAML frontmatter, and as the file's modification time.
    bool dates = false;
    /// A link to another note becomes a wiki link to that note's exported file.
    bool noteLinks = false;
    /// Notes' Title and Heading paragraphs become Markdown headings.
    bool headings = false;
    /// A previous export into the same folder is updated in place instead of written beside.
    bool update = false;

    /// Links between notes are rewritten when asked for, and whenever images or dates are kept: such an
    /// export is meant to be lived in.
    bool linksBetweenNotes() const { return noteLinks || imagesAsFiles || dates; }
    /// The notes must be read with their ids and dates.
    bool needsIdsAndDates() const { return dates || update || linksBetweenNotes(); }

    friend bool operator==(const ExportOptions &, const ExportOptions &) = default;
};

/// Called before each note with i/n and the note's name, and once at the end with 1.0 and "".
using ProgressCallback = std::function<void(double fraction, const QString &noteName)>;

/// The names of the Notes folders, sorted locale-aware and case-insensitively (stable; duplicates kept).
/// Throws ExportError, FileSystemError or LaunchError.
QStringList listFolders();

/// Every note of the named folders, in folder order. No list, or an empty one, means all folders.
/// Folders that fail are skipped silently as long as one folder was read; when every folder fails, the
/// last folder's error is thrown.
QList<NoteRecord> readNotes(const std::optional<QStringList> &folders = std::nullopt);

/// What reading one folder came to: its notes, or why it could not be read.
struct FolderRead
{
    QList<NoteRecord> notes;
    /// The description of the failure; empty when the folder was read.
    QString failure;
    /// The program did not compile (osascript's -2740 or -2741): this Notes lacks a term it uses.
    bool notCompiled = false;
};

// Without blocking: the scripts go into the context's run folder, and its stop signal ends them (they
// then throw RunStopped).
/// The folder names, sorted as listFolders() sorts them. Throws as listFolders() does.
QCoro::Task<QStringList> listFolders(ScriptRunner::Context context);
/// One folder's notes. A failed script is the read's failure; only RunStopped is thrown.
QCoro::Task<FolderRead> readFolder(ScriptRunner::Context context, QString folder);
/// Every folder with its id, account and parent, sorted as listFolders() sorts names (folders of the same
/// name keep the order in which Notes listed them). When this Notes cannot compile the program that
/// gives them, the plain folder list is read instead: the entries then hold names only, and folders
/// of the same name cannot be told apart. Throws as listFolders() does.
QCoro::Task<QList<FolderEntry>> listFolderDetails(ScriptRunner::Context context);
/// The notes of the folder with the id `id`, whose bodies hold no separator. A folder that no longer
/// exists is a failure. Throws only RunStopped.
QCoro::Task<FolderRead> readFolderById(ScriptRunner::Context context, QString id);

/// What readFolderById gives, with each note's id and its creation and modification dates (local time,
/// null when Notes gives none). When this Notes cannot compile the program that gives them, the read's
/// notCompiled is set. Throws only RunStopped.
QCoro::Task<FolderRead> readFolderWithDates(ScriptRunner::Context context, QString id);

/// For a body that the read program replaced with its could-not-read explanation, the reason it gives.
std::optional<QString> unreadableBodyReason(const QString &html);

/// Asked before each note, from the writer's thread: true ends the run there, as if the notes ended.
using StopCheck = std::function<bool()>;

/// Converts each record's body to Markdown and writes one .md file per note into `to`, one subfolder per
/// Notes folder, never overwriting a file and never writing through a symbolic link, also when another
/// export writes into the same folder at the same time. A note whose write fails (a full disk, a quota, an
/// I/O error) leaves no file and is not counted as written. Never throws: every problem is an entry of
/// Result::failed.
/// `shouldStop`, when given, lets a caller end the run after the note being written.
/// When the notes carry their ids, the export is recorded in `to`/.velloran/export.json (see
/// ExportManifest.h), which `options.update` uses to update the files of an earlier export instead of
/// writing new ones beside them. `foldersRead` names the subfolders whose Notes folders were read whole
/// (all the notes' folders when empty): a recorded note of one of them that is not among `notes` is gone.
Result exportNotes(const QList<NoteRecord> &notes, const QUrl &to, const ProgressCallback &progress = {},
    const StopCheck &shouldStop = {}, const ExportOptions &options = {}, const QStringList &foldersRead = {});

/// A text safe as one file or folder name; may be empty.
QString sanitizeFilename(const QString &name);

} // namespace NotesExporter
