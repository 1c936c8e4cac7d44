#include "Presentation.h"

#include <QByteArrayList>
#include <QCoreApplication>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMetaProperty>

#include <algorithm>
#include <climits>
#include <utility>

using namespace Qt::StringLiterals;

namespace Presentation {

namespace {

using Pairs = QList<std::pair<QString, QString>>;

/// A count as the plural forms of a translation take it.
int plural(qint64 n)
{
    return int(std::clamp<qint64>(n, 0, INT_MAX));
}

/// A failure or a similar pair as one line: the name, a dash and the reason.
QStringList dashed(const Pairs &pairs)
{
    QStringList lines;
    lines.reserve(pairs.size());
    for (const auto &[name, reason] : pairs)
        lines.append(QCoreApplication::translate("Velloran", "%1 — %2").arg(name, reason));
    return lines;
}

Section listed(QString heading, QStringList entries)
{
    return Section { std::move(heading), std::move(entries), QString() };
}

Section paragraph(QString text)
{
    return Section { QString(), QStringList(), std::move(text) };
}

/// A count and what it counts, in one summary line: "12 notes · 4 images attached".
QString summaryLine(const QString &first, const QString &second)
{
    return QCoreApplication::translate("Velloran", "%1 · %2").arg(first, second);
}

} // namespace

QVariantList Outcome::sectionList() const
{
    return variantList(sections);
}

Outcome outcomeOf(const Migrator::Report &report)
{
    Outcome outcome;
    // A stopped run is never complete, whatever it did before the stop.
    outcome.hasIssues = !report.notesFailed.isEmpty() || !report.notesMisfiled.isEmpty() || report.stopped;
    outcome.title = report.stopped ? QCoreApplication::translate("Velloran", "Migration stopped")
        : outcome.hasIssues        ? QCoreApplication::translate("Velloran", "Migration finished with issues")
                                   : QCoreApplication::translate("Velloran", "Migration complete");
    outcome.summary
        = summaryLine(QCoreApplication::translate("Velloran", "%n notes", nullptr, plural(report.notesCreated)),
            QCoreApplication::translate("Velloran", "%n images attached", nullptr, plural(report.imagesAttached)));

    QList<Section> &sections = outcome.sections;
    if (report.stopped)
        sections.append(paragraph(QCoreApplication::translate("Velloran",
            "You stopped the migration: the notes it had not reached are not in "
            "Apple Notes. Run it again to carry on; the notes already made are "
            "skipped.")));
    if (!report.notesFailed.isEmpty())
        sections.append(
            listed(QCoreApplication::translate("Velloran", "Failed (%n)", nullptr, plural(report.notesFailed.size())),
                dashed(report.notesFailed)));
    if (!report.notesMisfiled.isEmpty()) {
        QStringList lines;
        for (const auto &[title, folder] : report.notesMisfiled)
            lines.append(QCoreApplication::translate("Velloran", "%1 — expected in “%2”").arg(title, folder));
        sections.append(
            listed(QCoreApplication::translate("Velloran", "Placed in root — their folder couldn’t be created (%n)",
                       nullptr, plural(report.notesMisfiled.size())),
                lines));
    }
    if (!report.imagesMissing.isEmpty())
        sections.append(listed(QCoreApplication::translate("Velloran", "Images not found on disk (%n)", nullptr,
                                   plural(report.imagesMissing.size())),
            report.imagesMissing));
    if (!report.foldersFlattened.isEmpty())
        sections.append(
            listed(QCoreApplication::translate("Velloran", "Deep folders flattened to “A ▸ B” (Notes nests one level)"),
                report.foldersFlattened));
    if (report.notesSkipped >= 1)
        sections.append(paragraph(QCoreApplication::translate("Velloran",
            "%n notes already existed in the destination folder and were skipped "
            "(no duplicates created). Safe to re-run.",
            nullptr, plural(report.notesSkipped))));
    if (report.wikilinksDegraded >= 1)
        sections.append(paragraph(QCoreApplication::translate("Velloran",
            "%n wikilinks became underlined text references — Apple Notes has no "
            "API for creating note-to-note links.",
            nullptr, plural(report.wikilinksDegraded))));
    return outcome;
}

Outcome outcomeOf(const NotesExporter::Result &result)
{
    Outcome outcome;
    outcome.hasIssues = !result.failed.isEmpty() || result.stopped;
    outcome.title = result.stopped ? QCoreApplication::translate("Velloran", "Export stopped")
        : outcome.hasIssues        ? QCoreApplication::translate("Velloran", "Export finished with issues")
                                   : QCoreApplication::translate("Velloran", "Export complete");
    outcome.summary
        = summaryLine(QCoreApplication::translate("Velloran", "%n notes written", nullptr, plural(result.written)),
            QCoreApplication::translate("Velloran", "%n folders", nullptr, plural(result.folders.size())));
    if (result.stopped)
        outcome.sections.append(paragraph(QCoreApplication::translate(
            "Velloran", "You stopped the export: the notes it had not reached were not written.")));
    if (!result.failed.isEmpty())
        outcome.sections.append(
            listed(QCoreApplication::translate("Velloran", "Failed (%n)", nullptr, plural(result.failed.size())),
                dashed(result.failed)));
    return outcome;
}

AnalysisSummary summaryOf(const VaultAnalysis &analysis)
{
    AnalysisSummary summary;
    summary.notes = analysis.notes.size();
    summary.folders = analysis.folders.size();
    summary.attachmentsResolved = analysis.attachmentsResolved;
    summary.attachmentsMissing = analysis.attachmentsMissing;
    for (const VaultAnalysis::Note &note : analysis.notes) {
        summary.wikilinks += note.wikilinks.size();
        summary.hasTables = summary.hasTables || note.hasTables;
    }
    summary.titlesRenamed = analysis.titlesRenamed;
    summary.unreadableFiles = VaultScanner::unreadableFileCount(analysis);
    summary.unreadableFolders = analysis.unreadable.size() - summary.unreadableFiles;
    return summary;
}

QList<AnalysisRow> rowsOf(const AnalysisSummary &summary)
{
    QList<AnalysisRow> rows {
        { u"doc.text"_s, QCoreApplication::translate("Velloran", "%n notes", nullptr, plural(summary.notes)),
            QCoreApplication::translate("Velloran", "will be created in Apple Notes") },
        { u"folder"_s, QCoreApplication::translate("Velloran", "%n folders", nullptr, plural(summary.folders)),
            QCoreApplication::translate("Velloran", "recreated inside “Imported by Velloran”") },
        { u"photo"_s,
            QCoreApplication::translate("Velloran", "%n images", nullptr, plural(summary.attachmentsResolved)),
            summary.attachmentsMissing < 1
                ? QCoreApplication::translate("Velloran", "attached to their notes")
                : QCoreApplication::translate("Velloran", "attached · %n missing on disk (listed in the report)",
                    nullptr, plural(summary.attachmentsMissing)) },
        { u"link"_s, QCoreApplication::translate("Velloran", "%n wikilinks", nullptr, plural(summary.wikilinks)),
            QCoreApplication::translate(
                "Velloran", "become styled text references (Notes has no API for note-to-note links)") },
    };
    if (summary.hasTables)
        rows.append({ u"tablecells"_s, QCoreApplication::translate("Velloran", "Tables"),
            QCoreApplication::translate("Velloran", "preserved as real Notes tables") });
    // English says "1 title", not "1 titles", also where no translation is loaded.
    const qint64 renamed = summary.titlesRenamed;
    if (renamed > 0)
        rows.append({ u"doc.text"_s,
            renamed == 1 ? QCoreApplication::translate("Velloran", "1 title")
                         : QCoreApplication::translate("Velloran", "%n titles", nullptr, plural(renamed)),
            QCoreApplication::translate(
                "Velloran", "get a number, as another note of that name goes to the same Notes folder") });
    const qint64 files = summary.unreadableFiles;
    const qint64 folders = summary.unreadableFolders;
    const QString fileCount = files == 1 ? QCoreApplication::translate("Velloran", "1 file")
                                         : QCoreApplication::translate("Velloran", "%n files", nullptr, plural(files));
    const QString folderCount = folders == 1
        ? QCoreApplication::translate("Velloran", "1 folder")
        : QCoreApplication::translate("Velloran", "%n folders", nullptr, plural(folders));
    const QString unreadable = QCoreApplication::translate("Velloran", "couldn't be read (listed in the report)");
    for (const auto &[n, count] : { std::pair { files, fileCount }, std::pair { folders, folderCount } }) {
        if (n > 0)
            rows.append({ u"exclamationmark.triangle.fill"_s, count, unreadable });
    }
    return rows;
}

QVariantList AnalysisListing::noteList() const
{
    return variantList(notes);
}

QVariantList AnalysisListing::unreadableList() const
{
    return variantList(unreadable);
}

AnalysisListing listingOf(const VaultAnalysis &analysis, const QString &vaultPath)
{
    const QDir vault(vaultPath);
    AnalysisListing listing;
    for (const VaultAnalysis::Note &note : analysis.notes)
        listing.notes.append({ vault.relativeFilePath(note.fileURL.toLocalFile()), note });
    listing.folders = analysis.folders.values();
    listing.folders.sort();
    listing.attachmentsResolved = analysis.attachmentsResolved;
    listing.attachmentsMissing = analysis.attachmentsMissing;
    for (const auto &[path, reason] : analysis.unreadable)
        listing.unreadable.append({ path, reason });
    listing.titlesRenamed = analysis.titlesRenamed;
    return listing;
}

namespace {

bool holdsGadget(const QVariant &value)
{
    return value.metaType().flags().testFlag(QMetaType::IsGadget);
}

/// One property value other than a gadget or a list of values as JSON.
QJsonValue jsonValue(const QVariant &value)
{
    if (value.metaType() == QMetaType::fromType<Pairs>()) {
        QJsonArray array;
        for (const auto &[first, second] : value.value<Pairs>())
            array.append(QJsonArray { first, second });
        return array;
    }
    if (value.metaType() == QMetaType::fromType<QStringList>())
        return QJsonArray::fromStringList(value.toStringList());
    if (value.metaType() == QMetaType::fromType<bool>())
        return value.toBool();
    if (value.metaType() == QMetaType::fromType<QString>())
        return value.toString();
    return value.toLongLong();
}

/// `value` as a `Json` (compact text or a tree): a gadget through `ofGadget(type, data)`, a list item by
/// item through `ofList(items)`, anything else through `ofScalar(value)`.
template<typename Json, typename OfGadget, typename OfList, typename OfScalar>
Json asJson(const QVariant &value, OfGadget ofGadget, OfList ofList, OfScalar ofScalar)
{
    if (holdsGadget(value))
        return ofGadget(*value.metaType().metaObject(), value.constData());
    if (value.metaType() == QMetaType::fromType<QVariantList>())
        return ofList(value.toList());
    return ofScalar(value);
}

/// One property value as compact JSON, with the properties of a gadget in declaration order.
QByteArray compactValue(const QVariant &value)
{
    return asJson<QByteArray>(
        value, [](const QMetaObject &type, const void *gadget) { return compactJson(type, gadget); },
        [](const QVariantList &list) {
            QByteArrayList items;
            for (const QVariant &item : list)
                items.append(compactValue(item));
            return '[' + items.join(',') + ']';
        },
        [](const QVariant &scalar) {
            // Through QJsonDocument, for the same escaping and number format everywhere.
            const QByteArray array = QJsonDocument(QJsonArray { jsonValue(scalar) }).toJson(QJsonDocument::Compact);
            return array.mid(1, array.size() - 2);
        });
}

QJsonObject jsonObject(const QMetaObject &type, const void *gadget);

/// One property value as a JSON tree: a gadget as an object, a list as an array.
QJsonValue jsonTree(const QVariant &value)
{
    return asJson<QJsonValue>(
        value, jsonObject,
        [](const QVariantList &list) {
            QJsonArray array;
            for (const QVariant &item : list)
                array.append(jsonTree(item));
            return array;
        },
        jsonValue);
}

/// A gadget as a JSON object, whose keys come out sorted.
QJsonObject jsonObject(const QMetaObject &type, const void *gadget)
{
    QJsonObject object;
    for (int i = type.propertyOffset(); i < type.propertyCount(); ++i) {
        const QMetaProperty property = type.property(i);
        object.insert(QString::fromLatin1(property.name()), jsonTree(property.readOnGadget(gadget)));
    }
    return object;
}

} // namespace

QByteArray compactJson(const QMetaObject &type, const void *gadget)
{
    // Written by hand so that the fields keep their declaration order (a QJsonObject sorts its keys).
    QByteArray json = "{";
    for (int i = type.propertyOffset(); i < type.propertyCount(); ++i) {
        const QMetaProperty property = type.property(i);
        if (json.size() > 1)
            json += ',';
        json += '"' + QByteArray(property.name()) + "\":" + compactValue(property.readOnGadget(gadget));
    }
    return json + '}';
}

QByteArray indentedJson(const QMetaObject &type, const void *gadget)
{
    return QJsonDocument(jsonObject(type, gadget)).toJson(QJsonDocument::Indented);
}

} // namespace Presentation
