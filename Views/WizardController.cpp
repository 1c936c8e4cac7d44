#include "WizardController.h"

#include "Migrator.h"

#include <QFutureWatcher>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>

void WizardController::analyze(const QUrl &folder)
{
    setAnalyzing(true);
    // The result always comes back through the event loop, even from a scan that ends at once, so the
    // screen shows "Analyzing…" at least until then. The watcher dies with this object.
    auto *watcher = new QFutureWatcher<VaultAnalysis>(this);
    connect(watcher, &QFutureWatcherBase::finished, this, [this, watcher, folder] {
        VaultAnalysis result = watcher->result();
        watcher->deleteLater();
        setVault(folder);
        setAnalysis(std::move(result));
        setAnalyzing(false);
    });
    watcher->setFuture(QtConcurrent::run(&VaultScanner::scan, folder));
}

void WizardController::clearAnalysis()
{
    setAnalysis(std::nullopt);
    setVault(std::nullopt);
}

void WizardController::clearFolder()
{
    setVault(std::nullopt);
    setAnalysis(std::nullopt);
}

void WizardController::migrate(QObject *migrator)
{
    auto *target = qobject_cast<Migrator *>(migrator);
    if (!target || !m_analysis || !m_vault)
        return;
    // The migrator lives as long as the application and runs the task to its end on its own.
    (void)target->migrate(*m_analysis, *m_vault);
}

QVariantMap WizardController::summary(const VaultAnalysis &analysis)
{
    qint64 wikilinks = 0;
    for (const VaultAnalysis::Note &note : analysis.notes)
        wikilinks += note.wikilinks.size();
    const bool hasTables = std::any_of(
        analysis.notes.cbegin(), analysis.notes.cend(), [](const VaultAnalysis::Note &note) { return note.hasTables; });
    return {
        { QStringLiteral("notes"), qint64(analysis.notes.size()) },
        { QStringLiteral("folders"), qint64(analysis.folders.size()) },
        { QStringLiteral("attachmentsResolved"), analysis.attachmentsResolved },
        { QStringLiteral("attachmentsMissing"), analysis.attachmentsMissing },
        { QStringLiteral("wikilinks"), wikilinks },
        { QStringLiteral("hasTables"), hasTables },
        { QStringLiteral("titlesRenamed"), analysis.titlesRenamed },
        { QStringLiteral("unreadableFiles"), VaultScanner::unreadableFileCount(analysis) },
        { QStringLiteral("unreadableFolders"),
            qint64(analysis.unreadable.size()) - VaultScanner::unreadableFileCount(analysis) },
    };
}

void WizardController::setVault(std::optional<QUrl> vault)
{
    if (vault == m_vault)
        return;
    m_vault = std::move(vault);
    emit vaultChanged();
}

void WizardController::setAnalysis(std::optional<VaultAnalysis> analysis)
{
    if (!analysis && !m_analysis)
        return;
    m_analysis = std::move(analysis);
    emit analysisChanged();
}

void WizardController::setAnalyzing(bool analyzing)
{
    if (analyzing == m_isAnalyzing)
        return;
    m_isAnalyzing = analyzing;
    emit isAnalyzingChanged();
}
