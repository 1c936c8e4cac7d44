#pragma once

#include <QByteArray>
#include <QString>

#include <optional>
#include <string>

/// Input and output of the command-line tool. Everything written is UTF-8.
namespace CliIo {

void out(const QString &text);
void out(const QByteArray &bytes);
void err(const QString &text);

/// Whether the command line asked for JSON (--json): then every failure is also printed as one JSON object
/// {"error": MESSAGE} on standard output. Set once, before the command runs.
void setJsonFailures(bool json);
bool jsonFailures();

/// Reports a failure of the command: "velloran-cli: MESSAGE" on standard error and, with --json, the
/// object {"error": MESSAGE} on standard output.
void fail(const QString &message);
/// The same, with `line` on standard error instead.
void fail(const QString &message, const QString &line);

/// The translation of a help text that QT_TRANSLATE_NOOP("Velloran", ...) marked, as CLI11 takes it.
std::string helpText(const char *text);

/// Whether standard error is a terminal (progress bars are drawn only then).
bool stderrIsTerminal();

/// The bytes of FILE, or of standard input when `file` is empty or "-". On failure, reports it (see fail)
/// as FILE: REASON ("no such file" when nothing has that name) and gives no result.
std::optional<QByteArray> readInput(const QString &file);

/// Checks that `path` names a readable folder. Otherwise reports it (see fail) as PATH: REASON, the reason
/// being "no such folder", "not a folder" or "permission denied", and returns false.
bool checkFolder(const QString &path);

/// Checks that `path` can be a destination folder: an existing folder, or a name that does not exist yet
/// in an existing folder (it is made then). Otherwise reports it (see fail) as "PATH: not a folder", or as
/// "PARENT: no such folder" naming the folder it would be made in, and returns false.
bool checkDestination(const QString &path);

} // namespace CliIo
