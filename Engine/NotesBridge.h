#pragma once

#include "Errors.h"
#include "ScriptRunner.h"

#include <QString>
#include <QStringList>

#include <optional>

/// Creating folders and notes in Apple Notes.
///
/// Each operation runs one fixed AppleScript program through osascript (see ScriptRunner.h for the runner
/// and NotesBridge_p.h for the programs), blocking the calling thread or, in the forms that take a
/// context, as a coroutine. Every program is
/// idempotent by name, so a migration that runs twice creates nothing twice.
///
/// The operations throw BridgeError when the script fails (a refused Automation permission included),
/// FileSystemError when the script file cannot be written and LaunchError when osascript cannot be
/// started.
namespace NotesBridge {

/// A failure of the write side's script runner.
class BridgeError : public ScriptError
{
public:
    /// The script runner exited with a non-zero status; `message` is its trimmed standard error.
    static BridgeError scriptFailed(QString message) { return BridgeError(std::move(message)); }

private:
    using ScriptError::ScriptError;
};

/// Makes sure that a top-level folder called `name` exists in the default account. Its output is ignored.
void ensureFolder(const QString &name);

/// Makes sure that the folder `root` holds a subfolder called `sub`. `root` must already exist: a missing
/// root is a script error.
void ensureSubfolder(const QString &root, const QString &sub);

/// Creates a note called `title` in the folder `root`, or in its subfolder `sub` when one is given, with
/// the body read from the UTF-8 file at `htmlPath` and the files at the absolute paths `attachments`
/// attached in order. Returns false when the target folder already held a note of that name (nothing is
/// written then), true otherwise: any output but "skipped" counts as created.
bool createNote(const QString &root, const std::optional<QString> &sub, const QString &title, const QString &htmlPath,
    const QStringList &attachments = {});

// The same three operations without blocking: the scripts go into the context's run folder, and the
// context's stop signal can end them (they then throw RunStopped).
QCoro::Task<> ensureFolder(ScriptRunner::Context context, QString name);
QCoro::Task<> ensureSubfolder(ScriptRunner::Context context, QString root, QString sub);
QCoro::Task<bool> createNote(ScriptRunner::Context context, QString root, std::optional<QString> sub, QString title,
    QString htmlPath, QStringList attachments);

} // namespace NotesBridge
