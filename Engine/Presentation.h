#pragma once

#include "Exporter.h"
#include "MigrationPlan.h"
#include "Migrator.h"
#include "NotesExporter.h"
#include "VaultScanner.h"

#include <QByteArray>
#include <QList>
#include <QMetaObject>
#include <QString>
#include <QStringList>
#include <QVariantList>

/// What the report, result and analysis screens show, worked out once from the run's outcome or the scan,
/// so that the screens and velloran-cli show the same texts in the same order. Every text is translated
/// (context "Velloran", keyed by its English text) with the current translator.
namespace Presentation {

/// One part of a report or result: a heading over one line per entry, or a paragraph of text alone.
struct Section
{
    Q_GADGET
    Q_PROPERTY(QString heading MEMBER heading)
    Q_PROPERTY(QStringList entries MEMBER entries)
    Q_PROPERTY(QString text MEMBER text)

public:
    /// Empty for a paragraph.
    QString heading;
    QStringList entries;
    /// The paragraph; empty for a heading with entries.
    QString text;

    friend bool operator==(const Section &, const Section &) = default;
};

/// A finished run as its screen shows it: the title, the summary line under it, whether it is marked as
/// having issues, and its sections in display order.
struct Outcome
{
    Q_GADGET
    Q_PROPERTY(QString title MEMBER title)
    Q_PROPERTY(QString summary MEMBER summary)
    Q_PROPERTY(bool hasIssues MEMBER hasIssues)
    Q_PROPERTY(QVariantList sections READ sectionList)

public:
    QString title;
    QString summary;
    bool hasIssues = false;
    QList<Section> sections;

    /// The sections, each as a Section in a QVariant, for QML's list views.
    QVariantList sectionList() const;
};

/// The migration report: "Migration complete", "… finished with issues" (a failed or misfiled note) or
/// "… stopped"; the notes created and images attached; then, each only when it has something, the stop,
/// the failures, the misfiled notes, the missing images, the flattened folders, the skipped notes and the
/// degraded wikilinks. Missing images, skipped notes, flattened folders and wikilinks alone are no issue.
Outcome outcomeOf(const Migrator::Report &report);
/// The export result: "Export complete", "… finished with issues" (a failure) or "… stopped"; the notes
/// written and folders; then the stop and the failures, each only when it has something; then, when the
/// dates were asked for and Notes did not give them, a paragraph saying so, and for an update of a
/// previous export, the files updated, the unchanged notes, the edits kept and the notes gone.
Outcome outcomeOf(const NotesExporter::Result &result);

/// A migration worked out without running it (a dry run), as the analysis screen's details and
/// velloran-cli list it: the title saying that nothing was created; how many notes will be created and
/// skipped (or that Apple Notes could not be checked); then why not, when it could not be checked; one
/// section per note, in the order the migration makes them, headed by its title (and the name it had
/// before it was numbered) over its folder, its presence in Notes, a failure, the images attached and
/// not attached, the wiki links and the tables; and the files and folders that could not be read.
Outcome outcomeOf(const MigrationPlan &plan);

/// The counts of a scanned folder that the analysis screen shows.
struct AnalysisSummary
{
    Q_GADGET
    Q_PROPERTY(qint64 notes MEMBER notes)
    Q_PROPERTY(qint64 folders MEMBER folders)
    Q_PROPERTY(qint64 attachmentsResolved MEMBER attachmentsResolved)
    Q_PROPERTY(qint64 attachmentsMissing MEMBER attachmentsMissing)
    Q_PROPERTY(qint64 wikilinks MEMBER wikilinks)
    Q_PROPERTY(bool hasTables MEMBER hasTables)
    Q_PROPERTY(qint64 titlesRenamed MEMBER titlesRenamed)
    Q_PROPERTY(qint64 unreadableFiles MEMBER unreadableFiles)
    Q_PROPERTY(qint64 unreadableFolders MEMBER unreadableFolders)

    friend bool operator==(const AnalysisSummary &, const AnalysisSummary &) = default;

public:
    qint64 notes = 0;
    qint64 folders = 0;
    qint64 attachmentsResolved = 0;
    qint64 attachmentsMissing = 0;
    /// Wiki links of all notes together.
    qint64 wikilinks = 0;
    /// At least one note holds a table.
    bool hasTables = false;
    qint64 titlesRenamed = 0;
    qint64 unreadableFiles = 0;
    qint64 unreadableFolders = 0;
};

AnalysisSummary summaryOf(const VaultAnalysis &analysis);

/// One row of the analysis screen: a symbol name, the count text and what will happen.
struct AnalysisRow
{
    Q_GADGET
    Q_PROPERTY(QString symbol MEMBER symbol)
    Q_PROPERTY(QString count MEMBER count)
    Q_PROPERTY(QString label MEMBER label)

public:
    QString symbol;
    QString count;
    QString label;

    friend bool operator==(const AnalysisRow &, const AnalysisRow &) = default;
};

/// The rows, in order: notes, folders, images and wikilinks always; tables when a note has one; renamed
/// titles, unreadable files and unreadable folders when there are any.
QList<AnalysisRow> rowsOf(const AnalysisSummary &summary);

/// A scanned note as velloran-cli's analysis lists it: the note's own fields, with its file as a path
/// relative to the scanned folder.
struct ListedNote
{
    Q_GADGET
    Q_PROPERTY(QString path MEMBER path)
    Q_PROPERTY(QStringList relativeFolder READ relativeFolder)
    Q_PROPERTY(QString title READ title)
    Q_PROPERTY(QStringList imageRefs READ imageRefs)
    Q_PROPERTY(QStringList wikilinks READ wikilinks)
    Q_PROPERTY(bool hasTables READ hasTables)
    Q_PROPERTY(bool hasTasks READ hasTasks)
    Q_PROPERTY(bool frontmatterStripped READ frontmatterStripped)
    Q_PROPERTY(bool titleRenamed READ titleRenamed)

public:
    QString path;
    VaultAnalysis::Note note;

    QStringList relativeFolder() const { return note.relativeFolder; }
    QString title() const { return note.title; }
    QStringList imageRefs() const { return note.imageRefs; }
    QStringList wikilinks() const { return note.wikilinks; }
    bool hasTables() const { return note.hasTables; }
    bool hasTasks() const { return note.hasTasks; }
    bool frontmatterStripped() const { return note.frontmatterStripped; }
    bool titleRenamed() const { return note.titleRenamed; }
};

/// A file or folder that the scan could not read: its path relative to the scanned folder (a folder's
/// ends with "/") and why.
struct UnreadableEntry
{
    Q_GADGET
    Q_PROPERTY(QString path MEMBER path)
    Q_PROPERTY(QString reason MEMBER reason)

public:
    QString path;
    QString reason;
};

/// The whole of a scan as velloran-cli's analysis lists it: VaultAnalysis with paths relative to the
/// scanned folder and its folders sorted.
struct AnalysisListing
{
    Q_GADGET
    Q_PROPERTY(QVariantList notes READ noteList)
    Q_PROPERTY(QStringList folders MEMBER folders)
    Q_PROPERTY(qint64 attachmentsResolved MEMBER attachmentsResolved)
    Q_PROPERTY(qint64 attachmentsMissing MEMBER attachmentsMissing)
    Q_PROPERTY(QVariantList unreadable READ unreadableList)
    Q_PROPERTY(qint64 titlesRenamed MEMBER titlesRenamed)

public:
    /// In the analysis's order (by title).
    QList<ListedNote> notes;
    /// Sorted.
    QStringList folders;
    qint64 attachmentsResolved = 0;
    qint64 attachmentsMissing = 0;
    QList<UnreadableEntry> unreadable;
    qint64 titlesRenamed = 0;

    QVariantList noteList() const;
    QVariantList unreadableList() const;
};

/// The listing of `analysis`, scanned from the folder at `vaultPath`.
AnalysisListing listingOf(const VaultAnalysis &analysis, const QString &vaultPath);

/// Values of a Q_GADGET type, each in a QVariant: a list of them as a property that QML's list views and
/// the JSON writers below read.
template<typename Gadget> QVariantList variantList(const QList<Gadget> &values)
{
    QVariantList list;
    list.reserve(values.size());
    for (const Gadget &value : values)
        list.append(QVariant::fromValue(value));
    return list;
}

/// A value of a Q_GADGET type as one line of compact JSON (no line break): an object of its properties in
/// declaration order, with numbers, booleans, texts, lists of texts, lists of text pairs (each an array of
/// two texts), and values of Q_GADGET types and lists of them (see variantList), written the same way.
QByteArray compactJson(const QMetaObject &type, const void *gadget);
template<typename Gadget> QByteArray compactJson(const Gadget &gadget)
{
    return compactJson(Gadget::staticMetaObject, &gadget);
}

/// The same values as an indented JSON document (four spaces a level, ending in a line break), as
/// QJsonDocument writes it: the keys of every object in alphabetical order.
QByteArray indentedJson(const QMetaObject &type, const void *gadget);
template<typename Gadget> QByteArray indentedJson(const Gadget &gadget)
{
    return indentedJson(Gadget::staticMetaObject, &gadget);
}

} // namespace Presentation
