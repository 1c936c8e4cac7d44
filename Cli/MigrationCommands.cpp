#include "Commands.h"
#include <CLI/CLI.hpp>
void addMigrationCommands(CLI::App &, int &) {}
