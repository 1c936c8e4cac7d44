#pragma once

#include "Library.h"

#include <QList>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>
#include <QStringList>

#include <optional>
#include <unordered_map>

/// Where fake-osascript keeps the library between runs, so that a run costs what it touches rather than
/// the whole library: an SQLite database in the folder LIBRARY.store beside the library file LIBRARY.
///
/// The library file stays what people and tests write and read. A store that finds the file changed
/// since it last read or wrote it (a new seed, an edit, a removal) takes the file's library in place of
/// its own; the changes that scripts make stay in the store until writeBack() puts them into the file.
///
/// Each Store is one transaction that holds off every other run from opening until it commits or is
/// destroyed (which rolls it back), so runs happen one at a time and a run that is killed leaves the
/// store as it was before it.
namespace FakeLibrary {

/// A failure of the store itself (a file that cannot be read or written, a malformed library file). The
/// message names the file.
struct StoreError
{
    QString message;
};

/// A folder as the store keeps it.
struct StoredFolder
{
    qint64 row = 0;
    qint64 account = 0;
    QString name;
    /// The folder's `id`: "x-coredata://FakeNotes/ICFolder/p" and its place, account number first (0 for
    /// the default account) then the 1-based position at each depth, joined by "-". Stable, as the
    /// stand-in never removes a folder.
    QString id;
    /// The folder's place as a key whose byte order is the library's depth-first order.
    QByteArray place;
};

/// What the application's `folders` element gives for one folder.
struct FolderDetails
{
    QString id;
    QString name;
    /// The name of the folder's account.
    QString account;
    /// The name of the folder that holds it; empty at the top level, where its container is its account.
    QString parent;
};

class Store
{
public:
    enum class Use {
        /// The run only reads: a library that has neither a file nor a store is read as an empty one,
        /// without leaving a store behind.
        reading,
        /// The run may change the library: the store is made when there is none.
        changing,
    };

    /// Opens the store of the library file `libraryPath`, waiting for any other run to finish, and
    /// brings it up to date with the file. Throws StoreError.
    Store(const QString &libraryPath, Use use);
    ~Store();
    Store(const Store &) = delete;
    Store &operator=(const Store &) = delete;

    /// Makes this run's changes last and lets the next run in. A library that has no file yet gets one
    /// at its first change. Throws StoreError.
    void commit();

    /// `folder <name>` of the application: the first folder of that name, in any account, at any depth,
    /// in depth-first order.
    std::optional<StoredFolder> firstFolderNamed(const QString &name);
    /// The first folder named `name` directly inside `parent`.
    std::optional<StoredFolder> subfolderNamed(const StoredFolder &parent, const QString &name);
    std::optional<StoredFolder> folderWithId(const QString &id);
    /// Adds a folder at the top level of the default account, after the others.
    void addFolder(const QString &name);
    /// Adds a folder inside `parent`, after its other subfolders.
    void addSubfolder(const StoredFolder &parent, const QString &name);

    /// Whether `folder` holds a note named exactly `name`.
    bool hasNoteNamed(const StoredFolder &folder, const QString &name);
    /// Adds `note` to `folder`, after its other notes.
    void addNote(const StoredFolder &folder, const Note &note);
    /// The notes of `folder`, in order; their attachments are left out. A note that the library gives no
    /// id has "x-coredata://FakeNotes/ICNote/p" and its row (stable while the store holds it); one without
    /// dates was created 2024-01-01T09:00:00 and modified 2024-01-02T10:30:00.
    QList<Note> notes(const StoredFolder &folder);
    /// How many notes all folders hold together.
    qint64 noteCount();

    /// The names of every folder, in depth-first order.
    QStringList folderNames();
    /// Every folder with its id, account and parent, in depth-first order.
    QList<FolderDetails> folderDetails();

    /// The whole library.
    Library library();
    /// Writes the library to its file when scripts have changed it since the file was last read or
    /// written. Throws StoreError.
    void writeBack();

private:
    QString m_libraryPath;
    QString m_connection;
    QSqlDatabase m_db;
    /// Prepared statements by their text, kept for the run. Node-based, so that a statement in use stays
    /// where it is while others are added.
    std::unordered_map<const char *, QSqlQuery> m_queries;
    bool m_inTransaction = false;
    /// Whether this run has marked the library as changed already.
    bool m_changed = false;

    QString storePath() const;
    /// A file that the store touches to read the file system's clock.
    QString clockPath() const;
    [[noreturn]] void fail(const QString &problem) const;
    void close();
    void openDatabase(Use use);
    void createSchema();
    /// Runs `sql` with `values` bound to its placeholders, preparing it once per run.
    QSqlQuery &query(const char *sql, const QVariantList &values);
    void execute(const QString &sql);
    QString meta(const QString &key);
    void setMeta(const QString &key, const QString &value);

    void syncWithFile();
    void recordFile(const QString &signature, bool settled, const QByteArray &bytes);
    void replaceWith(const Library &library);
    void insertFolders(const QList<Folder> &folders, qint64 account, std::optional<qint64> parent,
        const QByteArray &place, const QString &id);
    StoredFolder insertFolder(const QString &name, qint64 account, std::optional<qint64> parent, qint64 position,
        const QByteArray &parentPlace, const QString &parentId);
    static StoredFolder folderFrom(const QSqlQuery &found);
    void insertNote(const StoredFolder &folder, const Note &note);
    void markChanged();
};

} // namespace FakeLibrary
