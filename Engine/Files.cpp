#include "Files.h"

#include <QCoreApplication>
#include <QFile>
#include <QStringDecoder>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Files {

namespace {

QString notRegular()
{
    return QCoreApplication::translate("Velloran", "not a regular file");
}

/// Closes a descriptor on every way out.
struct Descriptor
{
    int fd = -1;
    ~Descriptor()
    {
        if (fd >= 0)
            ::close(fd);
    }
};

} // namespace

QString reasonForError(int error)
{
    switch (error) {
    case EACCES:
    case EPERM:
        return QCoreApplication::translate("Velloran", "permission denied");
    case ENAMETOOLONG:
        return QCoreApplication::translate("Velloran", "path too long");
    case ENOENT:
        return QCoreApplication::translate("Velloran", "no such file or folder");
    case ELOOP:
        return QCoreApplication::translate("Velloran", "too many symbolic links");
    case ENOTDIR:
        return QCoreApplication::translate("Velloran", "not a folder");
    default:
        return QString::fromLocal8Bit(std::strerror(error));
    }
}

TextRead readText(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    struct stat info
    { };
    if (::stat(name.constData(), &info) != 0)
        return { {}, reasonForError(errno) };
    if (!S_ISREG(info.st_mode))
        return { {}, notRegular() };
    // Non-blocking, in case the file was replaced by a FIFO since it was looked at; checked again below.
    Descriptor file { ::open(name.constData(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC) };
    if (file.fd < 0)
        return { {}, reasonForError(errno) };
    if (::fstat(file.fd, &info) != 0)
        return { {}, reasonForError(errno) };
    if (!S_ISREG(info.st_mode))
        return { {}, notRegular() };

    QByteArray bytes;
    bytes.reserve(qsizetype(info.st_size));
    char buffer[65536];
    while (true) {
        const ssize_t got = ::read(file.fd, buffer, sizeof buffer);
        if (got == 0)
            break;
        if (got < 0) {
            if (errno == EINTR)
                continue;
            return { {}, reasonForError(errno) };
        }
        bytes.append(buffer, got);
    }
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder.decode(bytes);
    if (decoder.hasError())
        return { {}, QCoreApplication::translate("Velloran", "not UTF-8 text") };
    return { std::move(text), {} };
}

std::optional<QString> readUtf8(const QString &path)
{
    TextRead read = readText(path);
    if (!read.ok())
        return std::nullopt;
    return std::move(read.text);
}

std::optional<QString> writeNewFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly))
        return file.errorString();
    const bool written = file.write(bytes) == bytes.size() && file.flush();
    const QString failure = file.errorString();
    file.close();
    if (!written || file.error() != QFileDevice::NoError) {
        const QString text = written ? file.errorString() : failure;
        QFile::remove(path);
        return text;
    }
    return std::nullopt;
}

Listing listFolder(const QString &path)
{
    Listing listing;
    const QByteArray name = QFile::encodeName(path);
    DIR *folder = ::opendir(name.constData());
    if (!folder) {
        listing.failure = reasonForError(errno);
        return listing;
    }
    const int fd = ::dirfd(folder);
    while (true) {
        errno = 0;
        const dirent *entry = ::readdir(folder);
        if (!entry) {
            if (errno != 0)
                listing.failure = reasonForError(errno);
            break;
        }
        const char *entryName = entry->d_name;
        if (std::strcmp(entryName, ".") == 0 || std::strcmp(entryName, "..") == 0)
            continue;
        EntryType type = EntryType::other;
        unsigned char kind = entry->d_type;
        if (kind == DT_UNKNOWN) {
            struct stat info
            { };
            if (::fstatat(fd, entryName, &info, AT_SYMLINK_NOFOLLOW) == 0) {
                kind = S_ISREG(info.st_mode) ? DT_REG
                    : S_ISDIR(info.st_mode)  ? DT_DIR
                    : S_ISLNK(info.st_mode)  ? DT_LNK
                                             : DT_UNKNOWN;
            }
        }
        switch (kind) {
        case DT_REG:
            type = EntryType::file;
            break;
        case DT_DIR:
            type = EntryType::folder;
            break;
        case DT_LNK:
            type = EntryType::symbolicLink;
            break;
        default:
            break;
        }
        listing.entries.append({ QFile::decodeName(entryName), type });
    }
    ::closedir(folder);
    std::sort(
        listing.entries.begin(), listing.entries.end(), [](const Entry &a, const Entry &b) { return a.name < b.name; });
    return listing;
}

} // namespace Files
