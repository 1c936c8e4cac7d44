#pragma once

#include "NotesExporter.h"
#include "NotesExporterWrite_p.h"

#include "HtmlToMarkdown.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>

#include <functional>
#include <optional>

// How the export writer turns one note into Markdown with the export's options: images saved as files
// beside the note, links between notes as wiki links, Notes' heading styles as headings. Declared here
// so that tests can reach the pieces.
namespace NotesExporter {

/// What a `data:` URI holds.
struct DataUri
{
    QByteArray bytes;
    /// The media type in lower case, without parameters; empty when the URI names none.
    QString mediaType;
    /// Why the URI could not be decoded; empty when it was.
    QString failure;
};

/// Decodes a `data:[<media type>][;base64],<data>` URI: base64 (white space inside is allowed) or
/// percent-encoded. A URI without a comma, with data that is not base64 though it says so, or with no
/// data at all, is a failure.
DataUri decodeDataUri(const QString &uri);

/// The file extension for an image's media type: "png", "jpg", "gif", "heic", "webp", "tiff", "pdf"
/// and a few more; another `image/NAME` whose NAME is short and alphanumeric gives NAME; anything else
/// "bin".
QString extensionForMediaType(const QString &mediaType);

/// A relative path as a Markdown link destination that editors open: the characters that have a
/// meaning in a URL or in Markdown, spaces and control characters percent-encoded, letters of any
/// script kept.
QString encodedReference(const QString &path);

/// Where one note's file goes: its subfolder (sanitised) and its file name without ".md".
struct PlannedFile
{
    QString subfolder;
    QString name;
};

/// The file names that writing `notes` into `destination` one after the other will give, worked out
/// before any is written, by the same rules (see writeNewFile): a link from one note to another needs
/// the other's file name before either is written. A file that appears in the destination between
/// planning and writing moves its note on to the next free name, and links written before then point
/// at the planned one.
QList<PlannedFile> planFileNames(const QList<NoteRecord> &notes, const QString &destination);

/// Converts the notes of one export, one at a time, with the export's options; with none of them on, a
/// note converts as HtmlToMarkdown::convert(html) makes it.
class NoteConverter
{
public:
    /// The file, relative to the destination, that a note keeps from the export being updated.
    using RecordedFile = std::function<std::optional<QString>(const NoteRecord &)>;

    /// `notes` and `destination` as the writer gets them; `result` collects what the options did and must
    /// outlive the converter. A note that `recorded` gives a file for is linked to by that file's name.
    NoteConverter(const QList<NoteRecord> &notes, const QString &destination, const ExportOptions &options,
        Result &result, const RecordedFile &recorded = {});

    /// The Markdown of `notes[index]`, whose file goes into `folderPath`. Its images are written into the
    /// folder's "attachments" subfolder first, when asked for.
    QString markdown(qsizetype index, const QString &folderPath);

    /// Removes the image files of the note converted last, and uncounts them: its own file could not be
    /// written.
    void discardImages();

private:
    /// The relative reference to the file that the `data:` image `source` of `notes[index]` is saved
    /// in, or nothing when it stays inline.
    std::optional<QString> saveImage(qsizetype index, const QString &folderPath, const QString &source);
    /// When updating a previous export: the name of the file in `folder` that already holds `bytes` under
    /// a name the image would be given (from try m_nextImageCounter on), so that an unchanged image is not
    /// saved again and its note's text stays as it was written.
    std::optional<QString> savedBefore(
        const QString &folder, const std::function<QString(qint64)> &candidate, const QByteArray &bytes);

    const QList<NoteRecord> &m_notes;
    const ExportOptions m_options;
    Result &m_result;
    QList<PlannedFile> m_planned;
    HtmlToMarkdown::NoteLinkTargets m_targets;
    /// The images of the note converted last: by source, the reference written; and their paths.
    QHash<QString, QString> m_savedBySource;
    QStringList m_savedPaths;
    qint64 m_nextImageCounter = 1;
    ClaimMethod m_method = ClaimMethod::hardLink;
};

} // namespace NotesExporter
