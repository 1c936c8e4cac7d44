#include "Exporter.h"

#include "Errors.h"
#include "ScriptRunner.h"

#include <QCoreApplication>
#include <QPointer>
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

} // namespace

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

QVariant Exporter::favouriteFolderForView() const
{
    if (const std::optional<QUrl> folder = favouriteFolder())
        return *folder;
    return {};
}

QVariant Exporter::errorMessageForView() const
{
    if (m_errorMessage)
        return *m_errorMessage;
    return {};
}

QVariant Exporter::resultForView() const
{
    if (!m_result)
        return {};
    QVariantList failed;
    for (const auto &[name, reason] : m_result->failed)
        failed.append(QVariant(QVariantList { name, reason }));
    QStringList folders = m_result->folders.values();
    folders.sort();
    return QVariantMap {
        { u"written"_s, m_result->written },
        { u"failed"_s, failed },
        { u"folders"_s, folders },
        { u"stopped"_s, m_result->stopped },
    };
}

void Exporter::setProgress(double progress)
{
    if (m_progress == progress)
        return;
    m_progress = progress;
    emit progressChanged();
}

void Exporter::setCurrentNote(const QString &note)
{
    if (m_currentNote == note)
        return;
    m_currentNote = note;
    emit currentNoteChanged();
}

void Exporter::setRunning(bool running)
{
    if (m_isRunning == running)
        return;
    m_isRunning = running;
    emit isRunningChanged();
}

void Exporter::setAvailableFolders(const QStringList &folders)
{
    if (m_availableFolders == folders)
        return;
    m_availableFolders = folders;
    emit availableFoldersChanged();
}

void Exporter::setLoadingFolders(bool loading)
{
    if (m_isLoadingFolders == loading)
        return;
    m_isLoadingFolders = loading;
    emit isLoadingFoldersChanged();
}

void Exporter::setResult(std::optional<NotesExporter::Result> result)
{
    // Every export's end is announced, even when its result equals the last one.
    const bool had = m_result.has_value();
    m_result = std::move(result);
    if (had || m_result)
        emit resultChanged();
}

void Exporter::setErrorMessage(std::optional<QString> message)
{
    if (m_errorMessage == message)
        return;
    m_errorMessage = std::move(message);
    emit errorMessageChanged();
}

QCoro::Task<> Exporter::loadFolders()
{
    Q_ASSERT(QThread::currentThread() == thread());
    const QPointer<Exporter> self(this);
    setLoadingFolders(true);
    setErrorMessage(std::nullopt);
    std::optional<QString> error;
    QStringList folders;
    try {
        QCoro::Task<QStringList> listing = NotesExporter::listFolders(ScriptRunner::Context {});
        folders = co_await listing;
    } catch (const std::exception &failure) {
        error = errorDescription(failure);
    }
    if (!self)
        co_return;
    if (error) {
        setErrorMessage(*error);
        setAvailableFolders({});
    } else {
        setAvailableFolders(folders);
    }
    setLoadingFolders(false);
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

    // Reading: the folder list (every folder when none is chosen), then each folder in turn. A folder
    // that cannot be read is a failure of the run, listed by name, unless no folder could be read at all.
    std::optional<ScriptRunner::RunFolder> folder;
    QStringList names = selectedFolders;
    QList<NotesExporter::NoteRecord> records;
    QList<std::pair<QString, QString>> folderFailures;
    try {
        folder.emplace();
        const ScriptRunner::Context context { &*folder, &stop };
        if (names.isEmpty()) {
            QCoro::Task<QStringList> listing = NotesExporter::listFolders(context);
            names = co_await listing;
            if (!self)
                co_return;
        }
        for (const QString &name : std::as_const(names)) {
            if (stop.isRequested())
                break;
            QCoro::Task<NotesExporter::FolderRead> reading = NotesExporter::readFolder(context, name);
            NotesExporter::FolderRead read = co_await reading;
            if (!self)
                co_return;
            if (read.failure.isEmpty())
                records += std::move(read.notes);
            else
                folderFailures.append({ u"(folder "_s + name + u')', read.failure });
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
    if (!names.isEmpty() && folderFailures.size() == names.size()) {
        failReading(folderFailures.last().second);
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
