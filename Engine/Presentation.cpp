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

namespace {

/// What updating a previous export did: the files rewritten, the unchanged notes, the edited files kept
/// and the notes gone from Notes, each only when it has something.
QList<Section> updateSections(const NotesExporter::UpdateSummary &update)
{
    QList<Section> sections;
    if (!update.updated.isEmpty())
        sections.append(
            listed(QCoreApplication::translate("Velloran", "Updated (%n)", nullptr, plural(update.updated.size())),
                update.updated));
    if (update.unchanged >= 1)
        sections.append(paragraph(QCoreApplication::translate("Velloran",
            "%n notes had not changed since the last export and were left alone.", nullptr, plural(update.unchanged))));
    if (!update.keptEdits.isEmpty()) {
        QStringList lines;
        for (const auto &[edited, copy] : update.keptEdits)
            lines.append(QCoreApplication::translate("Velloran", "%1 — kept your edits; the new version is %2")
                             .arg(edited, copy));
        sections.append(listed(
            QCoreApplication::translate("Velloran", "Kept your edits (%n)", nullptr, plural(update.keptEdits.size())),
            lines));
    }
    if (!update.gone.isEmpty())
        sections.append(
            listed(QCoreApplication::translate("Velloran", "No longer in Apple Notes — files left alone (%n)", nullptr,
                       plural(update.gone.size())),
                update.gone));
    return sections;
}

} // namespace

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
    if (result.datesUnavailable)
        outcome.sections.append(paragraph(QCoreApplication::translate(
            "Velloran", "This version of Notes does not give the notes’ dates: the files were written without them.")));
    if (result.update)
        outcome.sections += updateSections(*result.update);
    return outcome;
}

namespace {

/// A planned note's line about whether Notes already has it.
QString presenceLine(const PlannedNote &note)
{
    if (note.inNotes == PlannedNote::alreadyInNotes)
        return QCoreApplication::translate("Velloran", "Already in Apple Notes — will be skipped");
    if (note.inNotes == PlannedNote::willBeCreated)
        return QCoreApplication::translate("Velloran", "Will be created");
    return QCoreApplication::translate("Velloran", "Not checked whether it is already in Apple Notes");
}

/// One planned note: its title over what will happen to it.
Section noteSection(const PlannedNote &note)
{
    const QString heading = note.renamedFrom.isEmpty()
        ? note.title
        : QCoreApplication::translate("Velloran", "%1 → renamed from “%2”").arg(note.title, note.renamedFrom);
    QStringList lines { QCoreApplication::translate("Velloran", "Folder: %1").arg(note.folder.join(u" / "_s)) };
    if (!note.failure.isEmpty()) {
        lines.append(QCoreApplication::translate("Velloran", "Will fail: %1").arg(note.failure));
    } else {
        lines.append(presenceLine(note));
        for (const QString &image : note.imagesAttached)
            lines.append(QCoreApplication::translate("Velloran", "Image attached: %1").arg(image));
        for (const auto &[image, reason] : note.imagesNotAttached)
            lines.append(QCoreApplication::translate("Velloran", "Image not attached: %1 — %2").arg(image, reason));
        for (const QString &link : note.wikilinks)
            lines.append(QCoreApplication::translate("Velloran", "Wikilink becomes underlined text: %1").arg(link));
        if (note.hasTables)
            lines.append(QCoreApplication::translate("Velloran", "Tables preserved as real Notes tables"));
    }
    return listed(heading, lines);
}

} // namespace

Outcome outcomeOf(const MigrationPlan &plan)
{
    Outcome outcome;
    outcome.title = QCoreApplication::translate("Velloran", "Dry run: nothing was created");
    const qint64 failing = plan.failing();
    outcome.hasIssues = failing > 0 || !plan.unreadable.isEmpty();
    if (plan.notesChecked) {
        // Counted apart: lupdate does not end on a qualified name among translate()'s arguments.
        const qint64 toCreate = plan.count(PlannedNote::willBeCreated);
        const qint64 toSkip = plan.count(PlannedNote::alreadyInNotes);
        outcome.summary = summaryLine(
            QCoreApplication::translate("Velloran", "%n notes to create", nullptr, plural(toCreate)),
            QCoreApplication::translate("Velloran", "%n already in Apple Notes (skipped)", nullptr, plural(toSkip)));
    } else {
        outcome.summary = QCoreApplication::translate(
            "Velloran", "%n notes to migrate", nullptr, plural(plan.notes.size() - failing));
    }
    if (!plan.notesChecked && !plan.unknownReason.isEmpty())
        outcome.sections.append(paragraph(QCoreApplication::translate("Velloran",
            "Apple Notes couldn't be read, so it is unknown which notes are already there (they would be "
            "skipped): %1")
                                              .arg(plan.unknownReason)));
    for (const PlannedNote &note : plan.notes)
        outcome.sections.append(noteSection(note));
    if (!plan.unreadable.isEmpty())
        outcome.sections.append(
            listed(QCoreApplication::translate("Velloran", "Couldn't be read — will be listed as failed (%n)", nullptr,
                       plural(plan.unreadable.size())),
                dashed(plan.unreadable)));
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
        const QVariant value = property.readOnGadget(gadget);
        if (value.isValid())
            object.insert(QString::fromLatin1(property.name()), jsonTree(value));
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
        const QVariant value = property.readOnGadget(gadget);
        // Undefined: a value that only some runs have (what an option adds) is left out of the others.
        if (!value.isValid())
            continue;
        if (json.size() > 1)
            json += ',';
        json += '"' + QByteArray(property.name()) + "\":" + compactValue(value);
    }
    return json + '}';
}

QByteArray indentedJson(const QMetaObject &type, const void *gadget)
{
    return QJsonDocument(jsonObject(type, gadget)).toJson(QJsonDocument::Indented);
}

} // namespace Presentation
