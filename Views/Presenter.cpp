#include "Presenter.h"

namespace {

/// The Gadget that `value` holds; a Gadget with its initial values when it holds none (a screen that is
/// leaving shows nothing of it).
template<typename Gadget> Gadget gadgetFrom(const QVariant &value)
{
    return value.metaType() == QMetaType::fromType<Gadget>() ? value.value<Gadget>() : Gadget {};
}

} // namespace

Presentation::Outcome Presenter::reportOutcome(const QVariant &report)
{
    return Presentation::outcomeOf(gadgetFrom<Migrator::Report>(report));
}

Presentation::Outcome Presenter::resultOutcome(const QVariant &result)
{
    return Presentation::outcomeOf(gadgetFrom<NotesExporter::Result>(result));
}

QVariantList Presenter::analysisRows(const QVariant &analysis)
{
    QVariantList rows;
    for (const Presentation::AnalysisRow &row :
        Presentation::rowsOf(gadgetFrom<Presentation::AnalysisSummary>(analysis)))
        rows.append(QVariant::fromValue(row));
    return rows;
}

Presentation::Outcome Presenter::planOutcome(const QVariant &plan)
{
    if (plan.metaType() != QMetaType::fromType<MigrationPlan>())
        return {}; // not worked out yet: not even the title
    return Presentation::outcomeOf(gadgetFrom<MigrationPlan>(plan));
}
