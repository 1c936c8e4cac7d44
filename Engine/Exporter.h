#pragma once

#include "NotesExporter.h"
#include "ScriptRunner.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QVariant>

#include <QCoro/QCoroTask>

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>

/// The controller of the Notes-to-Markdown direction: loads the Notes folder list, runs one export (each
/// folder read by a script that does not block this thread, then converted and written in a background
/// task) and keeps the favourite output folder.
///
/// Lives on the main thread; every published property is set there. Progress from the writer's thread
/// reaches it as one queued call per callback.
class Exporter : public QObject
{
    Q_OBJECT
    Q_PROPERTY(double progress READ progress NOTIFY progressChanged)
    Q_PROPERTY(QString currentNote READ currentNote NOTIFY currentNoteChanged)
    Q_PROPERTY(bool isRunning READ isRunning NOTIFY isRunningChanged)
    Q_PROPERTY(QStringList availableFolders READ availableFolders NOTIFY availableFoldersChanged)
    Q_PROPERTY(bool isLoadingFolders READ isLoadingFolders NOTIFY isLoadingFoldersChanged)
    /// The last result for the screens: {written, failed: [[a, b], ...], folders: [...]} or undefined.
    Q_PROPERTY(QVariant result READ resultForView NOTIFY resultChanged)
    /// The last failure to read from Notes, or undefined.
    Q_PROPERTY(QVariant errorMessage READ errorMessageForView NOTIFY errorMessageChanged)
    /// The favourite output folder as a file URL, or undefined. Read from the settings on every read.
    Q_PROPERTY(QVariant favouriteFolder READ favouriteFolderForView NOTIFY favouriteFolderChanged)

public:
    /// Settings key; QSettings stores "velloran/favouriteExportFolder" as velloran.favouriteExportFolder
    /// in the macOS user defaults.
    static inline const QString favouriteKey = QStringLiteral("velloran/favouriteExportFolder");

    explicit Exporter(QObject *parent = nullptr);
    ~Exporter() override;

    double progress() const { return m_progress; }
    QString currentNote() const { return m_currentNote; }
    bool isRunning() const { return m_isRunning; }
    QStringList availableFolders() const { return m_availableFolders; }
    bool isLoadingFolders() const { return m_isLoadingFolders; }
    const std::optional<NotesExporter::Result> &result() const { return m_result; }
    const std::optional<QString> &errorMessage() const { return m_errorMessage; }

    /// The stored favourite folder, when a non-empty path is stored. Existence is not checked.
    std::optional<QUrl> favouriteFolder() const;
    /// Stores the folder's path as the favourite, or forgets the favourite.
    void setFavourite(const std::optional<QUrl> &folder);

    /// Fills availableFolders from Notes: one label per folder, its name, or for a name that several
    /// folders share, the name with what tells them apart (see folderLabels).
    QCoro::Task<> loadFolders();
    /// Exports the chosen folders (all folders when none) into `to`, leaving the outcome in result. Each
    /// choice is a label of availableFolders or a folder name, which stands for every folder of that
    /// name; one that is neither is listed as failed. Folders are read in list order, each once, and
    /// same-named ones are written into distinct subfolders ("Notes", "Notes (2)").
    QCoro::Task<> exportNotes(QStringList selectedFolders, QUrl to);
    /// The choices, among `selection`, that are neither a label nor a name of the folders last loaded.
    QStringList unknownFolders(const QStringList &selection) const;

    /// One label per folder, in order: the folder's name when no other folder has it; otherwise the name,
    /// " — " and the account ("Notes — iCloud") or "in " and the parent ("Archive — in Work"), with the
    /// account added to the parent ("Archive — in Work, iCloud") when the parents alone do not tell them
    /// apart, and " (2)", " (3)" after a label that is still not unique. Folders listed without an id
    /// (the plain folder list) keep their names: same-named ones cannot be told apart.
    static QStringList folderLabels(const QList<NotesExporter::FolderEntry> &folders);
    /// The subfolder name for each of `folders` (in export order): its name, or for the second and later
    /// folders of a name (compared case-insensitively), the name and " (2)", " (3)"…, skipping any that
    /// another folder's name or an earlier choice holds.
    static QStringList subfolderNames(const QList<NotesExporter::FolderEntry> &folders);
    /// Clears the outcome of a finished export.
    Q_INVOKABLE void reset();
    /// Asks a running export to stop after the note being written; the result then covers what was done.
    /// A request while the notes are still being read takes effect before the first note is written.
    /// A script reading from Notes that has not ended within the grace period is killed.
    Q_INVOKABLE void requestStop();
    /// How long a script in flight may go on after a stop request (five seconds unless set).
    void setStopGracePeriod(std::chrono::milliseconds grace) { m_stopGrace = grace; }

    QVariant resultForView() const;
    QVariant errorMessageForView() const;
    QVariant favouriteFolderForView() const;

signals:
    void progressChanged();
    void currentNoteChanged();
    void isRunningChanged();
    void availableFoldersChanged();
    void isLoadingFoldersChanged();
    void resultChanged();
    void errorMessageChanged();
    void favouriteFolderChanged();

private:
    void setProgress(double progress);
    void setCurrentNote(const QString &note);
    void setRunning(bool running);
    void setAvailableFolders(const QStringList &folders);
    void setLoadingFolders(bool loading);
    void setResult(std::optional<NotesExporter::Result> result);
    void setErrorMessage(std::optional<QString> message);

    double m_progress = 0;
    QString m_currentNote;
    bool m_isRunning = false;
    QStringList m_availableFolders;
    /// The folders last loaded, and their labels (one each).
    QList<NotesExporter::FolderEntry> m_folders;
    QStringList m_folderLabels;
    bool m_isLoadingFolders = false;
    std::optional<NotesExporter::Result> m_result;
    std::optional<QString> m_errorMessage;
    /// The stop flag of the export under way, shared with its writer task.
    std::shared_ptr<std::atomic_bool> m_stopRequested;
    /// The stop signal of the scripts of the export under way.
    QPointer<ScriptRunner::StopSignal> m_stop;
    std::chrono::milliseconds m_stopGrace = std::chrono::seconds(5);
};
