#include "Presenter.h"

#include <QMetaProperty>

#include <utility>

namespace {

using Pairs = QList<std::pair<QString, QString>>;

/// Pairs given as two-element lists.
Pairs pairsFrom(const QVariantList &list)
{
    Pairs pairs;
    for (const QVariant &item : list) {
        const QStringList pair = item.toStringList();
        pairs.append({ pair.value(0), pair.value(1) });
    }
    return pairs;
}

/// `value` itself when it holds a Gadget; otherwise a Gadget whose properties are set from the fields of
/// the same names that `value` holds as a map.
template<typename Gadget> Gadget gadgetFrom(const QVariant &value)
{
    if (value.metaType() == QMetaType::fromType<Gadget>())
        return value.value<Gadget>();
    Gadget gadget;
    const QVariantMap fields = value.toMap();
    const QMetaObject &type = Gadget::staticMetaObject;
    for (int i = type.propertyOffset(); i < type.propertyCount(); ++i) {
        const QMetaProperty property = type.property(i);
        const auto field = fields.constFind(QString::fromLatin1(property.name()));
        if (field == fields.cend())
            continue;
        if (property.metaType() == QMetaType::fromType<Pairs>())
            property.writeOnGadget(&gadget, QVariant::fromValue(pairsFrom(field->toList())));
        else
            property.writeOnGadget(&gadget, *field);
    }
    return gadget;
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
        return {};
    return Presentation::outcomeOf(plan.value<MigrationPlan>());
}
