#pragma once

#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QUuid>

#include <utility>

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

/// Removes a leading YAML frontmatter block: "---" on the first line, a closing "---" at line index 30
/// or earlier, and only YAML-looking lines between. Returns the text and whether a block was removed.
/// Lines are split at "\n" alone, so a file with CRLF line ends is never stripped.
std::pair<QString, bool> stripFrontmatter(const QString &content);

/// How many of the analysis's unreadable entries are files (the rest are folders).
qint64 unreadableFileCount(const VaultAnalysis &analysis);

/// The nine image extensions, lower case. Built once, on first use, from any thread.
const QSet<QString> &imageExtensions();

} // namespace VaultScanner
