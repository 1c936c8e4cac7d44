#include "VaultScanner.h"
#include "VaultScanner_p.h"

#include "Counters.h"
#include "Files.h"
#include "Regex.h"
#include "Text.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QHash>

using namespace Qt::StringLiterals;

namespace VaultScanner {

namespace {

const QString wikiEmbedPattern = uR"(!\[\[([^\]|]+?)(?:\|[^\]]*)?\]\])"_s;
const QString markdownImagePattern = uR"(!\[[^\]]*\]\(([^)]+)\))"_s;
const QString wikiLinkPattern = uR"((?<!\!)\[\[([^\]|]+?)(?:\|[^\]]*)?\]\])"_s;
const QString taskItemPattern = uR"((?m)^\s*[-*] \[[ xX]\])"_s;

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

/// The one directory walk of a vault: hidden files and folders are skipped (that alone keeps .obsidian
/// and .trash out), folders are yielded too, and symbolic links to folders are listed but not followed.
/// Calls `visit(path, fileName)` for every item. Returns false when the folder cannot be walked.
template<typename Visit> bool walkVault(const QString &vaultPath, Visit visit)
{
    const QFileInfo info(vaultPath);
    if (vaultPath.isEmpty() || !info.isDir() || !info.isReadable())
        return false;
    QDirIterator walk(vaultPath, QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (walk.hasNext()) {
        const QString path = walk.next();
        visit(path, walk.fileName());
    }
    return true;
}

bool isImageName(const QString &fileName)
{
    return imageExtensions().contains(lastExtension(fileName).toString().toLower());
}

} // namespace

ImageIndex imageIndex(const QUrl &vault)
{
    ImageIndex index;
    walkVault(vault.toLocalFile(), [&](const QString &path, const QString &name) {
        if (isImageName(name))
            index.insert(name.toLower(), path);
    });
    return index;
}

std::optional<QString> resolveImage(
    const QString &ref, const QString &noteFolder, const QString &vaultPath, const ImageIndex &index)
{
    const QString r = Text::percentDecodeStrict(ref).value_or(ref);
    if (r.startsWith(u"http://") || r.startsWith(u"https://"))
        return std::nullopt; // remote images always count as missing
    // Beside the note and at the root, any existing item counts; only the index is limited to images.
    if (QString candidate = noteFolder + u'/' + r; QFileInfo::exists(candidate))
        return candidate;
    if (QString candidate = vaultPath + u'/' + r; QFileInfo::exists(candidate))
        return candidate;
    if (const auto found = index.constFind(lastPathComponent(r).toLower()); found != index.cend())
        return *found;
    return std::nullopt;
}

const QSet<QString> &imageExtensions()
{
    // Deliberately no "tif" and no "pdf".
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

VaultAnalysis scan(const QUrl &vault)
{
    VaultAnalysis analysis;
    const QString vaultPath = vault.toLocalFile();
    QStringList markdownFiles;
    ImageIndex images;
    const bool walked = walkVault(vaultPath, [&](const QString &path, const QString &name) {
        const QString extension = lastExtension(name).toString().toLower();
        if (extension == u"md" || extension == u"markdown")
            markdownFiles.append(path); // no test for a regular file: a folder "x.md" fails to read below
        else if (imageExtensions().contains(extension))
            images.insert(name.toLower(), path);
    });
    if (!walked)
        return analysis;

    struct Scanned
    {
        VaultAnalysis::Note note;
        QString folderPath;
    };
    QList<Scanned> scanned;
    scanned.reserve(markdownFiles.size());
    for (const QString &path : std::as_const(markdownFiles)) {
        const std::optional<QString> text = Files::readUtf8(path);
        if (!text)
            continue; // unreadable or not UTF-8: skipped without trace

        VaultAnalysis::Note note;
        note.fileURL = QUrl::fromLocalFile(path);
        note.relativeFolder = relativeFolders(note.fileURL, vault);
        note.title = withoutLastExtension(QFileInfo(path).fileName());
        note.id = QUuid::createUuid();
        const auto [body, stripped] = stripFrontmatter(*text);
        note.frontmatterStripped = stripped;
        note.imageRefs = matches(body, wikiEmbedPattern) + matches(body, markdownImagePattern);
        note.wikilinks = matches(body, wikiLinkPattern);
        note.hasTables = body.startsWith(u'|') || body.contains(u"\n|");
        note.hasTasks = Regex::cached(taskItemPattern).contains(body);
        if (!note.relativeFolder.isEmpty())
            analysis.folders.insert(note.relativeFolder.join(u'/'));
        scanned.append({ std::move(note), QFileInfo(path).path() });
    }

    for (const Scanned &entry : std::as_const(scanned)) {
        for (const QString &ref : entry.note.imageRefs) {
            if (resolveImage(ref, entry.folderPath, vaultPath, images))
                addChecked(analysis.attachmentsResolved);
            else
                addChecked(analysis.attachmentsMissing);
        }
    }

    analysis.notes.reserve(scanned.size());
    for (Scanned &entry : scanned)
        analysis.notes.append(std::move(entry.note));
    Text::stableSortLocalized(analysis.notes, [](const VaultAnalysis::Note &note) { return QStringView(note.title); });
    return analysis;
}

} // namespace VaultScanner
