#pragma once

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QUuid>

#include <memory>
#include <optional>
#include <utility>

namespace VaultScanner {

/// Image files of a vault by lower-cased file name (with extension) to path; when two share a name, the
/// one met last in the walk wins.
using ImageIndex = QHash<QString, QString>;

} // namespace VaultScanner

/// What a scan of a Markdown folder found.
struct VaultAnalysis
{
    struct Note
    {
        /// Fresh at every scan; identifies the note in lists on screen.
        QUuid id;
        /// The Markdown file, as the directory walk delivered it.
        QUrl fileURL;
        /// The folder components below the vault root; empty for a note at the root.
        QStringList relativeFolder;
        /// The file name without its last extension.
        QString title;
        /// Image targets: wiki embeds first, then Markdown images; duplicates kept.
        QStringList imageRefs;
        /// Wiki-link targets (not embeds), in order of appearance.
        QStringList wikilinks;
        bool hasTables = false;
        bool hasTasks = false;
        bool frontmatterStripped = false;
        /// The title was given a " (2)", " (3)", ... because an earlier note (in path order) of the same
        /// Notes folder has the same name.
        bool titleRenamed = false;
        /// The vault's image files as the scan's walk found them: where an image that is neither beside
        /// the note nor at the vault root is looked for. Built once per scan and shared by all its notes,
        /// so that a note can be prepared on its own, from any part of the analysis, without walking the
        /// vault again. Absent for a note that no scan made: its images are then looked for only beside
        /// it and at the root.
        std::shared_ptr<const VaultScanner::ImageIndex> vaultImages;
    };

    /// Every readable Markdown file, sorted by title.
    QList<Note> notes;
    /// The folders, relative to the vault and joined with "/", that directly hold a note.
    QSet<QString> folders;
    qint64 attachmentsResolved = 0;
    qint64 attachmentsMissing = 0;
    /// Markdown files and folders that could not be read, as (path relative to the vault, reason); a
    /// folder's path ends with "/". None of them is lost without a word: the migration lists them as
    /// failed.
    QList<std::pair<QString, QString>> unreadable;
    /// How many notes were given a numbered title so that no two notes of one Notes folder share a name.
    qint64 titlesRenamed = 0;
};

/// Scans a folder of Markdown files. Only reads: nothing in the folder is written, moved or changed.
namespace VaultScanner {

/// Walks `vault` (skipping hidden files and folders, not following folder links) and analyses each .md or
/// .markdown file. Never fails: a file or folder that cannot be read is listed in `unreadable` with its
/// reason. Two notes that would get the same name in the same Notes folder are both kept: the later ones
/// in path order get " (2)", " (3)", ... Synchronous, and long on a large vault: call it off the
/// interface thread.
VaultAnalysis scan(const QUrl &vault);

/// One note made ready for Notes: what the migration creates from it.
struct PreparedNote
{
    /// The note body, as MarkdownLite::convert renders the note's text.
    QString html;
    /// The image files to attach (their paths with links resolved), in the order the body names them; a
    /// file named twice is attached twice.
    QStringList attachments;
    /// One entry per image that is not attached, as the report lists it: "title: reference", with the
    /// reason in parentheses when there is one.
    QStringList imagesMissing;
    /// The same images as (reference as written, why it is not attached): a web image, one not found on
    /// disk, or the reason the report gives in parentheses.
    QList<std::pair<QString, QString>> imagesNotAttached;
};

/// Makes a note of an analysis ready for Notes, from the file as it is now: reads it (nothing when it can
/// no longer be read as UTF-8), removes its frontmatter when the scan found some, renders it and
/// resolves each image the rendering meets. An image is looked for beside the note and at the root of
/// `vault` (the scanned folder) as they are now, then in the image index of the note's scan: the vault
/// is not walked again, so an image file added since the scan is found only beside the note or at the
/// root, and one removed since is missing. Only a readable regular file inside the vault is attached.
/// Reads only; safe on any thread.
std::optional<PreparedNote> prepare(const VaultAnalysis::Note &note, const QUrl &vault);

/// Removes a leading YAML frontmatter block: "---" on the first line, a closing "---" at line index 30
/// or earlier, and only YAML-looking lines between. Returns the text and whether a block was removed.
/// Lines are split at "\n" alone, so a file with CRLF line ends is never stripped.
std::pair<QString, bool> stripFrontmatter(const QString &content);

/// A note's own title: its file's name without the last extension ("a.b.md" gives "a.b"). The scan
/// numbers it when another note of that name goes to the same Notes folder (Note::titleRenamed).
QString titleOf(const QUrl &file);

/// How many of the analysis's unreadable entries are files (the rest are folders).
qint64 unreadableFileCount(const VaultAnalysis &analysis);

/// The nine image extensions, lower case. Built once, on first use, from any thread.
const QSet<QString> &imageExtensions();

} // namespace VaultScanner
