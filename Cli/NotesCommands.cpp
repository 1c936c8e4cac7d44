// folders: what Apple Notes holds, read through the same bridge as the application's export.

#include "CliIo.h"
#include "Commands.h"

#include "Exporter.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <CLI/CLI.hpp>

#include <exception>
#include <memory>

namespace {

int listFolders(bool json)
{
    // The export controller's own list, so that folders of one name show as the export screen shows them
    // ("Notes — iCloud"), and each line can be given to export --folder.
    Exporter exporter;
    QCoro::waitFor(exporter.loadFolders());
    if (const std::optional<QString> &error = exporter.errorMessage()) {
        // The same text that the application shows, so a refused Automation permission says where to grant it.
        CliIo::fail(*error, *error);
        return 1;
    }
    const QStringList folders = exporter.availableFolders();
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
    CLI::App *folders = app.add_subcommand("folders",
        CliIo::helpText(QT_TRANSLATE_NOOP("Velloran",
            "List the Apple Notes folders as the export screen shows them, one per line (folders that "
            "share a name with what tells them apart); each line can be given to export --folder.")));
    folders->add_flag("--json", *json,
        CliIo::helpText(
            QT_TRANSLATE_NOOP("Velloran", "Print them as one JSON array instead (a failure as {\"error\": MESSAGE})")));
    folders->callback([json, &exitCode] { exitCode = listFolders(*json); });
}
