#include "WizardController.h"

#include "Presentation.h"

#include <QFutureWatcher>
#include <QPointer>
#include <QtConcurrent/QtConcurrentRun>

#include <QCoro/QCoroSignal>

namespace {

/// A task that has nothing to do: what QML waits for when there is nothing to start.
QCoro::Task<> nothingToDo()
{
    co_return;
}

} // namespace

QVariant WizardController::vaultValue() const
{
    const std::optional<QUrl> &vault = m_vault;
    return vault ? QVariant(*vault) : QVariant();
}

QVariant WizardController::analysisValue() const
{
    return m_analysis ? QVariant::fromValue(Presentation::summaryOf(*m_analysis)) : QVariant();
}

QVariant WizardController::planValue() const
{
    return m_plan ? QVariant::fromValue(*m_plan) : QVariant();
}

QCoro::QmlTask WizardController::analyze(const QUrl &folder)
{
    return scan(folder);
}

QCoro::Task<> WizardController::scan(QUrl folder)
{
    const QPointer<WizardController> self(this);
    m_isAnalyzing = true;
    // The result always comes back through the event loop, even from a scan that ends at once, so the
    // screen shows "Analyzing…" at least until then: a watcher reports a finished future by a posted event,
    // where awaiting the future itself would go straight on when the scan was already done.
    QFutureWatcher<VaultAnalysis> watcher;
    watcher.setFuture(QtConcurrent::run(&VaultScanner::scan, folder));
    co_await qCoro(&watcher, &QFutureWatcherBase::finished);
    if (!self)
        co_return;
    m_vault = folder;
    setAnalysis(watcher.result());
    m_isAnalyzing = false;
}

void WizardController::clearAnalysis()
{
    setAnalysis(std::nullopt);
    m_vault = std::nullopt;
}

void WizardController::clearFolder()
{
    m_vault = std::nullopt;
    setAnalysis(std::nullopt);
}

QCoro::QmlTask WizardController::migrate(Migrator *migrator)
{
    if (!migrator || !m_analysis || !m_vault.value())
        return nothingToDo();
    // The migrator lives as long as the application and runs the task to its end on its own.
    return migrator->migrate(*m_analysis, *m_vault.value());
}

QCoro::QmlTask WizardController::loadPlan()
{
    if (!m_analysis || !m_vault.value() || m_isPlanning)
        return nothingToDo();
    return makePlan(*m_analysis, *m_vault.value());
}

QCoro::Task<> WizardController::makePlan(VaultAnalysis analysis, QUrl vault)
{
    const QPointer<WizardController> self(this);
    const quint64 generation = m_analysisGeneration;
    m_isPlanning = true;
    QCoro::Task<MigrationPlan> planning = MigrationPlanner::planChecked(std::move(analysis), std::move(vault));
    MigrationPlan plan = co_await planning;
    if (!self)
        co_return;
    if (generation == m_analysisGeneration)
        setPlan(std::move(plan));
    m_isPlanning = false;
}

void WizardController::setAnalysis(std::optional<VaultAnalysis> analysis)
{
    // Every new analysis is announced, even one equal to the last; clearing twice is not.
    if (!analysis && !m_analysis)
        return;
    ++m_analysisGeneration;
    setPlan(std::nullopt);
    m_analysis = std::move(analysis);
    emit analysisChanged();
}

void WizardController::setPlan(std::optional<MigrationPlan> plan)
{
    if (!plan && !m_plan)
        return;
    m_plan = std::move(plan);
    emit planChanged();
}
