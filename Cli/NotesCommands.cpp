// folders: what Apple Notes holds, read through the same bridge as the application's export.

#include "CliIo.h"
#include "Commands.h"

#include "NotesExporter.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <CLI/CLI.hpp>

#include <exception>
#include <memory>

namespace {

int listFolders(bool json)
{
    QStringList folders;
    try {
        folders = NotesExporter::listFolders();
    } catch (const std::exception &error) {
        // The same text that the application shows, so a refused Automation permission says where to grant it.
        CliIo::fail(errorDescription(error), errorDescription(error));
        return 1;
    }
    if (json) {
        CliIo::out(QJsonDocument(QJsonArray::fromStringList(folders)).toJson(QJsonDocument::Compact) + '\n');
    } else {
        for (const QString &folder : std::as_const(folders))
            CliIo::out(folder + u'\n');
    }
    return 0;
}

} // namespace

void addNotesCommands(CLI::App &app, int &exitCode)
{
    auto json = std::make_shared<bool>(false);
    CLI::App *folders = app.add_subcommand(
        "folders", "List the Apple Notes folders, sorted as the export screen shows them, one per line.");
    folders->add_flag("--json", *json, "Print them as one JSON array instead (a failure as {\"error\": MESSAGE})");
    folders->callback([json, &exitCode] { exitCode = listFolders(*json); });
}
