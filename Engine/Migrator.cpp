#include "Migrator.h"

#include "Counters.h"
#include "Errors.h"
#include "Files.h"
#include "NotesBridge.h"
#include "ScriptRunner.h"
#include "VaultScanner.h"

#include <QCoreApplication>
#include <QFile>
#include <QHash>
#include <QPointer>
#include <QThread>
#include <QtConcurrent>

#include <QCoro/QCoroFuture>

#include <algorithm>
#include <exception>

using namespace Qt::StringLiterals;

namespace {

/// Writes `html` as UTF-8 to a fresh "velloran-body-UUID.html" in the run's folder. Gives the file's path,
/// or throws FileSystemError with the system's text. The file lives only until its note is made, so it is
/// not synced to disk.
QString writeBodyFile(const ScriptRunner::RunFolder &folder, const QString &html)
{
    const QString path = folder.newFilePath(u"velloran-body-", u".html");
    if (const std::optional<QString> failure = Files::writeNewFile(path, html.toUtf8()))
        throw FileSystemError(*failure);
    return path;
}

/// Folder paths in plain (code-point) order, as the subfolders are ensured.
QStringList sortedFolders(const QSet<QString> &folders)
{
    QStringList sorted = folders.values();
    std::sort(sorted.begin(), sorted.end(), [](const QString &a, const QString &b) {
        return std::lexicographical_compare(a.cbegin(), a.cend(), b.cbegin(), b.cend(), [](QChar x, QChar y) {
            // Surrogates sort after the rest of the BMP, so that UTF-16 order equals code-point order.
            const auto key = [](QChar c) { return c.isSurrogate() ? c.unicode() + 0x10000u : c.unicode() + 0u; };
            return key(x) < key(y);
        });
    });
    return sorted;
}

/// Makes the run's private folder in `folder`. When it cannot be made, the reason is the setup failure.
bool makeRunFolder(std::optional<ScriptRunner::RunFolder> &folder, Migrator::Report &report)
{
    try {
        folder.emplace();
        return true;
    } catch (const std::exception &error) {
        report.notesFailed.append({ QCoreApplication::translate("Velloran", "(setup)"), errorDescription(error) });
        return false;
    }
}

/// How ensuring the root folder ended.
enum class RootFolder : quint8 { ensured, failed, stopped };

/// Ensures "Imported by Velloran": without it nothing else can be created. A failure is the setup failure
/// of the report.
QCoro::Task<RootFolder> ensureRootFolder(ScriptRunner::Context context, Migrator::Report &report)
{
    try {
        QCoro::Task<> ensuring = NotesBridge::ensureFolder(context, Migrator::rootFolderName);
        co_await ensuring;
        co_return RootFolder::ensured;
    } catch (const RunStopped &stopped) {
        // Notes did not answer the first script (an Automation prompt left open, say): nothing was made.
        report.notesFailed.append({ QCoreApplication::translate("Velloran", "(setup)"), stopped.errorDescription() });
        co_return RootFolder::stopped;
    } catch (const std::exception &error) {
        report.notesFailed.append({ QCoreApplication::translate("Velloran", "(setup)"), errorDescription(error) });
        co_return RootFolder::failed;
    }
}

/// Ensures the subfolders, one level deep, in plain order of their paths; a deeper path is flattened into
/// one name. Gives the Notes name of every path whose subfolder was ensured. A subfolder that cannot be
/// made is a failure of the report, and its notes go to the root. Ends at a stop request, or when the
/// controller (`owner`) goes away.
QCoro::Task<QHash<QString, QString>> ensureSubfolders(
    ScriptRunner::Context context, QSet<QString> folders, Migrator::Report &report, QPointer<Migrator> owner)
{
    QHash<QString, QString> subfolders;
    for (const QString &path : sortedFolders(folders)) {
        if (context.stop->isRequested())
            break;
        const QString name = Migrator::subfolderName(path);
        if (path.contains(u'/'))
            report.foldersFlattened.append(path);
        try {
            QCoro::Task<> ensuring = NotesBridge::ensureSubfolder(context, Migrator::rootFolderName, name);
            co_await ensuring;
            subfolders.insert(path, name);
        } catch (const RunStopped &) {
            break;
        } catch (const std::exception &error) {
            report.notesFailed.append(
                { QCoreApplication::translate("Velloran", "(folder %1)").arg(path), errorDescription(error) });
        }
        if (!owner)
            break;
    }
    co_return subfolders;
}

/// A note made ready off the main thread: prepared, and its body written to a file of the run.
struct ReadyNote
{
    /// Nothing when the note's file could not be read.
    std::optional<VaultScanner::PreparedNote> prepared;
    /// The body file; empty when it could not be written.
    QString bodyPath;
    /// Why the body file could not be written.
    QString failure;
};

/// Prepares a note and writes its body file: the file work of one note, safe on any thread.
ReadyNote makeReady(const ScriptRunner::RunFolder &folder, const VaultAnalysis::Note &note, const QUrl &vault)
{
    ReadyNote ready;
    ready.prepared = VaultScanner::prepare(note, vault);
    if (!ready.prepared)
        return ready;
    try {
        ready.bodyPath = writeBodyFile(folder, ready.prepared->html);
    } catch (const std::exception &error) {
        ready.failure = errorDescription(error);
    }
    return ready;
}

/// Where a note goes: its subfolder (none for the root) and whether it lands in the root only because its
/// folder could not be made.
struct Placement
{
    std::optional<QString> subfolder;
    bool misfiled = false;
};

Placement placementOf(const QString &key, const QHash<QString, QString> &subfolders)
{
    if (key.isEmpty())
        return {};
    if (const auto found = subfolders.constFind(key); found != subfolders.cend())
        return { *found, false };
    // Its folder failed, or was never in the analysis.
    return { std::nullopt, true };
}

/// Counts a note that Notes created (true) or already had (false).
void countCreated(Migrator::Report &report, const VaultAnalysis::Note &note, bool created, const QString &key,
    bool misfiled, qsizetype attachments)
{
    if (!created) {
        // It already existed: nothing else about it is counted.
        addChecked(report.notesSkipped);
        return;
    }
    addChecked(report.imagesAttached, attachments);
    addChecked(report.wikilinksDegraded, note.wikilinks.size());
    // A misfiled note is counted only as misfiled, never also as created.
    if (misfiled)
        report.notesMisfiled.append({ note.title, key });
    else
        addChecked(report.notesCreated);
}

/// Migrates one note: prepares it off this thread, then creates it in its folder, counting the outcome in
/// `report`. Nothing here touches the controller, so a note once begun is carried to its end even when the
/// controller goes away meanwhile; the caller starts no other.
QCoro::Task<> migrateNote(ScriptRunner::Context context, const VaultAnalysis::Note &note, QUrl vault,
    const QHash<QString, QString> &subfolders, Migrator::Report &report)
{
    const ScriptRunner::RunFolder *folder = context.folder;
    QFuture<ReadyNote> preparing = QtConcurrent::run([folder, note, vault] { return makeReady(*folder, note, vault); });
    const ReadyNote ready = co_await preparing;
    if (!ready.prepared) {
        report.notesFailed.append({ note.title, QCoreApplication::translate("Velloran", "Couldn't read the file") });
        co_return;
    }
    report.imagesMissing += ready.prepared->imagesMissing;
    if (ready.bodyPath.isEmpty()) {
        report.notesFailed.append({ note.title, ready.failure });
        co_return;
    }

    const QString key = note.relativeFolder.join(u'/');
    const Placement placement = placementOf(key, subfolders);
    // One note at a time; the interface stays free while Notes works.
    std::optional<bool> created;
    QString failure;
    try {
        QCoro::Task<bool> creating = NotesBridge::createNote(context, Migrator::rootFolderName, placement.subfolder,
            note.title, ready.bodyPath, ready.prepared->attachments);
        created = co_await creating;
    } catch (const std::exception &error) {
        failure = errorDescription(error);
    }
    QFile::remove(ready.bodyPath); // a failed removal is ignored
    if (created)
        countCreated(report, note, *created, key, placement.misfiled, ready.prepared->attachments.size());
    else
        report.notesFailed.append({ note.title, failure });
}

} // namespace

Migrator::Migrator(QObject *parent)
    : RunProgress(parent)
{ }

Migrator::~Migrator() = default;

void Migrator::setReport(std::optional<Report> report)
{
    // Every run's end is announced, even when its report equals the last one.
    m_report = std::move(report);
    emit reportChanged();
}

QVariant Migrator::reportValue() const
{
    return m_report ? QVariant::fromValue(*m_report) : QVariant();
}

void Migrator::requestStop()
{
    if (m_stop)
        m_stop->request();
}

QCoro::Task<> Migrator::migrate(VaultAnalysis analysis, QUrl vault)
{
    Q_ASSERT(QThread::currentThread() == thread());
    // The run may outlive the controller while a script is in flight: every resumption checks it first.
    const QPointer<Migrator> self(this);
    ScriptRunner::StopSignal stop(m_stopGrace);
    m_stop = &stop;
    setRunning(true);
    setProgress(0);

    Report report;
    // Publishes the report. A run that ends before it has begun (its root folder not made) leaves the
    // progress and the current note alone.
    const auto end = [&](bool begun) {
        m_stop = nullptr;
        if (begun) {
            report.stopped = stop.isRequested();
            setProgress(1.0);
            setCurrentNote(QString());
        }
        setRunning(false);
        setReport(std::move(report));
    };

    // One private folder holds this run's scripts and note bodies, and goes with the run.
    std::optional<ScriptRunner::RunFolder> folder;
    if (!makeRunFolder(folder, report)) {
        end(false);
        co_return;
    }
    const ScriptRunner::Context context { &*folder, &stop };

    QCoro::Task<RootFolder> ensuringRoot = ensureRootFolder(context, report);
    const RootFolder root = co_await ensuringRoot;
    if (!self)
        co_return;
    if (root != RootFolder::ensured) {
        // A root folder that Notes did not answer ends the run as a stop does.
        end(root == RootFolder::stopped);
        co_return;
    }

    // Files and folders the scan could not read are not lost without a word: each is a failure.
    for (const auto &[path, reason] : std::as_const(analysis.unreadable))
        report.notesFailed.append({ path, reason });

    QCoro::Task<QHash<QString, QString>> ensuring = ensureSubfolders(context, analysis.folders, report, self);
    const QHash<QString, QString> subfolders = co_await ensuring;
    if (!self)
        co_return;

    const qsizetype total = analysis.notes.size();
    // A stop request ends the run after the note in flight; the report then covers what was done.
    for (qsizetype i = 0; i < total && !stop.isRequested(); ++i) {
        const VaultAnalysis::Note &note = analysis.notes.at(i);
        setCurrentNote(note.title);
        setProgress(double(i) / double(total));
        QCoro::Task<> migrating = migrateNote(context, note, vault, subfolders, report);
        co_await migrating;
        if (!self)
            co_return;
    }
    end(true);
}
