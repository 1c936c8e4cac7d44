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
#include <variant>

using namespace Qt::StringLiterals;

namespace {

QString translated(const char *text)
{
    return QCoreApplication::translate("Velloran", text);
}

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
            const QString in = translated("in ") + folder.parent;
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
    : QObject(parent)
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
    const auto failReading = [&](const QString &error) {
        setErrorMessage(error);
        NotesExporter::Result failure;
        failure.failed.append({ u"(reading Apple Notes)"_s, error });
        endWith(std::move(failure));
    };

    // Reading: the folder list, then each chosen folder in turn, by its id. A folder that cannot be read is
    // a failure of the run, listed by its label, unless no folder could be read at all. Where this Notes
    // cannot compile the programs that tell same-named folders apart, folders are read by name: of each
    // name only the first folder can be reached, and the others are listed as not exported.
    std::optional<ScriptRunner::RunFolder> folder;
    QList<NotesExporter::NoteRecord> records;
    QList<std::pair<QString, QString>> folderFailures;
    qsizetype reads = 0;
    std::optional<QString> lastReadFailure;
    qsizetype readsFailed = 0;
    try {
        folder.emplace();
        const ScriptRunner::Context context { &*folder, &stop };
        QCoro::Task<QList<FolderEntry>> listing = NotesExporter::listFolderDetails(context);
        const QList<FolderEntry> listed = co_await listing;
        if (!self)
            co_return;
        const QStringList labels = folderLabels(listed);

        QList<qsizetype> chosen;
        if (selectedFolders.isEmpty()) {
            for (qsizetype i = 0; i < listed.size(); ++i)
                chosen.append(i);
        } else {
            QSet<qsizetype> picked;
            for (const QString &choice : std::as_const(selectedFolders)) {
                const QList<qsizetype> found = chosenBy(choice, listed, labels);
                if (found.isEmpty())
                    folderFailures.append(
                        { u"(folder "_s + choice + u')', translated("no such folder in Apple Notes") });
                for (const qsizetype i : found)
                    picked.insert(i);
            }
            chosen = picked.values();
            std::sort(chosen.begin(), chosen.end());
        }
        QList<FolderEntry> chosenFolders;
        for (const qsizetype i : std::as_const(chosen))
            chosenFolders.append(listed.at(i));
        const QStringList subfolders = subfolderNames(chosenFolders);

        bool byId = !chosenFolders.isEmpty() && !chosenFolders.first().id.isEmpty();
        QSet<QString> readByName;
        for (qsizetype c = 0; c < chosen.size(); ++c) {
            if (stop.isRequested())
                break;
            const FolderEntry &entry = listed.at(chosen.at(c));
            const QString label = u"(folder "_s + labels.at(chosen.at(c)) + u')';
            NotesExporter::FolderRead read;
            bool done = false;
            if (byId) {
                QCoro::Task<NotesExporter::FolderRead> reading = NotesExporter::readFolderById(context, entry.id);
                read = co_await reading;
                if (!self)
                    co_return;
                done = !read.notCompiled;
                byId = done;
            }
            if (!done) {
                // By name, Notes gives the first folder of that name in its list.
                const bool firstOfItsName = std::find_if(listed.cbegin(), listed.cend(), [&](const FolderEntry &other) {
                    return other.name == entry.name;
                }) == listed.cbegin() + chosen.at(c);
                if (!firstOfItsName || readByName.contains(entry.name)) {
                    folderFailures.append({ label, translated("not exported: another folder has the same name") });
                    continue;
                }
                readByName.insert(entry.name);
                QCoro::Task<NotesExporter::FolderRead> reading = NotesExporter::readFolder(context, entry.name);
                read = co_await reading;
                if (!self)
                    co_return;
            }
            ++reads;
            if (!read.failure.isEmpty()) {
                ++readsFailed;
                lastReadFailure = read.failure;
                folderFailures.append({ label, read.failure });
                continue;
            }
            for (NotesExporter::NoteRecord &record : read.notes)
                record.folder = subfolders.at(c);
            records += std::move(read.notes);
        }
    } catch (const RunStopped &) {
        if (!self)
            co_return;
    } catch (const std::exception &error) {
        if (!self)
            co_return;
        failReading(errorDescription(error));
        co_return;
    }
    if (reads > 0 && readsFailed == reads) {
        failReading(*lastReadFailure);
        co_return;
    }
    if (stop.isRequested())
        stopFlag->store(true);

    // The writer calls back on its own thread. Each call becomes one queued call on this thread, posted at
    // the moment of the callback; the writer does not wait for it. The completion below resumes through the
    // same queue after the task has ended, so it comes after the last of them.
    const NotesExporter::ProgressCallback progress = [self](double fraction, const QString &name) {
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [self, fraction, name] {
                if (!self)
                    return;
                self->setProgress(fraction);
                self->setCurrentNote(name);
            },
            Qt::QueuedConnection);
    };
    const NotesExporter::StopCheck shouldStop = [stopFlag] { return stopFlag->load(); };
    QFuture<NotesExporter::Result> writing
        = QtConcurrent::run(NotesExporter::exportNotes, records, to, progress, shouldStop);
    NotesExporter::Result result = co_await writing;
    if (!self)
        co_return;

    // A note whose body Notes would not give is written with the explanation, and is a failure too.
    for (const NotesExporter::NoteRecord &record : std::as_const(records)) {
        if (const std::optional<QString> reason = NotesExporter::unreadableBodyReason(record.html))
            result.failed.append({ record.name, translated("couldn't read the note's body: ") + *reason });
    }
    result.failed += folderFailures;
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
