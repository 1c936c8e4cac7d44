// The export writer: note records to one Markdown file each, one subfolder per Notes folder.

#include "NotesExporter.h"
#include "NotesExporterWrite_p.h"

#include "Counters.h"
#include "HtmlToMarkdown.h"
#include "Regex.h"
#include "Text.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSaveFile>

#include <filesystem>
#include <system_error>

using namespace Qt::StringLiterals;

namespace NotesExporter {

namespace {

/// Whether `text` begins with the character "." alone (not a dot carrying a combining mark).
bool startsWithDot(QStringView text)
{
    if (!text.startsWith(u'.'))
        return false;
    if (text.size() == 1 || text[1].unicode() < 0x80)
        return true;
    return Text::leftGraphemes(text, 1).size() == 1;
}

QString joinPath(const QString &folder, const QString &name)
{
    return name.isEmpty() ? folder : folder + u'/' + name;
}

/// Writes `content` as UTF-8 through a temporary file moved into place. Gives the system's description
/// of the failure, if there is one.
std::optional<QString> writeAtomically(const QString &path, const QString &content)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return file.errorString();
    const QByteArray bytes = content.toUtf8();
    if (file.write(bytes) != bytes.size()) {
        const QString reason = file.errorString();
        file.cancelWriting();
        return reason;
    }
    if (!file.commit())
        return file.errorString();
    return std::nullopt;
}

} // namespace

std::optional<QString> createFolder(const QString &path)
{
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(QFile::encodeName(path).toStdString()), error);
    if (error)
        return QString::fromLocal8Bit(error.message());
    return std::nullopt;
}

QString uniqueName(const QString &base, const QSet<QString> &taken, const QString &folder)
{
    QString candidate = base;
    qint64 counter = 2;
    while (taken.contains(candidate.toLower()) || QFileInfo::exists(joinPath(folder, candidate + u".md"_s))) {
        candidate = base + u" ("_s + QString::number(counter) + u')';
        addChecked(counter);
    }
    return candidate;
}

QString fileContent(const QString &noteName, const QString &markdown)
{
    return u"# "_s + noteName + u"\n\n"_s + markdown + u'\n';
}

QString sanitizeFilename(const QString &name)
{
    QString text = name;
    for (QChar &c : text) {
        switch (c.unicode()) {
        case u'/':
        case u'\\':
        case u':':
        case u'*':
        case u'?':
        case u'"':
        case u'<':
        case u'>':
        case u'|':
            c = u'-';
            break;
        default:
            break;
        }
    }
    static const Regex whiteSpace(u"\\s+"_s);
    text = Text::trimWhitespaceAndNewlines(whiteSpace.replaceAll(text, u" "_s)).toString();
    // No hidden files, and never "." or "..".
    while (startsWithDot(text))
        text.remove(0, 1);
    text = Text::trimSpacesAndTabs(text).toString();
    if (Text::graphemeCount(text) > 200)
        return Text::leftGraphemes(text, 200).toString();
    return text;
}

Result exportNotes(
    const QList<NoteRecord> &notes, const QUrl &to, const ProgressCallback &progress, const StopCheck &shouldStop)
{
    Result result;
    const QString destination = to.toLocalFile();
    if (!QFileInfo(destination).isWritable()) {
        // A missing destination is made; one that cannot be made ends the run before the first note.
        if (createFolder(destination)) {
            result.failed.append({ u"(destination)"_s, QCoreApplication::translate("Velloran", "not writable") });
            return result;
        }
    }

    // Per subfolder, the names given out in this run, in lower case and without extension.
    QHash<QString, QSet<QString>> namesGiven;
    const qsizetype n = notes.size();
    for (qsizetype i = 0; i < n; ++i) {
        if (shouldStop && shouldStop())
            break;
        const NoteRecord &note = notes[i];
        if (progress)
            progress(double(i) / double(n), note.name);

        const QString subfolder = sanitizeFilename(note.folder.isEmpty() ? u"Notes"_s : note.folder);
        const QString folderPath = joinPath(destination, subfolder);
        if (const std::optional<QString> error = createFolder(folderPath)) {
            result.failed.append(
                { note.name, QCoreApplication::translate("Velloran", "couldn't create folder: ") + *error });
            continue;
        }
        result.folders.insert(subfolder);

        QString base = sanitizeFilename(note.name.isEmpty() ? u"Untitled"_s : note.name);
        if (base.isEmpty())
            base = u"Untitled"_s;
        QSet<QString> &given = namesGiven[subfolder];
        const QString candidate = uniqueName(base, given, folderPath);
        given.insert(candidate.toLower());

        const QString content = fileContent(note.name, HtmlToMarkdown::convert(note.html));
        if (const std::optional<QString> error = writeAtomically(joinPath(folderPath, candidate + u".md"_s), content))
            result.failed.append({ note.name, *error });
        else
            addChecked(result.written);
    }

    if (progress)
        progress(1.0, QString());
    return result;
}

} // namespace NotesExporter
