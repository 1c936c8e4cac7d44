#pragma once

// Private to the permission check: its program, and the parsing of what the program prints. Declared
// here so that tests reach them.

#include "NotesAccess.h"

#include <QString>
#include <QStringView>

#include <optional>
#include <utility>

namespace NotesAccess {

/// No arguments. Prints the number of folders (of every account, at every depth, as the folder list
/// names them) and the number of notes, separated by one space. It reads no name and no body.
inline constexpr QStringView countProgram = u"on run argv\n"
                                            u"    tell application \"Notes\"\n"
                                            u"        set folderCount to count of folders\n"
                                            u"        set noteCount to count of notes\n"
                                            u"    end tell\n"
                                            u"    return (folderCount as text) & \" \" & (noteCount as text)\n"
                                            u"end run\n";

/// The two numbers of the count program's output (trimmed of the line break osascript adds), or nothing
/// when the output is not two whole numbers separated by one space.
std::optional<std::pair<qint64, qint64>> parseCounts(const QString &output);

/// The runner's path when it can be found: an absolute or relative path as it is when an executable file is
/// there, a bare name through PATH. Nothing when no such program exists.
std::optional<QString> findRunner(const QString &runner);

} // namespace NotesAccess
