// velloran-cli: Velloran's engine from the terminal and from scripts.

#include "Commands.h"

#include <QCoreApplication>

#include <CLI/CLI.hpp>

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("velloran-cli"));
    QCoreApplication::setOrganizationName(QStringLiteral("Velloran"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VELLORAN_VERSION));

    CLI::App app("Velloran: move notes between Apple Notes and folders of Markdown files.", "velloran-cli");
    app.set_version_flag("--version", "velloran-cli " VELLORAN_VERSION);
    app.require_subcommand(1);

    int exitCode = 0;
    addMigrationCommands(app, exitCode);
    addNotesCommands(app, exitCode);
    addExportCommands(app, exitCode);
    addRunCommands(app, exitCode);

    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp &e) {
        return app.exit(e);
    } catch (const CLI::CallForAllHelp &e) {
        return app.exit(e);
    } catch (const CLI::CallForVersion &e) {
        return app.exit(e);
    } catch (const CLI::ParseError &e) {
        app.exit(e);
        return 2; // usage error
    }
    return exitCode;
}
