// analyze and render: the Markdown-to-Notes side of the engine, from the terminal.

#include "CliIo.h"
#include "Commands.h"

#include "MarkdownLite.h"
#include "Presentation.h"
#include "Text.h"
#include "VaultScanner.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <CLI/CLI.hpp>

using namespace Qt::StringLiterals;

namespace {

/// The figures of the analysis screen, one row per line: count text, then what will happen.
QString analysisText(const VaultAnalysis &analysis, const QString &vaultPath)
{
    const QList<Presentation::AnalysisRow> rows = Presentation::rowsOf(Presentation::summaryOf(analysis));
    qsizetype width = 0;
    for (const Presentation::AnalysisRow &row : rows)
        width = std::max(width, row.count.size());
    QString text = QFileInfo(vaultPath).fileName() + u'\n'
        + QCoreApplication::translate("Velloran", "Here's what Velloran found:") + u'\n';
    for (const Presentation::AnalysisRow &row : rows)
        text += row.count.leftJustified(width + 2) + row.label + u'\n';
    return text;
}

int analyze(const QString &path, bool json)
{
    if (!CliIo::checkFolder(path))
        return 1;
    const QString vaultPath = QFileInfo(path).absoluteFilePath();
    const VaultAnalysis analysis = VaultScanner::scan(QUrl::fromLocalFile(vaultPath));
    if (json)
        CliIo::out(Presentation::indentedJson(Presentation::listingOf(analysis, vaultPath)));
    else
        CliIo::out(analysisText(analysis, vaultPath));
    return 0;
}

int render(const std::string &fileArgument, bool stripFrontmatter, bool json)
{
    const QString file = QString::fromLocal8Bit(fileArgument);
    const std::optional<QByteArray> bytes = CliIo::readInput(file);
    if (!bytes)
        return 1;
    std::optional<QString> decoded = Text::decodeUtf8Strict(*bytes);
    if (!decoded) {
        CliIo::fail(QCoreApplication::translate("Velloran", "%1: not valid UTF-8").arg(file.isEmpty() ? u"-"_s : file));
        return 1;
    }
    QString markdown = *std::move(decoded);
    if (stripFrontmatter)
        markdown = VaultScanner::stripFrontmatter(markdown).first;
    const MarkdownLite::Output output = MarkdownLite::convert(markdown);
    if (json) {
        const QJsonObject root { { u"html"_s, output.html },
            { u"images"_s, QJsonArray::fromStringList(output.images) } };
        CliIo::out(QJsonDocument(root).toJson(QJsonDocument::Indented));
    } else {
        CliIo::out(output.html);
    }
    return 0;
}

} // namespace

void addMigrationCommands(CLI::App &app, int &exitCode)
{
    addFolderCommand(app, "analyze",
        QT_TRANSLATE_NOOP("Velloran",
            "Scan a folder of Markdown files and show what a migration "
            "to Apple Notes would do with it."),
        QT_TRANSLATE_NOOP("Velloran", "The folder (vault) to scan"),
        QT_TRANSLATE_NOOP("Velloran", "Print the whole analysis as JSON (a failure as {\"error\": MESSAGE})"), exitCode,
        analyze);

    auto *renderCommand = app.add_subcommand(
        "render", CliIo::helpText(QT_TRANSLATE_NOOP("Velloran", "Render Markdown as an Apple Notes body (HTML).")));
    auto renderFile = std::make_shared<std::string>();
    auto renderStrip = std::make_shared<bool>(false);
    auto renderJson = std::make_shared<bool>(false);
    renderCommand->add_option("FILE", *renderFile,
        CliIo::helpText(QT_TRANSLATE_NOOP("Velloran", "The Markdown file; standard input when absent or \"-\"")));
    renderCommand->add_flag("--strip-frontmatter", *renderStrip,
        CliIo::helpText(QT_TRANSLATE_NOOP("Velloran", "Remove a leading YAML frontmatter block first")));
    renderCommand->add_flag("--json", *renderJson,
        CliIo::helpText(QT_TRANSLATE_NOOP(
            "Velloran", "Print {\"html\": ..., \"images\": [...]} instead (a failure as {\"error\": MESSAGE})")));
    renderCommand->callback([=, &exitCode] { exitCode = render(*renderFile, *renderStrip, *renderJson); });
}
