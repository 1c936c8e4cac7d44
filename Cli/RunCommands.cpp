// migrate and export: whole runs of the two controllers from the terminal.
//
// Each command drives the same Migrator or Exporter that the application uses, on a QCoreApplication event
// loop (see RunDriver.h), and prints what the report and result screens show, worded by the engine
// (Presentation.h). Ctrl-C asks the run to stop after the note in flight; the report so far is printed and
// nothing temporary is left behind.

#include "CliIo.h"
#include "Commands.h"
#include "RunDriver.h"

#include "Exporter.h"
#include "MigrationPlan.h"
#include "Migrator.h"
#include "NotesExporter.h"
#include "Presentation.h"
#include "VaultScanner.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QtConcurrent>

#include <QCoro/QCoroFuture>
#include <QCoro/QCoroTask>

#include <CLI/CLI.hpp>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

/// Scans the vault in the background and migrates it, showing progress. `interrupt` may stop it.
QCoro::Task<> migrateVault(Migrator &migrator, QString vaultPath, Interrupt &interrupt)
{
    QFuture<VaultAnalysis> scanning = QtConcurrent::run(VaultScanner::scan, QUrl::fromLocalFile(vaultPath));
    const VaultAnalysis analysis = co_await scanning;
    if (interrupt.requested())
        co_return;
    QCoro::Task<> run = withProgress(
        migrator, interrupt, QString(), [&] { return migrator.migrate(analysis, QUrl::fromLocalFile(vaultPath)); });
    co_await run;
}

/// Scans the vault in the background and works out, note by note, what migrating it would do. `stop` ends
/// the check against Notes early.
QCoro::Task<> planVault(QString vaultPath, MigrationPlan &plan, ScriptRunner::StopSignal &stop)
{
    QFuture<VaultAnalysis> scanning = QtConcurrent::run(VaultScanner::scan, QUrl::fromLocalFile(vaultPath));
    const VaultAnalysis analysis = co_await scanning;
    QCoro::Task<MigrationPlan> planning
        = MigrationPlanner::planChecked(analysis, QUrl::fromLocalFile(vaultPath), &stop);
    plan = co_await planning;
}

/// migrate --dry-run: the plan, listed as the analysis screen's details list it, or as JSON. Creates
/// nothing; a Notes that cannot be read leaves the notes' presence there unknown, which is no failure.
/// Ctrl-C ends the check against Notes (nothing temporary is left behind) and prints the plan so far.
int dryRunCommand(const QString &vaultPath, bool json)
{
    Interrupt interrupt;
    ScriptRunner::StopSignal stop;
    interrupt.onInterrupt([&stop] { stop.request(); });
    MigrationPlan plan;
    runOnEventLoop(planVault(vaultPath, plan, stop));
    CliIo::out(json ? Presentation::indentedJson(plan) : outcomeText(Presentation::outcomeOf(plan)).toUtf8());
    return interrupt.requested() ? interruptedStatus : 0;
}

int migrateCommand(const QString &path, bool json, bool dryRun)
{
    if (!CliIo::checkFolder(path))
        return 1;
    const QString vaultPath = QFileInfo(path).absoluteFilePath();
    if (dryRun)
        return dryRunCommand(vaultPath, json);
    Interrupt interrupt;
    Migrator migrator;
    runOnEventLoop(migrateVault(migrator, vaultPath, interrupt));
    if (!migrator.report()) {
        const QString message = QCoreApplication::translate("Velloran", "Interrupted before the migration began.");
        CliIo::fail(message, message);
        return interruptedStatus;
    }
    const Migrator::Report &report = *migrator.report();
    const Presentation::Outcome outcome = Presentation::outcomeOf(report);
    CliIo::out(json ? Presentation::compactJson(report) + '\n' : outcomeText(outcome).toUtf8());
    if (interrupt.requested())
        return interruptedStatus;
    return outcome.hasIssues ? 1 : 0;
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

int exportCommand(const QString &destinationArgument, const QStringList &folders, bool json,
    const NotesExporter::ExportOptions &options)
{
    if (!CliIo::checkDestination(destinationArgument))
        return 1;
    const QString destination = QFileInfo(destinationArgument).absoluteFilePath();
    Interrupt interrupt;
    Exporter exporter;
    exporter.setExportOptions(options);
    if (!folders.isEmpty()) {
        bool exist = false;
        runOnEventLoop([](Exporter &exporter, QStringList folders, bool &exist) -> QCoro::Task<> {
            QCoro::Task<bool> checking = foldersExist(exporter, std::move(folders));
            exist = co_await checking;
        }(exporter, folders, exist));
        if (!exist)
            return 1;
    }
    runOnEventLoop(exportWithProgress(exporter, folders, destination, interrupt));
    const NotesExporter::Result result = exporter.result().value_or(NotesExporter::Result {});
    CliIo::out(json ? Presentation::compactJson(result) + '\n' : outcomeText(Presentation::outcomeOf(result)).toUtf8());
    if (interrupt.requested())
        return interruptedStatus;
    return result.failed.isEmpty() ? 0 : 1;
}

/// The flags of the export's options: images as files, links between notes, headings from Notes' styles.
void addExportOptionFlags(CLI::App &exportRun, NotesExporter::ExportOptions &options)
{
    exportRun
        .add_option_function<std::string>(
            "--images", [&options](const std::string &value) { options.imagesAsFiles = value == "files"; },
            CliIo::helpText(QT_TRANSLATE_NOOP("Velloran",
                "How images held in a note are written: inline (the default), or files, each saved once into an "
                "\"attachments\" subfolder beside the note and linked by its relative path")))
        ->check(CLI::IsMember({ "inline", "files" }));
    exportRun.add_flag("--dates", options.dates,
        CliIo::helpText(QT_TRANSLATE_NOOP("Velloran",
            "Keep dates: write each note's creation and modification dates as frontmatter, and give its file "
            "the note's modification time")));
    exportRun.add_flag("--note-links", options.noteLinks,
        CliIo::helpText(QT_TRANSLATE_NOOP("Velloran",
            "Turn links to other notes into wiki links, [[Title]], to their exported files (also on with --images "
            "files or --dates); links to notes outside the export are kept and listed")));
    exportRun.add_flag("--headings", options.headings,
        CliIo::helpText(QT_TRANSLATE_NOOP(
            "Velloran", "Turn Notes’ Title, Heading and Subheading styles into Markdown headings (#, ##, ###)")));
    exportRun.add_flag("--update", options.update,
        CliIo::helpText(QT_TRANSLATE_NOOP("Velloran",
            "Update a previous export into DEST: rewrite the files of notes that changed, unless you edited "
            "them (the new version is then written beside), and list notes gone from Notes")));
}

} // namespace

QCoro::Task<> exportWithProgress(Exporter &exporter, QStringList folders, QString destination, Interrupt &interrupt)
{
    QCoro::Task<> run = withProgress(exporter, interrupt, QCoreApplication::translate("Velloran", "Reading notes…"),
        [&] { return exporter.exportNotes(folders, QUrl::fromLocalFile(destination)); });
    co_await run;
}

QString outcomeText(const Presentation::Outcome &outcome)
{
    QString text = outcome.title + u'\n' + outcome.summary + u'\n';
    for (const Presentation::Section &section : outcome.sections) {
        if (!section.text.isEmpty()) {
            text += u'\n' + section.text + u'\n';
            continue;
        }
        text += u'\n' + section.heading + u'\n';
        for (const QString &entry : section.entries)
            text += u"  "_s + entry + u'\n';
    }
    return text;
}

CLI::App *addFolderCommand(CLI::App &app, const char *name, const char *description, const char *pathHelp,
    const char *jsonHelp, int &exitCode, std::function<int(const QString &path, bool json)> command)
{
    auto path = std::make_shared<std::string>();
    auto json = std::make_shared<bool>(false);
    CLI::App *subcommand = app.add_subcommand(name, CliIo::helpText(description));
    subcommand->add_option("PATH", *path, CliIo::helpText(pathHelp))->required();
    subcommand->add_flag("--json", *json, CliIo::helpText(jsonHelp));
    subcommand->callback([=, &exitCode] { exitCode = command(QString::fromLocal8Bit(*path), *json); });
    return subcommand;
}

void addRunCommands(CLI::App &app, int &exitCode)
{
    auto migrateDryRun = std::make_shared<bool>(false);
    CLI::App *migrate = addFolderCommand(app, "migrate",
        QT_TRANSLATE_NOOP("Velloran",
            "Scan a folder of Markdown files and migrate it into Apple Notes, under \"Imported by Velloran\". "
            "Exit status: 0 complete, 1 finished with issues or could not start (a path that does not exist, for one), "
            "2 usage error, 130 stopped by Ctrl-C, SIGTERM or SIGHUP."),
        QT_TRANSLATE_NOOP("Velloran", "The folder (vault) to migrate"),
        QT_TRANSLATE_NOOP("Velloran", "Print the report as JSON (a failure as {\"error\": MESSAGE})"), exitCode,
        [migrateDryRun](const QString &path, bool json) { return migrateCommand(path, json, *migrateDryRun); });
    migrate->add_flag("--dry-run", *migrateDryRun,
        CliIo::helpText(QT_TRANSLATE_NOOP("Velloran",
            "Create nothing: list, note by note, the Notes folder, the final title, the images attached and "
            "not attached, the wikilinks, the tables, and whether the note is already in Apple Notes (checked "
            "when Apple Notes can be read). With --json, as JSON")));

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
    auto exportOptions = std::make_shared<NotesExporter::ExportOptions>();
    addExportOptionFlags(*exportRun, *exportOptions);
    exportRun->callback([=, &exitCode] {
        QStringList folders;
        for (const std::string &folder : *exportFolders)
            folders.append(QString::fromLocal8Bit(folder));
        exitCode = exportCommand(QString::fromLocal8Bit(*exportDestination), folders, *exportJson, *exportOptions);
    });

    addRoundTripCommand(app, exitCode);
}
