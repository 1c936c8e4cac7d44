#include "Programs.h"

#include <QHash>

using namespace Qt::StringLiterals;

namespace FakePrograms {

namespace {

// Written out as the script files hold them. "<RS>" and "<US>" stand for the control characters U+001E
// and U+001F, which the read programs carry inside their quoted strings.

constexpr char ensureFolderText[] = R"as(on run argv
    tell application "Notes"
        if not (exists folder (item 1 of argv)) then
            make new folder with properties {name:(item 1 of argv)}
        end if
    end tell
end run)as";

constexpr char ensureSubfolderText[] = R"as(on run argv
    set rootName to item 1 of argv
    set subName to item 2 of argv
    tell application "Notes"
        set rootFolder to folder rootName
        if not (exists folder subName of rootFolder) then
            make new folder at rootFolder with properties {name:subName}
        end if
    end tell
end run)as";

constexpr char createNoteText[] = R"as(on run argv
    set rootName to item 1 of argv
    set subName to item 2 of argv
    set noteName to item 3 of argv
    set htmlPath to item 4 of argv
    set bodyHTML to read POSIX file htmlPath as «class utf8»
    tell application "Notes"
        set targetFolder to folder rootName
        if subName is not "" then
            set targetFolder to folder subName of (folder rootName)
        end if
        -- Idempotencia: no duplicar si ya existe una nota con ese nombre en destino.
        if (exists note noteName of targetFolder) then
            return "skipped"
        end if
        set n to make new note at targetFolder with properties {name:noteName, body:bodyHTML}
        if (count of argv) > 4 then
            repeat with i from 5 to (count of argv)
                tell n to make new attachment with data (POSIX file (item i of argv))
            end repeat
        end if
    end tell
    return "created"
end run)as";

// The handler that the four read programs carry after their main text.
constexpr char stripSepsText[] = R"as(on stripSeps(s)
    set rs to (ASCII character 30)
    set us to (ASCII character 31)
    repeat with bad in {rs, us}
        set AppleScript's text item delimiters to bad
        set parts to text items of s
        set AppleScript's text item delimiters to ""
        set s to parts as text
    end repeat
    set AppleScript's text item delimiters to ""
    return s
end stripSeps)as";

constexpr char listFoldersText[] = R"as(on run argv
    set out to ""
    tell application "Notes"
        repeat with f in folders
            set out to out & my stripSeps(name of f) & "<RS>"
        end repeat
    end tell
    return out
end run
)as";

constexpr char readFolderText[] = R"as(on run argv
    set fName to item 1 of argv
    set out to ""
    tell application "Notes"
        if (exists folder fName) then
            set f to folder fName
            set fClean to my stripSeps(name of f)
            repeat with n in notes of f
                set noteName to "(untitled)"
                try
                    set noteName to my stripSeps(name of n)
                end try
                set noteBody to ""
                try
                    set noteBody to (body of n)
                on error errMsg
                    set noteBody to "<div>[Velloran: could not read this note's body — " & errMsg & "]</div>"
                end try
                set out to out & fClean & "<US>" & noteName & "<US>" & noteBody & "<RS>"
            end repeat
        end if
    end tell
    return out
end run
)as";

constexpr char listFolderDetailsText[] = R"as(on run argv
    set rows to {}
    tell application "Notes"
        repeat with f in folders
            set parentName to ""
            set c to container of f
            if class of c is folder then set parentName to name of c
            repeat while class of c is folder
                set c to container of c
            end repeat
            set end of rows to my stripSeps(id of f) & "<US>" & my stripSeps(name of f) & "<US>" & my stripSeps(name of c) & "<US>" & my stripSeps(parentName)
        end repeat
    end tell
    set end of rows to ""
    set AppleScript's text item delimiters to "<RS>"
    set out to rows as text
    set AppleScript's text item delimiters to ""
    return out
end run
)as";

constexpr char readFolderByIdText[] = R"as(on run argv
    set fId to item 1 of argv
    set rows to {}
    tell application "Notes"
        set f to folder id fId
        set fClean to my stripSeps(name of f)
        repeat with n in notes of f
            set noteName to "(untitled)"
            try
                set noteName to my stripSeps(name of n)
            end try
            set noteBody to ""
            try
                set noteBody to my stripSeps(body of n)
            on error errMsg
                set noteBody to "<div>[Velloran: could not read this note's body — " & my stripSeps(errMsg) & "]</div>"
            end try
            set end of rows to fClean & "<US>" & noteName & "<US>" & noteBody
        end repeat
    end tell
    set end of rows to ""
    set AppleScript's text item delimiters to "<RS>"
    set out to rows as text
    set AppleScript's text item delimiters to ""
    return out
end run
)as";

constexpr char readFolderWithDatesText[] = R"as(on run argv
    set fId to item 1 of argv
    set rows to {}
    tell application "Notes"
        set f to folder id fId
        set fClean to my stripSeps(name of f)
        repeat with n in notes of f
            set noteName to "(untitled)"
            try
                set noteName to my stripSeps(name of n)
            end try
            set noteId to my stripSeps(id of n)
            set createdText to ""
            try
                set createdText to (creation date of n) as «class isot» as string
            end try
            set modifiedText to ""
            try
                set modifiedText to (modification date of n) as «class isot» as string
            end try
            set noteBody to ""
            try
                set noteBody to my stripSeps(body of n)
            on error errMsg
                set noteBody to "<div>[Velloran: could not read this note's body — " & my stripSeps(errMsg) & "]</div>"
            end try
            set end of rows to fClean & "<US>" & noteName & "<US>" & noteId & "<US>" & createdText & "<US>" & modifiedText & "<US>" & noteBody
        end repeat
    end tell
    set end of rows to ""
    set AppleScript's text item delimiters to "<RS>"
    set out to rows as text
    set AppleScript's text item delimiters to ""
    return out
end run
)as";

constexpr char countFoldersAndNotesText[] = R"as(on run argv
    tell application "Notes"
        set folderCount to count of folders
        set noteCount to count of notes
    end tell
    return (folderCount as text) & " " & (noteCount as text)
end run
)as";

constexpr Program allPrograms[] = { Program::ensureFolder, Program::ensureSubfolder, Program::createNote,
    Program::listFolders, Program::readFolder, Program::listFolderDetails, Program::readFolderById,
    Program::readFolderWithDates, Program::countFoldersAndNotes };

QString expand(const char *text)
{
    QString expanded = QString::fromUtf8(text);
    expanded.replace(u"<RS>"_s, QString(QChar(0x1E)));
    expanded.replace(u"<US>"_s, QString(QChar(0x1F)));
    return expanded;
}

} // namespace

QString text(Program program)
{
    switch (program) {
    case Program::ensureFolder:
        return expand(ensureFolderText);
    case Program::ensureSubfolder:
        return expand(ensureSubfolderText);
    case Program::createNote:
        return expand(createNoteText);
    case Program::listFolders:
        return expand(listFoldersText) + expand(stripSepsText);
    case Program::readFolder:
        return expand(readFolderText) + expand(stripSepsText);
    case Program::listFolderDetails:
        return expand(listFolderDetailsText) + expand(stripSepsText);
    case Program::readFolderById:
        return expand(readFolderByIdText) + expand(stripSepsText);
    case Program::readFolderWithDates:
        return expand(readFolderWithDatesText) + expand(stripSepsText);
    case Program::countFoldersAndNotes:
        return expand(countFoldersAndNotesText);
    }
    return QString();
}

QString name(Program program)
{
    switch (program) {
    case Program::ensureFolder:
        return u"ensure-folder"_s;
    case Program::ensureSubfolder:
        return u"ensure-subfolder"_s;
    case Program::createNote:
        return u"create-note"_s;
    case Program::listFolders:
        return u"list-folders"_s;
    case Program::readFolder:
        return u"read-folder"_s;
    case Program::listFolderDetails:
        return u"list-folder-details"_s;
    case Program::readFolderById:
        return u"read-folder-by-id"_s;
    case Program::readFolderWithDates:
        return u"read-folder-with-dates"_s;
    case Program::countFoldersAndNotes:
        return u"count-folders-and-notes"_s;
    }
    return QString();
}

bool isNewer(Program program)
{
    return program == Program::listFolderDetails || program == Program::readFolderById
        || program == Program::readFolderWithDates;
}

std::optional<Program> recognise(const QString &script)
{
    for (const Program program : allPrograms) {
        if (script == text(program))
            return program;
    }
    return std::nullopt;
}

} // namespace FakePrograms
