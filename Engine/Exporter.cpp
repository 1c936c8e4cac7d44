#include "Exporter.h"

#include "Errors.h"

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

/// The value of a blocking call made in a background task, or the description of what it threw.
/// (QtConcurrent carries only QException subclasses across threads, so the text is taken there.)
template<typename T> using Outcome = std::variant<T, QString>;

template<typename T, typename Fn> Outcome<T> capture(Fn &&fn)
{
    try {
        return fn();
    } catch (const std::exception &error) {
        return errorDescription(error);
    }
}

Outcome<QStringList> listInBackground()
{
    return capture<QStringList>([] { return NotesExporter::listFolders(); });
}

Outcome<QList<NotesExporter::NoteRecord>> readInBackground(const std::optional<QStringList> &folders)
{
    return capture<QList<NotesExporter::NoteRecord>>([&] { return NotesExporter::readNotes(folders); });
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

    // Futures are named locals: temporaries inside a co_await expression are not safe with every compiler.
    QFuture<Outcome<QStringList>> pending = QtConcurrent::run(listInBackground);
    const Outcome<QStringList> folders = co_await pending;
    if (!self)
        co_return;

    if (const auto *list = std::get_if<QStringList>(&folders)) {
        setAvailableFolders(*list);
    } else {
        setErrorMessage(std::get<QString>(folders));
        setAvailableFolders({});
    }
    setLoadingFolders(false);
}

QCoro::Task<> Exporter::exportNotes(QStringList selectedFolders, QUrl to)
{
    Q_ASSERT(QThread::currentThread() == thread());
    const QPointer<Exporter> self(this);
    m_stopRequested = std::make_shared<std::atomic_bool>(false);
    const std::shared_ptr<std::atomic_bool> stop = m_stopRequested;
    setRunning(true);
    setProgress(0);
    setErrorMessage(std::nullopt);

    // An empty selection means every folder.
    std::optional<QStringList> folders;
    if (!selectedFolders.isEmpty())
        folders = selectedFolders;
    QFuture<Outcome<QList<NotesExporter::NoteRecord>>> reading = QtConcurrent::run(readInBackground, folders);
    const Outcome<QList<NotesExporter::NoteRecord>> records = co_await reading;
    if (!self)
        co_return;

    if (const auto *error = std::get_if<QString>(&records)) {
        setErrorMessage(*error);
        NotesExporter::Result failure;
        failure.failed.append({ u"(reading Apple Notes)"_s, *error });
        setProgress(1.0);
        setCurrentNote(QString());
        setRunning(false);
        setResult(std::move(failure));
        co_return;
    }

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
    const NotesExporter::StopCheck shouldStop = [stop] { return stop->load(); };
    QFuture<NotesExporter::Result> writing = QtConcurrent::run(
        NotesExporter::exportNotes, std::get<QList<NotesExporter::NoteRecord>>(records), to, progress, shouldStop);
    NotesExporter::Result result = co_await writing;
    if (!self)
        co_return;

    setProgress(1.0);
    setCurrentNote(QString());
    setRunning(false);
    setResult(std::move(result));
}

void Exporter::requestStop()
{
    if (m_stopRequested)
        m_stopRequested->store(true);
}

void Exporter::reset()
{
    setResult(std::nullopt);
    setErrorMessage(std::nullopt);
    setProgress(0);
    setCurrentNote(QString());
}
