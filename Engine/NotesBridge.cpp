#include "NotesBridge_p.h"

#include "ScriptRunner.h"
#include "Text.h"

#include <QCoreApplication>
#include <QStringDecoder>

using namespace Qt::StringLiterals;

namespace NotesBridge {

QString scriptFailureDescription(const QString &message)
{
    // Notes refuses Apple events from an app the user has not allowed under Automation with -1743.
    if (message.contains(u"-1743"))
        return QCoreApplication::translate(
            "Velloran", "Permission needed: System Settings → Privacy & Security → Automation → Velloran → Notes");
    return QCoreApplication::translate("Velloran", "Apple Notes error: %1").arg(message);
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

QString run(const QString &script, const QStringList &args)
{
    return ScriptRunner::runBlocking(ScriptRunner::Side::write, script, args);
}

void ensureFolder(const QString &name)
{
    run(ensureFolderProgram.toString(), { name });
}

void ensureSubfolder(const QString &root, const QString &sub)
{
    run(ensureSubfolderProgram.toString(), { root, sub });
}

namespace {

/// The arguments of the create-note program: an empty subfolder puts the note into the root folder.
QStringList createNoteArguments(const QString &root, const std::optional<QString> &sub, const QString &title,
    const QString &htmlPath, const QStringList &attachments)
{
    QStringList args { root, sub.value_or(QString()), title, htmlPath };
    args += attachments;
    return args;
}

/// Any output but "skipped" counts as created.
bool wasCreated(const QString &output)
{
    return Text::trimWhitespaceAndNewlines(output) != u"skipped";
}

} // namespace

bool createNote(const QString &root, const std::optional<QString> &sub, const QString &title, const QString &htmlPath,
    const QStringList &attachments)
{
    return wasCreated(run(createNoteProgram.toString(), createNoteArguments(root, sub, title, htmlPath, attachments)));
}

// (Each awaited task is a named local: temporaries inside a co_await expression are not safe with every
// compiler.)
QCoro::Task<> ensureFolder(ScriptRunner::Context context, QString name)
{
    QCoro::Task<QString> running = ScriptRunner::run(
        ScriptRunner::Side::write, ensureFolderProgram.toString(), QStringList(name), context.folder, context.stop);
    co_await running;
}

QCoro::Task<> ensureSubfolder(ScriptRunner::Context context, QString root, QString sub)
{
    const QStringList args { root, sub };
    QCoro::Task<QString> running = ScriptRunner::run(
        ScriptRunner::Side::write, ensureSubfolderProgram.toString(), args, context.folder, context.stop);
    co_await running;
}

QCoro::Task<bool> createNote(ScriptRunner::Context context, QString root, std::optional<QString> sub, QString title,
    QString htmlPath, QStringList attachments)
{
    const QStringList args = createNoteArguments(root, sub, title, htmlPath, attachments);
    QCoro::Task<QString> running = ScriptRunner::run(
        ScriptRunner::Side::write, createNoteProgram.toString(), args, context.folder, context.stop);
    const QString output = co_await running;
    co_return wasCreated(output);
}

} // namespace NotesBridge
