#pragma once

#include "VaultScanner.h"

#include <QObject>
#include <QUrl>
#include <QVariant>
#include <QtQml/qqmlregistration.h>

#include <optional>

/// The import side of the wizard's state: the Markdown folder that was analysed, its analysis, and whether
/// a scan runs. Keeps the VaultAnalysis itself, which the screens only see as counts, and starts the
/// migration with it.
class WizardController : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    /// The analysed folder's url, or undefined.
    Q_PROPERTY(QVariant vault READ vaultForView NOTIFY vaultChanged)
    /// What the analysis screen shows, or undefined: {notes, folders, attachmentsResolved,
    /// attachmentsMissing, wikilinks, hasTables}.
    Q_PROPERTY(QVariant analysis READ analysisForView NOTIFY analysisChanged)
    Q_PROPERTY(bool isAnalyzing READ isAnalyzing NOTIFY isAnalyzingChanged)

public:
    using QObject::QObject;

    QVariant vaultForView() const { return m_vault ? QVariant(*m_vault) : QVariant(); }
    QVariant analysisForView() const { return m_analysis ? QVariant(summary(*m_analysis)) : QVariant(); }
    bool isAnalyzing() const { return m_isAnalyzing; }
    const std::optional<VaultAnalysis> &analysis() const { return m_analysis; }

    /// Scans `folder` in a background task; when the scan ends, sets vault, then analysis, then clears
    /// isAnalyzing. Two scans may overlap: the one that ends last wins.
    Q_INVOKABLE void analyze(const QUrl &folder);
    /// The analysis screen's way back: analysis, then vault, become undefined.
    Q_INVOKABLE void clearAnalysis();
    /// Going home: vault, then analysis, become undefined.
    Q_INVOKABLE void clearFolder();
    /// Starts a migration of the held analysis on `migrator` (a Migrator), and returns at once; the
    /// migrator publishes its progress and report. Does nothing without an analysis.
    Q_INVOKABLE void migrate(QObject *migrator);

    /// The counts of an analysis, as the analysis screen reads them.
    static QVariantMap summary(const VaultAnalysis &analysis);

signals:
    void vaultChanged();
    void analysisChanged();
    void isAnalyzingChanged();

private:
    void setVault(std::optional<QUrl> vault);
    void setAnalysis(std::optional<VaultAnalysis> analysis);
    void setAnalyzing(bool analyzing);

    std::optional<QUrl> m_vault;
    std::optional<VaultAnalysis> m_analysis;
    bool m_isAnalyzing = false;
};
