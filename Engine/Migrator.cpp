#include "Migrator.h"

#include "Counters.h"
#include "Errors.h"
#include "Files.h"
#include "MarkdownLite.h"
#include "NotesBridge.h"
#include "ScriptRunner.h"
#include "VaultScanner_p.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QPointer>
#include <QThread>
#include <QUuid>
#include <QtConcurrent>

#include <QCoro/QCoroFuture>

#include <algorithm>
#include <exception>

using namespace Qt::StringLiterals;

namespace {

QString translated(const char *text)
{
    return QCoreApplication::translate("Velloran", text);
}

/// Writes `html` as UTF-8 to a fresh "velloran-body-UUID.html" in the run's folder. Gives the file's path,
/// or throws FileSystemError with the system's text. The file lives only until its note is made, so it is
/// not synced to disk.
QString writeBodyFile(const ScriptRunner::RunFolder &folder, const QString &html)
{
    const QString path = folder.newFilePath(u"velloran-body-", u".html");
    if (const std::optional<QString> failure = Files::writeNewFile(path, html.toUtf8()))
        throw FileSystemError(*failure);
    return path;
}

/// Folder paths in plain (code-point) order, as the subfolders are ensured.
QStringList sortedFolders(const QSet<QString> &folders)
{
    QStringList sorted = folders.values();
    std::sort(sorted.begin(), sorted.end(), [](const QString &a, const QString &b) {
        return std::lexicographical_compare(a.cbegin(), a.cend(), b.cbegin(), b.cend(), [](QChar x, QChar y) {
            // Surrogates sort after the rest of the BMP, so that UTF-16 order equals code-point order.
            const auto key = [](QChar c) { return c.isSurrogate() ? c.unicode() + 0x10000u : c.unicode() + 0u; };
            return key(x) < key(y);
        });
    });
    return sorted;
}

} // namespace

Migrator::Migrator(QObject *parent)
    : QObject(parent)
{ }

Migrator::~Migrator() = default;

void Migrator::setReport(std::optional<Report> report)
{
    // Every run's end is announced, even when its report equals the last one.
    m_report = std::move(report);
    emit reportChanged();
}

QVariant Migrator::reportValue() const
{
    return m_report ? QVariant::fromValue(*m_report) : QVariant();
}

void Migrator::requestStop()
{
    if (m_stop)
        m_stop->request();
}

QCoro::Task<> Migrator::migrate(VaultAnalysis analysis, QUrl vault)
{
    Q_ASSERT(QThread::currentThread() == thread());
    // The run may outlive the controller while a script is in flight: every resumption checks it first.
    const QPointer<Migrator> self(this);
    ScriptRunner::StopSignal stop(m_stopGrace);
    m_stop = &stop;
    setRunning(true);
    setProgress(0);

    Report report;
    const auto finish = [&] {
        report.stopped = stop.isRequested();
        m_stop = nullptr;
        setProgress(1.0);
        setCurrentNote(QString());
        setRunning(false);
        setReport(std::move(report));
    };

    // One private folder holds this run's scripts and note bodies, and goes with the run.
    std::optional<ScriptRunner::RunFolder> folder;
    try {
        folder.emplace();
    } catch (const std::exception &error) {
        report.notesFailed.append({ u"(setup)"_s, errorDescription(error) });
        m_stop = nullptr;
        setRunning(false);
        setReport(std::move(report));
        co_return;
    }
    const ScriptRunner::Context context { &*folder, &stop };

    // The root folder: without it nothing else can be created.
    try {
        QCoro::Task<> ensuring = NotesBridge::ensureFolder(context, rootFolderName);
        co_await ensuring;
    } catch (const RunStopped &stopped) {
        if (!self)
            co_return;
        // Notes did not answer the first script (an Automation prompt left open, say): nothing was made.
        report.notesFailed.append({ u"(setup)"_s, stopped.errorDescription() });
        finish();
        co_return;
    } catch (const std::exception &error) {
        if (!self)
            co_return;
        report.notesFailed.append({ u"(setup)"_s, errorDescription(error) });
        m_stop = nullptr;
        setRunning(false);
        setReport(std::move(report));
        co_return;
    }
    if (!self)
        co_return;

    // Files and folders the scan could not read are not lost without a word: each is a failure.
    for (const auto &[path, reason] : std::as_const(analysis.unreadable))
        report.notesFailed.append({ path, reason });

    // The subfolders, one level deep. A deeper path is flattened into one name.
    QHash<QString, QString> subfolders;
    for (const QString &path : sortedFolders(analysis.folders)) {
        if (stop.isRequested())
            break;
        const QStringList components = path.split(u'/');
        const QString name = components.join(subfolderJoiner);
        if (components.size() >= 2)
            report.foldersFlattened.append(path);
        try {
            QCoro::Task<> ensuring = NotesBridge::ensureSubfolder(context, rootFolderName, name);
            co_await ensuring;
            subfolders.insert(path, name);
        } catch (const RunStopped &) {
            break;
        } catch (const std::exception &error) {
            report.notesFailed.append({ u"(folder "_s + path + u')', errorDescription(error) });
        }
        if (!self)
            co_return;
    }

    // The walk for the image index reads the whole folder tree: off this thread.
    const QString canonicalVault = VaultScanner::canonicalVaultPath(vault);
    QFuture<VaultScanner::ImageIndex> indexing = QtConcurrent::run(VaultScanner::imageIndex, vault);
    const VaultScanner::ImageIndex images = co_await indexing;
    if (!self)
        co_return;

    const qsizetype total = analysis.notes.size();
    // A stop request ends the run after the note in flight; the report then covers what was done.
    for (qsizetype i = 0; i < total && !stop.isRequested(); ++i) {
        const VaultAnalysis::Note &note = analysis.notes.at(i);
        setCurrentNote(note.title);
        setProgress(double(i) / double(total));

        const QString filePath = note.fileURL.toLocalFile();
        std::optional<QString> text = Files::readUtf8(filePath);
        if (!text) {
            report.notesFailed.append({ note.title, translated("Couldn't read the file") });
            continue;
        }
        if (note.frontmatterStripped)
            text = VaultScanner::stripFrontmatter(*text).first;
        const MarkdownLite::Output output = MarkdownLite::convert(*text);

        QStringList attachments;
        const QString noteFolder = QFileInfo(filePath).path();
        for (const QString &ref : output.images) {
            VaultScanner::ImageResolution image = VaultScanner::resolveImage(ref, noteFolder, canonicalVault, images);
            if (image.file)
                attachments.append(*std::move(image.file));
            else
                report.imagesMissing.append(VaultScanner::missingImageEntry(note.title, ref, image.reason));
        }

        QString bodyPath;
        try {
            bodyPath = writeBodyFile(*folder, output.html);
        } catch (const std::exception &error) {
            report.notesFailed.append({ note.title, errorDescription(error) });
            continue;
        }

        const QString key = note.relativeFolder.join(u'/');
        std::optional<QString> subfolder;
        bool misfiled = false;
        if (!key.isEmpty()) {
            if (const auto found = subfolders.constFind(key); found != subfolders.cend())
                subfolder = *found;
            else
                misfiled = true;
        }

        // One note at a time; the interface stays free while Notes works.
        std::optional<bool> created;
        QString failure;
        try {
            QCoro::Task<bool> creating
                = NotesBridge::createNote(context, rootFolderName, subfolder, note.title, bodyPath, attachments);
            created = co_await creating;
        } catch (const std::exception &error) {
            failure = errorDescription(error);
        }
        if (!self)
            co_return;
        QFile::remove(bodyPath); // a failed removal is ignored

        if (!created) {
            report.notesFailed.append({ note.title, failure });
        } else if (*created) {
            addChecked(report.imagesAttached, attachments.size());
            addChecked(report.wikilinksDegraded, note.wikilinks.size());
            // A misfiled note is counted only as misfiled, never also as created.
            if (misfiled)
                report.notesMisfiled.append({ note.title, key });
            else
                addChecked(report.notesCreated);
        } else {
            // It already existed: nothing else about it is counted.
            addChecked(report.notesSkipped);
        }
    }

    finish();
}
