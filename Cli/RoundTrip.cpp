// round-trip: a folder sent into the Notes stand-in and exported back, with the Markdown constructs counted
// on both sides, note by note.

#include "CliIo.h"
#include "Commands.h"
#include "RunDriver.h"

#include "Exporter.h"
#include "Files.h"
#include "Migrator.h"
#include "NotesExporter.h"
#include "Regex.h"
#include "VaultScanner.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtConcurrent>

#include <QCoro/QCoroFuture>
#include <QCoro/QCoroTask>

#include <CLI/CLI.hpp>

#include <memory>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

/// How many of each kind of Markdown construct a text holds. Code blocks are left out.
struct Features
{
    qint64 headings = 0;
    qint64 listItems = 0;
    qint64 links = 0;
    qint64 emphasis = 0;
    qint64 tables = 0;
    qint64 images = 0;

    Features &operator+=(const Features &other)
    {
        headings += other.headings;
        listItems += other.listItems;
        links += other.links;
        emphasis += other.emphasis;
        tables += other.tables;
        images += other.images;
        return *this;
    }
};

/// The text without fenced code blocks, whose content is not Markdown.
QString withoutCode(const QString &markdown)
{
    QStringList kept;
    bool inFence = false;
    for (const QString &line : markdown.split(u'\n')) {
        const QStringView trimmed = QStringView(line).trimmed();
        if (trimmed.startsWith(u"```") || trimmed.startsWith(u"~~~")) {
            inFence = !inFence;
            continue;
        }
        if (!inFence)
            kept.append(line);
    }
    return kept.join(u'\n');
}

qint64 count(const QString &text, const QString &pattern)
{
    return Regex::cached(pattern).matches(text).size();
}

Features featuresOf(const QString &markdown)
{
    const QString text = withoutCode(markdown);
    Features f;
    f.headings = count(text, u"(?m)^ {0,3}#{1,6}(?:[ \\t]|$)"_s);
    f.listItems = count(text, u"(?m)^[ \\t]*(?:[-*+]|\\d{1,9}[.)])[ \\t]+\\S"_s);
    f.links = count(text, u"(?<!!)\\[[^\\]\\n]*\\]\\([^)\\n]*\\)"_s) + count(text, u"(?<!!)\\[\\[[^\\]\\n]+\\]\\]"_s);
    f.emphasis = count(text, u"\\*\\*[^*\\n]+\\*\\*"_s) + count(text, u"__[^_\\n]+__"_s)
        + count(text, u"(?<![*\\w])\\*(?![\\s*])[^*\\n]+?\\*(?!\\*)"_s)
        + count(text, u"(?<![_\\w])_(?![\\s_])[^_\\n]+?_(?![_\\w])"_s) + count(text, u"~~[^~\\n]+~~"_s)
        + count(text, u"==[^=\\n]+=="_s);
    f.tables = count(text, u"(?m)^[ \\t]*\\|?[ \\t]*:?-{3,}:?[ \\t]*\\|[ \\t:|-]*$"_s);
    f.images = count(text, u"!\\[[^\\]\\n]*\\]\\([^)\\n]*\\)"_s) + count(text, u"!\\[\\[[^\\]\\n]+\\]\\]"_s);
    return f;
}

QString featuresLine(const Features &source, const Features &exported)
{
    const auto pair = [](const char *name, qint64 a, qint64 b) {
        return QString::fromUtf8(name) + u' ' + QString::number(a) + u"→"_s + QString::number(b);
    };
    return QStringList { pair("headings", source.headings, exported.headings),
        pair("list items", source.listItems, exported.listItems), pair("links", source.links, exported.links),
        pair("emphasis", source.emphasis, exported.emphasis), pair("tables", source.tables, exported.tables),
        pair("images", source.images, exported.images) }
        .join(u" · "_s);
}

QJsonObject featuresJson(const Features &f)
{
    return { { u"headings"_s, f.headings }, { u"listItems"_s, f.listItems }, { u"links"_s, f.links },
        { u"emphasis"_s, f.emphasis }, { u"tables"_s, f.tables }, { u"images"_s, f.images } };
}

using ExportedNotes = QHash<std::pair<QString, QString>, QStringList>;

/// Exported files by (folder, note name), each the Markdown below the heading the writer puts first.
ExportedNotes exportedNotes(const QString &destination)
{
    ExportedNotes notes;
    QDirIterator it(destination, { u"*.md"_s }, QDir::Files, QDirIterator::Subdirectories);
    QStringList paths;
    while (it.hasNext())
        paths.append(it.next());
    paths.sort(); // "Name.md" before "Name (2).md"
    for (const QString &path : std::as_const(paths)) {
        const QString text = Files::readUtf8(path).value_or(QString());
        const qsizetype end = text.indexOf(u"\n\n"_s);
        const QString name = text.startsWith(u"# "_s) && end > 0 ? text.mid(2, end - 2) : QString();
        const QString folder = QFileInfo(QFileInfo(path).path()).fileName();
        notes[{ folder, name }].append(end > 0 ? text.mid(end + 2) : text);
    }
    return notes;
}

/// The exported Markdown of `note`, taken out of `exported`: from its own folder's subfolder, or from the
/// root folder's, where a misfiled note sits.
std::optional<QString> takeExported(ExportedNotes &exported, const VaultAnalysis::Note &note)
{
    const auto take = [&exported](const QString &folder, const QString &name) -> std::optional<QString> {
        auto found = exported.find({ NotesExporter::sanitizeFilename(folder), name });
        if (found == exported.end() || found->isEmpty())
            return std::nullopt;
        return found->takeFirst();
    };
    const QString folder = note.relativeFolder.isEmpty() ? Migrator::rootFolderName
                                                         : note.relativeFolder.join(Migrator::subfolderJoiner);
    std::optional<QString> back = take(folder, note.title);
    return back ? back : take(Migrator::rootFolderName, note.title);
}

/// The counts of every note of `analysis` against its exported copy, as text lines or as JSON.
QByteArray comparison(const VaultAnalysis &analysis, const QString &vaultPath, ExportedNotes exported, bool json)
{
    Features sourceTotal;
    Features exportedTotal;
    qint64 missing = 0;
    QString text;
    QJsonArray notes;
    const QDir vault(vaultPath);
    for (const VaultAnalysis::Note &note : analysis.notes) {
        QString source = Files::readUtf8(note.fileURL.toLocalFile()).value_or(QString());
        if (note.frontmatterStripped)
            source = VaultScanner::stripFrontmatter(source).first;
        const std::optional<QString> back = takeExported(exported, note);
        const QString label = vault.relativeFilePath(note.fileURL.toLocalFile());
        const Features before = featuresOf(source);
        sourceTotal += before;
        QJsonObject entry { { u"note"_s, label }, { u"source"_s, featuresJson(before) } };
        if (back) {
            const Features after = featuresOf(*back);
            exportedTotal += after;
            text += label + u": "_s + featuresLine(before, after) + u'\n';
            entry.insert(u"exported"_s, featuresJson(after));
        } else {
            ++missing;
            text += label + u": "_s + QCoreApplication::translate("Velloran", "not exported") + u'\n';
        }
        notes.append(entry);
    }
    if (!json)
        return (text
            + QCoreApplication::translate(
                "Velloran", "Total (%n notes, %1 not exported): ", nullptr, int(analysis.notes.size()))
                  .arg(missing)
            + featuresLine(sourceTotal, exportedTotal) + u'\n')
            .toUtf8();
    const QJsonObject total { { u"notes"_s, analysis.notes.size() }, { u"notExported"_s, missing },
        { u"source"_s, featuresJson(sourceTotal) }, { u"exported"_s, featuresJson(exportedTotal) } };
    return QJsonDocument(QJsonObject { { u"notes"_s, notes }, { u"total"_s, total } }).toJson(QJsonDocument::Indented);
}

QCoro::Task<> roundTrip(Migrator &migrator, Exporter &exporter, QString vaultPath, QString exportPath,
    Interrupt &interrupt, VaultAnalysis &analysis)
{
    QFuture<VaultAnalysis> scanning = QtConcurrent::run(VaultScanner::scan, QUrl::fromLocalFile(vaultPath));
    analysis = co_await scanning;
    if (interrupt.requested())
        co_return;
    interrupt.onInterrupt([&migrator] { migrator.requestStop(); });
    QCoro::Task<> migration = migrator.migrate(analysis, QUrl::fromLocalFile(vaultPath));
    co_await migration;
    if (interrupt.requested())
        co_return;
    QCoro::Task<> exporting = exportWithProgress(exporter, {}, exportPath, interrupt);
    co_await exporting;
}

int roundTripCommand(const QString &path, bool json, bool headings)
{
    if (!CliIo::checkFolder(path))
        return 1;
    if (qEnvironmentVariableIsEmpty("VELLORAN_OSASCRIPT")) {
        CliIo::fail(QCoreApplication::translate(
            "Velloran", "round-trip runs only against the Notes stand-in: set VELLORAN_OSASCRIPT to fake-osascript"));
        return 2;
    }
    const QString vaultPath = QFileInfo(path).absoluteFilePath();
    QTemporaryDir work(QDir(QDir::tempPath()).filePath(u"round-trip-XXXXXX"_s));
    if (!work.isValid()) {
        CliIo::fail(
            QCoreApplication::translate("Velloran", "cannot make a working folder: %1").arg(work.errorString()));
        return 1;
    }
    // A fresh library for this run only: the user's own stand-in library is not touched.
    qputenv("VELLORAN_FAKE_NOTES", work.filePath(u"library.json"_s).toUtf8());
    const QString exportPath = work.filePath(u"export"_s);

    Interrupt interrupt;
    Migrator migrator;
    Exporter exporter;
    NotesExporter::ExportOptions options;
    options.headings = headings;
    exporter.setExportOptions(options);
    VaultAnalysis analysis;
    runOnEventLoop(roundTrip(migrator, exporter, vaultPath, exportPath, interrupt, analysis));
    if (interrupt.requested())
        return interruptedStatus;
    CliIo::out(comparison(analysis, vaultPath, exportedNotes(exportPath), json));
    return 0;
}

} // namespace

void addRoundTripCommand(CLI::App &app, int &exitCode)
{
    auto headings = std::make_shared<bool>(false);
    CLI::App *command = addFolderCommand(app, "round-trip",
        QT_TRANSLATE_NOOP("Velloran",
            "Migrate a folder into the Notes stand-in (fake-osascript, named by VELLORAN_OSASCRIPT), export it back "
            "and print, per note, how many headings, list items, links, emphasis, tables and images each side has."),
        QT_TRANSLATE_NOOP("Velloran", "The folder (vault) to send round"),
        QT_TRANSLATE_NOOP("Velloran", "Print the counts as JSON (a failure as {\"error\": MESSAGE})"), exitCode,
        [headings](const QString &path, bool json) { return roundTripCommand(path, json, *headings); });
    command->add_flag("--headings", *headings,
        CliIo::helpText(QT_TRANSLATE_NOOP(
            "Velloran", "Export with Notes’ heading styles turned into Markdown headings, as export --headings does")));
}
