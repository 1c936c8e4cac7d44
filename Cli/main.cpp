// velloran-cli: Velloran's engine from the terminal and from scripts.

#include "CliIo.h"
#include "Commands.h"
#include "ScriptRunner.h"
#include "Translations.h"

#include <QCoreApplication>

#include <CLI/CLI.hpp>

#include <cstring>
#include <string>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

/// The exit status of a usage error.
constexpr int usageStatus = 2;

/// Whether --json is among the arguments (before a "--" that ends the options).
bool asksForJson(int argc, char **argv)
{
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--") == 0)
            return false;
        if (std::strcmp(argv[i], "--json") == 0)
            return true;
    }
    return false;
}

/// What was wrong with the command line, naming the word at fault: an unknown command or option, or an
/// argument too many, before anything that is missing.
QString usageMessage(const CLI::App &app, const CLI::ParseError &error)
{
    std::vector<std::string> extras = app.remaining(true);
    if (app.get_subcommands().empty()) {
        // Before a command, --json only asks for the failure as JSON: it is not what went wrong.
        std::erase(extras, std::string("--json"));
    }
    if (!extras.empty()) {
        const QString word = QString::fromLocal8Bit(extras.front());
        if (word.size() > 1 && word.startsWith(u'-'))
            return QCoreApplication::translate("Velloran", "unknown option: %1").arg(word);
        if (app.get_subcommands().empty())
            return QCoreApplication::translate("Velloran", "unknown command: %1").arg(word);
        return QCoreApplication::translate("Velloran", "unexpected argument: %1").arg(word);
    }
    if (app.get_subcommands().empty())
        return QCoreApplication::translate("Velloran", "a command is required");
    return QString::fromLocal8Bit(error.what());
}

/// CLI11's own words in the help (headings, the usage line, the help and version flags) in the user's
/// language. Set before the commands are added: they take the formatter, the group and the help flag from
/// the tool.
void translateHelpWords(CLI::App &app)
{
    const auto formatter = app.get_formatter();
    formatter->label("Usage", CliIo::helpText(QT_TRANSLATE_NOOP("Velloran", "Usage")));
    formatter->label("OPTIONS", CliIo::helpText(QT_TRANSLATE_NOOP("Velloran", "OPTIONS")));
    formatter->label("SUBCOMMAND", CliIo::helpText(QT_TRANSLATE_NOOP("Velloran", "SUBCOMMAND")));
    formatter->label("SUBCOMMANDS", CliIo::helpText(QT_TRANSLATE_NOOP("Velloran", "SUBCOMMANDS")));
    formatter->label("Positionals", CliIo::helpText(QT_TRANSLATE_NOOP("Velloran", "Positionals")));
    formatter->label("REQUIRED", CliIo::helpText(QT_TRANSLATE_NOOP("Velloran", "REQUIRED")));
    formatter->label("TEXT", CliIo::helpText(QT_TRANSLATE_NOOP("Velloran", "TEXT")));
    app.group(CliIo::helpText(QT_TRANSLATE_NOOP("Velloran", "Subcommands")));
    app.set_help_flag("-h,--help", CliIo::helpText(QT_TRANSLATE_NOOP("Velloran", "Print this help message and exit")));
}

/// Puts every option, at every level, under the heading "Options" in the user's language. Run once the
/// commands are added: CLI11 gives each command's help flag its own default group.
void translateOptionGroups(CLI::App &app, const std::string &options)
{
    for (CLI::Option *option : app.get_options()) {
        if (option->get_group() == "Options")
            option->group(options);
    }
    for (CLI::App *command : app.get_subcommands([](CLI::App *) { return true; }))
        translateOptionGroups(*command, options);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    // Temporary folders of runs that were killed before they could clean up go first.
    ScriptRunner::RunFolder::removeAbandoned();
    QCoreApplication::setApplicationName(QStringLiteral("velloran-cli"));
    QCoreApplication::setOrganizationName(QStringLiteral("Velloran"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VELLORAN_VERSION));

    // Help and messages in the user's language, before the first text is made.
    Translations::install();

    CLI::App app(CliIo::helpText(QT_TRANSLATE_NOOP(
                     "Velloran", "Velloran: move notes between Apple Notes and folders of Markdown files.")),
        "velloran-cli");
    translateHelpWords(app);
    app.set_version_flag("--version", "velloran-cli " VELLORAN_VERSION,
        CliIo::helpText(QT_TRANSLATE_NOOP("Velloran", "Display program version information and exit")));
    app.require_subcommand(1);
    app.footer(CliIo::helpText(QT_TRANSLATE_NOOP("Velloran",
        "Failures: one line \"velloran-cli: MESSAGE\" on standard error, naming the path, command or "
        "option at fault. With --json, each failure also prints one JSON object {\"error\": MESSAGE} on "
        "standard output; the exit status stays the same (1: the command failed or finished with issues, "
        "2: usage error). A path that does not exist: \"PATH: no such folder\" (\"no such file\" for a "
        "file), exit status 1.")));

    int exitCode = 0;
    addMigrationCommands(app, exitCode);
    addNotesCommands(app, exitCode);
    addExportCommands(app, exitCode);
    addRunCommands(app, exitCode);
    translateOptionGroups(app, CliIo::helpText(QT_TRANSLATE_NOOP("Velloran", "Options")));

    CliIo::setJsonFailures(asksForJson(argc, argv));
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp &e) {
        return app.exit(e);
    } catch (const CLI::CallForAllHelp &e) {
        return app.exit(e);
    } catch (const CLI::CallForVersion &e) {
        return app.exit(e);
    } catch (const CLI::ParseError &e) {
        const QString message = usageMessage(app, e);
        CliIo::fail(message,
            u"velloran-cli: "_s + message + u'\n'
                + QCoreApplication::translate("Velloran", "Run with --help for more information."));
        return usageStatus;
    }
    return exitCode;
}
