#pragma once

namespace CLI {
class App;
}

// Each command registers itself on the tool and, when it runs, stores its exit status in `exitCode`.
// The commands hold no logic of their own: they call the engine and print what it returns.

/// analyze, render
void addMigrationCommands(CLI::App &app, int &exitCode);

/// to-markdown
void addExportCommands(CLI::App &app, int &exitCode);

/// folders
void addNotesCommands(CLI::App &app, int &exitCode);

/// migrate, export, round-trip: whole runs of the migration and export controllers
void addRunCommands(CLI::App &app, int &exitCode);
