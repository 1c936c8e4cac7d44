#pragma once

#include "NotesExporter.h"
#include "RunProgress.h"
#include "ScriptRunner.h"

#include <QObject>
#include <QPointer>
#include <QProperty>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QVariant>

#include <QCoro/QCoroQmlTask>
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
class Exporter : public RunProgress
{
    Q_OBJECT
    Q_PROPERTY(QStringList availableFolders READ availableFolders NOTIFY availableFoldersChanged BINDABLE
            bindableAvailableFolders)
    Q_PROPERTY(
        bool isLoadingFolders READ isLoadingFolders NOTIFY isLoadingFoldersChanged BINDABLE bindableIsLoadingFolders)
    /// The last result (a NotesExporter::Result), or undefined.
    Q_PROPERTY(QVariant result READ resultValue NOTIFY resultChanged)
    /// The last failure to read from Notes (a string), or undefined.
    Q_PROPERTY(QVariant errorMessage READ errorMessageValue NOTIFY errorMessageChanged)
    /// The favourite output folder (a file url), or undefined. Read from the settings on every read.
    Q_PROPERTY(QVariant favouriteFolder READ favouriteFolderValue NOTIFY favouriteFolderChanged)
    // The options of the next exports (NotesExporter::ExportOptions), one per checkbox of the export screen.
    Q_PROPERTY(bool imagesAsFiles READ imagesAsFiles WRITE setImagesAsFiles NOTIFY exportOptionsChanged)
    Q_PROPERTY(bool keepDates READ keepDates WRITE setKeepDates NOTIFY exportOptionsChanged)
    Q_PROPERTY(bool noteLinks READ noteLinks WRITE setNoteLinks NOTIFY exportOptionsChanged)
    Q_PROPERTY(bool headings READ headings WRITE setHeadings NOTIFY exportOptionsChanged)
    Q_PROPERTY(bool updateExport READ updateExport WRITE setUpdateExport NOTIFY exportOptionsChanged)

public:
    /// Settings key; QSettings stores "velloran/favouriteExportFolder" as velloran.favouriteExportFolder
    /// in the macOS user defaults.
    static inline const QString favouriteKey = QStringLiteral("velloran/favouriteExportFolder");
    /// Settings keys of the remembered export options, beside the favourite folder.
    static inline const QString imagesAsFilesKey = QStringLiteral("velloran/exportImagesAsFiles");
    static inline const QString keepDatesKey = QStringLiteral("velloran/exportKeepDates");
    static inline const QString noteLinksKey = QStringLiteral("velloran/exportNoteLinks");
    static inline const QString headingsKey = QStringLiteral("velloran/exportHeadings");
    static inline const QString updateExportKey = QStringLiteral("velloran/exportUpdate");

    explicit Exporter(QObject *parent = nullptr);
    ~Exporter() override;

    QStringList availableFolders() const { return m_availableFolders; }
    QBindable<QStringList> bindableAvailableFolders() { return &m_availableFolders; }
    bool isLoadingFolders() const { return m_isLoadingFolders; }
    QBindable<bool> bindableIsLoadingFolders() { return &m_isLoadingFolders; }
    const std::optional<NotesExporter::Result> &result() const { return m_result; }
    const std::optional<QString> &errorMessage() const { return m_errorMessage; }
    /// For QML: the value, or an invalid QVariant (undefined) when there is none.
    QVariant resultValue() const;
    QVariant errorMessageValue() const;
    QVariant favouriteFolderValue() const;

    /// The stored favourite folder, when a non-empty path is stored. Existence is not checked.
    std::optional<QUrl> favouriteFolder() const;
    /// Stores the folder's path as the favourite, or forgets the favourite.
    void setFavourite(const std::optional<QUrl> &folder);
    /// The same for QML, with a folder's url, or with undefined (or an empty url) to forget the favourite.
    Q_INVOKABLE void setFavouriteFolder(const QVariant &folder);

    /// Fills availableFolders from Notes: one label per folder, its name, or for a name that several
    /// folders share, the name with what tells them apart (see folderLabels).
    QCoro::Task<> loadFolders();
    /// loadFolders for QML, which can wait for it with `.then()`.
    Q_INVOKABLE QCoro::QmlTask loadFolderList();
    /// Exports the chosen folders (all folders when none) into `to`, leaving the outcome in result. Each
    /// choice is a label of availableFolders or a folder name, which stands for every folder of that
    /// name; one that is neither is listed as failed. Folders are read in list order, each once, and
    /// same-named ones are written into distinct subfolders ("Notes", "Notes (2)").
    QCoro::Task<> exportNotes(QStringList selectedFolders, QUrl to);
    /// What the next exports do beyond the plain export; none of it unless set.
    const NotesExporter::ExportOptions &exportOptions() const { return m_exportOptions; }
    void setExportOptions(const NotesExporter::ExportOptions &options);
    bool imagesAsFiles() const { return m_exportOptions.imagesAsFiles; }
    void setImagesAsFiles(bool on) { setOption(&NotesExporter::ExportOptions::imagesAsFiles, on); }
    bool keepDates() const { return m_exportOptions.dates; }
    void setKeepDates(bool on) { setOption(&NotesExporter::ExportOptions::dates, on); }
    bool noteLinks() const { return m_exportOptions.noteLinks; }
    void setNoteLinks(bool on) { setOption(&NotesExporter::ExportOptions::noteLinks, on); }
    bool headings() const { return m_exportOptions.headings; }
    void setHeadings(bool on) { setOption(&NotesExporter::ExportOptions::headings, on); }
    bool updateExport() const { return m_exportOptions.update; }
    void setUpdateExport(bool on) { setOption(&NotesExporter::ExportOptions::update, on); }
    /// Sets the options to those stored in the settings; an option never stored is off. The export screen
    /// does this when it shows, so that its checkboxes come back as the user left them; the command line
    /// never does.
    Q_INVOKABLE void restoreExportOptions();
    /// Stores the options in the settings, each under its key.
    Q_INVOKABLE void rememberExportOptions() const;
    /// exportNotes for QML, which can wait for it with `.then()`.
    Q_INVOKABLE QCoro::QmlTask exportFolders(const QStringList &selectedFolders, const QUrl &to);
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
    /// Clears the outcome of a finished export. Virtual so that the wizard's screen tests can see the
    /// screens ask.
    Q_INVOKABLE virtual void reset();
    /// Asks a running export to stop after the note being written; the result then covers what was done.
    /// A request while the notes are still being read takes effect before the first note is written.
    /// A script reading from Notes that has not ended within the grace period is killed.
    Q_INVOKABLE void requestStop();
    /// How long a script in flight may go on after a stop request (five seconds unless set).
    void setStopGracePeriod(std::chrono::milliseconds grace) { m_stopGrace = grace; }

signals:
    void availableFoldersChanged();
    void isLoadingFoldersChanged();
    void resultChanged();
    void errorMessageChanged();
    void favouriteFolderChanged();
    void exportOptionsChanged();

protected:
    void setResult(std::optional<NotesExporter::Result> result);

private:
    void setAvailableFolders(const QStringList &folders) { m_availableFolders = folders; }
    void setLoadingFolders(bool loading) { m_isLoadingFolders = loading; }
    void setErrorMessage(std::optional<QString> message) { m_errorMessage = std::move(message); }
    void setOption(bool NotesExporter::ExportOptions::*option, bool on);

    // Each announces a change, and only a change, through its signal.
    Q_OBJECT_BINDABLE_PROPERTY(Exporter, QStringList, m_availableFolders, &Exporter::availableFoldersChanged)
    Q_OBJECT_BINDABLE_PROPERTY_WITH_ARGS(Exporter, bool, m_isLoadingFolders, false, &Exporter::isLoadingFoldersChanged)
    Q_OBJECT_BINDABLE_PROPERTY(Exporter, std::optional<QString>, m_errorMessage, &Exporter::errorMessageChanged)
    /// The folders last loaded, and their labels (one each).
    QList<NotesExporter::FolderEntry> m_folders;
    QStringList m_folderLabels;
    std::optional<NotesExporter::Result> m_result;
    /// The stop flag of the export under way, shared with its writer task.
    std::shared_ptr<std::atomic_bool> m_stopRequested;
    /// The stop signal of the scripts of the export under way.
    QPointer<ScriptRunner::StopSignal> m_stop;
    NotesExporter::ExportOptions m_exportOptions;
    std::chrono::milliseconds m_stopGrace = std::chrono::seconds(5);
};
