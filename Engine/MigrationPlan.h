#pragma once

#include "ScriptRunner.h"
#include "VaultScanner.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QVariantList>

#include <QCoro/QCoroTask>

#include <utility>

/// One note of a migration worked out in advance: where it goes in Notes, under which name, and what
/// becomes of its images, wiki links and tables.
struct PlannedNote
{
    Q_GADGET
    Q_PROPERTY(QString path MEMBER path)
    Q_PROPERTY(QStringList folder MEMBER folder)
    Q_PROPERTY(QString title MEMBER title)
    Q_PROPERTY(QString renamedFrom MEMBER renamedFrom)
    Q_PROPERTY(QStringList imagesAttached MEMBER imagesAttached)
    Q_PROPERTY(QList<std::pair<QString, QString>> imagesNotAttached MEMBER imagesNotAttached)
    Q_PROPERTY(QStringList wikilinks MEMBER wikilinks)
    Q_PROPERTY(bool hasTables MEMBER hasTables)
    Q_PROPERTY(QString failure MEMBER failure)
    Q_PROPERTY(QString inNotes MEMBER inNotes)

public:
    /// The values of inNotes.
    static inline const QString willBeCreated = QStringLiteral("new");
    static inline const QString alreadyInNotes = QStringLiteral("exists");
    static inline const QString notChecked = QStringLiteral("unknown");

    /// The Markdown file, relative to the vault.
    QString path;
    /// The Notes folder the note goes to, from the top: "Imported by Velloran", then the subfolder (its
    /// name flattened with " ▸ ") unless the note sits at the vault's root.
    QStringList folder;
    /// The note's name in Notes, numbered when another note of that name goes to the same folder.
    QString title;
    /// The name the note would have had without the number; empty when it keeps its own.
    QString renamedFrom;
    /// The image files to attach, relative to the vault, in the order the body names them.
    QStringList imagesAttached;
    /// (reference as written, why it is not attached) per image that is not.
    QList<std::pair<QString, QString>> imagesNotAttached;
    /// The wiki links, which become underlined text.
    QStringList wikilinks;
    bool hasTables = false;
    /// Why the note cannot be made ("Couldn't read the file"); empty when it can.
    QString failure;
    /// "new" (it will be created), "exists" (a note of that name is already in its folder: it will be
    /// skipped) or "unknown" (Apple Notes could not be read; see MigrationPlan::unknownReason).
    QString inNotes;

    friend bool operator==(const PlannedNote &, const PlannedNote &) = default;
};

/// What a migration of a scanned folder will do, note by note, in the order it makes them. Working it
/// out creates nothing, neither in Notes nor on disk.
struct MigrationPlan
{
    Q_GADGET
    Q_PROPERTY(QVariantList notes READ noteList)
    Q_PROPERTY(QList<std::pair<QString, QString>> unreadable MEMBER unreadable)
    Q_PROPERTY(bool notesChecked MEMBER notesChecked)
    Q_PROPERTY(QString unknownReason MEMBER unknownReason)

public:
    QList<PlannedNote> notes;
    /// (path relative to the vault, reason) per file or folder the scan could not read: the migration
    /// lists each as failed.
    QList<std::pair<QString, QString>> unreadable;
    /// Apple Notes was read to tell which notes already exist.
    bool notesChecked = false;
    /// Why Apple Notes could not be read; empty when it was, or when it was not asked.
    QString unknownReason;

    /// The notes, each as a PlannedNote in a QVariant.
    QVariantList noteList() const;
    /// How many notes that can be made have `inNotes` as their presence in Notes.
    qint64 count(const QString &inNotes) const;
    /// How many notes cannot be made (their file can no longer be read).
    qint64 failing() const;
};

/// Works out a migration without running it. Only reads: the vault's files, and Apple Notes through the
/// read programs.
namespace MigrationPlanner {

/// The plan of migrating `analysis`, scanned from `vault`, without asking Notes: every note's presence in
/// Notes is "unknown". Reads each note's file as the migration will. Blocking; safe on any thread.
MigrationPlan plan(const VaultAnalysis &analysis, const QUrl &vault);

/// The names of the notes already in the Notes folders that `plan`'s notes go to: by subfolder name, the
/// empty name standing for "Imported by Velloran" itself. Only those folders are read; one that does not
/// exist yet holds none. Throws the read programs' errors (ExportError, FileSystemError, LaunchError,
/// RunStopped).
QCoro::Task<QHash<QString, QSet<QString>>> namesInDestination(ScriptRunner::Context context, MigrationPlan plan);

/// Marks each note of `plan` as new or existing after `names` (see namesInDestination).
void markExisting(MigrationPlan &plan, const QHash<QString, QSet<QString>> &names);

/// The whole plan: worked out off the calling thread, then checked against Apple Notes. Never throws:
/// when Notes cannot be read, every note stays "unknown" and `unknownReason` says why. `stop`, when
/// given, ends the check early, with the same outcome.
QCoro::Task<MigrationPlan> planChecked(VaultAnalysis analysis, QUrl vault, ScriptRunner::StopSignal *stop = nullptr);

} // namespace MigrationPlanner
