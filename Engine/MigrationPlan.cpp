#include "MigrationPlan.h"

#include "Errors.h"
#include "Migrator.h"
#include "NotesExporter.h"
#include "Presentation.h"
#include "VaultScanner_p.h"

#include <QCoreApplication>
#include <QDir>
#include <QtConcurrent>

#include <QCoro/QCoroFuture>

#include <algorithm>
#include <exception>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

/// The Notes subfolder a note goes to; empty for the root folder, as the migration places it.
QString subfolderOf(const VaultAnalysis::Note &note)
{
    const QString key = note.relativeFolder.join(u'/');
    return key.isEmpty() ? QString() : Migrator::subfolderName(key);
}

/// The Notes subfolder a planned note goes to; empty for the root folder.
QString subfolderOf(const PlannedNote &note)
{
    return note.folder.size() > 1 ? note.folder.last() : QString();
}

PlannedNote planNote(const VaultAnalysis::Note &note, const QUrl &vault, const QDir &vaultDir, const QDir &canonical)
{
    PlannedNote planned;
    planned.path = vaultDir.relativeFilePath(note.fileURL.toLocalFile());
    planned.folder = QStringList { Migrator::rootFolderName };
    if (const QString subfolder = subfolderOf(note); !subfolder.isEmpty())
        planned.folder.append(subfolder);
    planned.title = note.title;
    if (note.titleRenamed)
        planned.renamedFrom = VaultScanner::titleOf(note.fileURL);
    planned.wikilinks = note.wikilinks;
    planned.hasTables = note.hasTables;
    planned.inNotes = PlannedNote::notChecked;
    // The note is prepared exactly as the migration prepares it, so that both agree about every image.
    const std::optional<VaultScanner::PreparedNote> prepared = VaultScanner::prepare(note, vault);
    if (!prepared) {
        planned.failure = QCoreApplication::translate("Velloran", "Couldn't read the file");
        return planned;
    }
    for (const QString &file : prepared->attachments)
        planned.imagesAttached.append(canonical.relativeFilePath(file));
    planned.imagesNotAttached = prepared->imagesNotAttached;
    return planned;
}

/// The names of the notes of one folder, read by its id (or by its name when Notes gave no ids). A folder
/// that cannot be read is the check's failure.
QCoro::Task<QSet<QString>> noteNames(ScriptRunner::Context context, NotesExporter::FolderEntry folder)
{
    NotesExporter::FolderRead read;
    if (folder.id.isEmpty()) {
        QCoro::Task<NotesExporter::FolderRead> reading = NotesExporter::readFolder(context, folder.name);
        read = co_await reading;
    } else {
        QCoro::Task<NotesExporter::FolderRead> reading = NotesExporter::readFolderById(context, folder.id);
        read = co_await reading;
    }
    if (!read.failure.isEmpty())
        throw NotesExporter::ExportError::scriptFailed(read.failure);
    QSet<QString> names;
    for (const NotesExporter::NoteRecord &record : std::as_const(read.notes))
        names.insert(record.name);
    co_return names;
}

/// Adds the note names of each wanted subfolder, read by its name alone.
QCoro::Task<> addNamesByFolderName(
    ScriptRunner::Context context, QSet<QString> wanted, QHash<QString, QSet<QString>> &names)
{
    for (const QString &subfolder : std::as_const(wanted)) {
        if (subfolder.isEmpty())
            continue;
        QCoro::Task<QSet<QString>> reading = noteNames(context, NotesExporter::FolderEntry { {}, subfolder, {}, {} });
        QSet<QString> found = co_await reading;
        names.insert(subfolder, std::move(found));
    }
}

} // namespace

QVariantList MigrationPlan::noteList() const
{
    return Presentation::variantList(notes);
}

qint64 MigrationPlan::count(const QString &inNotes) const
{
    return std::count_if(notes.cbegin(), notes.cend(),
        [&inNotes](const PlannedNote &note) { return note.failure.isEmpty() && note.inNotes == inNotes; });
}

qint64 MigrationPlan::failing() const
{
    return std::count_if(notes.cbegin(), notes.cend(), [](const PlannedNote &note) { return !note.failure.isEmpty(); });
}

namespace MigrationPlanner {

MigrationPlan plan(const VaultAnalysis &analysis, const QUrl &vault)
{
    MigrationPlan plan;
    const QDir vaultDir(vault.toLocalFile());
    // Attachments are resolved with links followed: they are named relative to the vault as resolved.
    const QDir canonical(VaultScanner::canonicalVaultPath(vault));
    plan.notes.reserve(analysis.notes.size());
    for (const VaultAnalysis::Note &note : analysis.notes)
        plan.notes.append(planNote(note, vault, vaultDir, canonical));
    plan.unreadable = analysis.unreadable;
    return plan;
}

QCoro::Task<QHash<QString, QSet<QString>>> namesInDestination(ScriptRunner::Context context, MigrationPlan plan)
{
    QSet<QString> wanted;
    for (const PlannedNote &note : std::as_const(plan.notes))
        wanted.insert(subfolderOf(note));
    QHash<QString, QSet<QString>> names;
    if (wanted.isEmpty())
        co_return names;
    QCoro::Task<QList<NotesExporter::FolderEntry>> listing = NotesExporter::listFolderDetails(context);
    const QList<NotesExporter::FolderEntry> folders = co_await listing;
    // Notes finds the root by name, the first folder of that name it lists; its subfolders are the
    // folders it holds, in its account.
    const auto root = std::find_if(folders.cbegin(), folders.cend(),
        [](const NotesExporter::FolderEntry &folder) { return folder.name == Migrator::rootFolderName; });
    if (root == folders.cend())
        co_return names;
    if (wanted.contains(QString())) {
        QCoro::Task<QSet<QString>> reading = noteNames(context, *root);
        QSet<QString> found = co_await reading;
        names.insert(QString(), std::move(found));
    }
    if (root->id.isEmpty()) {
        // A Notes that gives folder names only: each subfolder is read by its name.
        QCoro::Task<> reading = addNamesByFolderName(context, wanted, names);
        co_await reading;
        co_return names;
    }
    for (const NotesExporter::FolderEntry &folder : folders) {
        const bool inRoot = folder.parent == Migrator::rootFolderName && folder.account == root->account;
        // Of two subfolders of one name, Notes finds the first.
        if (!inRoot || !wanted.contains(folder.name) || names.contains(folder.name))
            continue;
        QCoro::Task<QSet<QString>> reading = noteNames(context, folder);
        QSet<QString> found = co_await reading;
        names.insert(folder.name, std::move(found));
    }
    co_return names;
}

void markExisting(MigrationPlan &plan, const QHash<QString, QSet<QString>> &names)
{
    plan.notesChecked = true;
    plan.unknownReason.clear();
    for (PlannedNote &note : plan.notes) {
        // Notes finds a note by its exact name within its folder, as the migration's create program does.
        note.inNotes = names.value(subfolderOf(note)).contains(note.title) ? PlannedNote::alreadyInNotes
                                                                           : PlannedNote::willBeCreated;
    }
}

QCoro::Task<MigrationPlan> planChecked(VaultAnalysis analysis, QUrl vault, ScriptRunner::StopSignal *stop)
{
    QFuture<MigrationPlan> planning = QtConcurrent::run([analysis, vault] { return plan(analysis, vault); });
    MigrationPlan result = co_await planning;
    try {
        // One private folder holds the read programs, and goes when the check ends.
        ScriptRunner::RunFolder folder;
        QCoro::Task<QHash<QString, QSet<QString>>> reading
            = namesInDestination(ScriptRunner::Context { &folder, stop }, result);
        const QHash<QString, QSet<QString>> names = co_await reading;
        markExisting(result, names);
    } catch (const std::exception &error) {
        result.unknownReason = errorDescription(error);
    }
    co_return result;
}

} // namespace MigrationPlanner
