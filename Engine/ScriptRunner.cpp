#include "ScriptRunner.h"

#include "Errors.h"
#include "Files.h"
#include "NotesBridge_p.h"
#include "NotesExporter_p.h"
#include "Text.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QPointer>
#include <QProcess>
#include <QRegularExpression>
#include <QTimer>
#include <QUuid>

#include <QCoro/QCoroProcess>

#include <cerrno>
#include <csignal>
#include <exception>

#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace ScriptRunner {

namespace {

QString upperUuid()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

const QString runFolderPrefix = u"velloran-run-"_s;

[[noreturn]] void throwScriptFailure(Side side, const QString &message)
{
    if (side == Side::write)
        throw NotesBridge::BridgeError::scriptFailed(message);
    throw NotesExporter::ExportError::scriptFailed(message);
}

/// What osascript's end comes to: its trimmed standard error, or, when it said nothing, how it ended.
QString failureMessage(const QProcess &process, const QByteArray &standardError)
{
    const QString message
        = Text::trimWhitespaceAndNewlines(Text::decodeUtf8Strict(standardError).value_or(QString())).toString();
    if (!message.isEmpty())
        return message;
    if (process.exitStatus() == QProcess::CrashExit)
        return QCoreApplication::translate("Velloran", "osascript ended with signal %1").arg(process.exitCode());
    return QCoreApplication::translate("Velloran", "osascript failed without a message (exit status %1)")
        .arg(process.exitCode());
}

} // namespace

RunFolder::RunFolder()
{
    removeAbandoned();
    const QString name = runFolderPrefix + QString::number(QCoreApplication::applicationPid()) + u'-' + upperUuid();
    m_path = QDir(QDir::tempPath()).absoluteFilePath(name);
    if (::mkdir(QFile::encodeName(m_path).constData(), 0700) != 0) {
        const int error = errno;
        m_path.clear();
        throw FileSystemError(qt_error_string(error));
    }
}

RunFolder::~RunFolder()
{
    if (!m_path.isEmpty())
        QDir(m_path).removeRecursively(); // a failed removal is ignored
}

QString RunFolder::newFilePath(QStringView prefix, QStringView suffix) const
{
    return m_path + u'/' + prefix.toString() + upperUuid() + suffix.toString();
}

QString RunFolder::scriptFile(Side side, const QString &script)
{
    const QString key = (side == Side::write ? u"w:"_s : u"r:"_s) + script;
    if (const auto found = m_scripts.constFind(key); found != m_scripts.cend())
        return *found;
    const QString path = newFilePath(side == Side::write ? u"velloran-" : u"velloran-export-", u".applescript");
    // Written once per run and removed with it: not synced to disk.
    if (const std::optional<QString> failure = Files::writeNewFile(path, script.toUtf8()))
        throw FileSystemError(*failure);
    m_scripts.insert(key, path);
    return path;
}

void RunFolder::removeAbandoned()
{
    static const QRegularExpression form(u"^velloran-run-(\\d+)-[0-9A-F-]{36}$"_s);
    const QDir temp(QDir::tempPath());
    for (const QString &name :
        temp.entryList({ runFolderPrefix + u'*' }, QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden)) {
        const QRegularExpressionMatch match = form.match(name);
        if (!match.hasMatch())
            continue;
        bool ok = false;
        const qint64 pid = match.captured(1).toLongLong(&ok);
        if (!ok || pid <= 0 || pid == QCoreApplication::applicationPid())
            continue;
        // Only a process that no longer exists has abandoned its folder.
        if (::kill(pid_t(pid), 0) == 0 || errno != ESRCH)
            continue;
        const QFileInfo info(temp.filePath(name));
        if (info.isDir() && !info.isSymLink() && info.ownerId() == ::getuid())
            QDir(info.absoluteFilePath()).removeRecursively();
    }
}

QCoro::Task<QString> run(Side side, QString script, QStringList args, RunFolder *folder, StopSignal *stop)
{
    std::optional<RunFolder> own;
    if (!folder)
        folder = &own.emplace();
    const QString scriptPath = folder->scriptFile(side, script);

    // The script goes by file, never through -e or standard input, so that no text of it needs quoting;
    // its parameters are plain arguments, read inside the script as argv.
    QProcess process;
    process.setProgram(NotesBridge::scriptRunnerProgram());
    process.setArguments(QStringList { scriptPath } + args);
    process.setInputChannelMode(QProcess::ForwardedInputChannel);

    // A stop request gives the script its grace period, then ends it.
    bool killed = false;
    QTimer killer;
    killer.setSingleShot(true);
    QObject::connect(&killer, &QTimer::timeout, &process, [&process, &killed] {
        killed = true;
        process.kill();
    });
    QMetaObject::Connection onStop;
    if (stop) {
        if (stop->isRequested())
            killer.start(stop->grace());
        onStop = QObject::connect(
            stop, &StopSignal::requested, &killer, [&killer, grace = stop->grace()] { killer.start(grace); });
    }
    const QPointer<StopSignal> stopGuard(stop);

    // Waiting for the start takes as long as the system needs to start a program (it reports a program
    // that cannot be started at once); the wait for the end does not block the thread.
    process.start(QIODevice::ReadOnly);
    if (!process.waitForStarted(-1)) {
        QObject::disconnect(onStop);
        throw LaunchError(process.errorString());
    }
    // QProcess reads both pipes as they fill, so a script that writes much to both cannot stall.
    if (process.state() != QProcess::NotRunning)
        co_await qCoro(process).waitForFinished(-1);
    if (stopGuard)
        QObject::disconnect(onStop);
    killer.stop();

    if (killed)
        throw RunStopped();
    const bool exitedWithZero = process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    if (!exitedWithZero)
        throwScriptFailure(side, failureMessage(process, process.readAllStandardError()));
    // Output that is not valid UTF-8 reads as no output.
    co_return Text::decodeUtf8Strict(process.readAllStandardOutput()).value_or(QString());
}

namespace {

/// The run's output, or what it threw. (QCoro::waitFor waits for ever on a task that throws, and a task
/// whose value can be made from an exception_ptr is taken for one that threw: hence a plain struct.)
struct Captured
{
    QString output;
    std::exception_ptr error;
};

QCoro::Task<Captured> captured(Side side, QString script, QStringList args)
{
    Captured result;
    try {
        QCoro::Task<QString> running = run(side, script, args);
        result.output = co_await running;
    } catch (...) {
        result.error = std::current_exception();
    }
    co_return result;
}

} // namespace

QString runBlocking(Side side, const QString &script, const QStringList &args)
{
    Captured outcome = QCoro::waitFor(captured(side, script, args));
    if (outcome.error)
        std::rethrow_exception(outcome.error);
    return outcome.output;
}

} // namespace ScriptRunner
