#pragma once

// Private to the Notes bridge: the write side's script runner, its three programs, and the pieces that
// the read side's runner (NotesExporter::run) shares with it. Declared here so that tests reach them.

#include "NotesBridge.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QStringView>

namespace NotesBridge {

/// Runs `script` with osascript (or the program that VELLORAN_OSASCRIPT names) and the arguments `args`,
/// blocking the calling thread, through the one script runner (ScriptRunner::run, write side). Returns
/// standard output untrimmed, decoded as UTF-8 (the empty string when it is not valid UTF-8). Throws
/// BridgeError::scriptFailed with the trimmed standard error on a non-zero exit, FileSystemError when the
/// script cannot be written and LaunchError when the program cannot be started.
QString run(const QString &script, const QStringList &args);

// The three programs. Lines are joined by a line feed, with none after the last; the comment line of
// the create-note program stays in its own language. Each is written to disk as UTF-8.

/// argv: folder name.
inline constexpr QStringView ensureFolderProgram
    = u"on run argv\n"
      u"    tell application \"Notes\"\n"
      u"        if not (exists folder (item 1 of argv)) then\n"
      u"            make new folder with properties {name:(item 1 of argv)}\n"
      u"        end if\n"
      u"    end tell\n"
      u"end run";

/// argv: root folder name, subfolder name.
inline constexpr QStringView ensureSubfolderProgram
    = u"on run argv\n"
      u"    set rootName to item 1 of argv\n"
      u"    set subName to item 2 of argv\n"
      u"    tell application \"Notes\"\n"
      u"        set rootFolder to folder rootName\n"
      u"        if not (exists folder subName of rootFolder) then\n"
      u"            make new folder at rootFolder with properties {name:subName}\n"
      u"        end if\n"
      u"    end tell\n"
      u"end run";

/// argv: root folder name, subfolder name or "", note name, body file path, attachment paths...
/// Prints "skipped" when the target folder already holds a note of that name, "created" otherwise.
inline constexpr QStringView createNoteProgram
    = u"on run argv\n"
      u"    set rootName to item 1 of argv\n"
      u"    set subName to item 2 of argv\n"
      u"    set noteName to item 3 of argv\n"
      u"    set htmlPath to item 4 of argv\n"
      u"    set bodyHTML to read POSIX file htmlPath as «class utf8»\n"
      u"    tell application \"Notes\"\n"
      u"        set targetFolder to folder rootName\n"
      u"        if subName is not \"\" then\n"
      u"            set targetFolder to folder subName of (folder rootName)\n"
      u"        end if\n"
      u"        -- Idempotencia: no duplicar si ya existe una nota con ese nombre en destino.\n"
      u"        if (exists note noteName of targetFolder) then\n"
      u"            return \"skipped\"\n"
      u"        end if\n"
      u"        set n to make new note at targetFolder with properties {name:noteName, body:bodyHTML}\n"
      u"        if (count of argv) > 4 then\n"
      u"            repeat with i from 5 to (count of argv)\n"
      u"                tell n to make new attachment with data (POSIX file (item i of argv))\n"
      u"            end repeat\n"
      u"        end if\n"
      u"    end tell\n"
      u"    return \"created\"\n"
      u"end run";

// Shared with the read side's runner.

/// The program that runs scripts: VELLORAN_OSASCRIPT when it is set and not empty, otherwise
/// /usr/bin/osascript.
QString scriptRunnerProgram();

} // namespace NotesBridge
