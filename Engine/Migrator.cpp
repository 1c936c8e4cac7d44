#include "Migrator.h"

#include "Counters.h"
#include "Errors.h"
#include "Files.h"
#include "MarkdownLite.h"
#include "NotesBridge.h"
#include "VaultScanner_p.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QPointer>
#include <QSaveFile>
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

/// What the background creation of one note came to: created or skipped, or the failure's description.
struct Creation
{
    bool created = false;
    std::optional<QString> error;
};

/// Creates one note; runs in a background task, where a failure becomes its description.
Creation createInBackground(const QString &root, const std::optional<QString> &subfolder, const QString &title,
    const QString &bodyPath, const QStringList &attachments)
{
    try {
        return { NotesBridge::createNote(root, subfolder, title, bodyPath, attachments), std::nullopt };
    } catch (const std::exception &error) {
        return { false, errorDescription(error) };
    }
}

/// Writes `html` as UTF-8 to a fresh "velloran-body-UUID.html" in the temporary directory, atomically.
/// Gives the file's path, or throws FileSystemError with the system's text.
QString writeBodyFile(const QString &html)
{
    const QString path = QDir(QDir::tempPath())
                             .filePath(u"velloran-body-"_s
                                 + QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper() + u".html"_s);
    QSaveFile file(path);
    const QByteArray bytes = html.toUtf8();
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        throw FileSystemError(file.errorString());
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

void Migrator::setProgress(double progress)
{
    if (m_progress == progress)
        return;
    m_progress = progress;
    emit progressChanged();
}

void Migrator::setCurrentNote(const QString &note)
{
    if (m_currentNote == note)
        return;
    m_currentNote = note;
    emit currentNoteChanged();
}

void Migrator::setRunning(bool running)
{
    if (m_isRunning == running)
        return;
    m_isRunning = running;
    emit isRunningChanged();
}

void Migrator::setReport(std::optional<Report> report)
{
    // Every run's end is announced, even when its report equals the last one.
    m_report = std::move(report);
    emit reportChanged();
}

QVariant Migrator::reportForView() const
{
    if (!m_report)
        return {};
    return reportToVariant(*m_report);
}

QVariantMap Migrator::reportToVariant(const Report &report)
{
    const auto pairs = [](const QList<std::pair<QString, QString>> &list) {
        QVariantList out;
        out.reserve(list.size());
        for (const auto &[first, second] : list)
            out.append(QVariant(QVariantList { first, second }));
        return out;
    };
    return {
        { u"notesCreated"_s, report.notesCreated },
        { u"notesSkipped"_s, report.notesSkipped },
        { u"notesFailed"_s, pairs(report.notesFailed) },
        { u"notesMisfiled"_s, pairs(report.notesMisfiled) },
        { u"imagesAttached"_s, report.imagesAttached },
        { u"imagesMissing"_s, report.imagesMissing },
        { u"foldersFlattened"_s, report.foldersFlattened },
        { u"wikilinksDegraded"_s, report.wikilinksDegraded },
    };
}

QCoro::Task<> Migrator::migrate(VaultAnalysis analysis, QUrl vault)
{
    Q_ASSERT(QThread::currentThread() == thread());
    // The run may outlive the controller while a note is in flight: every resumption checks it first.
    const QPointer<Migrator> self(this);
    m_stopRequested = false;
    setRunning(true);
    setProgress(0);

    Report report;

    // The root folder, on this thread: without it nothing else can be created.
    try {
        NotesBridge::ensureFolder(rootFolderName);
    } catch (const std::exception &error) {
        report.notesFailed.append({ u"(setup)"_s, errorDescription(error) });
        setRunning(false);
        setReport(std::move(report));
        co_return;
    }

    // Files and folders the scan could not read are not lost without a word: each is a failure.
    for (const auto &[path, reason] : std::as_const(analysis.unreadable))
        report.notesFailed.append({ path, reason });

    // The subfolders, one level deep, also on this thread. A deeper path is flattened into one name.
    QHash<QString, QString> subfolders;
    for (const QString &path : sortedFolders(analysis.folders)) {
        const QStringList components = path.split(u'/');
        const QString name = components.join(subfolderJoiner);
        if (components.size() >= 2)
            report.foldersFlattened.append(path);
        try {
            NotesBridge::ensureSubfolder(rootFolderName, name);
            subfolders.insert(path, name);
        } catch (const std::exception &error) {
            report.notesFailed.append({ u"(folder "_s + path + u')', errorDescription(error) });
        }
    }

    const QString canonicalVault = VaultScanner::canonicalVaultPath(vault);
    const VaultScanner::ImageIndex images = VaultScanner::imageIndex(vault);

    const qsizetype total = analysis.notes.size();
    // A stop request ends the run after the note in flight; the report then covers what was done.
    for (qsizetype i = 0; i < total && !m_stopRequested; ++i) {
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
            bodyPath = writeBodyFile(output.html);
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

        // One note at a time, off this thread, so that the interface stays free while Notes works. (The
        // future is a named local: temporaries inside a co_await expression are not safe with every compiler.)
        QFuture<Creation> pending
            = QtConcurrent::run(createInBackground, rootFolderName, subfolder, note.title, bodyPath, attachments);
        const Creation creation = co_await pending;
        QFile::remove(bodyPath); // a failed removal is ignored
        if (!self)
            co_return;

        if (creation.error) {
            report.notesFailed.append({ note.title, *creation.error });
        } else if (creation.created) {
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

    setProgress(1.0);
    setCurrentNote(QString());
    setRunning(false);
    setReport(std::move(report));
    m_stopRequested = false;
}
