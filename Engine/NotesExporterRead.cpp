// The read side of the Notes bridge: listing folders and reading notes out of Apple Notes.

#include "NotesBridge_p.h"
#include "NotesExporter_p.h"
#include "Text.h"

#include "ScriptRunner.h"

#include <QCoreApplication>
#include <QtConcurrent>

#include <QCoro/QCoroFuture>

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

QString run(const QString &script, const QStringList &args)
{
    return ScriptRunner::runBlocking(ScriptRunner::Side::read, script, args);
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

namespace {

/// The records of a folder read's output: `head` fields, then the body, which takes every field after
/// them, so that a body holding a field separator survives whole. Blank pieces and pieces with fewer
/// fields are skipped. `make` turns the head fields and the body into a record.
template<typename Make> QList<NoteRecord> parseWith(const QString &output, qsizetype head, Make make)
{
    QList<NoteRecord> records;
    for (const QStringView piece : QStringView(output).split(recordSep)) {
        // Also drops the line break that osascript prints after the returned text.
        if (Text::trimWhitespaceAndNewlines(piece).isEmpty())
            continue;
        const QList<QStringView> fields = piece.split(fieldSep);
        if (fields.size() < head + 1)
            continue;
        QString html = fields[head].toString();
        for (qsizetype i = head + 1; i < fields.size(); ++i) {
            html += fieldSep;
            html += fields[i];
        }
        records.append(make(fields, std::move(html)));
    }
    return records;
}

} // namespace

QList<NoteRecord> parseRecords(const QString &output)
{
    return parseWith(output, 2, [](const QList<QStringView> &fields, QString html) {
        return NoteRecord { stripFieldSeparators(fields[0]), stripFieldSeparators(fields[1]), std::move(html) };
    });
}

QList<NoteRecord> parseRecordsWithDates(const QString &output)
{
    const auto date = [](QStringView text) {
        // Local time, as Notes gives it; a null QDateTime when missing or malformed.
        return QDateTime::fromString(Text::trimWhitespaceAndNewlines(text).toString(), Qt::ISODate);
    };
    return parseWith(output, 5, [&date](const QList<QStringView> &fields, QString html) {
        return NoteRecord { stripFieldSeparators(fields[0]), stripFieldSeparators(fields[1]), std::move(html),
            Text::trimWhitespaceAndNewlines(fields[2]).toString(), date(fields[3]), date(fields[4]) };
    });
}

namespace {

QStringList folderNames(const QString &output)
{
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

} // namespace

QList<FolderEntry> parseFolderDetails(const QString &output)
{
    QList<FolderEntry> entries;
    for (const QStringView piece : QStringView(output).split(recordSep)) {
        const QList<QStringView> fields = piece.split(fieldSep);
        if (fields.size() < 4)
            continue;
        const auto field
            = [&fields](qsizetype i) { return stripFieldSeparators(Text::trimWhitespaceAndNewlines(fields[i])); };
        FolderEntry entry { field(0), field(1), field(2), field(3) };
        if (!entry.id.isEmpty() && !entry.name.isEmpty())
            entries.append(std::move(entry));
    }
    return entries;
}

bool isCompileFailure(QStringView message)
{
    const QStringView trimmed = Text::trimWhitespaceAndNewlines(message);
    return trimmed.endsWith(u"(-2740)") || trimmed.endsWith(u"(-2741)");
}

namespace {

void sortByName(QList<FolderEntry> &entries)
{
    Text::stableSortLocalized(entries, [](const FolderEntry &entry) { return QStringView(entry.name); });
}

} // namespace

QStringList listFolders()
{
    return folderNames(run(withStripSeps(folderListProgram), {}));
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

QCoro::Task<QStringList> listFolders(ScriptRunner::Context context)
{
    QCoro::Task<QString> running = ScriptRunner::run(
        ScriptRunner::Side::read, withStripSeps(folderListProgram), QStringList(), context.folder, context.stop);
    const QString output = co_await running;
    co_return folderNames(output);
}

namespace {

/// One folder's notes from `program` run with the one argument `argument`. A failed script is the read's
/// failure (marked when the program did not compile); only RunStopped is thrown.
QCoro::Task<FolderRead> readWith(ScriptRunner::Context context, QStringView program, QString argument,
    QList<NoteRecord> (*parse)(const QString &) = parseRecords)
{
    FolderRead read;
    try {
        QCoro::Task<QString> running = ScriptRunner::run(
            ScriptRunner::Side::read, withStripSeps(program), QStringList(argument), context.folder, context.stop);
        const QString output = co_await running;
        // A folder with many notes reads back as megabytes: parsed off this thread.
        QFuture<QList<NoteRecord>> parsing = QtConcurrent::run(parse, output);
        read.notes = co_await parsing;
    } catch (const RunStopped &) {
        throw;
    } catch (const ExportError &error) {
        read.failure = errorDescription(error);
        read.notCompiled = error.kind() == ExportError::Kind::scriptFailed && isCompileFailure(error.message());
    } catch (const std::exception &error) {
        read.failure = errorDescription(error);
    }
    co_return read;
}

} // namespace

QCoro::Task<FolderRead> readFolder(ScriptRunner::Context context, QString folder)
{
    return readWith(context, folderReadProgram, std::move(folder));
}

QCoro::Task<QList<FolderEntry>> listFolderDetails(ScriptRunner::Context context)
{
    QList<FolderEntry> entries;
    bool compiled = true;
    try {
        QCoro::Task<QString> running = ScriptRunner::run(
            ScriptRunner::Side::read, withStripSeps(folderDetailsProgram), QStringList(), context.folder, context.stop);
        entries = parseFolderDetails(co_await running);
    } catch (const ExportError &error) {
        if (error.kind() != ExportError::Kind::scriptFailed || !isCompileFailure(error.message()))
            throw;
        compiled = false;
    }
    if (compiled) {
        sortByName(entries);
        co_return entries;
    }
    // This Notes does not know a term of the details program: names alone, from the plain list.
    QCoro::Task<QStringList> listing = listFolders(context);
    const QStringList names = co_await listing;
    entries.clear();
    for (const QString &name : names)
        entries.append({ QString(), name, QString(), QString() });
    co_return entries;
}

QCoro::Task<FolderRead> readFolderById(ScriptRunner::Context context, QString id)
{
    return readWith(context, folderReadByIdProgram, std::move(id));
}

QCoro::Task<FolderRead> readFolderWithDates(ScriptRunner::Context context, QString id)
{
    return readWith(context, folderReadWithDatesProgram, std::move(id), parseRecordsWithDates);
}

std::optional<QString> unreadableBodyReason(const QString &html)
{
    static const QString start = u"<div>[Velloran: could not read this note's body \u2014 "_s;
    static const QString end = u"]</div>"_s;
    if (!html.startsWith(start) || !html.endsWith(end))
        return std::nullopt;
    return html.sliced(start.size(), html.size() - start.size() - end.size());
}

} // namespace NotesExporter
