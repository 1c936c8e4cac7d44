#pragma once

#include "RunProgress.h"
#include "ScriptRunner.h"
#include "VaultScanner.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QVariant>

#include <QCoro/QCoroTask>

#include <chrono>
#include <optional>
#include <utility>

/// The outcome of one migration run (Migrator::Report), with its fields as properties in this order.
struct MigrationReport
{
    Q_GADGET
    Q_PROPERTY(qint64 notesCreated MEMBER notesCreated)
    Q_PROPERTY(qint64 notesSkipped MEMBER notesSkipped)
    Q_PROPERTY(QList<std::pair<QString, QString>> notesFailed MEMBER notesFailed)
    Q_PROPERTY(QList<std::pair<QString, QString>> notesMisfiled MEMBER notesMisfiled)
    Q_PROPERTY(qint64 imagesAttached MEMBER imagesAttached)
    Q_PROPERTY(QStringList imagesMissing MEMBER imagesMissing)
    Q_PROPERTY(QStringList foldersFlattened MEMBER foldersFlattened)
    Q_PROPERTY(qint64 wikilinksDegraded MEMBER wikilinksDegraded)
    Q_PROPERTY(bool stopped MEMBER stopped)

public:
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
    /// The run was stopped before its end: the report covers what was done until then.
    bool stopped = false;

    friend bool operator==(const MigrationReport &, const MigrationReport &) = default;
};

/// The controller of one migration run: carries a scanned Markdown folder into Apple Notes under
/// "Imported by Velloran", one subfolder per source folder (deeper paths flattened with " ▸ "), and
/// publishes its progress and, at the end, a Report. Never modifies the source files.
///
/// Lives on the main thread; every published property is set there. Every script runs without blocking
/// it, one at a time.
class Migrator : public RunProgress
{
    Q_OBJECT
    /// The last report (a Report), or undefined when there is none.
    Q_PROPERTY(QVariant report READ reportValue NOTIFY reportChanged)

public:
    /// The outcome of one run.
    using Report = MigrationReport;

    static inline const QString rootFolderName = QStringLiteral("Imported by Velloran");
    static inline const QString subfolderJoiner = QStringLiteral(" ▸ ");

    /// The Notes subfolder of a folder of the vault, given as its path relative to the vault with "/":
    /// Notes nests one level, so "Projects/2024/Q1" becomes "Projects ▸ 2024 ▸ Q1".
    static QString subfolderName(const QString &path) { return path.split(u'/').join(subfolderJoiner); }

    explicit Migrator(QObject *parent = nullptr);
    ~Migrator() override;

    const std::optional<Report> &report() const { return m_report; }
    /// The report in a QVariant, or an invalid QVariant when there is none.
    QVariant reportValue() const;

    /// Sets or clears the published report (going home clears it).
    void setReport(std::optional<Report> report);
    // clearReport and requestStop are virtual so that the wizard's screen tests can see the screens ask.
    Q_INVOKABLE virtual void clearReport() { setReport(std::nullopt); }

    /// Runs one migration of `analysis`, scanned from `vault`. Does not throw: every failure ends up in
    /// the report. Awaiting it waits for the run to end.
    QCoro::Task<> migrate(VaultAnalysis analysis, QUrl vault);

    /// Asks a running migration to stop after the note in flight; the report then covers what was done.
    /// A script that has not ended within the grace period is killed, and its note is reported as
    /// stopped.
    Q_INVOKABLE virtual void requestStop();
    /// How long a script in flight may go on after a stop request (five seconds unless set).
    void setStopGracePeriod(std::chrono::milliseconds grace) { m_stopGrace = grace; }

signals:
    void reportChanged();

private:
    std::chrono::milliseconds m_stopGrace = std::chrono::seconds(5);
    /// The stop signal of the run under way.
    QPointer<ScriptRunner::StopSignal> m_stop;
    std::optional<Report> m_report;
};
