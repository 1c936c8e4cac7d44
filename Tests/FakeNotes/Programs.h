#pragma once

#include <QString>

#include <optional>

/// The AppleScript programs that fake-osascript understands: Velloran's five, held here as a copy of
/// their own, so that a script that changed by one byte on Velloran's side no longer matches.
namespace FakePrograms {

enum class Program { ensureFolder, ensureSubfolder, createNote, listFolders, readFolder };

/// The exact text of `program`, as Velloran writes it to the script file.
QString text(Program program);

/// The name under which runs of `program` are logged: "ensure-folder", "ensure-subfolder",
/// "create-note", "list-folders" or "read-folder".
QString name(Program program);

/// The program whose text is exactly `script`, if any.
std::optional<Program> recognise(const QString &script);

} // namespace FakePrograms
