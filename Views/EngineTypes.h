#pragma once

#include "Exporter.h"
#include "MigrationPlan.h"
#include "Migrator.h"
#include "NotesExporter.h"
#include "Presentation.h"
#include "RunProgress.h"

#include <QtQml/qqml.h>

// The engine's controllers and values as QML knows them, in the module Velloran.Engine. The engine itself
// stays free of QML registration; these declarations name its types for QML.

/// What both controllers publish while they run: progress, currentNote and isRunning.
struct RunProgressForeign
{
    Q_GADGET
    QML_FOREIGN(RunProgress)
    QML_ANONYMOUS
};

/// The migration controller; the application hands its own to the screens, tests make their own.
struct MigratorForeign
{
    Q_GADGET
    QML_FOREIGN(Migrator)
    QML_NAMED_ELEMENT(Migrator)
};

/// The export controller.
struct ExporterForeign
{
    Q_GADGET
    QML_FOREIGN(Exporter)
    QML_NAMED_ELEMENT(Exporter)
};

/// Migrator.report.
struct MigrationReportForeign
{
    Q_GADGET
    QML_FOREIGN(MigrationReport)
    QML_VALUE_TYPE(migrationReport)
};

/// Exporter.result.
struct ExportResultForeign
{
    Q_GADGET
    QML_FOREIGN(NotesExporter::Result)
    QML_VALUE_TYPE(exportResult)
};

/// What a screen shows of a report or a result.
struct OutcomeForeign
{
    Q_GADGET
    QML_FOREIGN(Presentation::Outcome)
    QML_VALUE_TYPE(outcome)
};

struct SectionForeign
{
    Q_GADGET
    QML_FOREIGN(Presentation::Section)
    QML_VALUE_TYPE(outcomeSection)
};

/// The counts of a scanned folder.
struct AnalysisSummaryForeign
{
    Q_GADGET
    QML_FOREIGN(Presentation::AnalysisSummary)
    QML_VALUE_TYPE(analysisSummary)
};

struct AnalysisRowForeign
{
    Q_GADGET
    QML_FOREIGN(Presentation::AnalysisRow)
    QML_VALUE_TYPE(analysisRow)
};

/// A migration worked out without running it (WizardController.plan).
struct MigrationPlanForeign
{
    Q_GADGET
    QML_FOREIGN(MigrationPlan)
    QML_VALUE_TYPE(migrationPlan)
};

struct PlannedNoteForeign
{
    Q_GADGET
    QML_FOREIGN(PlannedNote)
    QML_VALUE_TYPE(plannedNote)
};
