#include "NotesBridge_p.h"

#include "Text.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSaveFile>
#include <QStringDecoder>
#include <QUuid>

using namespace Qt::StringLiterals;

namespace NotesBridge {

QString scriptFailureDescription(const QString &message)
{
    // Notes refuses Apple events from an app the user has not allowed under Automation with -1743.
    if (message.contains(u"-1743"))
        return QCoreApplication::translate(
            "Velloran", "Permission needed: System Settings → Privacy & Security → Automation → Velloran → Notes");
    return QCoreApplication::translate("Velloran", "Apple Notes error: ") + message;
}

QString BridgeError::errorDescription() const
{
    return scriptFailureDescription(m_message);
}

QString scriptRunnerProgram()
{
    // Tests, and anyone trying Velloran without a Mac, run the stand-in for Notes instead.
    QString program = qEnvironmentVariable("VELLORAN_OSASCRIPT");
    if (program.isEmpty())
        program = u"/usr/bin/osascript"_s;
    return program;
}

QString decodeUtf8OrEmpty(const QByteArray &bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder.decode(bytes);
    if (decoder.hasError())
        return QString();
    return text;
}

ScriptFile::ScriptFile(QStringView prefix, const QString &script)
{
    const QString name
        = prefix.toString() + QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper() + u".applescript"_s;
    m_path = QDir(QDir::tempPath()).absoluteFilePath(name);

    QSaveFile file(m_path);
    const QByteArray bytes = script.toUtf8();
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        throw FileSystemError(file.errorString());
}

ScriptFile::~ScriptFile()
{
    QFile::remove(m_path);
}

QString scriptResult(bool exitedWithZero, const QByteArray &standardOutput, const QByteArray &standardError)
{
    if (exitedWithZero)
        return decodeUtf8OrEmpty(standardOutput);
    throw BridgeError::scriptFailed(Text::trimWhitespaceAndNewlines(decodeUtf8OrEmpty(standardError)).toString());
}

QString run(const QString &script, const QStringList &args)
{
    const ScriptFile file(u"velloran-", script);

    // The script goes by file, never through -e or standard input, so that no text of it needs quoting;
    // its parameters are plain arguments, read inside the script as argv.
    QProcess process;
    process.setProgram(scriptRunnerProgram());
    process.setArguments(QStringList { file.path() } + args);
    process.setInputChannelMode(QProcess::ForwardedInputChannel);
    process.start(QIODevice::ReadOnly);
    if (!process.waitForStarted(-1))
        throw LaunchError(process.errorString());

    // Reads both pipes while it waits, so a script that fills its standard error while standard output is
    // still open cannot stall.
    process.waitForFinished(-1);
    const bool exitedWithZero = process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    if (exitedWithZero)
        return scriptResult(true, process.readAllStandardOutput(), {});
    return scriptResult(false, {}, process.readAllStandardError());
}

void ensureFolder(const QString &name)
{
    run(ensureFolderProgram.toString(), { name });
}

void ensureSubfolder(const QString &root, const QString &sub)
{
    run(ensureSubfolderProgram.toString(), { root, sub });
}

bool createNote(const QString &root, const std::optional<QString> &sub, const QString &title, const QString &htmlPath,
    const QStringList &attachments)
{
    // An empty subfolder argument puts the note directly into the root folder.
    QStringList args { root, sub.value_or(QString()), title, htmlPath };
    args += attachments;
    const QString output = run(createNoteProgram.toString(), args);
    return Text::trimWhitespaceAndNewlines(output) != u"skipped";
}

} // namespace NotesBridge
