#include "Exporter.h"

#include "Errors.h"
#include "ScriptRunner.h"

#include <QCoreApplication>
#include <QHash>
#include <QPointer>
#include <QSet>
#include <QSettings>
#include <QThread>
#include <QtConcurrent>

#include <QCoro/QCoroFuture>

#include <algorithm>
#include <exception>
#include <functional>
#include <type_traits>
#include <variant>

using namespace Qt::StringLiterals;

namespace {

using NotesExporter::FolderEntry;

/// Each label once, in order: the screen's list, on which same-named folders listed without ids (which
/// share one label) appear once.
QStringList withoutRepeats(const QStringList &labels)
{
    QStringList unique;
    QSet<QString> seen;
    for (const QString &label : labels) {
        if (!seen.contains(label)) {
            seen.insert(label);
            unique.append(label);
        }
    }
    return unique;
}

/// The positions in `folders` of what `choice` stands for: the folder whose label it is, or else every
/// folder of that name.
QList<qsizetype> chosenBy(const QString &choice, const QList<FolderEntry> &folders, const QStringList &labels)
{
    QList<qsizetype> byLabel;
    QList<qsizetype> byName;
    for (qsizetype i = 0; i < folders.size(); ++i) {
        if (labels.at(i) == choice)
            byLabel.append(i);
        if (folders.at(i).name == choice)
            byName.append(i);
    }
    return byLabel.isEmpty() ? byName : byLabel;
}

/// What reading the chosen folders of an export gave.
struct FolderReads
{
    /// The notes read, each with the subfolder it is written into as its folder.
    QList<NotesExporter::NoteRecord> records;
    /// (label, reason) of each choice that found no folder and each folder that was not read.
    QList<std::pair<QString, QString>> failures;
    qsizetype reads = 0;
    qsizetype readsFailed = 0;
    std::optional<QString> lastReadFailure;
    /// Whether the notes are to be read with their ids and dates; cleared when this Notes cannot give them.
    bool withDates = false;
    /// Whether reading ends as soon as it turns out that this Notes does not give the notes' ids.
    bool refuseWithoutIds = false;
    /// The notes were to be read with their ids and dates, but this Notes does not give them.
    bool datesUnavailable = false;
    /// The subfolders whose Notes folders were read whole.
    QStringList subfoldersRead;
};

/// One folder read by its id: with the notes' ids and dates while `reads` asks for them and this Notes
/// gives them, otherwise without. Stops asking for them at the first sign that this Notes cannot.
QCoro::Task<NotesExporter::FolderRead> readById(ScriptRunner::Context context, QString id, FolderReads &reads)
{
    if (reads.withDates) {
        QCoro::Task<NotesExporter::FolderRead> reading = NotesExporter::readFolderWithDates(context, id);
        NotesExporter::FolderRead read = co_await reading;
        if (!read.notCompiled)
            co_return read;
        reads.withDates = false;
        reads.datesUnavailable = true;
    }
    QCoro::Task<NotesExporter::FolderRead> reading = NotesExporter::readFolderById(context, std::move(id));
    co_return co_await reading;
}

/// The positions, in list order and each once, of the listed folders that `selection` chooses: every
/// folder when it is empty. A choice that stands for no folder is a failure.
QList<qsizetype> chosenPositions(const QStringList &selection, const QList<FolderEntry> &listed,
    const QStringList &labels, QList<std::pair<QString, QString>> &failures)
{
    QList<qsizetype> chosen;
    if (selection.isEmpty()) {
        for (qsizetype i = 0; i < listed.size(); ++i)
            chosen.append(i);
        return chosen;
    }
    QSet<qsizetype> picked;
    for (const QString &choice : selection) {
        const QList<qsizetype> found = chosenBy(choice, listed, labels);
        if (found.isEmpty())
            failures.append({ QCoreApplication::translate("Velloran", "(folder %1)").arg(choice),
                QCoreApplication::translate("Velloran", "no such folder in Apple Notes") });
        for (const qsizetype i : found)
            picked.insert(i);
    }
    chosen = picked.values();
    std::sort(chosen.begin(), chosen.end());
    return chosen;
}

/// Whether the folder at `position` is the first of its name in the list: the one Notes gives by that name.
bool firstOfItsName(const QList<FolderEntry> &listed, qsizetype position)
{
    const QString &name = listed.at(position).name;
    return std::find_if(listed.cbegin(), listed.cend(), [&](const FolderEntry &other) { return other.name == name; })
        == listed.cbegin() + position;
}

/// Reads the chosen folders in turn into `reads`, by id while this Notes compiles the program that does
/// so, otherwise by name: of each name only the first folder can then be reached, and the others are
/// listed as not exported. A folder that cannot be read is a failure, listed by its label. The notes' ids
/// and dates are read too when `reads` asks for them (see readById); an update that cannot have them ends
/// the reading there. Ends at a stop request, or when the controller (`owner`) goes away.
QCoro::Task<> readFolders(ScriptRunner::Context context, const QList<FolderEntry> &listed, const QStringList &labels,
    const QList<qsizetype> &chosen, FolderReads &reads, QPointer<Exporter> owner)
{
    QList<FolderEntry> chosenFolders;
    for (const qsizetype i : chosen)
        chosenFolders.append(listed.at(i));
    const QStringList subfolders = Exporter::subfolderNames(chosenFolders);

    bool byId = !chosenFolders.isEmpty() && !chosenFolders.first().id.isEmpty();
    if (!byId && reads.withDates && !chosenFolders.isEmpty()) {
        // Without folder ids, the program that gives the notes' ids and dates cannot be used.
        reads.withDates = false;
        reads.datesUnavailable = true;
    }
    QSet<QString> readByName;
    for (qsizetype c = 0; c < chosen.size(); ++c) {
        if (context.stop->isRequested())
            break;
        const FolderEntry &entry = listed.at(chosen.at(c));
        const QString label = QCoreApplication::translate("Velloran", "(folder %1)").arg(labels.at(chosen.at(c)));
        NotesExporter::FolderRead read;
        bool done = false;
        if (byId) {
            QCoro::Task<NotesExporter::FolderRead> reading = readById(context, entry.id, reads);
            read = co_await reading;
            if (!owner)
                co_return;
            done = !read.notCompiled;
            byId = done;
        }
        // An update needs every note's id: nothing more is read once this Notes turns out not to give them.
        if (reads.datesUnavailable && reads.refuseWithoutIds)
            co_return;
        if (!done) {
            if (!firstOfItsName(listed, chosen.at(c)) || readByName.contains(entry.name)) {
                reads.failures.append({ label,
                    QCoreApplication::translate("Velloran", "not exported: another folder has the same name") });
                continue;
            }
            readByName.insert(entry.name);
            QCoro::Task<NotesExporter::FolderRead> reading = NotesExporter::readFolder(context, entry.name);
            read = co_await reading;
            if (!owner)
                co_return;
        }
        ++reads.reads;
        if (!read.failure.isEmpty()) {
            ++reads.readsFailed;
            reads.lastReadFailure = read.failure;
            reads.failures.append({ label, read.failure });
            continue;
        }
        for (NotesExporter::NoteRecord &record : read.notes)
            record.folder = subfolders.at(c);
        reads.records += std::move(read.notes);
        reads.subfoldersRead.append(subfolders.at(c));
    }
}

/// Reads the folder list, then each chosen folder in turn (see readFolders). Throws what the folder list
/// throws; a folder that cannot be read is a failure of the run unless no folder could be read at all.
QCoro::Task<> readChosenFolders(
    ScriptRunner::Context context, QStringList selection, FolderReads &reads, QPointer<Exporter> owner)
{
    QCoro::Task<QList<FolderEntry>> listing = NotesExporter::listFolderDetails(context);
    const QList<FolderEntry> listed = co_await listing;
    if (!owner)
        co_return;
    const QStringList labels = Exporter::folderLabels(listed);
    const QList<qsizetype> chosen = chosenPositions(selection, listed, labels, reads.failures);
    QCoro::Task<> reading = readFolders(context, listed, labels, chosen, reads, owner);
    co_await reading;
}

// QCoro takes a task's value that can be made from an exception_ptr for an exception the task threw.
static_assert(!std::is_constructible_v<std::optional<QString>, std::exception_ptr>);

/// Reads what an export writes into `reads`, in the run's folder (made here, in `folder`, so that the
/// caller keeps it to the end of the run). A stop request ends the reading, and the notes read until
/// then are still written. Gives the failure that ends the export before anything is written: the run's
/// folder or the folder list could not be made or read, or no chosen folder could be read.
QCoro::Task<std::optional<QString>> readForExport(std::optional<ScriptRunner::RunFolder> &folder,
    ScriptRunner::StopSignal &stop, QStringList selection, FolderReads &reads, QPointer<Exporter> owner)
{
    try {
        folder.emplace();
        const ScriptRunner::Context context { &*folder, &stop };
        QCoro::Task<> reading = readChosenFolders(context, selection, reads, owner);
        co_await reading;
    } catch (const RunStopped &) {
        // What was read until the stop is written.
    } catch (const std::exception &error) {
        co_return errorDescription(error);
    }
    if (reads.reads > 0 && reads.readsFailed == reads.reads)
        co_return reads.lastReadFailure;
    co_return std::nullopt;
}

/// A progress callback for the writer's thread: each call becomes one queued call of `apply` on the main
/// thread, posted at the moment of the callback; the writer does not wait for it.
NotesExporter::ProgressCallback queuedOnMainThread(std::function<void(double, const QString &)> apply)
{
    return [apply = std::move(apply)](double fraction, const QString &name) {
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [apply, fraction, name] { apply(fraction, name); }, Qt::QueuedConnection);
    };
}

/// A note whose body Notes would not give is written with the explanation, and is a failure too.
QList<std::pair<QString, QString>> unreadableBodies(const QList<NotesExporter::NoteRecord> &records)
{
    QList<std::pair<QString, QString>> failures;
    for (const NotesExporter::NoteRecord &record : records) {
        if (const std::optional<QString> reason = NotesExporter::unreadableBodyReason(record.html))
            failures.append({ record.name,
                QCoreApplication::translate("Velloran", "couldn't read the note's body: %1").arg(*reason) });
    }
    return failures;
}

} // namespace

QStringList Exporter::folderLabels(const QList<FolderEntry> &folders)
{
    QHash<QString, QList<qsizetype>> byName;
    for (qsizetype i = 0; i < folders.size(); ++i)
        byName[folders.at(i).name].append(i);

    QStringList labels;
    for (const FolderEntry &folder : folders)
        labels.append(folder.name);
    const QString dash = u" \u2014 "_s;
    for (const QList<qsizetype> &same : std::as_const(byName)) {
        if (same.size() < 2 || folders.at(same.first()).id.isEmpty())
            continue;
        const auto context = [&](qsizetype i, bool withAccount) {
            const FolderEntry &folder = folders.at(i);
            if (folder.parent.isEmpty())
                return folder.account;
            const QString in = QCoreApplication::translate("Velloran", "in %1").arg(folder.parent);
            return withAccount && !folder.account.isEmpty() ? in + u", "_s + folder.account : in;
        };
        QSet<QString> contexts;
        for (const qsizetype i : same)
            contexts.insert(context(i, false));
        const bool withAccount = contexts.size() < same.size();
        for (const qsizetype i : same) {
            const QString told = context(i, withAccount);
            if (!told.isEmpty())
                labels[i] = folders.at(i).name + dash + told;
        }
    }

    // What is still not unique (the same parent's name twice in one account) is numbered in list order.
    const QSet<QString> taken(labels.cbegin(), labels.cend());
    QSet<QString> given;
    for (qsizetype i = 0; i < labels.size(); ++i) {
        if (folders.at(i).id.isEmpty())
            continue;
        if (given.contains(labels.at(i))) {
            QString candidate;
            for (int k = 2;; ++k) {
                candidate = labels.at(i) + u" ("_s + QString::number(k) + u')';
                if (!taken.contains(candidate) && !given.contains(candidate))
                    break;
            }
            labels[i] = candidate;
        }
        given.insert(labels.at(i));
    }
    return labels;
}

QStringList Exporter::subfolderNames(const QList<FolderEntry> &folders)
{
    QSet<QString> names;
    for (const FolderEntry &folder : folders)
        names.insert(folder.name.toLower());
    QSet<QString> given;
    QStringList subfolders;
    for (const FolderEntry &folder : folders) {
        QString name = folder.name;
        if (given.contains(name.toLower())) {
            for (int k = 2;; ++k) {
                name = folder.name + u" ("_s + QString::number(k) + u')';
                if (!names.contains(name.toLower()) && !given.contains(name.toLower()))
                    break;
            }
        }
        given.insert(name.toLower());
        subfolders.append(name);
    }
    return subfolders;
}

QStringList Exporter::unknownFolders(const QStringList &selection) const
{
    QStringList unknown;
    for (const QString &choice : selection) {
        if (chosenBy(choice, m_folders, m_folderLabels).isEmpty())
            unknown.append(choice);
    }
    return unknown;
}

Exporter::Exporter(QObject *parent)
    : RunProgress(parent)
{ }

Exporter::~Exporter() = default;

std::optional<QUrl> Exporter::favouriteFolder() const
{
    const QString path = QSettings().value(favouriteKey).toString();
    if (path.isEmpty())
        return std::nullopt;
    return QUrl::fromLocalFile(path);
}

void Exporter::setFavourite(const std::optional<QUrl> &folder)
{
    QSettings settings;
    if (folder)
        settings.setValue(favouriteKey, folder->toLocalFile());
    else
        settings.remove(favouriteKey);
    emit favouriteFolderChanged();
}

void Exporter::setFavouriteFolder(const QVariant &folder)
{
    const QUrl url = folder.toUrl();
    setFavourite(url.isEmpty() ? std::nullopt : std::optional<QUrl>(url));
}

namespace {

/// Each export option with the key it is remembered under.
struct RememberedOption
{
    const QString &key;
    bool NotesExporter::ExportOptions::*option;
};

const RememberedOption rememberedOptions[] = {
    { Exporter::imagesAsFilesKey, &NotesExporter::ExportOptions::imagesAsFiles },
    { Exporter::keepDatesKey, &NotesExporter::ExportOptions::dates },
    { Exporter::noteLinksKey, &NotesExporter::ExportOptions::noteLinks },
    { Exporter::headingsKey, &NotesExporter::ExportOptions::headings },
    { Exporter::updateExportKey, &NotesExporter::ExportOptions::update },
};

} // namespace

void Exporter::setExportOptions(const NotesExporter::ExportOptions &options)
{
    if (m_exportOptions == options)
        return;
    m_exportOptions = options;
    emit exportOptionsChanged();
}

void Exporter::setOption(bool NotesExporter::ExportOptions::*option, bool on)
{
    NotesExporter::ExportOptions options = m_exportOptions;
    options.*option = on;
    setExportOptions(options);
}

void Exporter::restoreExportOptions()
{
    const QSettings settings;
    NotesExporter::ExportOptions options;
    for (const RememberedOption &remembered : rememberedOptions)
        options.*remembered.option = settings.value(remembered.key, false).toBool();
    setExportOptions(options);
}

void Exporter::rememberExportOptions() const
{
    QSettings settings;
    for (const RememberedOption &remembered : rememberedOptions)
        settings.setValue(remembered.key, m_exportOptions.*remembered.option);
}

QVariant Exporter::favouriteFolderValue() const
{
    const std::optional<QUrl> folder = favouriteFolder();
    return folder ? QVariant(*folder) : QVariant();
}

QVariant Exporter::errorMessageValue() const
{
    const std::optional<QString> &message = m_errorMessage;
    return message ? QVariant(*message) : QVariant();
}

QVariant Exporter::resultValue() const
{
    return m_result ? QVariant::fromValue(*m_result) : QVariant();
}

void Exporter::setResult(std::optional<NotesExporter::Result> result)
{
    // Every export's end is announced, even when its result equals the last one.
    const bool had = m_result.has_value();
    m_result = std::move(result);
    if (had || m_result)
        emit resultChanged();
}

QCoro::Task<> Exporter::loadFolders()
{
    Q_ASSERT(QThread::currentThread() == thread());
    const QPointer<Exporter> self(this);
    setLoadingFolders(true);
    setErrorMessage(std::nullopt);
    std::optional<QString> error;
    QList<FolderEntry> folders;
    try {
        QCoro::Task<QList<FolderEntry>> listing = NotesExporter::listFolderDetails(ScriptRunner::Context {});
        folders = co_await listing;
    } catch (const std::exception &failure) {
        error = errorDescription(failure);
    }
    if (!self)
        co_return;
    m_folders = error ? QList<FolderEntry>() : folders;
    m_folderLabels = folderLabels(m_folders);
    if (error)
        setErrorMessage(*error);
    setAvailableFolders(withoutRepeats(m_folderLabels));
    setLoadingFolders(false);
}

QCoro::QmlTask Exporter::loadFolderList()
{
    return loadFolders();
}

QCoro::QmlTask Exporter::exportFolders(const QStringList &selectedFolders, const QUrl &to)
{
    return exportNotes(selectedFolders, to);
}

// One coroutine from the first read to the result, a little over the usual length: the run's stop signal,
// its run folder and the published state live in this frame for the whole run.
QCoro::Task<> Exporter::exportNotes(QStringList selectedFolders, QUrl to)
{
    Q_ASSERT(QThread::currentThread() == thread());
    const QPointer<Exporter> self(this);
    ScriptRunner::StopSignal stop(m_stopGrace);
    m_stop = &stop;
    m_stopRequested = std::make_shared<std::atomic_bool>(false);
    const std::shared_ptr<std::atomic_bool> stopFlag = m_stopRequested;
    setRunning(true);
    setProgress(0);
    setErrorMessage(std::nullopt);

    const auto endWith = [&](NotesExporter::Result result) {
        result.stopped = stop.isRequested();
        m_stop = nullptr;
        setProgress(1.0);
        setCurrentNote(QString());
        setRunning(false);
        setResult(std::move(result));
    };

    std::optional<ScriptRunner::RunFolder> folder;
    FolderReads reads;
    reads.withDates = m_exportOptions.needsIdsAndDates();
    reads.refuseWithoutIds = m_exportOptions.update;
    QCoro::Task<std::optional<QString>> reading = readForExport(folder, stop, selectedFolders, reads, self);
    std::optional<QString> readFailure = co_await reading;
    if (!self)
        co_return;
    // An update needs the notes' ids; without them nothing is written.
    if (!readFailure && reads.datesUnavailable && m_exportOptions.update)
        readFailure = QCoreApplication::translate("Velloran",
            "This version of Notes does not give the notes’ ids, so a previous export cannot be updated. "
            "Export without “Update a previous export”.");
    if (readFailure) {
        setErrorMessage(*readFailure);
        NotesExporter::Result failure;
        failure.failed.append({ QCoreApplication::translate("Velloran", "(reading Apple Notes)"), *readFailure });
        endWith(std::move(failure));
        co_return;
    }
    if (stop.isRequested())
        stopFlag->store(true);

    // Converting and writing, in a background task. Its progress reaches this thread as one queued call per
    // callback; the completion below resumes through the same queue after the task has ended, so it comes
    // after the last of them.
    const NotesExporter::ProgressCallback progress = queuedOnMainThread([self](double fraction, const QString &name) {
        if (!self)
            return;
        self->setProgress(fraction);
        self->setCurrentNote(name);
    });
    const NotesExporter::StopCheck shouldStop = [stopFlag] { return stopFlag->load(); };
    QFuture<NotesExporter::Result> writing = QtConcurrent::run(
        NotesExporter::exportNotes, reads.records, to, progress, shouldStop, m_exportOptions, reads.subfoldersRead);
    NotesExporter::Result result = co_await writing;
    if (!self)
        co_return;
    result.datesUnavailable = reads.datesUnavailable && m_exportOptions.dates;

    result.failed += unreadableBodies(reads.records);
    result.failed += reads.failures;
    endWith(std::move(result));
}

void Exporter::requestStop()
{
    if (m_stopRequested)
        m_stopRequested->store(true);
    if (m_stop)
        m_stop->request();
}

void Exporter::reset()
{
    setResult(std::nullopt);
    setErrorMessage(std::nullopt);
    setProgress(0);
    setCurrentNote(QString());
}
