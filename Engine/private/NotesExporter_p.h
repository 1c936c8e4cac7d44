#pragma once

// Private to the read side of the Notes bridge: its script runner, its four programs with their shared
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

// The two programs that tell same-named folders apart. Both keep to the plainest terms of Notes'
// dictionary: a folder's `id`, `name` and `container`, `folder id X` and a note's `name` and `body`.
// A folder's container is the folder that holds it or, for a top-level folder, its account; climbing
// containers until one is not a folder reaches the account, whatever the depth. (An account's own
// `folders` element would be the other way, but whether it holds nested folders is not known.)
// Each builds its output as a list of texts joined once at the end: repeated `&` on one growing text
// copies it every time, which is quadratic, and a folder of notes with images reads as megabytes. The
// empty last item makes the output end with a record separator, as the plain programs' output does.

/// No arguments. Prints, per folder in the order `folders` gives them, its id, a field separator, its
/// name, a field separator, its account's name, a field separator, the name of the folder that holds it
/// (empty at the top level) and a record separator. Every field is stripped of both separators.
inline constexpr QStringView folderDetailsProgram
    = u"on run argv\n"
      u"    set rows to {}\n"
      u"    tell application \"Notes\"\n"
      u"        repeat with f in folders\n"
      u"            set parentName to \"\"\n"
      u"            set c to container of f\n"
      u"            if class of c is folder then set parentName to name of c\n"
      u"            repeat while class of c is folder\n"
      u"                set c to container of c\n"
      u"            end repeat\n"
      u"            set end of rows to my stripSeps(id of f) & \"\u001F\" & my stripSeps(name of f) & \"\u001F\" & "
      u"my stripSeps(name of c) & \"\u001F\" & my stripSeps(parentName)\n"
      u"        end repeat\n"
      u"    end tell\n"
      u"    set end of rows to \"\"\n"
      u"    set AppleScript's text item delimiters to \"\u001E\"\n"
      u"    set out to rows as text\n"
      u"    set AppleScript's text item delimiters to \"\"\n"
      u"    return out\n"
      u"end run\n";

/// argv: a folder's id. Prints what folderReadProgram prints for that folder, with the separators also
/// stripped from every body (and from the could-not-read explanation), so that a body can neither forge
/// nor cut a record. A folder that does not exist is an error (-1728).
inline constexpr QStringView folderReadByIdProgram
    = u"on run argv\n"
      u"    set fId to item 1 of argv\n"
      u"    set rows to {}\n"
      u"    tell application \"Notes\"\n"
      u"        set f to folder id fId\n"
      u"        set fClean to my stripSeps(name of f)\n"
      u"        repeat with n in notes of f\n"
      u"            set noteName to \"(untitled)\"\n"
      u"            try\n"
      u"                set noteName to my stripSeps(name of n)\n"
      u"            end try\n"
      u"            set noteBody to \"\"\n"
      u"            try\n"
      u"                set noteBody to my stripSeps(body of n)\n"
      u"            on error errMsg\n"
      u"                set noteBody to \"<div>[Velloran: could not read this note's body — \" & "
      u"my stripSeps(errMsg) & \"]</div>\"\n"
      u"            end try\n"
      u"            set end of rows to fClean & \"\u001F\" & noteName & \"\u001F\" & noteBody\n"
      u"        end repeat\n"
      u"    end tell\n"
      u"    set end of rows to \"\"\n"
      u"    set AppleScript's text item delimiters to \"\u001E\"\n"
      u"    set out to rows as text\n"
      u"    set AppleScript's text item delimiters to \"\"\n"
      u"    return out\n"
      u"end run\n";

/// argv: a folder's id. Prints what folderReadByIdProgram prints for that folder, with three more fields
/// between the note's name and its body: the note's id, and its creation and modification dates as
/// ISO 8601 text in local time ("2024-03-01T09:30:00", through AppleScript's «class isot» coercion). A
/// date that Notes does not give is empty. A folder that does not exist is an error (-1728).
inline constexpr QStringView folderReadWithDatesProgram
    = u"on run argv\n"
      u"    set fId to item 1 of argv\n"
      u"    set rows to {}\n"
      u"    tell application \"Notes\"\n"
      u"        set f to folder id fId\n"
      u"        set fClean to my stripSeps(name of f)\n"
      u"        repeat with n in notes of f\n"
      u"            set noteName to \"(untitled)\"\n"
      u"            try\n"
      u"                set noteName to my stripSeps(name of n)\n"
      u"            end try\n"
      u"            set noteId to my stripSeps(id of n)\n"
      u"            set createdText to \"\"\n"
      u"            try\n"
      u"                set createdText to (creation date of n) as «class isot» as string\n"
      u"            end try\n"
      u"            set modifiedText to \"\"\n"
      u"            try\n"
      u"                set modifiedText to (modification date of n) as «class isot» as string\n"
      u"            end try\n"
      u"            set noteBody to \"\"\n"
      u"            try\n"
      u"                set noteBody to my stripSeps(body of n)\n"
      u"            on error errMsg\n"
      u"                set noteBody to \"<div>[Velloran: could not read this note's body — \" & "
      u"my stripSeps(errMsg) & \"]</div>\"\n"
      u"            end try\n"
      u"            set end of rows to fClean & \"\u001F\" & noteName & \"\u001F\" & noteId & \"\u001F\" & "
      u"createdText & \"\u001F\" & modifiedText & \"\u001F\" & noteBody\n"
      u"        end repeat\n"
      u"    end tell\n"
      u"    set end of rows to \"\"\n"
      u"    set AppleScript's text item delimiters to \"\u001E\"\n"
      u"    set out to rows as text\n"
      u"    set AppleScript's text item delimiters to \"\"\n"
      u"    return out\n"
      u"end run\n";

/// The folders of a folder details output, in order. Each field is trimmed of white space and line
/// breaks; pieces with fewer than four fields, or with an empty id or name, are skipped.
QList<FolderEntry> parseFolderDetails(const QString &output);

/// Whether a script failure's message is osascript's report of a program that did not compile: it ends
/// with "(-2740)" or "(-2741)".
bool isCompileFailure(QStringView message);

/// The note records of a folder read's output, in order. Pieces that are blank, or that have fewer than
/// three fields, are skipped. Every field after the second belongs to the body, so a body holding a field
/// separator survives whole; one holding a record separator is cut there. Fields are not trimmed.
QList<NoteRecord> parseRecords(const QString &output);

/// The note records of a folder read with dates, in order: as parseRecords, with the id and the dates
/// between name and body. A date that is empty or not ISO 8601 is left empty (a null QDateTime).
QList<NoteRecord> parseRecordsWithDates(const QString &output);

/// `text` without any record or field separator.
QString stripFieldSeparators(QStringView text);

} // namespace NotesExporter
