// The export's options at work on one note: images saved as files, links between notes as wiki links,
// Notes' heading styles as headings.

#include "ExportConversion_p.h"

#include "Counters.h"
#include "Regex.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <cerrno>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace NotesExporter {

namespace {

/// The subfolder of a note's folder that its images go into.
const QString attachmentsFolder = u"attachments"_s;

/// Whether anything, a dangling symbolic link included, has the name `path`.
bool pathTaken(const QString &path)
{
    struct stat info
    { };
    return ::lstat(QFile::encodeName(path).constData(), &info) == 0 || errno != ENOENT;
}

/// The data of a base64 `data:` URI, which Notes and other writers may break into lines.
std::optional<QByteArray> decodeBase64(QStringView data)
{
    QByteArray compact;
    compact.reserve(data.size());
    for (const QChar c : data) {
        if (!c.isSpace())
            compact.append(char(c.unicode() < 0x80 ? c.unicode() : '!')); // not base64: fails below
    }
    auto decoded = QByteArray::fromBase64Encoding(compact, QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded)
        return std::nullopt;
    return *decoded;
}

} // namespace

DataUri decodeDataUri(const QString &uri)
{
    const QString undecodable = QCoreApplication::translate("Velloran", "the image data could not be decoded");
    const qsizetype comma = uri.indexOf(u',');
    if (!uri.startsWith(u"data:"_s, Qt::CaseInsensitive) || comma < 0)
        return { {}, {}, undecodable };
    const QStringList header = uri.mid(5, comma - 5).split(u';');
    const bool base64 = header.size() > 1 && header.last().trimmed().compare(u"base64"_s, Qt::CaseInsensitive) == 0;
    const QString mediaType = header.first().trimmed().toLower();
    const QStringView data = QStringView(uri).sliced(comma + 1);
    QByteArray bytes;
    if (base64) {
        const std::optional<QByteArray> decoded = decodeBase64(data);
        if (!decoded)
            return { {}, mediaType, undecodable };
        bytes = *decoded;
    } else {
        bytes = QByteArray::fromPercentEncoding(data.toUtf8());
    }
    if (bytes.isEmpty())
        return { {}, mediaType, QCoreApplication::translate("Velloran", "the image holds no data") };
    return { bytes, mediaType, QString() };
}

QString extensionForMediaType(const QString &mediaType)
{
    static const QHash<QString, QString> known { { u"image/png"_s, u"png"_s }, { u"image/jpeg"_s, u"jpg"_s },
        { u"image/jpg"_s, u"jpg"_s }, { u"image/pjpeg"_s, u"jpg"_s }, { u"image/gif"_s, u"gif"_s },
        { u"image/heic"_s, u"heic"_s }, { u"image/heif"_s, u"heif"_s }, { u"image/webp"_s, u"webp"_s },
        { u"image/tiff"_s, u"tiff"_s }, { u"application/pdf"_s, u"pdf"_s }, { u"image/svg+xml"_s, u"svg"_s },
        { u"image/bmp"_s, u"bmp"_s } };
    if (const auto found = known.constFind(mediaType); found != known.cend())
        return *found;
    static const Regex otherImage(u"^image/([a-z0-9]{1,8})$"_s);
    if (const std::optional<Regex::Match> match = otherImage.firstMatch(mediaType))
        return match->group(mediaType, 1).toString();
    return u"bin"_s;
}

QString encodedReference(const QString &path)
{
    // Besides the characters a URL reserves, those that end or bracket a Markdown destination.
    static const QString reserved = u" %()<>[]#?\\\"^`{}|"_s;
    QString encoded;
    for (const QChar c : path) {
        if (c.unicode() < 0x20 || c.unicode() == 0x7F || reserved.contains(c))
            encoded += u'%' + QString::number(c.unicode(), 16).toUpper().rightJustified(2, u'0');
        else
            encoded += c;
    }
    return encoded;
}

QList<PlannedFile> planFileNames(const QList<NoteRecord> &notes, const QString &destination)
{
    QList<PlannedFile> planned;
    planned.reserve(notes.size());
    RunNames names;
    for (const NoteRecord &note : notes) {
        const QString subfolder = subfolderOf(note);
        const QString folderPath = destination + u'/' + subfolder;
        const QString base = baseNameOf(note);
        for (qint64 counter = names.firstCounter(subfolder, base);; addChecked(counter)) {
            const QString candidate = candidateName(base, counter);
            if (names.isGiven(subfolder, candidate) || pathTaken(folderPath + u'/' + candidate + u".md"_s))
                continue;
            names.give(subfolder, base, candidate, counter);
            planned.append({ subfolder, candidate });
            break;
        }
    }
    return planned;
}

NoteConverter::NoteConverter(const QList<NoteRecord> &notes, const QString &destination, const ExportOptions &options,
    Result &result, const RecordedFile &recorded)
    : m_notes(notes)
    , m_options(options)
    , m_result(result)
{
    if (!options.linksBetweenNotes() && !options.imagesAsFiles)
        return; // file names are needed only for links and for the images named after them
    m_planned = planFileNames(notes, destination);
    for (qsizetype i = 0; i < notes.size(); ++i) {
        // A note that keeps its file from the export being updated is known by that file's name.
        if (const std::optional<QString> file = recorded ? recorded(notes[i]) : std::nullopt) {
            const QString name = file->section(u'/', -1);
            m_planned[i] = { file->section(u'/', 0, -2), name.endsWith(u".md"_s) ? name.chopped(3) : name };
        }
        m_targets.add(notes[i].id, m_planned[i].name);
    }
}

QString NoteConverter::markdown(qsizetype index, const QString &folderPath)
{
    m_savedBySource.clear();
    m_savedPaths.clear();
    m_nextImageCounter = 1;
    const NoteRecord &note = m_notes[index];
    HtmlToMarkdown::ConvertOptions convert;
    convert.headings = m_options.headings;
    if (m_options.linksBetweenNotes()) {
        convert.noteLink = [this, &note](const QString &url) {
            const std::optional<QString> name = m_targets.resolve(url);
            if (!name)
                m_result.linksOutsideExport.append({ note.name, url });
            return name;
        };
    }
    if (m_options.imagesAsFiles) {
        convert.image
            = [this, index, &folderPath](const QString &source) { return saveImage(index, folderPath, source); };
    }
    return HtmlToMarkdown::convert(note.html, convert);
}

std::optional<QString> NoteConverter::saveImage(qsizetype index, const QString &folderPath, const QString &source)
{
    // The same image twice in one note is one file.
    if (const auto saved = m_savedBySource.constFind(source); saved != m_savedBySource.cend())
        return *saved;
    const QString &noteName = m_notes[index].name;
    const DataUri image = decodeDataUri(source);
    if (!image.failure.isEmpty()) {
        m_result.imagesKeptInline.append({ noteName, image.failure });
        return std::nullopt;
    }
    const QString folder = folderPath + u'/' + attachmentsFolder;
    // Images go into a folder of the destination only: a link in its place would send them elsewhere.
    if (QFileInfo(folder).isSymLink()) {
        m_result.imagesKeptInline.append({ noteName,
            QCoreApplication::translate("Velloran", "couldn't save the image: “%1” is a symbolic link")
                .arg(attachmentsFolder) });
        return std::nullopt;
    }
    if (const std::optional<QString> error = createFolder(folder)) {
        m_result.imagesKeptInline.append(
            { noteName, QCoreApplication::translate("Velloran", "couldn't save the image: %1").arg(*error) });
        return std::nullopt;
    }
    const QString extension = extensionForMediaType(image.mediaType);
    const QString &fileName = m_planned[index].name;
    const CandidateName candidate = [&](qint64 counter) -> std::optional<QString> {
        const QString suffix = u' ' + QString::number(counter) + u'.' + extension;
        return cutToUtf8Bytes(fileName, maxNameBytes - suffix.toUtf8().size()) + suffix;
    };
    if (m_options.update) {
        const auto name = [&](qint64 counter) { return *candidate(counter); };
        if (const std::optional<QString> kept = savedBefore(folder, name, image.bytes)) {
            const QString reference = encodedReference(attachmentsFolder + u'/' + *kept);
            m_savedBySource.insert(source, reference);
            return reference;
        }
    }
    const ClaimedFile claimed = claimNewFile(folder, m_nextImageCounter, candidate, image.bytes, m_method);
    if (!claimed.error.isEmpty()) {
        m_result.imagesKeptInline.append(
            { noteName, QCoreApplication::translate("Velloran", "couldn't save the image: %1").arg(claimed.error) });
        return std::nullopt;
    }
    m_nextImageCounter = claimed.counter;
    addChecked(m_nextImageCounter);
    addChecked(m_result.imagesSaved);
    m_savedPaths.append(folder + u'/' + claimed.fileName);
    const QString reference = encodedReference(attachmentsFolder + u'/' + claimed.fileName);
    m_savedBySource.insert(source, reference);
    return reference;
}

std::optional<QString> NoteConverter::savedBefore(
    const QString &folder, const std::function<QString(qint64)> &candidate, const QByteArray &bytes)
{
    for (qint64 counter = m_nextImageCounter;; addChecked(counter)) {
        const QString name = candidate(counter);
        const QFileInfo file(folder + u'/' + name);
        if (!file.exists() && !file.isSymLink())
            return std::nullopt;
        if (file.isSymLink() || !file.isFile() || file.size() != bytes.size())
            continue;
        QFile existing(file.filePath());
        if (existing.open(QIODevice::ReadOnly) && existing.readAll() == bytes) {
            m_nextImageCounter = counter;
            addChecked(m_nextImageCounter);
            return name;
        }
    }
}

void NoteConverter::discardImages()
{
    for (const QString &path : std::as_const(m_savedPaths)) {
        if (QFile::remove(path))
            --m_result.imagesSaved;
    }
    m_savedPaths.clear();
    m_savedBySource.clear();
}

} // namespace NotesExporter
