// analyze and render: the Markdown-to-Notes side of the engine, from the terminal.

#include "CliIo.h"
#include "Commands.h"

#include "MarkdownLite.h"
#include "VaultScanner.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringDecoder>

#include <CLI/CLI.hpp>

using namespace Qt::StringLiterals;

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("Velloran", text);
}

QJsonArray toJson(const QStringList &list)
{
    return QJsonArray::fromStringList(list);
}

QByteArray analysisJson(const VaultAnalysis &analysis, const QString &vaultPath)
{
    const QDir vault(vaultPath);
    QJsonArray notes;
    for (const VaultAnalysis::Note &note : analysis.notes) {
        notes.append(QJsonObject {
            { u"path"_s, vault.relativeFilePath(note.fileURL.toLocalFile()) },
            { u"relativeFolder"_s, toJson(note.relativeFolder) },
            { u"title"_s, note.title },
            { u"imageRefs"_s, toJson(note.imageRefs) },
            { u"wikilinks"_s, toJson(note.wikilinks) },
            { u"hasTables"_s, note.hasTables },
            { u"hasTasks"_s, note.hasTasks },
            { u"frontmatterStripped"_s, note.frontmatterStripped },
            { u"titleRenamed"_s, note.titleRenamed },
        });
    }
    QJsonArray unreadable;
    for (const auto &[path, reason] : analysis.unreadable)
        unreadable.append(QJsonObject { { u"path"_s, path }, { u"reason"_s, reason } });
    QStringList folders = analysis.folders.values();
    folders.sort();
    const QJsonObject root {
        { u"notes"_s, notes },
        { u"folders"_s, toJson(folders) },
        { u"attachmentsResolved"_s, analysis.attachmentsResolved },
        { u"attachmentsMissing"_s, analysis.attachmentsMissing },
        { u"unreadable"_s, unreadable },
        { u"titlesRenamed"_s, analysis.titlesRenamed },
    };
    return QJsonDocument(root).toJson(QJsonDocument::Indented);
}

/// The figures of the analysis screen, one per line: count text, then what will happen.
QString analysisText(const VaultAnalysis &analysis, const QString &vaultPath)
{
    qint64 wikilinks = 0;
    bool hasTables = false;
    for (const VaultAnalysis::Note &note : analysis.notes) {
        wikilinks += note.wikilinks.size();
        hasTables = hasTables || note.hasTables;
    }
    QList<std::pair<QString, QString>> rows {
        { QString::number(analysis.notes.size()) + u" notes"_s, tr("will be created in Apple Notes") },
        { QString::number(analysis.folders.size()) + u" folders"_s, tr("recreated inside “Imported by Velloran”") },
        { QString::number(analysis.attachmentsResolved) + u" images"_s,
            analysis.attachmentsMissing < 1 ? tr("attached to their notes")
                                            : tr("attached · ") + QString::number(analysis.attachmentsMissing)
                    + tr(" missing on disk (listed in the report)") },
        { QString::number(wikilinks) + u" wikilinks"_s,
            tr("become styled text references (Notes has no API for note-to-note links)") },
    };
    if (hasTables)
        rows.append({ tr("Tables"), tr("preserved as real Notes tables") });
    const auto counted = [](qint64 n, const QString &one, const QString &many) { return n == 1 ? one : many.arg(n); };
    if (analysis.titlesRenamed > 0)
        rows.append({ counted(analysis.titlesRenamed, tr("1 title"), tr("%1 titles")),
            tr("get a number, as another note of that name goes to the same Notes folder") });
    const qint64 unreadableFiles = VaultScanner::unreadableFileCount(analysis);
    const qint64 unreadableFolders = analysis.unreadable.size() - unreadableFiles;
    if (unreadableFiles > 0)
        rows.append(
            { counted(unreadableFiles, tr("1 file"), tr("%1 files")), tr("couldn't be read (listed in the report)") });
    if (unreadableFolders > 0)
        rows.append({ counted(unreadableFolders, tr("1 folder"), tr("%1 folders")),
            tr("couldn't be read (listed in the report)") });

    qsizetype width = 0;
    for (const auto &row : std::as_const(rows))
        width = std::max(width, row.first.size());
    QString text = QFileInfo(vaultPath).fileName() + u'\n' + tr("Here's what Velloran found:") + u'\n';
    for (const auto &[count, label] : std::as_const(rows))
        text += count.leftJustified(width + 2) + label + u'\n';
    return text;
}

int analyze(const std::string &pathArgument, bool json)
{
    const QString path = QString::fromLocal8Bit(pathArgument);
    if (!CliIo::checkFolder(path))
        return 1;
    const QString vaultPath = QFileInfo(path).absoluteFilePath();
    const VaultAnalysis analysis = VaultScanner::scan(QUrl::fromLocalFile(vaultPath));
    if (json)
        CliIo::out(analysisJson(analysis, vaultPath));
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
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString markdown = decoder.decode(*bytes);
    if (decoder.hasError()) {
        CliIo::fail(QCoreApplication::translate("Velloran", "%1: not valid UTF-8").arg(file.isEmpty() ? u"-"_s : file));
        return 1;
    }
    if (stripFrontmatter)
        markdown = VaultScanner::stripFrontmatter(markdown).first;
    const MarkdownLite::Output output = MarkdownLite::convert(markdown);
    if (json) {
        const QJsonObject root { { u"html"_s, output.html }, { u"images"_s, toJson(output.images) } };
        CliIo::out(QJsonDocument(root).toJson(QJsonDocument::Indented));
    } else {
        CliIo::out(output.html);
    }
    return 0;
}

} // namespace

void addMigrationCommands(CLI::App &app, int &exitCode)
{
    auto *analyzeCommand = app.add_subcommand("analyze",
        CliIo::helpText(QT_TRANSLATE_NOOP("Velloran",
            "Scan a folder of Markdown files and show what a migration "
            "to Apple Notes would do with it.")));
    auto analyzePath = std::make_shared<std::string>();
    auto analyzeJson = std::make_shared<bool>(false);
    analyzeCommand
        ->add_option("PATH", *analyzePath, CliIo::helpText(QT_TRANSLATE_NOOP("Velloran", "The folder (vault) to scan")))
        ->required();
    analyzeCommand->add_flag("--json", *analyzeJson,
        CliIo::helpText(
            QT_TRANSLATE_NOOP("Velloran", "Print the whole analysis as JSON (a failure as {\"error\": MESSAGE})")));
    analyzeCommand->callback([=, &exitCode] { exitCode = analyze(*analyzePath, *analyzeJson); });

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
