#pragma once

#include "Exporter.h"
#include "Migrator.h"

#include <QVariant>

// Real controllers whose published state the wizard's screen tests set directly, and which count what the
// screens ask of them. The screens see a Migrator and an Exporter; nothing runs unless a test starts it.

/// A Migrator whose progress, running state and report a test publishes.
class MigratorStandIn : public Migrator
{
    Q_OBJECT
    Q_PROPERTY(int stopCalls MEMBER m_stopCalls NOTIFY callsChanged)
    Q_PROPERTY(int clearCalls MEMBER m_clearCalls NOTIFY callsChanged)

public:
    using Migrator::Migrator;

    Q_INVOKABLE void publishRunning(bool running) { setRunning(running); }
    Q_INVOKABLE void publishProgress(double progress, const QString &note)
    {
        setProgress(progress);
        setCurrentNote(note);
    }
    /// `report` is a Migrator::Report, or undefined for none.
    Q_INVOKABLE void publishReport(const QVariant &report)
    {
        setReport(report.isValid() ? std::optional(report.value<Report>()) : std::nullopt);
    }

    void requestStop() override
    {
        ++m_stopCalls;
        emit callsChanged();
    }
    void clearReport() override
    {
        ++m_clearCalls;
        emit callsChanged();
        Migrator::clearReport();
    }

signals:
    void callsChanged();

private:
    int m_stopCalls = 0;
    int m_clearCalls = 0;
};

/// An Exporter whose result a test publishes.
class ExporterStandIn : public Exporter
{
    Q_OBJECT
    Q_PROPERTY(int resetCalls MEMBER m_resetCalls NOTIFY callsChanged)

public:
    using Exporter::Exporter;

    /// `result` is a NotesExporter::Result, or undefined for none.
    Q_INVOKABLE void publishResult(const QVariant &result)
    {
        setResult(result.isValid() ? std::optional(result.value<NotesExporter::Result>()) : std::nullopt);
    }

    void reset() override
    {
        ++m_resetCalls;
        emit callsChanged();
        Exporter::reset();
    }

signals:
    void callsChanged();

private:
    int m_resetCalls = 0;
};
