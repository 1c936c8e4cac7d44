#include "VaultScanner.h"
#include "VaultScanner_p.h"

#include "Counters.h"
#include "Files.h"
#include "MarkdownLite.h"
#include "MarkdownPatterns.h"
#include "Regex.h"
#include "Text.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QSet>
#include <QtConcurrent>

#include <algorithm>
#include <numeric>

using namespace Qt::StringLiterals;

namespace VaultScanner {

namespace {

/// The last extension of a file name, or "" when it has none (a leading dot starts no extension).
QStringView lastExtension(QStringView fileName)
{
    const qsizetype dot = fileName.lastIndexOf(u'.');
    return dot > 0 ? fileName.sliced(dot + 1) : QStringView();
}

QString withoutLastExtension(const QString &fileName)
{
    const qsizetype dot = fileName.lastIndexOf(u'.');
    return dot > 0 ? fileName.left(dot) : fileName;
}

/// The last path component of a reference: the text after its last "/", trailing slashes ignored.
QString lastPathComponent(QStringView path)
{
    while (path.size() > 1 && path.endsWith(u'/'))
        path.chop(1);
    const qsizetype slash = path.lastIndexOf(u'/');
    return (slash < 0 ? path : path.sliced(slash + 1)).toString();
}

bool looksLikeKey(QStringView key)
{
    if (key.isEmpty())
        return false;
    for (const char32_t c : key.toUcs4()) {
        if (QChar::isLetterOrNumber(c) || c == u'_' || c == u'-' || c == u'.' || c == u' ')
            continue;
        // A combining mark belongs to the letter before it.
        const QChar::Category category = QChar::category(c);
        if (category == QChar::Mark_NonSpacing || category == QChar::Mark_SpacingCombining
            || category == QChar::Mark_Enclosing)
            continue;
        return false;
    }
    return true;
}

bool looksLikeYaml(QStringView line)
{
    const QStringView t = Text::trimSpacesAndTabs(line);
    if (t.isEmpty())
        return true;
    if (line.startsWith(u' ') || line.startsWith(u'\t'))
        return true; // continuation
    if (t.startsWith(u"- ") || t == u"-")
        return true; // list item
    if (t.startsWith(u'#'))
        return true; // comment
    const qsizetype colon = t.indexOf(u':');
    return colon >= 0 && looksLikeKey(t.first(colon));
}

QStringList pathComponents(const QString &absolutePath)
{
    return QDir::cleanPath(absolutePath).split(u'/', Qt::SkipEmptyParts);
}

/// Something met by the walk of a vault: its path, its name and what kind of entry it is.
struct WalkItem
{
    QString path;
    QString name;
    Files::EntryType type;
};

/// The one directory walk of a vault, depth first, each folder's entries in name order so that every
/// walk of the same folder meets the same items in the same order. Hidden files and folders are skipped
/// (that alone keeps .obsidian and .trash out), folders are yielded too, and symbolic links are yielded
/// but never followed into, so a link loop cannot make the walk go on for ever. Calls `visit(item)` for
/// every item and `failed(path, reason)` for every folder below the vault that cannot be listed. Returns
/// false, having visited nothing, when the vault itself cannot be listed.
template<typename Visit, typename Failed> bool walkVault(const QString &vaultPath, Visit visit, Failed failed)
{
    if (vaultPath.isEmpty() || !QFileInfo(vaultPath).isDir())
        return false;
    struct Level
    {
        QString path;
        QList<Files::Entry> entries;
        qsizetype next = 0;
    };
    Files::Listing root = Files::listFolder(vaultPath);
    if (!root.ok())
        return false;
    QList<Level> stack { { vaultPath, std::move(root.entries) } };
    while (!stack.isEmpty()) {
        Level &level = stack.last();
        if (level.next >= level.entries.size()) {
            stack.removeLast();
            continue;
        }
        const Files::Entry entry = level.entries[level.next++];
        if (entry.name.startsWith(u'.'))
            continue;
        const QString path = level.path + u'/' + entry.name;
        visit(WalkItem { path, entry.name, entry.type });
        if (entry.type != Files::EntryType::folder)
            continue;
        Files::Listing listing = Files::listFolder(path);
        if (!listing.ok()) {
            failed(path, listing.failure);
            continue;
        }
        stack.append({ path, std::move(listing.entries) });
    }
    return true;
}

/// What the walk of a vault collects: its Markdown files in walk order, and its image files by name.
struct VaultFiles
{
    QStringList markdownFiles;
    ImageIndex images;
};

/// Walks the vault once and collects its Markdown and image files. Calls `failed(path, reason)` for every
/// folder below the vault that cannot be listed. Nothing when the vault itself cannot be listed.
template<typename Failed> std::optional<VaultFiles> collectFiles(const QString &vaultPath, Failed failed)
{
    VaultFiles files;
    const bool walked = walkVault(
        vaultPath,
        [&](const WalkItem &item) {
            const QString extension = lastExtension(item.name).toString().toLower();
            if (extension == u"md" || extension == u"markdown")
                files.markdownFiles.append(item.path); // not tested for a regular file here: the read says why not
            else if (imageExtensions().contains(extension))
                files.images.insert(item.name.toLower(), item.path);
        },
        failed);
    if (!walked)
        return std::nullopt;
    return files;
}

} // namespace

ImageIndex imageIndex(const QUrl &vault)
{
    std::optional<VaultFiles> files = collectFiles(vault.toLocalFile(), [](const QString &, const QString &) {});
    return files ? std::move(files->images) : ImageIndex();
}

QString canonicalVaultPath(const QUrl &vault)
{
    const QString path = vault.toLocalFile();
    const QString canonical = QFileInfo(path).canonicalFilePath();
    return canonical.isEmpty() ? QDir::cleanPath(path) : canonical;
}

bool isInsideVault(const QString &canonicalPath, const QString &canonicalVault)
{
    if (canonicalPath.isEmpty() || canonicalVault.isEmpty())
        return false;
    if (canonicalVault == u"/")
        return canonicalPath.startsWith(u'/');
    return canonicalPath == canonicalVault
        || (canonicalPath.startsWith(canonicalVault) && canonicalPath[canonicalVault.size()] == u'/');
}

namespace {

/// Whether a (decoded) image reference is on the web, which is never attached.
bool isWebAddress(const QString &decoded)
{
    return decoded.startsWith(u"http://") || decoded.startsWith(u"https://");
}

/// Whether something exists at `path`, following links (a dangling link is nothing).
bool existsAt(const QString &path)
{
    return QFileInfo::exists(path);
}

/// What becomes of an image reference that points at `path`, where something exists.
ImageResolution attachable(const QString &path, const QString &canonicalVault)
{
    const QFileInfo info(path);
    const QString canonical = info.canonicalFilePath();
    // An index entry outlives its walk: a file removed since is simply not there. A link that leads
    // nowhere was there for the walk too, and is measured against the vault like any other link.
    if (canonical.isEmpty() && !info.isSymLink())
        return {};
    if (!isInsideVault(canonical, canonicalVault))
        return { std::nullopt, QCoreApplication::translate("Velloran", "outside the folder") };
    const QFileInfo target(canonical);
    if (!target.isFile())
        return { std::nullopt, QCoreApplication::translate("Velloran", "not a regular file") };
    if (!target.isReadable())
        return { std::nullopt, QCoreApplication::translate("Velloran", "permission denied") };
    return { canonical, {} };
}

} // namespace

ImageResolution resolveImage(
    const QString &ref, const QString &noteFolder, const QString &canonicalVault, const ImageIndex &index)
{
    const QString r = Text::percentDecodeStrict(ref).value_or(ref);
    if (isWebAddress(r))
        return {}; // remote images always count as missing
    if (r.startsWith(u'/') || r.startsWith(u"file:", Qt::CaseInsensitive))
        return { std::nullopt, QCoreApplication::translate("Velloran", "outside the folder") };
    // Beside the note and at the root, any existing item decides; only the index is limited to images.
    if (const QString candidate = noteFolder + u'/' + r; existsAt(candidate))
        return attachable(candidate, canonicalVault);
    if (const QString candidate = canonicalVault + u'/' + r; existsAt(candidate))
        return attachable(candidate, canonicalVault);
    if (const auto found = index.constFind(lastPathComponent(r).toLower()); found != index.cend())
        return attachable(*found, canonicalVault);
    return {};
}

QString missingImageEntry(const QString &title, const QString &ref, const QString &reason)
{
    QString entry = title + u": "_s + ref;
    if (!reason.isEmpty())
        entry += u" ("_s + reason + u')';
    return entry;
}

namespace {

/// Why an image that resolved to nothing is not attached: it is on the web, or not on disk.
QString absenceReason(const QString &ref)
{
    return isWebAddress(Text::percentDecodeStrict(ref).value_or(ref))
        ? QCoreApplication::translate("Velloran", "web images are not downloaded")
        : QCoreApplication::translate("Velloran", "not found on disk");
}

/// Renders a note's text (frontmatter removed) and resolves, in order, every image the rendering meets:
/// what the migration creates, and what the analysis counts.
PreparedNote render(const QString &body, const QString &title, const QString &noteFolder, const QString &canonicalVault,
    const ImageIndex &images)
{
    MarkdownLite::Output output = MarkdownLite::convert(body);
    PreparedNote prepared;
    prepared.html = std::move(output.html);
    for (const QString &ref : std::as_const(output.images)) {
        ImageResolution image = resolveImage(ref, noteFolder, canonicalVault, images);
        if (image.file) {
            prepared.attachments.append(*std::move(image.file));
            continue;
        }
        prepared.imagesMissing.append(missingImageEntry(title, ref, image.reason));
        prepared.imagesNotAttached.append({ ref, image.reason.isEmpty() ? absenceReason(ref) : image.reason });
    }
    return prepared;
}

} // namespace

std::optional<PreparedNote> prepare(const VaultAnalysis::Note &note, const QUrl &vault)
{
    const QString path = note.fileURL.toLocalFile();
    const QString canonicalVault = canonicalVaultPath(vault);
    // The file is read again when its note is migrated; if it has since been replaced by a link that leads
    // out of the vault, it is not read: nothing outside the folder the user chose is ever sent to Notes.
    if (!isInsideVault(QFileInfo(path).canonicalFilePath(), canonicalVault))
        return std::nullopt;
    std::optional<QString> text = Files::readUtf8(path);
    if (!text)
        return std::nullopt;
    if (note.frontmatterStripped)
        text = stripFrontmatter(*text).first;
    static const ImageIndex noImages;
    return render(
        *text, note.title, QFileInfo(path).path(), canonicalVault, note.vaultImages ? *note.vaultImages : noImages);
}

QString titleOf(const QUrl &file)
{
    return withoutLastExtension(QFileInfo(file.toLocalFile()).fileName());
}

qint64 unreadableFileCount(const VaultAnalysis &analysis)
{
    return std::count_if(analysis.unreadable.cbegin(), analysis.unreadable.cend(),
        [](const auto &entry) { return !entry.first.endsWith(u'/'); });
}

const QSet<QString> &imageExtensions()
{
    // The files the vault-wide image search finds by name. "tif" and "pdf" are left out: a "report.pdf" or
    // "scan.tif" elsewhere in the vault is not attached to a note that names it; beside the note or at the
    // vault's root, any existing file is.
    static const QSet<QString> extensions { u"png"_s, u"jpg"_s, u"jpeg"_s, u"gif"_s, u"heic"_s, u"webp"_s, u"bmp"_s,
        u"tiff"_s, u"svg"_s };
    return extensions;
}

QStringList matches(const QString &text, const QString &pattern)
{
    QStringList captures;
    const Regex &regex = Regex::cached(pattern);
    for (const Regex::Match &match : regex.matches(text)) {
        if (match.hasGroup(1))
            captures.append(match.group(text, 1).toString());
    }
    return captures;
}

QStringList relativeFolders(const QUrl &file, const QUrl &vault)
{
    const QStringList d = pathComponents(QFileInfo(file.toLocalFile()).path());
    const QStringList v = pathComponents(vault.toLocalFile());
    if (v.size() >= d.size())
        return {};
    return d.sliced(v.size());
}

std::pair<QString, bool> stripFrontmatter(const QString &content)
{
    const QList<QStringView> lines = QStringView(content).split(u'\n');
    if (Text::trimSpacesAndTabs(lines.first()) != u"---")
        return { content, false };

    // The closing fence must stand at line index 30 or earlier: at most 29 lines of YAML.
    const qsizetype bound = std::min<qsizetype>(lines.size(), 31);
    qsizetype closing = -1;
    for (qsizetype i = 1; i < bound; ++i) {
        if (Text::trimSpacesAndTabs(lines[i]) == u"---") {
            closing = i;
            break;
        }
    }
    if (closing < 0)
        return { content, false };
    for (qsizetype i = 1; i < closing; ++i) {
        if (!looksLikeYaml(lines[i]))
            return { content, false };
    }

    QString body;
    for (qsizetype i = closing + 1; i < lines.size(); ++i) {
        if (i > closing + 1)
            body += u'\n';
        body += lines[i];
    }
    return { body, true };
}

namespace {

/// Gives the second and later notes (in path order) that would share a name in one Notes folder a
/// " (2)", " (3)", ... suffix, skipping numbers that another note's title already holds there. Names
/// are compared without regard to case, as Notes finds a note by name. Returns how many were renamed.
qint64 renameClashingTitles(QList<VaultAnalysis::Note> &notes, const QStringList &relativePaths)
{
    const auto folderOf = [](const VaultAnalysis::Note &note) { return note.relativeFolder.join(u" \u25B8 "_s); };
    QList<qsizetype> order(notes.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(
        order.begin(), order.end(), [&](qsizetype a, qsizetype b) { return relativePaths[a] < relativePaths[b]; });

    // Every name taken in each Notes folder, as first written: renamed notes must not take one.
    QHash<QString, QSet<QString>> taken;
    for (const VaultAnalysis::Note &note : std::as_const(notes))
        taken[folderOf(note)].insert(note.title.toCaseFolded());
    QHash<QString, QSet<QString>> used;
    qint64 renamed = 0;
    for (const qsizetype i : std::as_const(order)) {
        VaultAnalysis::Note &note = notes[i];
        const QString folder = folderOf(note);
        QSet<QString> &usedHere = used[folder];
        if (!usedHere.contains(note.title.toCaseFolded())) {
            usedHere.insert(note.title.toCaseFolded());
            continue;
        }
        const QSet<QString> &takenHere = taken[folder];
        for (qint64 n = 2;; ++n) {
            const QString candidate = note.title + u" ("_s + QString::number(n) + u')';
            const QString key = candidate.toCaseFolded();
            if (!usedHere.contains(key) && !takenHere.contains(key)) {
                note.title = candidate;
                note.titleRenamed = true;
                usedHere.insert(key);
                addChecked(renamed);
                break;
            }
        }
    }
    return renamed;
}

QString relativeTo(const QString &vaultPath, const QString &path)
{
    return QDir(vaultPath).relativeFilePath(path);
}

/// What every file of one scan is read against.
struct ScanContext
{
    QUrl vault;
    QString vaultPath;
    QString canonicalVault;
    std::shared_ptr<const ImageIndex> images;
};

/// One Markdown file after the scan read it: its note, or why it could not be read.
struct ScannedFile
{
    std::optional<VaultAnalysis::Note> note;
    QString relativePath;
    /// Why the file could not be read, when it could not.
    QString failure;
    qint64 resolved = 0;
    qint64 missing = 0;
};

/// Fills in the note of a file read as `text`, and counts its images.
void analyse(ScannedFile &scanned, const QString &path, const QString &text, const ScanContext &context)
{
    const QFileInfo info(path);
    VaultAnalysis::Note note;
    note.fileURL = QUrl::fromLocalFile(path);
    note.relativeFolder = relativeFolders(note.fileURL, context.vault);
    note.title = titleOf(note.fileURL);
    note.id = QUuid::createUuid();
    note.vaultImages = context.images;
    const auto [body, stripped] = stripFrontmatter(text);
    note.frontmatterStripped = stripped;
    for (const Regex::Match &match : MarkdownPatterns::wikiEmbeds(body))
        note.imageRefs.append(match.group(body, 1).toString());
    for (const Regex::Match &match : MarkdownPatterns::markdownImages(body))
        note.imageRefs.append(match.group(body, 1).toString());
    for (const Regex::Match &match : MarkdownPatterns::wikiLinkTargets(body))
        note.wikilinks.append(match.group(body, 1).toString());
    note.hasTables = body.startsWith(u'|') || body.contains(u"\n|");
    note.hasTasks = MarkdownPatterns::hasTaskItem(body);
    // Counted from the note as the migration prepares it, so that the analysis and the migration report
    // always agree about every image (an image written inside code, say, is attached by neither).
    const PreparedNote prepared = render(body, note.title, info.path(), context.canonicalVault, *context.images);
    scanned.resolved = prepared.attachments.size();
    scanned.missing = prepared.imagesMissing.size();
    scanned.note = std::move(note);
}

/// Reads and analyses one Markdown file of the walk. Safe on any thread.
ScannedFile scanFile(const QString &path, const ScanContext &context)
{
    ScannedFile scanned;
    scanned.relativePath = relativeTo(context.vaultPath, path);
    // A link may lead anywhere: only what lies inside the vault is read.
    const QFileInfo info(path);
    if (info.isSymLink() && info.exists() && !isInsideVault(info.canonicalFilePath(), context.canonicalVault)) {
        scanned.failure = info.isFile() ? QCoreApplication::translate("Velloran", "outside the folder")
                                        : QCoreApplication::translate("Velloran", "not a regular file");
        return scanned;
    }
    const Files::TextRead read = Files::readText(path);
    if (!read.ok()) {
        scanned.failure = read.failure;
        return scanned;
    }
    analyse(scanned, path, read.text, context);
    return scanned;
}

/// Adds the scanned files, in walk order, to the analysis: the notes, their folders and image counts, and
/// the files that could not be read. Gives the vault-relative path of each note added, in order.
QStringList gather(VaultAnalysis &analysis, QList<ScannedFile> &scanned)
{
    QStringList relativePaths;
    relativePaths.reserve(scanned.size());
    analysis.notes.reserve(scanned.size());
    for (ScannedFile &entry : scanned) {
        if (!entry.note) {
            analysis.unreadable.append({ entry.relativePath, entry.failure });
            continue;
        }
        addChecked(analysis.attachmentsResolved, entry.resolved);
        addChecked(analysis.attachmentsMissing, entry.missing);
        if (!entry.note->relativeFolder.isEmpty())
            analysis.folders.insert(entry.note->relativeFolder.join(u'/'));
        analysis.notes.append(*std::move(entry.note));
        relativePaths.append(entry.relativePath);
    }
    return relativePaths;
}

} // namespace

VaultAnalysis scan(const QUrl &vault)
{
    VaultAnalysis analysis;
    const QString vaultPath = vault.toLocalFile();
    std::optional<VaultFiles> files = collectFiles(vaultPath, [&](const QString &path, const QString &reason) {
        analysis.unreadable.append({ relativeTo(vaultPath, path) + u'/', reason });
    });
    if (!files)
        return analysis;

    // The image index is kept with the notes: preparing one for the migration does not walk the vault again.
    const ScanContext context { vault, vaultPath, canonicalVaultPath(vault),
        std::make_shared<const ImageIndex>(std::move(files->images)) };
    // Each file is read and analysed on its own, on every core; the results come back in walk order.
    QList<ScannedFile> scanned = QtConcurrent::blockingMapped<QList<ScannedFile>>(
        files->markdownFiles, [&context](const QString &path) { return scanFile(path, context); });

    const QStringList relativePaths = gather(analysis, scanned);
    analysis.titlesRenamed = renameClashingTitles(analysis.notes, relativePaths);
    Text::stableSortLocalized(analysis.notes, [](const VaultAnalysis::Note &note) { return QStringView(note.title); });
    return analysis;
}

} // namespace VaultScanner
