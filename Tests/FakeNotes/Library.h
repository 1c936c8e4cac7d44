#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

/// The Notes library that fake-osascript keeps: the folders of the default account ("iCloud"), each with
/// its notes and its subfolders, and optionally further accounts with folders of their own. Stored as
/// JSON (see README.md):
///
///     { "folders": [ { "name": "Notes",
///                      "notes": [ { "name": "Hello", "body": "<div>Hello</div>", "attachments": [] } ],
///                      "folders": [] } ],
///       "accounts": [ { "name": "On My Mac", "folders": [ { "name": "Notes" } ] } ] }
namespace FakeLibrary {

struct Note
{
    /// Absent when Notes cannot give the note's name (the read program then calls it "(untitled)").
    std::optional<QString> name;
    QString body;
    /// The file names of the note's attachments, in the order they were added.
    QStringList attachments;
};

struct Folder
{
    QString name;
    QList<Note> notes;
    QList<Folder> folders;
};

/// An account other than the default one.
struct Account
{
    QString name;
    QList<Folder> folders;
};

/// The name of the account that the top-level "folders" of the library belong to.
inline constexpr char16_t defaultAccountName[] = u"iCloud";

struct Library
{
    /// The default account's folders.
    QList<Folder> folders;
    /// Further accounts, listed after the default one.
    QList<Account> accounts;
};

/// A folder with where it lives: what the application's `folders` element gives for it.
struct Placed
{
    Folder *folder;
    /// The name of the folder's account.
    QString account;
    /// The folder that holds it; null for a top-level folder, whose container is its account.
    Folder *parent;
    /// The folder's `id`: "x-coredata://FakeNotes/ICFolder/p" and its place, account number first (0 for
    /// the default account) then the 1-based position at each depth, joined by "-". Stable as long as no
    /// folder is removed, which the stand-in never does.
    QString id;
};

/// The library held by `json`. On malformed JSON or an unexpected shape, no result and `error` says
/// where the problem is.
std::optional<Library> fromJson(const QByteArray &json, QString *error);

/// The library as indented JSON, with a final line feed.
QByteArray toJson(const Library &library);

/// The library in the file at `path`; a file that does not exist holds an empty library. On failure,
/// no result and `error` says why.
std::optional<Library> load(const QString &path, QString *error);

/// Writes the library to `path` atomically. On failure returns false and `error` says why.
bool save(const Library &library, const QString &path, QString *error);

/// Every folder of every account, depth first, in library order: the default account's first, and a
/// folder before its subfolders. This is the order in which the application's `folders` lists them and
/// in which `folder <name>` finds one by name.
QList<Folder *> allFolders(Library &library);

/// The same folders in the same order, each with its account, parent and id.
QList<Placed> placedFolders(Library &library);

} // namespace FakeLibrary
