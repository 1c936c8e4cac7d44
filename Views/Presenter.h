#pragma once

#include "Presentation.h"

#include <QObject>
#include <QVariant>
#include <QtQml/qqmlregistration.h>

/// What the report, result and analysis screens show, for QML: the engine's texts, worked out from the
/// value that a screen was given: the controller's own Migrator::Report, NotesExporter::Result or
/// Presentation::AnalysisSummary.
class Presenter : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    using QObject::QObject;

    Q_INVOKABLE static Presentation::Outcome reportOutcome(const QVariant &report);
    Q_INVOKABLE static Presentation::Outcome resultOutcome(const QVariant &result);
    /// The analysis screen's rows, each a Presentation::AnalysisRow.
    Q_INVOKABLE static QVariantList analysisRows(const QVariant &analysis);
    /// What the analysis screen's details list of a plan (WizardController.plan); nothing (no title, no
    /// sections) when `plan` holds none.
    Q_INVOKABLE static Presentation::Outcome planOutcome(const QVariant &plan);
};
