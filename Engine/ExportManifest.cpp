#include "ExportManifest.h"

#include "NotesExporterWrite_p.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cerrno>
#include <cstring>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace ExportManifest {

namespace {

QString recordPath(const QString &destination)
{
    return destination + u'/' + QString::fromUtf16(folderName) + u'/' + QString::fromUtf16(fileName);
}

QString unreadable()
{
    return QCoreApplication::translate("Velloran", "the record of the previous export is damaged");
}

} // namespace

QString digest(const QByteArray &bytes)
{
    return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex());
}

QString dateText(const QDateTime &date)
{
    return date.isValid() ? date.toString(u"yyyy-MM-ddTHH:mm:ss"_s) : QString();
}

QString subfolderOf(const Entry &entry)
{
    return entry.file.section(u'/', 0, 0);
}

std::optional<QList<Entry>> read(const QString &destination, QString *error)
{
    QFile file(recordPath(destination));
    if (!file.exists())
        return QList<Entry>();
    if (!file.open(QIODevice::ReadOnly)) {
        *error = file.errorString();
        return std::nullopt;
    }
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll());
    if (!document.isObject() || !document.object().value(u"notes"_s).isArray()) {
        *error = unreadable();
        return std::nullopt;
    }
    QList<Entry> entries;
    for (const QJsonValue value : document.object().value(u"notes"_s).toArray()) {
        const QJsonObject object = value.toObject();
        Entry entry { object.value(u"id"_s).toString(), object.value(u"file"_s).toString(),
            object.value(u"modified"_s).toString(), object.value(u"sha256"_s).toString() };
        // A file outside the destination is never touched, whatever the record says.
        if (entry.id.isEmpty() || entry.file.isEmpty() || entry.file.startsWith(u'/')
            || entry.file.split(u'/').contains(u".."_s)) {
            *error = unreadable();
            return std::nullopt;
        }
        entries.append(std::move(entry));
    }
    return entries;
}

std::optional<QString> write(const QString &destination, const QList<Entry> &entries)
{
    const QString folder = destination + u'/' + QString::fromUtf16(folderName);
    if (const std::optional<QString> error = NotesExporter::createFolder(folder))
        return error;
    // The record goes into a folder of the destination's own, not wherever a symbolic link points.
    struct stat info;
    if (::lstat(QFile::encodeName(folder).constData(), &info) != 0)
        return QString::fromLocal8Bit(std::strerror(errno));
    if (!S_ISDIR(info.st_mode))
        return QString::fromLocal8Bit(std::strerror(ENOTDIR));

    QJsonArray notes;
    for (const Entry &entry : entries) {
        notes.append(QJsonObject { { u"id"_s, entry.id }, { u"file"_s, entry.file }, { u"modified"_s, entry.modified },
            { u"sha256"_s, entry.sha256 } });
    }
    const QJsonObject root { { u"version"_s, 1 }, { u"notes"_s, notes } };
    return NotesExporter::replaceFile(folder, QString::fromUtf16(fileName), QJsonDocument(root).toJson());
}

} // namespace ExportManifest
