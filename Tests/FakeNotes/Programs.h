#pragma once

#include <QString>

#include <optional>

/// The AppleScript programs that fake-osascript understands: Velloran's own, held here as a copy of
/// their own, so that a script that changed by one byte on Velloran's side no longer matches.
namespace FakePrograms {

enum class Program {
    ensureFolder,
    ensureSubfolder,
    createNote,
    listFolders,
    readFolder,
    /// Lists each folder with its id, account and parent folder.
    listFolderDetails,
    /// Reads one folder picked by its id.
    readFolderById,
    /// Reads one folder picked by its id, with each note's id and dates.
    readFolderWithDates,
    /// Counts the folders and notes (the permission check).
    countFoldersAndNotes,
};

/// Whether `program` is one that an older Notes might not compile (see VELLORAN_FAKE_NOTES_OLD_NOTES).
bool isNewer(Program program);

/// The exact text of `program`, as Velloran writes it to the script file.
QString text(Program program);

/// The name under which runs of `program` are logged: "ensure-folder", "ensure-subfolder",
/// "create-note", "list-folders", "read-folder", "list-folder-details", "read-folder-by-id",
/// "read-folder-with-dates" or "count-folders-and-notes".
QString name(Program program);

/// The program whose text is exactly `script`, if any.
std::optional<Program> recognise(const QString &script);

} // namespace FakePrograms
