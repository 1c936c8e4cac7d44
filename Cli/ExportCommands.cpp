#include "CliIo.h"
#include "Commands.h"

#include "HtmlToMarkdown.h"

#include <CLI/CLI.hpp>

#include <memory>

void addExportCommands(CLI::App &app, int &exitCode)
{
    auto file = std::make_shared<std::string>();
    CLI::App *toMarkdown = app.add_subcommand("to-markdown",
        CliIo::helpText(QT_TRANSLATE_NOOP(
            "Velloran", "Print the Markdown of an Apple Notes note body (HTML) read from FILE or standard input.")));
    toMarkdown->add_option("FILE", *file,
        CliIo::helpText(QT_TRANSLATE_NOOP("Velloran", "The note body; standard input when absent or \"-\".")));
    toMarkdown->callback([file, &exitCode] {
        const std::optional<QByteArray> html = CliIo::readInput(QString::fromLocal8Bit(*file));
        if (!html) {
            exitCode = 1;
            return;
        }
        CliIo::out(HtmlToMarkdown::convert(QString::fromUtf8(*html)));
        exitCode = 0;
    });
}
