#include "Library.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QSet>

using namespace Qt::StringLiterals;

namespace FakeLibrary {

namespace {

/// Reads JSON values into the model, naming the place of the first problem ("folders[0].notes[2]").
class Reader
{
public:
    QString error;

    bool keysAllowed(const QJsonObject &object, const QSet<QString> &allowed, const QString &where)
    {
        for (auto it = object.begin(); it != object.end(); ++it) {
            if (!allowed.contains(it.key()))
                return fail(u"%1: unknown key \"%2\""_s.arg(where, it.key()));
        }
        return true;
    }

    bool fail(const QString &message)
    {
        if (error.isEmpty())
            error = message;
        return false;
    }

    bool readNote(const QJsonValue &value, const QString &where, Note &note)
    {
        if (!value.isObject())
            return fail(u"%1: a note must be an object"_s.arg(where));
        const QJsonObject object = value.toObject();
        if (!keysAllowed(
                object, { u"name"_s, u"body"_s, u"attachments"_s, u"id"_s, u"created"_s, u"modified"_s }, where))
            return false;
        if (!readOptionalText(object, u"id"_s, where, note.id) || !readDate(object, u"created"_s, where, note.created)
            || !readDate(object, u"modified"_s, where, note.modified))
            return false;
        if (object.contains(u"name"_s)) {
            if (!object.value(u"name"_s).isString())
                return fail(u"%1.name: must be a string"_s.arg(where));
            note.name = object.value(u"name"_s).toString();
        }
        if (object.contains(u"body"_s) && !object.value(u"body"_s).isString())
            return fail(u"%1.body: must be a string"_s.arg(where));
        note.body = object.value(u"body"_s).toString();
        return readStrings(object.value(u"attachments"_s), where + u".attachments"_s, note.attachments);
    }

    bool readOptionalText(
        const QJsonObject &object, const QString &key, const QString &where, std::optional<QString> &text)
    {
        if (!object.contains(key))
            return true;
        if (!object.value(key).isString() || object.value(key).toString().isEmpty())
            return fail(u"%1.%2: must be a non-empty string"_s.arg(where, key));
        text = object.value(key).toString();
        return true;
    }

    /// A date as Notes gives it through AppleScript's ISO 8601 coercion: local time, to the second.
    bool readDate(const QJsonObject &object, const QString &key, const QString &where, std::optional<QString> &date)
    {
        if (!readOptionalText(object, key, where, date))
            return false;
        if (date && !QDateTime::fromString(*date, u"yyyy-MM-ddTHH:mm:ss"_s).isValid())
            return fail(u"%1.%2: must be a date and time like \"2024-03-01T09:30:00\""_s.arg(where, key));
        return true;
    }

    bool readStrings(const QJsonValue &value, const QString &where, QStringList &strings)
    {
        if (value.isUndefined())
            return true;
        if (!value.isArray())
            return fail(u"%1: must be an array of strings"_s.arg(where));
        for (const QJsonValue item : value.toArray()) {
            if (!item.isString())
                return fail(u"%1: must be an array of strings"_s.arg(where));
            strings.append(item.toString());
        }
        return true;
    }

    bool readFolder(const QJsonValue &value, const QString &where, Folder &folder)
    {
        if (!value.isObject())
            return fail(u"%1: a folder must be an object"_s.arg(where));
        const QJsonObject object = value.toObject();
        if (!keysAllowed(object, { u"name"_s, u"notes"_s, u"folders"_s }, where))
            return false;
        if (!object.value(u"name"_s).isString())
            return fail(u"%1.name: a folder needs a name, a string"_s.arg(where));
        folder.name = object.value(u"name"_s).toString();
        return readNotes(object.value(u"notes"_s), where + u".notes"_s, folder.notes)
            && readFolders(object.value(u"folders"_s), where + u".folders"_s, folder.folders);
    }

    /// Reads an optional array at `where`, one element at a time with `readOne`.
    template<typename T, typename ReadOne>
    bool readArray(const QJsonValue &value, const QString &where, QList<T> &items, ReadOne readOne)
    {
        if (value.isUndefined())
            return true;
        if (!value.isArray())
            return fail(u"%1: must be an array"_s.arg(where));
        const QJsonArray array = value.toArray();
        for (qsizetype i = 0; i < array.size(); ++i) {
            T item;
            if (!(this->*readOne)(array.at(i), u"%1[%2]"_s.arg(where).arg(i), item))
                return false;
            items.append(item);
        }
        return true;
    }

    bool readNotes(const QJsonValue &value, const QString &where, QList<Note> &notes)
    {
        return readArray(value, where, notes, &Reader::readNote);
    }

    bool readFolders(const QJsonValue &value, const QString &where, QList<Folder> &folders)
    {
        return readArray(value, where, folders, &Reader::readFolder);
    }

    bool readAccount(const QJsonValue &value, const QString &where, Account &account)
    {
        if (!value.isObject())
            return fail(u"%1: an account must be an object"_s.arg(where));
        const QJsonObject object = value.toObject();
        if (!keysAllowed(object, { u"name"_s, u"folders"_s }, where))
            return false;
        if (!object.value(u"name"_s).isString())
            return fail(u"%1.name: an account needs a name, a string"_s.arg(where));
        account.name = object.value(u"name"_s).toString();
        return readFolders(object.value(u"folders"_s), where + u".folders"_s, account.folders);
    }

    bool readAccounts(const QJsonValue &value, const QString &where, QList<Account> &accounts)
    {
        return readArray(value, where, accounts, &Reader::readAccount);
    }
};

QJsonObject noteToJson(const Note &note)
{
    QJsonObject object;
    if (note.name)
        object.insert(u"name"_s, *note.name);
    object.insert(u"body"_s, note.body);
    object.insert(u"attachments"_s, QJsonArray::fromStringList(note.attachments));
    // Only what the library gave: made-up ids and the fixed dates are not written out.
    for (const auto &[key, value] : { std::pair { u"id"_s, note.id }, std::pair { u"created"_s, note.created },
             std::pair { u"modified"_s, note.modified } }) {
        if (value)
            object.insert(key, *value);
    }
    return object;
}

QJsonObject folderToJson(const Folder &folder)
{
    QJsonArray notes;
    for (const Note &note : folder.notes)
        notes.append(noteToJson(note));
    QJsonArray folders;
    for (const Folder &sub : folder.folders)
        folders.append(folderToJson(sub));
    QJsonObject object;
    object.insert(u"name"_s, folder.name);
    object.insert(u"notes"_s, notes);
    object.insert(u"folders"_s, folders);
    return object;
}

QJsonArray foldersToJson(const QList<Folder> &folders)
{
    QJsonArray array;
    for (const Folder &folder : folders)
        array.append(folderToJson(folder));
    return array;
}

} // namespace

std::optional<Library> fromJson(const QByteArray &json, QString *error)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(json, &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        *error = u"not valid JSON at offset %1: %2"_s.arg(parseError.offset).arg(parseError.errorString());
        return std::nullopt;
    }
    if (!document.isObject()) {
        *error = u"the library must be a JSON object with a \"folders\" array"_s;
        return std::nullopt;
    }
    Reader reader;
    Library library;
    const QJsonObject root = document.object();
    if (!reader.keysAllowed(root, { u"folders"_s, u"accounts"_s }, u"library"_s)
        || !reader.readFolders(root.value(u"folders"_s), u"folders"_s, library.folders)
        || !reader.readAccounts(root.value(u"accounts"_s), u"accounts"_s, library.accounts)) {
        *error = reader.error;
        return std::nullopt;
    }
    return library;
}

QByteArray toJson(const Library &library)
{
    QJsonObject root;
    root.insert(u"folders"_s, foldersToJson(library.folders));
    // Left out when there are none, so that a one-account library prints as it always did.
    if (!library.accounts.isEmpty()) {
        QJsonArray accounts;
        for (const Account &account : library.accounts)
            accounts.append(
                QJsonObject { { u"name"_s, account.name }, { u"folders"_s, foldersToJson(account.folders) } });
        root.insert(u"accounts"_s, accounts);
    }
    return QJsonDocument(root).toJson(QJsonDocument::Indented);
}

bool save(const QByteArray &json, const QString &path, QString *error)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(json) != json.size() || !file.commit()) {
        *error = u"%1: %2"_s.arg(path, file.errorString());
        return false;
    }
    return true;
}

} // namespace FakeLibrary
