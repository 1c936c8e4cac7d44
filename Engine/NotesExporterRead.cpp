// The read side of the Notes bridge: listing folders and reading notes out of Apple Notes.

#include "NotesBridge_p.h"
#include "NotesExporter_p.h"
#include "Text.h"

#include <QCoreApplication>
#include <QProcess>

#include <exception>

using namespace Qt::StringLiterals;

namespace NotesExporter {

namespace {

/// `program` with the stripSeps handler appended, as one script.
QString withStripSeps(QStringView program)
{
    QString script;
    script.reserve(program.size() + stripSepsHandler.size());
    script += program;
    script += stripSepsHandler;
    return script;
}

} // namespace

QString ExportError::errorDescription() const
{
    switch (m_kind) {
    case Kind::scriptFailed:
        return NotesBridge::scriptFailureDescription(m_message);
    case Kind::destinationNotWritable:
        return QCoreApplication::translate("Velloran", "Can't write to destination folder: ") + m_message;
    }
    Q_UNREACHABLE();
    return QString();
}

QString scriptResult(bool exitedWithZero, const QByteArray &standardOutput, const QByteArray &standardError)
{
    if (exitedWithZero)
        return NotesBridge::decodeUtf8OrEmpty(standardOutput);
    throw ExportError::scriptFailed(
        Text::trimWhitespaceAndNewlines(NotesBridge::decodeUtf8OrEmpty(standardError)).toString());
}

QString run(const QString &script, const QStringList &args)
{
    const NotesBridge::ScriptFile file(u"velloran-export-", script);

    // A folder whose notes hold images reads back as megabytes. QProcess drains standard output and
    // standard error together while it waits, so neither pipe can fill up and stall the script.
    QProcess process;
    process.setProgram(NotesBridge::scriptRunnerProgram());
    process.setArguments(QStringList { file.path() } + args);
    process.setInputChannelMode(QProcess::ForwardedInputChannel);
    process.start(QIODevice::ReadOnly);
    if (!process.waitForStarted(-1))
        throw LaunchError(process.errorString());

    process.waitForFinished(-1);
    const bool exitedWithZero = process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    return scriptResult(exitedWithZero, process.readAllStandardOutput(), process.readAllStandardError());
}

QString stripFieldSeparators(QStringView text)
{
    QString stripped;
    stripped.reserve(text.size());
    for (const QChar c : text) {
        if (c != recordSep && c != fieldSep)
            stripped.append(c);
    }
    return stripped;
}

QList<NoteRecord> parseRecords(const QString &output)
{
    QList<NoteRecord> records;
    for (const QStringView piece : QStringView(output).split(recordSep)) {
        // Also drops the line break that osascript prints after the returned text.
        if (Text::trimWhitespaceAndNewlines(piece).isEmpty())
            continue;
        const QList<QStringView> fields = piece.split(fieldSep);
        if (fields.size() < 3)
            continue;
        QString html = fields[2].toString();
        for (qsizetype i = 3; i < fields.size(); ++i) {
            html += fieldSep;
            html += fields[i];
        }
        records.append({ stripFieldSeparators(fields[0]), stripFieldSeparators(fields[1]), html });
    }
    return records;
}

QStringList listFolders()
{
    const QString output = run(withStripSeps(folderListProgram), {});
    QStringList names;
    for (const QStringView piece : QStringView(output).split(recordSep)) {
        const QStringView name = Text::trimWhitespaceAndNewlines(piece);
        if (!name.isEmpty())
            names.append(name.toString());
    }
    // Names that compare equal (Work, work) keep the order in which Notes listed them.
    Text::stableSortLocalized(names, [](const QString &name) { return QStringView(name); });
    return names;
}

QList<NoteRecord> readNotes(const std::optional<QStringList> &folders)
{
    const QStringList names = folders && !folders->isEmpty() ? *folders : listFolders();
    QList<NoteRecord> records;
    if (names.isEmpty())
        return records;

    const QString script = withStripSeps(folderReadProgram);
    bool anyRead = false;
    std::exception_ptr lastError;
    for (const QString &name : names) {
        try {
            records += parseRecords(run(script, { name }));
            anyRead = true;
        } catch (...) {
            // Kept only in case every folder fails: one readable folder makes the read a success.
            lastError = std::current_exception();
        }
    }
    if (!anyRead)
        std::rethrow_exception(lastError);
    return records;
}

} // namespace NotesExporter
