#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

/// The Notes library that fake-osascript keeps: the folders of the default account, each with its notes
/// and its subfolders. Stored as JSON (see README.md):
///
///     { "folders": [ { "name": "Notes",
///                      "notes": [ { "name": "Hello", "body": "<div>Hello</div>", "attachments": [] } ],
///                      "folders": [] } ] }
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

struct Library
{
    QList<Folder> folders;
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

/// Every folder, depth first, in library order: a folder comes before its subfolders. This is the order
/// in which the application's `folders` lists them and in which `folder <name>` finds one by name.
QList<Folder *> allFolders(Library &library);

} // namespace FakeLibrary
