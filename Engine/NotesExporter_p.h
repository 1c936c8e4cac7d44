#pragma once

// Private to the read side of the Notes bridge: its script runner, its two programs with their shared
// helper handler, and the parsing of their output. Declared here so that tests reach them.

#include "NotesExporter.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>

namespace NotesExporter {

/// Runs `script` with osascript (or the program that VELLORAN_OSASCRIPT names) and the arguments `args`,
/// blocking the calling thread, through the one script runner (ScriptRunner::run, read side). Output of
/// any size comes back whole. Returns standard output untrimmed, decoded as UTF-8 (the empty string when
/// it is not valid UTF-8). Throws ExportError::scriptFailed with the trimmed standard error on a non-zero
/// exit, FileSystemError when the script cannot be written and LaunchError when the program cannot be
/// started.
QString run(const QString &script, const QStringList &args);

/// Ends each record of the programs' output. The programs strip it from every name.
inline constexpr char16_t recordSep = u'\u001E';
/// Separates the fields of a note record. The programs strip it from every name.
inline constexpr char16_t fieldSep = u'\u001F';

/// The AppleScript handler `stripSeps(s)`, which removes both separators from a text. It is appended
/// directly after each program's main text, which ends with a line feed; it has none after its last line.
inline constexpr QStringView stripSepsHandler = u"on stripSeps(s)\n"
                                                u"    set rs to (ASCII character 30)\n"
                                                u"    set us to (ASCII character 31)\n"
                                                u"    repeat with bad in {rs, us}\n"
                                                u"        set AppleScript's text item delimiters to bad\n"
                                                u"        set parts to text items of s\n"
                                                u"        set AppleScript's text item delimiters to \"\"\n"
                                                u"        set s to parts as text\n"
                                                u"    end repeat\n"
                                                u"    set AppleScript's text item delimiters to \"\"\n"
                                                u"    return s\n"
                                                u"end stripSeps";

/// No arguments. Prints every folder's name followed by a record separator.
inline constexpr QStringView folderListProgram = u"on run argv\n"
                                                 u"    set out to \"\"\n"
                                                 u"    tell application \"Notes\"\n"
                                                 u"        repeat with f in folders\n"
                                                 u"            set out to out & my stripSeps(name of f) & \"\u001E\"\n"
                                                 u"        end repeat\n"
                                                 u"    end tell\n"
                                                 u"    return out\n"
                                                 u"end run\n";

/// argv: folder name. Prints, per note of that folder, the folder's name, a field separator, the note's
/// name, a field separator, the body HTML and a record separator. A missing folder prints nothing.
inline constexpr QStringView folderReadProgram
    = u"on run argv\n"
      u"    set fName to item 1 of argv\n"
      u"    set out to \"\"\n"
      u"    tell application \"Notes\"\n"
      u"        if (exists folder fName) then\n"
      u"            set f to folder fName\n"
      u"            set fClean to my stripSeps(name of f)\n"
      u"            repeat with n in notes of f\n"
      u"                set noteName to \"(untitled)\"\n"
      u"                try\n"
      u"                    set noteName to my stripSeps(name of n)\n"
      u"                end try\n"
      u"                set noteBody to \"\"\n"
      u"                try\n"
      u"                    set noteBody to (body of n)\n"
      u"                on error errMsg\n"
      u"                    set noteBody to \"<div>[Velloran: could not read this note's body — \" & errMsg & "
      u"\"]</div>\"\n"
      u"                end try\n"
      u"                set out to out & fClean & \"\u001F\" & noteName & \"\u001F\" & noteBody & \"\u001E\"\n"
      u"            end repeat\n"
      u"        end if\n"
      u"    end tell\n"
      u"    return out\n"
      u"end run\n";

/// The note records of a folder read's output, in order. Pieces that are blank, or that have fewer than
/// three fields, are skipped. Every field after the second belongs to the body, so a body holding a field
/// separator survives whole; one holding a record separator is cut there. Fields are not trimmed.
QList<NoteRecord> parseRecords(const QString &output);

/// `text` without any record or field separator.
QString stripFieldSeparators(QStringView text);

} // namespace NotesExporter
