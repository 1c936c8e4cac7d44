#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

/// Input and output of the command-line tool. Everything written is UTF-8.
namespace CliIo {

void out(const QString &text);
void out(const QByteArray &bytes);
void err(const QString &text);

/// Whether standard error is a terminal (progress bars are drawn only then).
bool stderrIsTerminal();

/// The bytes of FILE, or of standard input when `file` is empty or "-". On failure, prints one line
/// naming the file and the reason on standard error and gives no result.
std::optional<QByteArray> readInput(const QString &file);

/// Checks that `path` names a readable folder. Otherwise prints one line naming it and the reason on
/// standard error and returns false.
bool checkFolder(const QString &path);

} // namespace CliIo
