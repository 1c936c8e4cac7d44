// The export writer: note records to one Markdown file each, one subfolder per Notes folder.

#include "NotesExporter.h"
#include "NotesExporterWrite_p.h"

#include "Counters.h"
#include "HtmlToMarkdown.h"
#include "Regex.h"
#include "Text.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QUuid>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace NotesExporter {

namespace {

/// Whether `text` begins with the character "." alone (not a dot carrying a combining mark).
bool startsWithDot(QStringView text)
{
    if (!text.startsWith(u'.'))
        return false;
    if (text.size() == 1 || text[1].unicode() < 0x80)
        return true;
    return Text::leftGraphemes(text, 1).size() == 1;
}

QString joinPath(const QString &folder, const QString &name)
{
    return name.isEmpty() ? folder : folder + u'/' + name;
}

/// The system's description of an error number, as the file layer words it.
QString systemText(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

QByteArray encodedPath(const QString &folder, const QString &name)
{
    return QFile::encodeName(joinPath(folder, name));
}

/// Whether a failed link(2) says that the file system has no hard links (FAT, exFAT, some network and
/// FUSE file systems) rather than that this link cannot be made.
bool linksUnsupported(int error)
{
    return error == EPERM || error == ENOTSUP || error == EOPNOTSUPP || error == ENOSYS;
}

/// A file descriptor closed on every way out.
class Descriptor
{
public:
    explicit Descriptor(int fd)
        : m_fd(fd)
    { }
    ~Descriptor()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    int get() const { return m_fd; }
    /// Closes it now: some file systems (network ones, or under a quota) report a failed write only here.
    int close()
    {
        const int fd = std::exchange(m_fd, -1);
        return ::close(fd) == 0 || errno == EINTR ? 0 : errno;
    }

private:
    int m_fd;
};

/// A path removed on every way out, unless kept.
class RemoveUnlessKept
{
public:
    explicit RemoveUnlessKept(QByteArray path)
        : m_path(std::move(path))
    { }
    ~RemoveUnlessKept()
    {
        if (!m_path.isEmpty())
            ::unlink(m_path.constData()); // a failed removal is ignored
    }
    RemoveUnlessKept(const RemoveUnlessKept &) = delete;
    RemoveUnlessKept &operator=(const RemoveUnlessKept &) = delete;

    void keep() { m_path.clear(); }

private:
    QByteArray m_path;
};

/// Writes all of `bytes` to `fd`, flushes them to the disk and closes it. Gives the error number of the
/// first failure (a full disk, a quota, an I/O error), if there is one; a write that takes nothing counts
/// as a full disk.
int writeAndClose(Descriptor &file, const QByteArray &bytes)
{
    const char *data = bytes.constData();
    qsizetype left = bytes.size();
    while (left > 0) {
        const ssize_t count = ::write(file.get(), data, size_t(std::min<qsizetype>(left, 1 << 30)));
        if (count < 0) {
            if (errno == EINTR)
                continue;
            return errno;
        }
        if (count == 0)
            return ENOSPC;
        data += count;
        left -= count;
    }
    // EINVAL: the file cannot be synchronised (a special file), which is no failure of the write.
    if (::fdatasync(file.get()) != 0 && errno != EINVAL)
        return errno;
    return file.close();
}

/// Opens a new file for writing, never through a symbolic link and never one that exists.
int openNew(const QByteArray &path)
{
    int fd = -1;
    do
        fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
    while (fd < 0 && errno == EINTR);
    return fd;
}

/// A private temporary file in `folder`, hidden and named with a fresh UUID.
struct Temporary
{
    QByteArray path;
    int fd = -1;
    /// The error number when it could not be made.
    int error = 0;
};

Temporary openTemporary(const QString &folder)
{
    for (;;) {
        const QByteArray path
            = encodedPath(folder, u".velloran-"_s + QUuid::createUuid().toString(QUuid::WithoutBraces) + u".tmp"_s);
        const int fd = openNew(path);
        if (fd >= 0)
            return { path, fd, 0 };
        if (errno != EEXIST)
            return { QByteArray(), -1, errno };
    }
}

NewFile failure(int error)
{
    return { QString(), systemText(error) };
}

/// writeNewFile by creating the final name exclusively and writing into it.
NewFile writeInPlace(const QString &folder, const QString &base, const QByteArray &bytes, RunNames &names)
{
    for (qint64 counter = names.firstCounter(folder, base);; addChecked(counter)) {
        const QString candidate = candidateName(base, counter);
        if (names.isGiven(folder, candidate))
            continue;
        const QByteArray path = encodedPath(folder, candidate + u".md"_s);
        const int fd = openNew(path);
        if (fd < 0) {
            if (errno == EEXIST)
                continue;
            return failure(errno);
        }
        RemoveUnlessKept partial(path);
        Descriptor file(fd);
        if (const int error = writeAndClose(file, bytes))
            return failure(error);
        partial.keep();
        names.give(folder, base, candidate, counter);
        return { candidate, QString() };
    }
}

} // namespace

std::optional<QString> createFolder(const QString &path)
{
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(QFile::encodeName(path).toStdString()), error);
    if (error)
        return QString::fromLocal8Bit(error.message());
    return std::nullopt;
}

QString cutToUtf8Bytes(const QString &text, qsizetype maxBytes)
{
    if (text.toUtf8().size() <= maxBytes)
        return text;
    qsizetype bytes = 0;
    qsizetype end = 0;
    for (const QStringView cluster : Text::graphemeClusters(text)) {
        bytes += cluster.toUtf8().size();
        if (bytes > maxBytes)
            break;
        end += cluster.size();
    }
    if (end > 0)
        return text.left(end);
    // One user-perceived character longer than the whole budget (a letter under hundreds of marks):
    // keep as many of its code points as fit.
    bytes = 0;
    for (qsizetype i = 0; i < text.size();) {
        const qsizetype width = text[i].isHighSurrogate() && i + 1 < text.size() ? 2 : 1;
        bytes += QStringView(text).mid(i, width).toUtf8().size();
        if (bytes > maxBytes)
            break;
        i += width;
        end = i;
    }
    return text.left(end);
}

QString candidateName(const QString &base, qint64 counter)
{
    const QString number = counter < 2 ? QString() : u" ("_s + QString::number(counter) + u')';
    return cutToUtf8Bytes(base, maxNameBytes - qsizetype(std::strlen(".md")) - number.size()) + number;
}

bool RunNames::isGiven(const QString &folder, const QString &candidate) const
{
    const auto found = m_given.constFind(folder);
    return found != m_given.cend() && found->contains(candidate.toLower());
}

qint64 RunNames::firstCounter(const QString &folder, const QString &base) const
{
    return m_next.value({ folder, base.toLower() }, 1);
}

void RunNames::give(const QString &folder, const QString &base, const QString &candidate, qint64 counter)
{
    m_given[folder].insert(candidate.toLower());
    qint64 next = counter;
    addChecked(next);
    qint64 &stored = m_next[{ folder, base.toLower() }];
    stored = std::max(stored, next);
}

NewFile writeNewFile(
    const QString &folder, const QString &base, const QByteArray &bytes, RunNames &names, ClaimMethod &method)
{
    if (method == ClaimMethod::exclusiveCreate)
        return writeInPlace(folder, base, bytes, names);

    const Temporary made = openTemporary(folder);
    if (made.fd < 0)
        return failure(made.error);
    const QByteArray &temporaryPath = made.path;
    // The temporary name goes on every way out: once linked, the file lives on under its final name.
    RemoveUnlessKept temporary(temporaryPath);
    {
        Descriptor file(made.fd);
        if (const int error = writeAndClose(file, bytes))
            return failure(error);
    }
    for (qint64 counter = names.firstCounter(folder, base);; addChecked(counter)) {
        const QString candidate = candidateName(base, counter);
        if (names.isGiven(folder, candidate))
            continue;
        // link(2) never replaces anything: an existing file, folder or symbolic link (dangling or not)
        // makes it fail with EEXIST, also when it appeared a moment ago.
        if (::link(temporaryPath.constData(), encodedPath(folder, candidate + u".md"_s).constData()) == 0) {
            names.give(folder, base, candidate, counter);
            return { candidate, QString() };
        }
        if (errno == EEXIST)
            continue;
        if (linksUnsupported(errno)) {
            method = ClaimMethod::exclusiveCreate;
            return writeInPlace(folder, base, bytes, names);
        }
        return failure(errno);
    }
}

std::optional<QString> replaceFile(const QString &folder, const QString &fileName, const QByteArray &bytes)
{
    const Temporary made = openTemporary(folder);
    if (made.fd < 0)
        return systemText(made.error);
    RemoveUnlessKept temporary(made.path);
    {
        Descriptor file(made.fd);
        if (const int error = writeAndClose(file, bytes))
            return systemText(error);
    }
    // rename(2) replaces the name's entry itself, a symbolic link included, and never follows one.
    if (::rename(made.path.constData(), encodedPath(folder, fileName).constData()) != 0)
        return systemText(errno);
    temporary.keep();
    return std::nullopt;
}

QString fileContent(const QString &noteName, const QString &markdown)
{
    return u"# "_s + noteName + u"\n\n"_s + markdown + u'\n';
}

QString sanitizeFilename(const QString &name)
{
    static const Regex whiteSpace(u"\\s+"_s);
    QString text = name;
    for (QChar &c : text) {
        // Control characters are no part of a name (a NUL would even end it early), except those that are
        // white space: line breaks and tabs become spaces below.
        if ((c.unicode() < 0x20 || c.unicode() == 0x7F) && !whiteSpace.contains(QStringView(&c, 1))) {
            c = u'-';
            continue;
        }
        switch (c.unicode()) {
        case u'/':
        case u'\\':
        case u':':
        case u'*':
        case u'?':
        case u'"':
        case u'<':
        case u'>':
        case u'|':
            c = u'-';
            break;
        default:
            break;
        }
    }
    text = Text::trimWhitespaceAndNewlines(whiteSpace.replaceAll(text, u" "_s)).toString();
    // No hidden files, and never "." or "..".
    while (startsWithDot(text))
        text.remove(0, 1);
    text = Text::trimSpacesAndTabs(text).toString();
    // At most 200 user-perceived characters, and never more bytes than a file system takes in a name.
    if (Text::graphemeCount(text) > 200)
        text = Text::leftGraphemes(text, 200).toString();
    return cutToUtf8Bytes(text, maxNameBytes);
}

Result exportNotes(const QList<NoteRecord> &notes, const QUrl &to, const ProgressCallback &progress,
    const StopCheck &shouldStop, const ExportOptions &options, const QStringList &foldersRead)
{
    Result result;
    const QString destination = to.toLocalFile();
    if (!QFileInfo(destination).isWritable()) {
        // A missing destination is made; one that cannot be made ends the run before the first note.
        if (createFolder(destination)) {
            result.failed.append({ QCoreApplication::translate("Velloran", "(destination)"),
                QCoreApplication::translate("Velloran", "not writable") });
            return result;
        }
    }

    RunWriter writer(destination, notes, options, foldersRead, result);
    if (const QString failure = writer.failure(); !failure.isEmpty()) {
        result.failed.append({ QCoreApplication::translate("Velloran", "(destination)"), failure });
        return result;
    }
    RunNames names;
    // Folders whose file system turned out to have no hard links.
    QSet<QString> withoutLinks;
    const qsizetype n = notes.size();
    for (qsizetype i = 0; i < n; ++i) {
        if (shouldStop && shouldStop())
            break;
        const NoteRecord &note = notes[i];
        if (progress)
            progress(double(i) / double(n), note.name);

        const QString subfolder = sanitizeFilename(note.folder.isEmpty() ? u"Notes"_s : note.folder);
        const QString folderPath = joinPath(destination, subfolder);
        if (const std::optional<QString> error = createFolder(folderPath)) {
            result.failed.append(
                { note.name, QCoreApplication::translate("Velloran", "couldn't create folder: %1").arg(*error) });
            continue;
        }
        result.folders.insert(subfolder);

        QString base = sanitizeFilename(note.name.isEmpty() ? u"Untitled"_s : note.name);
        if (base.isEmpty())
            base = u"Untitled"_s;
        QByteArray content = fileContent(note.name, HtmlToMarkdown::convert(note.html)).toUtf8();
        if (options.dates)
            content.prepend(datesFrontmatter(note));
        ClaimMethod method = withoutLinks.contains(folderPath) ? ClaimMethod::exclusiveCreate : ClaimMethod::hardLink;
        writer.write(note, subfolder, folderPath, base, content, names, method);
        if (method == ClaimMethod::exclusiveCreate)
            withoutLinks.insert(folderPath);
    }
    writer.finish();

    if (progress)
        progress(1.0, QString());
    return result;
}

} // namespace NotesExporter
