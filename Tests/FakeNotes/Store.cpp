#include "Store.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

#include <fcntl.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace FakeLibrary {

namespace {

/// Bumped whenever the tables change: a store made by another version is rebuilt from the library file.
constexpr char16_t storeFormat[] = u"2";

/// How long a run waits for the run before it to finish.
constexpr int waitMs = 10 * 60 * 1000;

const QString idPrefix = u"x-coredata://FakeNotes/ICFolder/p"_s;
const QString noteIdPrefix = u"x-coredata://FakeNotes/ICNote/p"_s;

/// The dates of a note that the library gives none for.
constexpr char16_t fixedCreated[] = u"2024-01-01T09:00:00";
constexpr char16_t fixedModified[] = u"2024-01-02T10:30:00";

/// The library file as the file system describes it. Any write or replacement changes the signature,
/// short of a write in place, of the same size, within the same tick of the file system's clock (a few
/// milliseconds on ext4 and tmpfs, a second on HFS+).
struct FileState
{
    bool exists = false;
    QString signature;
    /// When the contents last changed, in nanoseconds since the epoch.
    qint64 modified = 0;
};

qint64 nanoseconds(const timespec &time)
{
    return qint64(time.tv_sec) * 1000000000 + time.tv_nsec;
}

FileState stateOf(const QString &path)
{
    struct stat info;
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return { false, u"absent"_s, 0 };
#ifdef __APPLE__
    const timespec modified = info.st_mtimespec;
    const timespec changed = info.st_ctimespec;
#else
    const timespec modified = info.st_mtim;
    const timespec changed = info.st_ctim;
#endif
    const QString signature = u"%1:%2:%3:%4.%5:%6.%7"_s.arg(qulonglong(info.st_dev))
                                  .arg(qulonglong(info.st_ino))
                                  .arg(qlonglong(info.st_size))
                                  .arg(qlonglong(modified.tv_sec))
                                  .arg(qlonglong(modified.tv_nsec))
                                  .arg(qlonglong(changed.tv_sec))
                                  .arg(qlonglong(changed.tv_nsec));
    return { true, signature, nanoseconds(modified) };
}

/// Whether the file system's clock has moved on since `file` last changed, so that any later write to it
/// changes its signature. Asked of the clock itself, by touching a file of the store's, in the same
/// folder and so on the same file system.
bool hasSettled(const FileState &file, const QString &clockPath)
{
    const QByteArray path = QFile::encodeName(clockPath);
    if (::utimensat(AT_FDCWD, path.constData(), nullptr, 0) != 0) {
        QFile clock(clockPath);
        if (!clock.open(QIODevice::WriteOnly))
            return false;
    }
    return stateOf(clockPath).modified > file.modified;
}

QString digestOf(const QByteArray &bytes)
{
    return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex());
}

/// A text as a bound value. A null QString would be bound as SQL NULL, which equals nothing; Notes'
/// names are never NULL, only empty.
QVariant text(const QString &value)
{
    return value.isNull() ? QVariant(u""_s) : QVariant(value);
}

/// One step of a folder's place: fixed-width hexadecimal, so that byte order is numeric order and a
/// folder's place, a prefix of its subfolders' places, sorts before them.
QByteArray placeStep(qint64 position)
{
    return QByteArray::number(position, 16).rightJustified(8, '0');
}

QString attachmentsText(const QStringList &attachments)
{
    return QString::fromUtf8(QJsonDocument(QJsonArray::fromStringList(attachments)).toJson(QJsonDocument::Compact));
}

QStringList attachmentsFrom(const QString &text)
{
    QStringList attachments;
    for (const QJsonValue value : QJsonDocument::fromJson(text.toUtf8()).array())
        attachments.append(value.toString());
    return attachments;
}

std::optional<QString> optionalText(const QVariant &value)
{
    if (value.isNull())
        return std::nullopt;
    return value.toString();
}

const char *const schema[] = {
    // The accounts; number 0 is the default one.
    "CREATE TABLE account (number INTEGER PRIMARY KEY, name TEXT NOT NULL)",
    // Every folder of every account. `place` orders them depth first; `position` is 1-based among the
    // folder's siblings.
    "CREATE TABLE folder (row INTEGER PRIMARY KEY, account INTEGER NOT NULL, parent INTEGER, "
    "position INTEGER NOT NULL, place BLOB NOT NULL, id TEXT NOT NULL, name TEXT NOT NULL)",
    "CREATE INDEX folder_by_name ON folder (name, place)",
    "CREATE INDEX folder_by_place ON folder (place)",
    "CREATE INDEX folder_children ON folder (account, parent, name)",
    "CREATE INDEX folder_by_id ON folder (id)",
    // Notes in the order they were added (row order); `name` is NULL when Notes cannot give it, and
    // `attachments` is a JSON array of file names. `id`, `created` and `modified` are NULL unless the
    // library gave them.
    "CREATE TABLE note (row INTEGER PRIMARY KEY, folder INTEGER NOT NULL, name TEXT, body TEXT NOT NULL, "
    "attachments TEXT NOT NULL, id TEXT, created TEXT, modified TEXT)",
    "CREATE INDEX note_by_folder ON note (folder)",
    "CREATE INDEX note_by_name ON note (folder, name)",
    // What the store knows of the library file: `file` (its signature when last read or written),
    // `digest` (its contents' SHA-1), `settled` (1 once the signature alone can be trusted) and `changed`
    // (1 when scripts have changed the library since), and the store's own `format`.
    "CREATE TABLE meta (key TEXT PRIMARY KEY, value TEXT NOT NULL)",
};

} // namespace

Store::Store(const QString &libraryPath, Use use)
    : m_libraryPath(libraryPath)
    , m_connection(u"fake-notes-store"_s)
{
    try {
        openDatabase(use);
        syncWithFile();
    } catch (...) {
        close();
        throw;
    }
}

Store::~Store()
{
    close();
}

void Store::close()
{
    m_queries.clear();
    if (m_inTransaction)
        QSqlQuery(u"ROLLBACK"_s, m_db);
    m_db.close();
    m_db = QSqlDatabase();
    QSqlDatabase::removeDatabase(m_connection);
}

QSqlQuery &Store::query(const char *sql, const QVariantList &values)
{
    auto found = m_queries.find(sql);
    if (found == m_queries.end()) {
        QSqlQuery prepared(m_db);
        prepared.setForwardOnly(true);
        if (!prepared.prepare(QString::fromLatin1(sql)))
            fail(prepared.lastError().text());
        found = m_queries.emplace(sql, prepared).first;
    }
    QSqlQuery &query = found->second;
    for (qsizetype i = 0; i < values.size(); ++i)
        query.bindValue(int(i), values.at(i));
    if (!query.exec())
        fail(query.lastError().text());
    return query;
}

void Store::execute(const QString &sql)
{
    QSqlQuery query(m_db);
    if (!query.exec(sql))
        fail(query.lastError().text());
}

void Store::fail(const QString &problem) const
{
    throw StoreError { u"%1: %2"_s.arg(storePath(), problem) };
}

QString Store::storePath() const
{
    return m_libraryPath + u".store/library.sqlite"_s;
}

QString Store::clockPath() const
{
    return m_libraryPath + u".store/clock"_s;
}

void Store::openDatabase(Use use)
{
    const QString path = storePath();
    // Reading a library that is neither written nor stored yet: an empty one, kept in memory only.
    const bool inMemory = use == Use::reading && !QFileInfo::exists(path) && !stateOf(m_libraryPath).exists;
    // Made here and not above, so that a library in a folder that does not exist stays a failure; another
    // run may make it at the same moment.
    const QString folder = QFileInfo(path).path();
    if (!inMemory && !QDir().mkdir(folder) && !QFileInfo(folder).isDir())
        throw StoreError { u"%1: cannot make the folder for the library's store"_s.arg(folder) };

    m_db = QSqlDatabase::addDatabase(u"QSQLITE"_s, m_connection);
    m_db.setDatabaseName(inMemory ? u":memory:"_s : path);
    m_db.setConnectOptions(u"QSQLITE_BUSY_TIMEOUT=%1"_s.arg(waitMs));
    if (!m_db.open())
        fail(m_db.lastError().text());
    // A killed run leaves its changes in the journal, and the next run rolls them back. Nothing is
    // flushed to the disk itself: a stand-in's library need not outlive a crash of the whole system.
    execute(u"PRAGMA journal_mode = TRUNCATE"_s);
    execute(u"PRAGMA synchronous = OFF"_s);
    // Taken at once, so that two runs never both read and then both write.
    execute(u"BEGIN IMMEDIATE"_s);
    m_inTransaction = true;
    createSchema();
}

void Store::createSchema()
{
    QSqlQuery existing(m_db);
    if (existing.exec(u"SELECT value FROM meta WHERE key = 'format'"_s) && existing.next()
        && existing.value(0).toString() == QStringView(storeFormat))
        return;
    existing.finish();
    m_queries.clear();
    for (const char *table : { "note", "folder", "account", "meta" })
        execute(u"DROP TABLE IF EXISTS %1"_s.arg(QLatin1StringView(table)));
    for (const char *statement : schema)
        execute(QString::fromLatin1(statement));
    setMeta(u"format"_s, QStringView(storeFormat).toString());
    // Matches no file, so that the library file is read in.
    setMeta(u"file"_s, u"none"_s);
}

QString Store::meta(const QString &key)
{
    QSqlQuery &found = query("SELECT value FROM meta WHERE key = ?", { key });
    return found.next() ? found.value(0).toString() : QString();
}

void Store::setMeta(const QString &key, const QString &value)
{
    query("INSERT OR REPLACE INTO meta (key, value) VALUES (?, ?)", { key, text(value) });
}

void Store::syncWithFile()
{
    const FileState file = stateOf(m_libraryPath);
    const bool sameFile = file.signature == meta(u"file"_s);
    if (sameFile && (!file.exists || meta(u"settled"_s) == u"1"))
        return;

    QByteArray bytes;
    if (file.exists) {
        QFile input(m_libraryPath);
        if (!input.open(QIODevice::ReadOnly))
            throw StoreError { u"%1: %2"_s.arg(m_libraryPath, input.errorString()) };
        bytes = input.readAll();
    }
    if (sameFile && digestOf(bytes) == meta(u"digest"_s)) {
        if (hasSettled(file, clockPath()))
            setMeta(u"settled"_s, u"1"_s);
        return;
    }

    Library library;
    if (file.exists) {
        QString problem;
        std::optional<Library> read = fromJson(bytes, &problem);
        if (!read)
            throw StoreError { u"%1: %2"_s.arg(m_libraryPath, problem) };
        library = std::move(*read);
    }
    replaceWith(library);
    recordFile(file.signature, !file.exists || hasSettled(file, clockPath()), bytes);
}

void Store::recordFile(const QString &signature, bool settled, const QByteArray &bytes)
{
    setMeta(u"file"_s, signature);
    setMeta(u"digest"_s, digestOf(bytes));
    setMeta(u"settled"_s, settled ? u"1"_s : u"0"_s);
    setMeta(u"changed"_s, u"0"_s);
    m_changed = false;
}

void Store::replaceWith(const Library &library)
{
    for (const char *table : { "note", "folder", "account" })
        execute(u"DELETE FROM %1"_s.arg(QLatin1StringView(table)));
    query("INSERT INTO account (number, name) VALUES (0, ?)", { QStringView(defaultAccountName).toString() });
    insertFolders(library.folders, 0, std::nullopt, placeStep(0), idPrefix + u'0');
    for (qsizetype i = 0; i < library.accounts.size(); ++i) {
        const qint64 number = i + 1;
        query("INSERT INTO account (number, name) VALUES (?, ?)", { number, text(library.accounts[i].name) });
        insertFolders(
            library.accounts[i].folders, number, std::nullopt, placeStep(number), idPrefix + QString::number(number));
    }
}

void Store::insertFolders(const QList<Folder> &folders, qint64 account, std::optional<qint64> parent,
    const QByteArray &place, const QString &id)
{
    for (qsizetype i = 0; i < folders.size(); ++i) {
        const Folder &folder = folders[i];
        const StoredFolder stored = insertFolder(folder.name, account, parent, i + 1, place, id);
        for (const Note &note : folder.notes)
            insertNote(stored, note);
        insertFolders(folder.folders, account, stored.row, stored.place, stored.id);
    }
}

StoredFolder Store::insertFolder(const QString &name, qint64 account, std::optional<qint64> parent, qint64 position,
    const QByteArray &parentPlace, const QString &parentId)
{
    StoredFolder folder;
    folder.account = account;
    folder.name = name;
    folder.place = parentPlace + placeStep(position);
    folder.id = parentId + u'-' + QString::number(position);
    QSqlQuery &inserted
        = query("INSERT INTO folder (account, parent, position, place, id, name) VALUES (?, ?, ?, ?, ?, ?)",
            { account, parent ? QVariant(*parent) : QVariant(), position, folder.place, folder.id, text(name) });
    folder.row = inserted.lastInsertId().toLongLong();
    return folder;
}

StoredFolder Store::folderFrom(const QSqlQuery &found)
{
    return StoredFolder { found.value(0).toLongLong(), found.value(1).toLongLong(), found.value(2).toString(),
        found.value(3).toString(), found.value(4).toByteArray() };
}

std::optional<StoredFolder> Store::firstFolderNamed(const QString &name)
{
    QSqlQuery &found = query(
        "SELECT row, account, name, id, place FROM folder WHERE name = ? ORDER BY place LIMIT 1", { text(name) });
    if (!found.next())
        return std::nullopt;
    return folderFrom(found);
}

std::optional<StoredFolder> Store::subfolderNamed(const StoredFolder &parent, const QString &name)
{
    QSqlQuery &found = query("SELECT row, account, name, id, place FROM folder "
                             "WHERE account = ? AND parent = ? AND name = ? ORDER BY position LIMIT 1",
        { parent.account, parent.row, text(name) });
    if (!found.next())
        return std::nullopt;
    return folderFrom(found);
}

std::optional<StoredFolder> Store::folderWithId(const QString &id)
{
    QSqlQuery &found = query("SELECT row, account, name, id, place FROM folder WHERE id = ? LIMIT 1", { text(id) });
    if (!found.next())
        return std::nullopt;
    return folderFrom(found);
}

void Store::addFolder(const QString &name)
{
    QSqlQuery &last = query("SELECT coalesce(max(position), 0) FROM folder WHERE account = 0 AND parent IS NULL", {});
    const qint64 position = last.next() ? last.value(0).toLongLong() + 1 : 1;
    insertFolder(name, 0, std::nullopt, position, placeStep(0), idPrefix + u'0');
    markChanged();
}

void Store::addSubfolder(const StoredFolder &parent, const QString &name)
{
    QSqlQuery &last = query("SELECT coalesce(max(position), 0) FROM folder WHERE account = ? AND parent = ?",
        { parent.account, parent.row });
    const qint64 position = last.next() ? last.value(0).toLongLong() + 1 : 1;
    insertFolder(name, parent.account, parent.row, position, parent.place, parent.id);
    markChanged();
}

bool Store::hasNoteNamed(const StoredFolder &folder, const QString &name)
{
    return query("SELECT 1 FROM note WHERE folder = ? AND name = ? LIMIT 1", { folder.row, text(name) }).next();
}

void Store::addNote(const StoredFolder &folder, const Note &note)
{
    insertNote(folder, note);
    markChanged();
}

void Store::insertNote(const StoredFolder &folder, const Note &note)
{
    const auto optional = [](const std::optional<QString> &value) { return value ? text(*value) : QVariant(); };
    query("INSERT INTO note (folder, name, body, attachments, id, created, modified) VALUES (?, ?, ?, ?, ?, ?, ?)",
        { folder.row, optional(note.name), text(note.body), attachmentsText(note.attachments), optional(note.id),
            optional(note.created), optional(note.modified) });
}

QList<Note> Store::notes(const StoredFolder &folder)
{
    QSqlQuery &found = query(
        "SELECT name, body, row, id, created, modified FROM note WHERE folder = ? ORDER BY row", { folder.row });
    QList<Note> notes;
    while (found.next()) {
        // A note that the library gives no id keeps the one made from its row for as long as the store
        // holds it: the rows of a library read in follow its order, and a new note takes the next row.
        notes.append(Note { optionalText(found.value(0)), found.value(1).toString(), {},
            optionalText(found.value(3)).value_or(noteIdPrefix + QString::number(found.value(2).toLongLong())),
            optionalText(found.value(4)).value_or(QStringView(fixedCreated).toString()),
            optionalText(found.value(5)).value_or(QStringView(fixedModified).toString()) });
    }
    return notes;
}

qint64 Store::noteCount()
{
    QSqlQuery &found = query("SELECT COUNT(*) FROM note", {});
    return found.next() ? found.value(0).toLongLong() : 0;
}

QStringList Store::folderNames()
{
    QSqlQuery &found = query("SELECT name FROM folder ORDER BY place", {});
    QStringList names;
    while (found.next())
        names.append(found.value(0).toString());
    return names;
}

QList<FolderDetails> Store::folderDetails()
{
    QSqlQuery &found = query("SELECT f.id, f.name, a.name, p.name FROM folder f "
                             "JOIN account a ON a.number = f.account LEFT JOIN folder p ON p.row = f.parent "
                             "ORDER BY f.place",
        {});
    QList<FolderDetails> details;
    while (found.next()) {
        details.append({ found.value(0).toString(), found.value(1).toString(), found.value(2).toString(),
            found.value(3).toString() });
    }
    return details;
}

Library Store::library()
{
    QHash<qint64, QList<Note>> notesOf;
    QSqlQuery &notes
        = query("SELECT folder, name, body, attachments, id, created, modified FROM note ORDER BY row", {});
    while (notes.next()) {
        notesOf[notes.value(0).toLongLong()].append(
            Note { optionalText(notes.value(1)), notes.value(2).toString(), attachmentsFrom(notes.value(3).toString()),
                optionalText(notes.value(4)), optionalText(notes.value(5)), optionalText(notes.value(6)) });
    }

    // Folders by what holds them: a parent folder's row, or minus one minus the account's number at the
    // top level.
    QHash<qint64, QList<std::pair<qint64, QString>>> children;
    QSqlQuery &folders = query("SELECT row, account, parent, name FROM folder ORDER BY place", {});
    while (folders.next()) {
        const qint64 holder
            = folders.value(2).isNull() ? -1 - folders.value(1).toLongLong() : folders.value(2).toLongLong();
        children[holder].append({ folders.value(0).toLongLong(), folders.value(3).toString() });
    }
    const auto build = [&](const auto &self, qint64 holder) -> QList<Folder> {
        QList<Folder> built;
        for (const auto &[row, name] : children.value(holder))
            built.append(Folder { name, notesOf.take(row), self(self, row) });
        return built;
    };

    Library library;
    QSqlQuery &accounts = query("SELECT number, name FROM account ORDER BY number", {});
    QList<std::pair<qint64, QString>> further;
    while (accounts.next()) {
        if (accounts.value(0).toLongLong() != 0)
            further.append({ accounts.value(0).toLongLong(), accounts.value(1).toString() });
    }
    library.folders = build(build, -1);
    for (const auto &[number, name] : further)
        library.accounts.append(Account { name, build(build, -1 - number) });
    return library;
}

void Store::writeBack()
{
    if (meta(u"changed"_s) != u"1")
        return;
    const QByteArray json = toJson(library());
    QString problem;
    if (!save(json, m_libraryPath, &problem))
        throw StoreError { problem };
    const FileState file = stateOf(m_libraryPath);
    recordFile(file.signature, hasSettled(file, clockPath()), json);
}

void Store::markChanged()
{
    if (m_changed)
        return;
    setMeta(u"changed"_s, u"1"_s);
    m_changed = true;
}

void Store::commit()
{
    // A library without a file gets one at its first change, so that removing the file later empties
    // the library again.
    if (m_changed && !stateOf(m_libraryPath).exists)
        writeBack();
    m_queries.clear();
    execute(u"COMMIT"_s);
    m_inTransaction = false;
}

} // namespace FakeLibrary
