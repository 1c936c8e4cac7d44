// The export writer's dates and its record: the frontmatter and file times that keep a note's dates, and
// the writing of a run over the files of a previous export.

#include "ExportManifest.h"
#include "NotesExporter.h"
#include "NotesExporterWrite_p.h"

#include "Counters.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSet>

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace NotesExporter {

QByteArray datesFrontmatter(const NoteRecord &note)
{
    if (!note.created.isValid() && !note.modified.isValid())
        return QByteArray();
    QByteArray yaml = "---\n";
    if (note.created.isValid())
        yaml += "created: " + ExportManifest::dateText(note.created).toUtf8() + '\n';
    if (note.modified.isValid())
        yaml += "modified: " + ExportManifest::dateText(note.modified).toUtf8() + '\n';
    return yaml + "---\n";
}

void setModificationTime(const QString &path, const QDateTime &time)
{
    if (!time.isValid())
        return;
    const timespec times[2] = { { 0, UTIME_OMIT }, { time_t(time.toSecsSinceEpoch()), 0 } };
    ::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, AT_SYMLINK_NOFOLLOW);
}

namespace {

/// What is at a recorded file's place now.
enum class Found {
    /// Nothing: the file was removed.
    nothing,
    /// A regular file holding exactly what the export wrote there.
    asWritten,
    /// Anything else: an edited file, or something that is no longer a plain file.
    changed,
};

Found whatIsAt(const QString &path, const QString &sha256)
{
    const QByteArray encoded = QFile::encodeName(path);
    struct stat info;
    if (::lstat(encoded.constData(), &info) != 0)
        return errno == ENOENT ? Found::nothing : Found::changed;
    if (!S_ISREG(info.st_mode))
        return Found::changed;
    // Opened without following a link, in case one took the file's place since.
    const int fd = ::open(encoded.constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0)
        return Found::changed;
    QFile file;
    if (!file.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        ::close(fd);
        return Found::changed;
    }
    return ExportManifest::digest(file.readAll()) == sha256 ? Found::asWritten : Found::changed;
}

} // namespace

struct RunWriter::State
{
    QString destination;
    ExportOptions options;
    Result &result;
    /// Whether the run keeps the record: the notes carry their ids, or the run updates an export.
    bool recording = false;
    QString failure;
    /// The record of the previous export, and its entries by note id.
    QList<ExportManifest::Entry> previous;
    QHash<QString, qsizetype> previousById;
    /// The ids of every note of this run, written or not: a recorded note among them is still in Notes.
    QSet<QString> idsRead;
    /// The subfolders read whole: a recorded note of one of them that is not among the notes is gone.
    QSet<QString> foldersRead;
    /// The entries of the notes written, or left alone as unchanged, in this run, by note id.
    QHash<QString, ExportManifest::Entry> current;
    QStringList currentOrder;

    State(const QString &destination, const ExportOptions &options, Result &result)
        : destination(destination)
        , options(options)
        , result(result)
    { }

    /// The previous export's entry for `note`, when this run updates that export and it wrote the note.
    const ExportManifest::Entry *recorded(const NoteRecord &note) const
    {
        const auto found = previousById.constFind(note.id);
        if (!options.update || note.id.isEmpty() || found == previousById.cend())
            return nullptr;
        return &previous.at(*found);
    }

    QString relative(const QString &subfolder, const QString &name) const
    {
        return subfolder.isEmpty() ? name : subfolder + u'/' + name;
    }

    void remember(const NoteRecord &note, const QString &file, const QByteArray &bytes)
    {
        if (!recording || note.id.isEmpty())
            return;
        if (!current.contains(note.id))
            currentOrder.append(note.id);
        current.insert(
            note.id, { note.id, file, ExportManifest::dateText(note.modified), ExportManifest::digest(bytes) });
    }

    /// Writes a new file for the note, numbered when its name is taken, and gives its path relative to
    /// the destination; empty after a failure, which is listed.
    QString writeNew(const NoteRecord &note, const QString &subfolder, const QString &folderPath, const QString &base,
        const QByteArray &bytes, RunNames &names, ClaimMethod &method)
    {
        const NewFile file = writeNewFile(folderPath, base, bytes, names, method);
        if (!file.error.isEmpty()) {
            result.failed.append({ note.name, file.error });
            return QString();
        }
        addChecked(result.written);
        const QString name = file.name + u".md"_s;
        if (options.dates)
            setModificationTime(folderPath + u'/' + name, note.modified);
        const QString path = relative(subfolder, name);
        remember(note, path, bytes);
        return path;
    }

    /// Writes the note over the file that the previous export wrote for it (see RunWriter::write); false
    /// when a write failed, which is listed.
    bool update(const NoteRecord &note, const ExportManifest::Entry &entry, const QString &subfolder,
        const QString &folderPath, const QString &base, const QByteArray &bytes, RunNames &names, ClaimMethod &method)
    {
        const QString path = destination + u'/' + entry.file;
        const Found found = whatIsAt(path, entry.sha256);
        // A file that was removed is written again, as a new file.
        if (found == Found::nothing)
            return !writeNew(note, subfolder, folderPath, base, bytes, names, method).isEmpty();
        if (ExportManifest::digest(bytes) == entry.sha256) {
            addChecked(result.update->unchanged);
            remember(note, entry.file, bytes);
            return true;
        }
        const QFileInfo recorded(path);
        if (found == Found::asWritten) {
            if (const std::optional<QString> error = replaceFile(recorded.path(), recorded.fileName(), bytes)) {
                result.failed.append({ note.name, *error });
                return false;
            }
            addChecked(result.written);
            if (options.dates)
                setModificationTime(path, note.modified);
            result.update->updated.append(entry.file);
            remember(note, entry.file, bytes);
            return true;
        }
        // Edited since: left alone, and the new version goes beside it as a numbered copy.
        const QString folder = entry.file.section(u'/', 0, -2);
        const QString copy = writeNew(note, folder, recorded.path(), recorded.completeBaseName(), bytes, names, method);
        if (copy.isEmpty())
            return false;
        result.update->keptEdits.append({ entry.file, copy });
        return true;
    }
};

RunWriter::RunWriter(const QString &destination, const QList<NoteRecord> &notes, const ExportOptions &options,
    const QStringList &foldersRead, Result &result)
    : m_state(std::make_unique<State>(destination, options, result))
{
    State &state = *m_state;
    state.recording = options.update
        || (!notes.isEmpty()
            && std::all_of(notes.cbegin(), notes.cend(), [](const NoteRecord &note) { return !note.id.isEmpty(); }));
    if (!state.recording)
        return;
    if (options.update)
        result.update = UpdateSummary {};
    for (const NoteRecord &note : notes) {
        state.idsRead.insert(note.id);
        state.foldersRead.insert(sanitizeFilename(note.folder.isEmpty() ? u"Notes"_s : note.folder));
    }
    for (const QString &folder : foldersRead)
        state.foldersRead.insert(sanitizeFilename(folder));

    QString error;
    std::optional<QList<ExportManifest::Entry>> previous = ExportManifest::read(destination, &error);
    if (!previous) {
        // Without an update, the record is simply written anew.
        if (options.update)
            state.failure
                = QCoreApplication::translate("Velloran", "couldn't read the record of the last export: %1").arg(error);
        return;
    }
    state.previous = std::move(*previous);
    for (qsizetype i = 0; i < state.previous.size(); ++i)
        state.previousById.insert(state.previous.at(i).id, i);
}

RunWriter::~RunWriter() = default;

QString RunWriter::failure() const
{
    return m_state->failure;
}

bool RunWriter::write(const NoteRecord &note, const QString &subfolder, const QString &folderPath, const QString &base,
    const QByteArray &bytes, RunNames &names, ClaimMethod &method)
{
    State &state = *m_state;
    const ExportManifest::Entry *entry = state.recorded(note);
    // A note's recorded file is taken once: a second note of the same id is a new one.
    if (!entry || state.current.contains(note.id))
        return !state.writeNew(note, subfolder, folderPath, base, bytes, names, method).isEmpty();
    return state.update(note, *entry, subfolder, folderPath, base, bytes, names, method);
}

std::optional<QString> RunWriter::recordedFile(const NoteRecord &note) const
{
    const ExportManifest::Entry *entry = m_state->recorded(note);
    return entry ? std::optional(entry->file) : std::nullopt;
}

void RunWriter::finish()
{
    State &state = *m_state;
    if (!state.recording)
        return;
    QList<ExportManifest::Entry> entries;
    for (const QString &id : std::as_const(state.currentOrder))
        entries.append(state.current.value(id));
    for (const ExportManifest::Entry &entry : std::as_const(state.previous)) {
        if (state.current.contains(entry.id))
            continue;
        // Gone from a folder read whole: listed, its file left alone, and no longer recorded. The notes of
        // folders this run did not read, and notes it read but did not write, keep their entries.
        if (!state.idsRead.contains(entry.id) && state.foldersRead.contains(ExportManifest::subfolderOf(entry))) {
            if (state.result.update)
                state.result.update->gone.append(entry.file);
            continue;
        }
        entries.append(entry);
    }
    if (const std::optional<QString> error = ExportManifest::write(state.destination, entries))
        state.result.failed.append({ QCoreApplication::translate("Velloran", "(destination)"),
            QCoreApplication::translate("Velloran", "couldn't record the export: %1").arg(*error) });
}

} // namespace NotesExporter
