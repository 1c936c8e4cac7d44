#pragma once

#include <QHash>
#include <QObject>
#include <QString>
#include <QStringList>

#include <QCoro/QCoroTask>

#include <chrono>
#include <optional>

/// The one runner of AppleScript programs: writes a program to a file in the run's private folder and
/// runs it with osascript (or the program that VELLORAN_OSASCRIPT names), without blocking the thread
/// that awaits it.
///
/// Both directions use it. They differ only in the error a failed script raises (BridgeError when
/// writing to Notes, ExportError when reading from it) and in the name of the script file.
namespace ScriptRunner {

enum class Side : quint8 {
    /// Creating folders and notes: failures are NotesBridge::BridgeError, scripts "velloran-UUID".
    write,
    /// Listing folders and reading notes: failures are NotesExporter::ExportError, scripts
    /// "velloran-export-UUID".
    read,
};

/// The private folder of one run (mode 0700, in the temporary directory, named
/// "velloran-run-PID-UUID"), which holds its script and note-body files and is removed, with all it
/// holds, when the object goes. A run killed before it can remove its folder leaves it behind; the next
/// run removes every such folder whose process no longer exists.
class RunFolder
{
public:
    /// Makes the folder. Throws FileSystemError with the system's text when it cannot be made.
    RunFolder();
    ~RunFolder();
    RunFolder(const RunFolder &) = delete;
    RunFolder &operator=(const RunFolder &) = delete;

    const QString &path() const { return m_path; }

    /// The path of a file written once per run for `script`: the same text gives the same file. Throws
    /// FileSystemError when it cannot be written.
    QString scriptFile(Side side, const QString &script);

    /// A fresh file name in the folder: prefix, an upper-case UUID, suffix.
    QString newFilePath(QStringView prefix, QStringView suffix) const;

    /// Removes the run folders of processes that no longer exist. Safe to call at any time.
    static void removeAbandoned();

private:
    QString m_path;
    QHash<QString, QString> m_scripts;
};

/// How a caller asks the runs of one operation to stop. A run under way gets a grace period to finish on
/// its own; a script still running after it is killed, and the run throws RunStopped.
class StopSignal : public QObject
{
    Q_OBJECT

public:
    explicit StopSignal(std::chrono::milliseconds grace = std::chrono::seconds(5), QObject *parent = nullptr)
        : QObject(parent)
        , m_grace(grace)
    { }

    void request()
    {
        if (m_requested)
            return;
        m_requested = true;
        emit requested();
    }
    bool isRequested() const { return m_requested; }
    std::chrono::milliseconds grace() const { return m_grace; }

signals:
    void requested();

private:
    std::chrono::milliseconds m_grace;
    bool m_requested = false;
};

/// Where the scripts of one operation go and what can stop them; both may be absent.
struct Context
{
    RunFolder *folder = nullptr;
    StopSignal *stop = nullptr;
};

/// Runs `script` with the arguments `args` and gives its standard output, decoded as UTF-8 (empty when
/// it is not valid UTF-8). The script goes into `folder`, or into a folder of this run alone when none
/// is given. Throws the side's script error with osascript's trimmed standard error on a non-zero exit
/// (or, when it printed nothing, a text saying how it ended: "osascript ended with signal 11",
/// "osascript failed without a message (exit status 1)"), RunStopped when `stop` ended it,
/// FileSystemError when the script cannot be written and LaunchError when osascript cannot be started.
QCoro::Task<QString> run(
    Side side, QString script, QStringList args, RunFolder *folder = nullptr, StopSignal *stop = nullptr);

/// The same, blocking the calling thread (which may be any thread) until the script has ended.
QString runBlocking(Side side, const QString &script, const QStringList &args);

} // namespace ScriptRunner
