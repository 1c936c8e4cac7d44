// velloran-cli: Velloran's engine from the terminal and from scripts.

#include "CliIo.h"
#include "Commands.h"
#include "ScriptRunner.h"

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
            return u"unknown option: "_s + word;
        if (app.get_subcommands().empty())
            return u"unknown command: "_s + word;
        return u"unexpected argument: "_s + word;
    }
    if (app.get_subcommands().empty())
        return u"a command is required"_s;
    return QString::fromLocal8Bit(error.what());
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

    CLI::App app("Velloran: move notes between Apple Notes and folders of Markdown files.", "velloran-cli");
    app.set_version_flag("--version", "velloran-cli " VELLORAN_VERSION);
    app.require_subcommand(1);
    app.footer("Failures: one line \"velloran-cli: MESSAGE\" on standard error, naming the path, command or "
               "option at fault. With --json, each failure also prints one JSON object {\"error\": MESSAGE} on "
               "standard output; the exit status stays the same (1: the command failed or finished with issues, "
               "2: usage error). A path that does not exist: \"PATH: no such folder\" (\"no such file\" for a "
               "file), exit status 1.");

    int exitCode = 0;
    addMigrationCommands(app, exitCode);
    addNotesCommands(app, exitCode);
    addExportCommands(app, exitCode);
    addRunCommands(app, exitCode);

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
        CliIo::fail(message, u"velloran-cli: "_s + message + u"\nRun with --help for more information."_s);
        return usageStatus;
    }
    return exitCode;
}
