#pragma once

#include "VaultScanner.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QVariant>

#include <QCoro/QCoroTask>

#include <optional>
#include <utility>

/// The controller of one migration run: carries a scanned Markdown folder into Apple Notes under
/// "Imported by Velloran", one subfolder per source folder (deeper paths flattened with " ▸ "), and
/// publishes its progress and, at the end, a Report. Never modifies the source files.
///
/// Lives on the main thread; every published property is set there. The folder scripts run
/// synchronously on the main thread, each note's script in a background task, one note at a time.
class Migrator : public QObject
{
    Q_OBJECT
    Q_PROPERTY(double progress READ progress NOTIFY progressChanged)
    Q_PROPERTY(QString currentNote READ currentNote NOTIFY currentNoteChanged)
    Q_PROPERTY(bool isRunning READ isRunning NOTIFY isRunningChanged)
    /// The last report for the screens: a map with the eight fields (pairs as two-element lists), or
    /// undefined when there is none.
    Q_PROPERTY(QVariant report READ reportForView NOTIFY reportChanged)

public:
    /// The outcome of one run.
    struct Report
    {
        qint64 notesCreated = 0;
        qint64 notesSkipped = 0;
        /// (note title, "(setup)" or "(folder PATH)"; reason)
        QList<std::pair<QString, QString>> notesFailed;
        /// (note title, relative folder path) of notes placed in the root because their folder failed.
        QList<std::pair<QString, QString>> notesMisfiled;
        qint64 imagesAttached = 0;
        /// "title: reference" per image not attached.
        QStringList imagesMissing;
        QStringList foldersFlattened;
        qint64 wikilinksDegraded = 0;

        friend bool operator==(const Report &, const Report &) = default;
    };

    static inline const QString rootFolderName = QStringLiteral("Imported by Velloran");
    static inline const QString subfolderJoiner = QStringLiteral(" ▸ ");

    explicit Migrator(QObject *parent = nullptr);
    ~Migrator() override;

    double progress() const { return m_progress; }
    QString currentNote() const { return m_currentNote; }
    bool isRunning() const { return m_isRunning; }
    const std::optional<Report> &report() const { return m_report; }
    QVariant reportForView() const;

    /// Sets or clears the published report (going home clears it).
    void setReport(std::optional<Report> report);
    Q_INVOKABLE void clearReport() { setReport(std::nullopt); }

    /// Runs one migration of `analysis`, scanned from `vault`. Does not throw: every failure ends up in
    /// the report. Awaiting it waits for the run to end.
    QCoro::Task<> migrate(VaultAnalysis analysis, QUrl vault);

    /// Asks a running migration to stop after the note in flight; the report then covers what was done.
    void requestStop() { m_stopRequested = true; }

    /// The report as a map for the screens: the eight fields by name, each failure or misfiled pair as a
    /// two-element list.
    static QVariantMap reportToVariant(const Report &report);

signals:
    void progressChanged();
    void currentNoteChanged();
    void isRunningChanged();
    void reportChanged();

private:
    void setProgress(double progress);
    void setCurrentNote(const QString &note);
    void setRunning(bool running);

    double m_progress = 0;
    QString m_currentNote;
    bool m_isRunning = false;
    bool m_stopRequested = false;
    std::optional<Report> m_report;
};
