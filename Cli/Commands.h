#pragma once

#include <QString>
#include <QStringList>

#include <QCoro/QCoroTask>

#include <functional>
#include <string>

namespace CLI {
class App;
}
namespace Presentation {
struct Outcome;
}
class Exporter;
class Interrupt;

// Each command registers itself on the tool and, when it runs, stores its exit status in `exitCode`.
// The commands hold no logic of their own: they call the engine and print what it returns.

/// analyze, render
void addMigrationCommands(CLI::App &app, int &exitCode);

/// to-markdown
void addExportCommands(CLI::App &app, int &exitCode);

/// folders, doctor
void addNotesCommands(CLI::App &app, int &exitCode);

/// migrate, export, round-trip: whole runs of the migration and export controllers
void addRunCommands(CLI::App &app, int &exitCode);

/// round-trip (registered by addRunCommands)
void addRoundTripCommand(CLI::App &app, int &exitCode);

/// Registers a command NAME that takes one folder, PATH, and the flag --json, and runs `command` with them.
CLI::App *addFolderCommand(CLI::App &app, const char *name, const char *description, const char *pathHelp,
    const char *jsonHelp, int &exitCode, std::function<int(const QString &path, bool json)> command);

/// A report or result as its screen lists it: title, summary, then each section, a heading over its
/// entries (indented by two spaces) or a paragraph, after an empty line.
QString outcomeText(const Presentation::Outcome &outcome);

/// Exports the named Notes folders (all when none) into `destination`, showing progress; Ctrl-C stops it.
QCoro::Task<> exportWithProgress(Exporter &exporter, QStringList folders, QString destination, Interrupt &interrupt);
