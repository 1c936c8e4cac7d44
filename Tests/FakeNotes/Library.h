#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

/// The Notes library that fake-osascript keeps: the folders of the default account ("iCloud"), each with
/// its notes and its subfolders, and optionally further accounts with folders of their own. Its file is
/// JSON (see README.md); between runs it is kept in a Store.
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
    /// The note's `id`, when the library gives one; otherwise the store makes one up (see Store::notes).
    std::optional<QString> id {};
    /// The note's creation and modification dates as ISO 8601 text without a zone ("2024-03-01T09:30:00"),
    /// when the library gives them; otherwise fixed dates stand in.
    std::optional<QString> created {};
    std::optional<QString> modified {};
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

/// The library held by `json`. On malformed JSON or an unexpected shape, no result and `error` says
/// where the problem is.
std::optional<Library> fromJson(const QByteArray &json, QString *error);

/// The library as indented JSON, with a final line feed.
QByteArray toJson(const Library &library);

/// Writes `json` to the library file `path` atomically: a reader sees the old file or the new one, never
/// a part. On failure returns false and `error` says why.
bool save(const QByteArray &json, const QString &path, QString *error);

} // namespace FakeLibrary
