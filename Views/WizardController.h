#pragma once

#include "MigrationPlan.h"
#include "Migrator.h"
#include "VaultScanner.h"

#include <QObject>
#include <QProperty>
#include <QUrl>
#include <QVariant>
#include <QtQml/qqmlregistration.h>

#include <QCoro/QCoroQmlTask>
#include <QCoro/QCoroTask>

#include <optional>

/// The import side of the wizard's state: the Markdown folder that was analysed, its analysis, and whether
/// a scan runs. Keeps the VaultAnalysis itself, which the screens only see as its summary, and starts the
/// migration with it.
class WizardController : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    /// The analysed folder's url, or undefined.
    Q_PROPERTY(QVariant vault READ vaultValue NOTIFY vaultChanged)
    /// What the analysis screen shows (a Presentation::AnalysisSummary), or undefined.
    Q_PROPERTY(QVariant analysis READ analysisValue NOTIFY analysisChanged)
    Q_PROPERTY(bool isAnalyzing READ isAnalyzing NOTIFY isAnalyzingChanged BINDABLE bindableIsAnalyzing)
    /// What migrating the analysis would do, note by note (a MigrationPlan), once loadPlan has worked it
    /// out; undefined before, and again whenever the analysis changes.
    Q_PROPERTY(QVariant plan READ planValue NOTIFY planChanged)
    /// loadPlan is working the plan out (reading Apple Notes, mostly).
    Q_PROPERTY(bool isPlanning READ isPlanning NOTIFY isPlanningChanged BINDABLE bindableIsPlanning)

public:
    using QObject::QObject;

    QVariant vaultValue() const;
    QVariant analysisValue() const;
    bool isAnalyzing() const { return m_isAnalyzing; }
    QBindable<bool> bindableIsAnalyzing() { return &m_isAnalyzing; }
    const std::optional<VaultAnalysis> &analysis() const { return m_analysis; }
    QVariant planValue() const;
    bool isPlanning() const { return m_isPlanning; }
    QBindable<bool> bindableIsPlanning() { return &m_isPlanning; }

    /// Scans `folder` in a background task; when the scan ends, sets vault, then analysis, then clears
    /// isAnalyzing. Two scans may overlap: the one that ends last wins. QML can wait for it with `.then()`.
    Q_INVOKABLE QCoro::QmlTask analyze(const QUrl &folder);
    /// The analysis screen's way back: analysis, then vault, become undefined.
    Q_INVOKABLE void clearAnalysis();
    /// Going home: vault, then analysis, become undefined.
    Q_INVOKABLE void clearFolder();
    /// Migrates the held analysis with `migrator`, which publishes its progress and report; QML can wait
    /// for the run's end with `.then()`. Does nothing without an analysis.
    Q_INVOKABLE QCoro::QmlTask migrate(Migrator *migrator);
    /// Works out in the background what migrating the held analysis would do, checking which notes Apple
    /// Notes already has, and publishes it as plan; creates nothing. Does nothing without an analysis or
    /// while a plan is being worked out. A plan of an analysis that has since changed is dropped.
    Q_INVOKABLE QCoro::QmlTask loadPlan();

signals:
    void vaultChanged();
    void analysisChanged();
    void isAnalyzingChanged();
    void planChanged();
    void isPlanningChanged();

private:
    QCoro::Task<> scan(QUrl folder);
    void setAnalysis(std::optional<VaultAnalysis> analysis);
    QCoro::Task<> makePlan(VaultAnalysis analysis, QUrl vault);
    void setPlan(std::optional<MigrationPlan> plan);

    // Each announces a change, and only a change, through its signal.
    Q_OBJECT_BINDABLE_PROPERTY(WizardController, std::optional<QUrl>, m_vault, &WizardController::vaultChanged)
    Q_OBJECT_BINDABLE_PROPERTY_WITH_ARGS(
        WizardController, bool, m_isAnalyzing, false, &WizardController::isAnalyzingChanged)
    Q_OBJECT_BINDABLE_PROPERTY_WITH_ARGS(
        WizardController, bool, m_isPlanning, false, &WizardController::isPlanningChanged)
    std::optional<VaultAnalysis> m_analysis;
    /// Counts the analyses set: a plan is kept only if the analysis it was made from is still the one held.
    quint64 m_analysisGeneration = 0;
    std::optional<MigrationPlan> m_plan;
};
