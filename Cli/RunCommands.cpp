// migrate, export and round-trip: whole runs of the two controllers from the terminal.
//
// Each command drives the same Migrator or Exporter that the application uses, on a QCoreApplication event
// loop, and prints what the report and result screens show. Ctrl-C asks the run to stop after the note in
// flight; the report so far is printed and nothing temporary is left behind.

#include "CliIo.h"
#include "Commands.h"

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
#include <QSocketNotifier>
#include <QTemporaryDir>
#include <QtConcurrent>

#include <QCoro/QCoroFuture>
#include <QCoro/QCoroTask>

#include <CLI/CLI.hpp>

#include <array>
#include <csignal>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

/// The exit status of a run that Ctrl-C (or SIGTERM, or SIGHUP) cut short: 128 + SIGINT, as shells report
/// it for Ctrl-C.
constexpr int interruptedStatus = 130;

QString tr(const char *text)
{
    return QCoreApplication::translate("Velloran", text);
}

// --- Ctrl-C, SIGTERM and SIGHUP
// ---------------------------------------------------------------------------------------------

int interruptPipe[2] = { -1, -1 };

extern "C" void onInterruptSignal(int)
{
    // Only async-signal-safe work here: one byte into the pipe, read on the event loop.
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(interruptPipe[1], &byte, 1);
}

/// The signals that stop a run as Ctrl-C does: a terminal closing (SIGHUP) and a polite kill (SIGTERM)
/// must not leave a run's temporary folder behind either.
constexpr int stopSignals[] = { SIGINT, SIGTERM, SIGHUP };

/// Turns SIGINT, SIGTERM and SIGHUP into a call on the event loop (the self-pipe pattern). Lives as long
/// as the command.
class Interrupt
{
public:
    Interrupt()
    {
        if (::pipe(interruptPipe) != 0)
            return;
        ::fcntl(interruptPipe[0], F_SETFL, O_NONBLOCK);
        ::fcntl(interruptPipe[1], F_SETFL, O_NONBLOCK);
        m_notifier = std::make_unique<QSocketNotifier>(interruptPipe[0], QSocketNotifier::Read);
        QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(), [this] {
            std::array<char, 16> bytes {};
            while (::read(interruptPipe[0], bytes.data(), bytes.size()) > 0) { }
            if (!m_requested)
                CliIo::err(QCoreApplication::translate("Velloran", "Stopping after the current note…") + u'\n');
            m_requested = true;
            if (m_onInterrupt)
                m_onInterrupt();
        });
        struct sigaction action = {};
        action.sa_handler = onInterruptSignal;
        sigemptyset(&action.sa_mask);
        action.sa_flags = SA_RESTART;
        for (size_t i = 0; i < std::size(stopSignals); ++i)
            ::sigaction(stopSignals[i], &action, &m_previous[i]);
    }

    ~Interrupt()
    {
        for (size_t i = 0; i < std::size(stopSignals); ++i)
            ::sigaction(stopSignals[i], &m_previous[i], nullptr);
        m_notifier.reset();
        for (int &fd : interruptPipe) {
            if (fd >= 0)
                ::close(fd);
            fd = -1;
        }
    }

    Interrupt(const Interrupt &) = delete;
    Interrupt &operator=(const Interrupt &) = delete;

    bool requested() const { return m_requested; }
    /// What a Ctrl-C does from now on, besides being remembered.
    void onInterrupt(std::function<void()> action) { m_onInterrupt = std::move(action); }

private:
    std::unique_ptr<QSocketNotifier> m_notifier;
    struct sigaction m_previous[std::size(stopSignals)] = {};
    bool m_requested = false;
    std::function<void()> m_onInterrupt;
};

// --- Progress -------------------------------------------------------------------------------------------

/// One line on standard error, redrawn in place: a bar, the percentage and the note being worked on.
/// Drawn only when standard error is a terminal.
class ProgressLine
{
public:
    ProgressLine()
        : m_enabled(CliIo::stderrIsTerminal())
    { }

    void draw(double fraction, const QString &label)
    {
        if (!m_enabled)
            return;
        constexpr int width = 30;
        const int filled = std::clamp(int(fraction * width), 0, width);
        QString name = label;
        if (name.size() > 40)
            name = name.left(39) + u'…';
        CliIo::err(u"\r\033[K["_s + QString(filled, u'#') + QString(width - filled, u'-') + u"] "_s
            + QString::number(int(fraction * 100)).rightJustified(3) + u"%  "_s + name);
        m_drawn = true;
    }

    void clear()
    {
        if (m_drawn)
            CliIo::err(u"\r\033[K"_s);
        m_drawn = false;
    }

private:
    bool m_enabled;
    bool m_drawn = false;
};

// --- Output ---------------------------------------------------------------------------------------------

QJsonArray pairsJson(const QList<std::pair<QString, QString>> &pairs)
{
    QJsonArray array;
    for (const auto &[first, second] : pairs)
        array.append(QJsonArray { first, second });
    return array;
}

QByteArray compact(const QJsonArray &array)
{
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

/// The report with its field names, in the report's own field order.
QByteArray reportJson(const Migrator::Report &report)
{
    return "{\"notesCreated\":" + QByteArray::number(report.notesCreated) + ",\"notesSkipped\":"
        + QByteArray::number(report.notesSkipped) + ",\"notesFailed\":" + compact(pairsJson(report.notesFailed))
        + ",\"notesMisfiled\":" + compact(pairsJson(report.notesMisfiled))
        + ",\"imagesAttached\":" + QByteArray::number(report.imagesAttached)
        + ",\"imagesMissing\":" + compact(QJsonArray::fromStringList(report.imagesMissing)) + ",\"foldersFlattened\":"
        + compact(QJsonArray::fromStringList(report.foldersFlattened)) + ",\"wikilinksDegraded\":"
        + QByteArray::number(report.wikilinksDegraded) + ",\"stopped\":" + (report.stopped ? "true" : "false") + "}\n";
}

bool hasIssues(const Migrator::Report &report)
{
    // Missing images, skipped notes, flattened folders and degraded wikilinks alone are not issues.
    return !report.notesFailed.isEmpty() || !report.notesMisfiled.isEmpty() || report.stopped;
}

/// The report as the report screen lists it: title, summary, the sections under their headers, then the
/// skipped and wikilink sentences.
QString reportText(const Migrator::Report &report)
{
    QString text = (report.stopped             ? tr("Migration stopped")
                           : hasIssues(report) ? tr("Migration finished with issues")
                                               : tr("Migration complete"))
        + u'\n';
    text += QString::number(report.notesCreated) + tr(" notes · ") + QString::number(report.imagesAttached)
        + tr(" images attached") + u'\n';
    const auto section = [&text](const QString &header, const QStringList &lines) {
        text += u'\n' + header + u'\n';
        for (const QString &line : lines)
            text += u"  "_s + line + u'\n';
    };
    if (report.stopped)
        text += u'\n'
            + tr("You stopped the migration: the notes it had not reached are not in Apple Notes. Run it again to "
                 "carry on; the notes already made are skipped.")
            + u'\n';
    if (!report.notesFailed.isEmpty()) {
        QStringList lines;
        for (const auto &[name, reason] : report.notesFailed)
            lines.append(name + u" — "_s + reason);
        section(tr("Failed (") + QString::number(report.notesFailed.size()) + u')', lines);
    }
    if (!report.notesMisfiled.isEmpty()) {
        QStringList lines;
        for (const auto &[title, path] : report.notesMisfiled)
            lines.append(title + tr(" — expected in “") + path + u"”"_s);
        section(tr("Placed in root — their folder couldn’t be created (") + QString::number(report.notesMisfiled.size())
                + u')',
            lines);
    }
    if (!report.imagesMissing.isEmpty())
        section(tr("Images not found on disk (") + QString::number(report.imagesMissing.size()) + u')',
            report.imagesMissing);
    if (!report.foldersFlattened.isEmpty())
        section(tr("Deep folders flattened to “A ▸ B” (Notes nests one level)"), report.foldersFlattened);
    if (report.notesSkipped >= 1)
        text += u'\n' + QString::number(report.notesSkipped)
            + tr(" notes already existed in the destination folder and were skipped (no duplicates created). Safe "
                 "to re-run.")
            + u'\n';
    if (report.wikilinksDegraded >= 1)
        text += u'\n' + QString::number(report.wikilinksDegraded)
            + tr(" wikilinks became underlined text references — Apple Notes has no API for creating note-to-note "
                 "links.")
            + u'\n';
    return text;
}

QStringList sortedFolders(const NotesExporter::Result &result)
{
    QStringList folders = result.folders.values();
    folders.sort();
    return folders;
}

QByteArray resultJson(const NotesExporter::Result &result)
{
    return "{\"written\":" + QByteArray::number(result.written) + ",\"failed\":" + compact(pairsJson(result.failed))
        + ",\"folders\":" + compact(QJsonArray::fromStringList(sortedFolders(result)))
        + ",\"stopped\":" + (result.stopped ? "true" : "false") + "}\n";
}

/// The result as the result screen shows it: title, summary and the failures.
QString resultText(const NotesExporter::Result &result)
{
    QString text = (result.stopped                   ? tr("Export stopped")
                           : result.failed.isEmpty() ? tr("Export complete")
                                                     : tr("Export finished with issues"))
        + u'\n';
    text += QString::number(result.written) + tr(" notes written · ") + QString::number(result.folders.size())
        + tr(" folders") + u'\n';
    if (result.stopped)
        text += u'\n' + tr("You stopped the export: the notes it had not reached were not written.") + u'\n';
    if (!result.failed.isEmpty()) {
        text += u'\n' + tr("Failed (") + QString::number(result.failed.size()) + u")\n"_s;
        for (const auto &[name, reason] : result.failed)
            text += u"  "_s + name + u" — "_s + reason + u'\n';
    }
    return text;
}

// --- Runs -----------------------------------------------------------------------------------------------

/// Ends the event loop once it runs (a quit before exec() would be lost).
void quitSoon()
{
    QMetaObject::invokeMethod(QCoreApplication::instance(), &QCoreApplication::quit, Qt::QueuedConnection);
}

/// Runs `task` on the application's event loop until it ends.
void runOnEventLoop(QCoro::Task<> task)
{
    QCoro::connect(std::move(task), QCoreApplication::instance(), [] { quitSoon(); });
    QCoreApplication::exec();
}

/// Scans the vault in the background and migrates it, showing progress. The analysis is what the migration
/// works from; `interrupt` may stop it.
QCoro::Task<> migrateVault(Migrator &migrator, QString vaultPath, Interrupt &interrupt)
{
    QFuture<VaultAnalysis> scanning = QtConcurrent::run(VaultScanner::scan, QUrl::fromLocalFile(vaultPath));
    const VaultAnalysis analysis = co_await scanning;
    if (interrupt.requested())
        co_return;

    ProgressLine progress;
    const auto redraw = [&] { progress.draw(migrator.progress(), migrator.currentNote()); };
    QObject::connect(&migrator, &Migrator::progressChanged, &migrator, redraw);
    QObject::connect(&migrator, &Migrator::currentNoteChanged, &migrator, redraw);
    interrupt.onInterrupt([&migrator] { migrator.requestStop(); });
    QCoro::Task<> run = migrator.migrate(analysis, QUrl::fromLocalFile(vaultPath));
    co_await run;
    interrupt.onInterrupt({});
    QObject::disconnect(&migrator, nullptr, &migrator, nullptr);
    progress.clear();
}

/// Exports the named Notes folders (all when none) into `destination`, showing progress.
QCoro::Task<> exportFolders(Exporter &exporter, QStringList folders, QString destination, Interrupt &interrupt)
{
    ProgressLine progress;
    const auto redraw = [&] {
        progress.draw(exporter.progress(),
            exporter.currentNote().isEmpty() ? QCoreApplication::translate("Velloran", "Reading notes…")
                                             : exporter.currentNote());
    };
    QObject::connect(&exporter, &Exporter::progressChanged, &exporter, redraw);
    QObject::connect(&exporter, &Exporter::currentNoteChanged, &exporter, redraw);
    interrupt.onInterrupt([&exporter] { exporter.requestStop(); });
    redraw();
    QCoro::Task<> run = exporter.exportNotes(folders, QUrl::fromLocalFile(destination));
    co_await run;
    interrupt.onInterrupt({});
    QObject::disconnect(&exporter, nullptr, &exporter, nullptr);
    progress.clear();
}

int migrateCommand(const QString &path, bool json)
{
    if (!CliIo::checkFolder(path))
        return 1;
    const QString vaultPath = QFileInfo(path).absoluteFilePath();
    Interrupt interrupt;
    Migrator migrator;
    runOnEventLoop(migrateVault(migrator, vaultPath, interrupt));
    if (!migrator.report()) {
        const QString interrupted = QCoreApplication::translate("Velloran", "Interrupted before the migration began.");
        CliIo::fail(interrupted, interrupted);
        return interruptedStatus;
    }
    const Migrator::Report &report = *migrator.report();
    CliIo::out(json ? reportJson(report) : reportText(report).toUtf8());
    if (interrupt.requested())
        return interruptedStatus;
    return hasIssues(report) ? 1 : 0;
}

/// Whether every folder named on the command line is one of Notes' (a name, or a label as the export
/// screen shows it). Otherwise reports the first that is not, or the failure to list the folders.
QCoro::Task<bool> foldersExist(Exporter &exporter, QStringList folders)
{
    QCoro::Task<> loading = exporter.loadFolders();
    co_await loading;
    if (exporter.errorMessage()) {
        CliIo::fail(*exporter.errorMessage());
        co_return false;
    }
    const QStringList unknown = exporter.unknownFolders(folders);
    if (!unknown.isEmpty()) {
        CliIo::fail(QCoreApplication::translate("Velloran", "%1: no such folder in Apple Notes").arg(unknown.first()));
        co_return false;
    }
    co_return true;
}

int exportCommand(const QString &destinationArgument, const QStringList &folders, bool json)
{
    if (!CliIo::checkDestination(destinationArgument))
        return 1;
    const QString destination = QFileInfo(destinationArgument).absoluteFilePath();
    Interrupt interrupt;
    Exporter exporter;
    if (!folders.isEmpty()) {
        bool exist = false;
        runOnEventLoop([](Exporter &exporter, QStringList folders, bool &exist) -> QCoro::Task<> {
            QCoro::Task<bool> checking = foldersExist(exporter, std::move(folders));
            exist = co_await checking;
        }(exporter, folders, exist));
        if (!exist)
            return 1;
    }
    runOnEventLoop(exportFolders(exporter, folders, destination, interrupt));
    const NotesExporter::Result result = exporter.result().value_or(NotesExporter::Result {});
    CliIo::out(json ? resultJson(result) : resultText(result).toUtf8());
    if (interrupt.requested())
        return interruptedStatus;
    return result.failed.isEmpty() ? 0 : 1;
}

// --- Round trip -----------------------------------------------------------------------------------------

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

/// Exported files by (folder, note name), each the Markdown below the heading the writer puts first.
QHash<std::pair<QString, QString>, QStringList> exportedNotes(const QString &destination)
{
    QHash<std::pair<QString, QString>, QStringList> notes;
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
    QCoro::Task<> exporting = exportFolders(exporter, {}, exportPath, interrupt);
    co_await exporting;
}

int roundTripCommand(const QString &path, bool json)
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
    VaultAnalysis analysis;
    runOnEventLoop(roundTrip(migrator, exporter, vaultPath, exportPath, interrupt, analysis));
    if (interrupt.requested())
        return interruptedStatus;

    QHash<std::pair<QString, QString>, QStringList> exported = exportedNotes(exportPath);
    const auto take = [&exported](const QString &folder, const QString &name) -> std::optional<QString> {
        auto found = exported.find({ folder, name });
        if (found == exported.end() || found->isEmpty())
            return std::nullopt;
        return found->takeFirst();
    };
    Features sourceTotal;
    Features exportedTotal;
    qint64 missing = 0;
    QString text;
    QJsonArray notes;
    const QDir vault(vaultPath);
    for (const VaultAnalysis::Note &note : std::as_const(analysis.notes)) {
        QString source = Files::readUtf8(note.fileURL.toLocalFile()).value_or(QString());
        if (note.frontmatterStripped)
            source = VaultScanner::stripFrontmatter(source).first;
        const QString folder = note.relativeFolder.isEmpty() ? Migrator::rootFolderName
                                                             : note.relativeFolder.join(Migrator::subfolderJoiner);
        // A misfiled note sits in the root folder.
        std::optional<QString> back = take(NotesExporter::sanitizeFilename(folder), note.title);
        if (!back)
            back = take(NotesExporter::sanitizeFilename(Migrator::rootFolderName), note.title);
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
    const QString total = QCoreApplication::translate(
                              "Velloran", "Total (%n notes, %1 not exported): ", nullptr, int(analysis.notes.size()))
                              .arg(missing)
        + featuresLine(sourceTotal, exportedTotal) + u'\n';
    if (json) {
        const QJsonObject root { { u"notes"_s, notes },
            { u"total"_s,
                QJsonObject { { u"notes"_s, analysis.notes.size() }, { u"notExported"_s, missing },
                    { u"source"_s, featuresJson(sourceTotal) }, { u"exported"_s, featuresJson(exportedTotal) } } } };
        CliIo::out(QJsonDocument(root).toJson(QJsonDocument::Indented));
    } else {
        CliIo::out(text + total);
    }
    return 0;
}

} // namespace

void addRunCommands(CLI::App &app, int &exitCode)
{
    auto migratePath = std::make_shared<std::string>();
    auto migrateJson = std::make_shared<bool>(false);
    CLI::App *migrate = app.add_subcommand("migrate",
        CliIo::helpText(QT_TRANSLATE_NOOP("Velloran",
            "Scan a folder of Markdown files and migrate it into Apple Notes, under \"Imported by Velloran\". "
            "Exit status: 0 complete, 1 finished with issues or could not start (a path that does not exist, for one), "
            "2 usage error, 130 stopped by Ctrl-C, SIGTERM or SIGHUP.")));
    migrate
        ->add_option(
            "PATH", *migratePath, CliIo::helpText(QT_TRANSLATE_NOOP("Velloran", "The folder (vault) to migrate")))
        ->required();
    migrate->add_flag("--json", *migrateJson,
        CliIo::helpText(QT_TRANSLATE_NOOP("Velloran", "Print the report as JSON (a failure as {\"error\": MESSAGE})")));
    migrate->callback(
        [=, &exitCode] { exitCode = migrateCommand(QString::fromLocal8Bit(*migratePath), *migrateJson); });

    auto exportDestination = std::make_shared<std::string>();
    auto exportFolders = std::make_shared<std::vector<std::string>>();
    auto exportJson = std::make_shared<bool>(false);
    CLI::App *exportRun = app.add_subcommand("export",
        CliIo::helpText(QT_TRANSLATE_NOOP("Velloran",
            "Export Apple Notes folders as Markdown files into DEST, one subfolder per Notes folder. "
            "Exit status: 0 complete, 1 finished with issues or could not start (a path that does not exist, for one), "
            "2 usage error, 130 stopped by Ctrl-C, SIGTERM or SIGHUP.")));
    exportRun
        ->add_option("DEST", *exportDestination,
            CliIo::helpText(
                QT_TRANSLATE_NOOP("Velloran", "The output folder; made when missing, inside a folder that exists")))
        ->required();
    exportRun
        ->add_option("--folder", *exportFolders,
            CliIo::helpText(QT_TRANSLATE_NOOP("Velloran",
                "A Notes folder to export, by name (every folder of that name) or as the export screen labels it "
                "(\"Notes — iCloud\"); repeat for more (default: all). A folder that Notes does not have is an error")))
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    exportRun->add_flag("--json", *exportJson,
        CliIo::helpText(QT_TRANSLATE_NOOP("Velloran", "Print the result as JSON (a failure as {\"error\": MESSAGE})")));
    exportRun->callback([=, &exitCode] {
        QStringList folders;
        for (const std::string &folder : *exportFolders)
            folders.append(QString::fromLocal8Bit(folder));
        exitCode = exportCommand(QString::fromLocal8Bit(*exportDestination), folders, *exportJson);
    });

    auto roundTripPath = std::make_shared<std::string>();
    auto roundTripJson = std::make_shared<bool>(false);
    CLI::App *roundTripRun = app.add_subcommand("round-trip",
        CliIo::helpText(QT_TRANSLATE_NOOP("Velloran",
            "Migrate a folder into the Notes stand-in (fake-osascript, named by VELLORAN_OSASCRIPT), export it back "
            "and print, per note, how many headings, list items, links, emphasis, tables and images each side has.")));
    roundTripRun
        ->add_option(
            "PATH", *roundTripPath, CliIo::helpText(QT_TRANSLATE_NOOP("Velloran", "The folder (vault) to send round")))
        ->required();
    roundTripRun->add_flag("--json", *roundTripJson,
        CliIo::helpText(QT_TRANSLATE_NOOP("Velloran", "Print the counts as JSON (a failure as {\"error\": MESSAGE})")));
    roundTripRun->callback(
        [=, &exitCode] { exitCode = roundTripCommand(QString::fromLocal8Bit(*roundTripPath), *roundTripJson); });
}
