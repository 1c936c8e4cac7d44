// folders: what Apple Notes holds, read through the same bridge as the application's export.
// doctor: whether Velloran can reach Apple Notes at all, and what to do when it cannot.

#include "CliIo.h"
#include "Commands.h"

#include "Exporter.h"
#include "NotesAccess.h"

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

/// The permission check on one screen, as the application's start screen shows it: exit status 0 when
/// Notes answered, 1 otherwise.
int doctor()
{
    const NotesAccess::Check check = QCoro::waitFor(NotesAccess::check());
    CliIo::out(outcomeText(NotesAccess::outcomeOf(check)));
    return check.ok() ? 0 : 1;
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

    CLI::App *doctorCommand = app.add_subcommand("doctor",
        CliIo::helpText(QT_TRANSLATE_NOOP("Velloran",
            "Check that Velloran can reach Apple Notes: whether osascript is there, whether Automation for "
            "Notes is granted (and if not, where to grant it and how to be asked again), and how many folders "
            "and notes Notes shows. Reads nothing but those numbers. Exit status: 0 all is well, 1 otherwise.")));
    doctorCommand->callback([&exitCode] { exitCode = doctor(); });
}
