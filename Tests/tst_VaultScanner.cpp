// Tests of the vault scan: which files become notes, what each note records, frontmatter detection,
// image resolution and ordering. Every vault is built in a temporary folder.

#include "TestUtil.h"

#include "MarkdownLite.h"
#include "VaultScanner.h"
#include "VaultScanner_p.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QtConcurrent>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using TestUtil::makeDir;
using TestUtil::writeFile;

namespace {

QStringList titles(const VaultAnalysis &analysis)
{
    QStringList result;
    for (const VaultAnalysis::Note &note : analysis.notes)
        result.append(note.title);
    return result;
}

using Pairs = QList<std::pair<QString, QString>>;

/// Per note, in order: "folder|title|file name", and "|renamed" when the title was numbered.
QStringList named(const VaultAnalysis &analysis)
{
    QStringList list;
    for (const VaultAnalysis::Note &note : analysis.notes) {
        QString line = note.relativeFolder.join(u'/') + u'|' + note.title + u'|'
            + QFileInfo(note.fileURL.toLocalFile()).fileName();
        if (note.titleRenamed)
            line += u"|renamed"_s;
        list.append(line);
    }
    return list;
}

/// Makes a chain of folders below `root`, each named `component`, `depth` deep, and a note at the bottom,
/// one level at a time (the whole path is longer than the system lets a path be). Returns whether it
/// worked.
bool makeDeepChain(const QString &root, const QByteArray &component, int depth)
{
    int fd = ::open(QFile::encodeName(root).constData(), O_RDONLY | O_DIRECTORY);
    for (int i = 0; i < depth && fd >= 0; ++i) {
        if (::mkdirat(fd, component.constData(), 0755) != 0) {
            ::close(fd);
            return false;
        }
        const int next = ::openat(fd, component.constData(), O_RDONLY | O_DIRECTORY);
        ::close(fd);
        fd = next;
    }
    if (fd < 0)
        return false;
    const int note = ::openat(fd, "deep.md", O_WRONLY | O_CREAT | O_EXCL, 0644);
    ::close(fd);
    if (note < 0)
        return false;
    ::close(note);
    return true;
}

} // namespace

class tst_VaultScanner : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString vault() const { return m_dir.path(); }
    VaultAnalysis scanVault() const { return VaultScanner::scan(QUrl::fromLocalFile(vault())); }

private slots:
    void init() { QVERIFY(m_dir.isValid()); }
    void cleanup()
    {
        QDir(m_dir.path()).removeRecursively();
        QDir().mkpath(m_dir.path());
    }

    void imageExtensionsAreTheNine()
    {
        const QSet<QString> expected { u"png"_s, u"jpg"_s, u"jpeg"_s, u"gif"_s, u"heic"_s, u"webp"_s, u"bmp"_s,
            u"tiff"_s, u"svg"_s };
        QCOMPARE(VaultScanner::imageExtensions(), expected);
        QVERIFY(!VaultScanner::imageExtensions().contains(u"tif"_s));
        QVERIFY(!VaultScanner::imageExtensions().contains(u"pdf"_s));
    }

    void imageExtensionsBuiltOnceFromTwoThreads()
    {
        QFuture<const QSet<QString> *> a = QtConcurrent::run([] { return &VaultScanner::imageExtensions(); });
        QFuture<const QSet<QString> *> b = QtConcurrent::run([] { return &VaultScanner::imageExtensions(); });
        QCOMPARE(a.result(), b.result());
        QCOMPARE(a.result(), &VaultScanner::imageExtensions());
        QCOMPARE(a.result()->size(), 9);
    }

    void missingVaultGivesEmptyAnalysis()
    {
        const VaultAnalysis analysis = VaultScanner::scan(QUrl::fromLocalFile(vault() + u"/nowhere"_s));
        QVERIFY(analysis.notes.isEmpty());
        QVERIFY(analysis.folders.isEmpty());
        QCOMPARE(analysis.attachmentsResolved, 0);
        QCOMPARE(analysis.attachmentsMissing, 0);
    }

    void fileAsVaultGivesEmptyAnalysis()
    {
        writeFile(vault(), u"file.md"_s, "# x\n");
        const VaultAnalysis analysis = VaultScanner::scan(QUrl::fromLocalFile(vault() + u"/file.md"_s));
        QVERIFY(analysis.notes.isEmpty());
    }

    void vaultWithoutMarkdown()
    {
        writeFile(vault(), u"a.png"_s, "png");
        writeFile(vault(), u"sub/b.jpg"_s, "jpg");
        writeFile(vault(), u"readme.txt"_s, "text");
        const VaultAnalysis analysis = scanVault();
        QVERIFY(analysis.notes.isEmpty());
        QVERIFY(analysis.folders.isEmpty());
        QCOMPARE(analysis.attachmentsResolved, 0);
        QCOMPARE(analysis.attachmentsMissing, 0);
    }

    void markdownExtensions()
    {
        writeFile(vault(), u"Note.MD"_s, "a");
        writeFile(vault(), u"x.markdown"_s, "b");
        writeFile(vault(), u"y.mdx"_s, "c");
        writeFile(vault(), u"z.txt"_s, "d");
        writeFile(vault(), u"a.b.md"_s, "e");
        QCOMPARE(titles(scanVault()), (QStringList { u"a.b"_s, u"Note"_s, u"x"_s }));
    }

    void noteAtRoot()
    {
        writeFile(vault(), u"root.md"_s, "hello");
        const VaultAnalysis analysis = scanVault();
        QCOMPARE(analysis.notes.size(), 1);
        const VaultAnalysis::Note &note = analysis.notes.first();
        QVERIFY(note.relativeFolder.isEmpty());
        QVERIFY(analysis.folders.isEmpty());
        QCOMPARE(note.fileURL, QUrl::fromLocalFile(vault() + u"/root.md"_s));
        QVERIFY(!note.id.isNull());
        QVERIFY(note.imageRefs.isEmpty());
        QVERIFY(note.wikilinks.isEmpty());
        QVERIFY(!note.hasTables);
        QVERIFY(!note.hasTasks);
        QVERIFY(!note.frontmatterStripped);
    }

    void onlyTheNotesOwnFolderIsRecorded()
    {
        writeFile(vault(), u"a/b/n.md"_s, "x");
        const VaultAnalysis analysis = scanVault();
        QCOMPARE(analysis.folders, QSet<QString> { u"a/b"_s });
        QCOMPARE(analysis.notes.first().relativeFolder, (QStringList { u"a"_s, u"b"_s }));
    }

    void foldersAreDistinct()
    {
        writeFile(vault(), u"p/one.md"_s, "x");
        writeFile(vault(), u"p/two.md"_s, "x");
        writeFile(vault(), u"q/r/three.md"_s, "x");
        writeFile(vault(), u"empty/pic.png"_s, "x");
        QCOMPARE(scanVault().folders, (QSet<QString> { u"p"_s, u"q/r"_s }));
    }

    void hiddenItemsAreNeverSeen()
    {
        writeFile(vault(), u".obsidian/config.md"_s, "x");
        writeFile(vault(), u".trash/old.md"_s, "x");
        writeFile(vault(), u"sub/.hidden/deep/secret.md"_s, "x");
        writeFile(vault(), u".scratch.md"_s, "x");
        writeFile(vault(), u".hidden/pic.png"_s, "png");
        writeFile(vault(), u"sub/visible.md"_s, "![[pic.png]]");
        const VaultAnalysis analysis = scanVault();
        QCOMPARE(titles(analysis), QStringList { u"visible"_s });
        QCOMPARE(analysis.folders, QSet<QString> { u"sub"_s });
        // The image under a hidden folder is not indexed either.
        QCOMPARE(analysis.attachmentsResolved, 0);
        QCOMPARE(analysis.attachmentsMissing, 1);
    }

    void imageRefsEmbedsFirst()
    {
        writeFile(vault(), u"n.md"_s, "![[a.png]]\n![b](b.png)\n![[c.png|300]]\n");
        QCOMPARE(scanVault().notes.first().imageRefs, (QStringList { u"a.png"_s, u"c.png"_s, u"b.png"_s }));
    }

    void wikilinksAndEmbeds()
    {
        writeFile(vault(), u"n.md"_s, "[[Page|Alias]] and ![[Page]] and [[Other#Heading]] [[Page|Again]]");
        const VaultAnalysis analysis = scanVault();
        const VaultAnalysis::Note &note = analysis.notes.first();
        QCOMPARE(note.wikilinks, (QStringList { u"Page"_s, u"Other#Heading"_s, u"Page"_s }));
        QCOMPARE(note.imageRefs, QStringList { u"Page"_s });
        QCOMPARE(analysis.attachmentsMissing, 1);
    }

    void embedResolvesToAFileNamedExactly()
    {
        writeFile(vault(), u"d/n.md"_s, "![[Page]]");
        writeFile(vault(), u"d/Page"_s, "any file");
        QCOMPARE(scanVault().attachmentsResolved, 1);
    }

    void embedResolvesAtTheRoot()
    {
        writeFile(vault(), u"d/n.md"_s, "![[Page]] ![[report.pdf]]");
        writeFile(vault(), u"Page"_s, "any file");
        writeFile(vault(), u"report.pdf"_s, "pdf");
        const VaultAnalysis analysis = scanVault();
        QCOMPARE(analysis.attachmentsResolved, 2);
        QCOMPARE(analysis.attachmentsMissing, 0);
    }

    void nonImagesAreNotIndexed()
    {
        writeFile(vault(), u"d/n.md"_s, "![[report.pdf]] ![[scan.tif]]");
        writeFile(vault(), u"elsewhere/report.pdf"_s, "pdf");
        writeFile(vault(), u"elsewhere/scan.tif"_s, "tif");
        const VaultAnalysis analysis = scanVault();
        QCOMPARE(analysis.attachmentsResolved, 0);
        QCOMPARE(analysis.attachmentsMissing, 2);
    }

    void percentEscapesAreDecoded()
    {
        writeFile(vault(), u"n.md"_s, "![x](my%20photo.png) ![y](100%.png)");
        writeFile(vault(), u"my photo.png"_s, "png");
        writeFile(vault(), u"100%.png"_s, "png");
        const VaultAnalysis analysis = scanVault();
        QCOMPARE(analysis.notes.first().imageRefs, (QStringList { u"my%20photo.png"_s, u"100%.png"_s }));
        // A malformed escape is used as written.
        QCOMPARE(analysis.attachmentsResolved, 2);
    }

    void remoteImagesAreMissing()
    {
        writeFile(vault(), u"n.md"_s, "![x](https://host/a.png) ![y](http://host/a.png)");
        writeFile(vault(), u"a.png"_s, "png");
        const VaultAnalysis analysis = scanVault();
        QCOMPARE(analysis.attachmentsResolved, 0);
        QCOMPARE(analysis.attachmentsMissing, 2);
    }

    // A dropped folder must not be able to send files from elsewhere on the disk: only files inside the
    // vault, with links and ".." resolved, are ever attached.
    void imagesOutsideTheVaultAreNeverAttached()
    {
        QTemporaryDir outside;
        writeFile(outside.path(), u"secret.png"_s, "secret");
        writeFile(vault(), u"inside.png"_s, "png");
        const QString away = QDir(vault()).relativeFilePath(outside.path());
        QVERIFY(QFile::link(outside.path() + u"/secret.png"_s, vault() + u"/link.png"_s));
        const QByteArray body = "![a](" + away.toUtf8() + "/secret.png) ![b](" + away.toUtf8().replace("..", "%2e%2e")
            + "/secret.png) ![c](" + outside.path().toUtf8() + "/secret.png) ![d](file://" + outside.path().toUtf8()
            + "/secret.png) ![[link.png]] ![e](sub/../inside.png)";
        writeFile(vault(), u"sub/n.md"_s, body);
        const VaultAnalysis analysis = scanVault();
        QCOMPARE(analysis.notes.first().imageRefs.size(), 6);
        QCOMPARE(analysis.attachmentsResolved, 1);
        QCOMPARE(analysis.attachmentsMissing, 5);

        const QString canonical = VaultScanner::canonicalVaultPath(QUrl::fromLocalFile(vault()));
        const VaultScanner::ImageIndex index = VaultScanner::imageIndex(QUrl::fromLocalFile(vault()));
        const QString noteFolder = vault() + u"/sub"_s;
        for (const QString &ref : analysis.notes.first().imageRefs.first(5)) {
            const VaultScanner::ImageResolution image = VaultScanner::resolveImage(ref, noteFolder, canonical, index);
            QVERIFY2(!image.file, qPrintable(ref));
            QCOMPARE(image.reason, u"outside the folder"_s);
        }
    }

    void onlyReadableRegularFilesAreAttached()
    {
        writeFile(vault(), u"n.md"_s, "![[pipe.png]] ![[dir.png]] ![[ok.png]]");
        QCOMPARE(::mkfifo(QFile::encodeName(vault() + u"/pipe.png"_s).constData(), 0644), 0);
        makeDir(vault(), u"dir.png"_s);
        writeFile(vault(), u"ok.png"_s, "png");
        const VaultAnalysis analysis = scanVault();
        QCOMPARE(analysis.attachmentsResolved, 1);
        QCOMPARE(analysis.attachmentsMissing, 2);
        const QString canonical = VaultScanner::canonicalVaultPath(QUrl::fromLocalFile(vault()));
        const VaultScanner::ImageResolution pipe
            = VaultScanner::resolveImage(u"pipe.png"_s, vault(), canonical, VaultScanner::ImageIndex());
        QCOMPARE(pipe.reason, u"not a regular file"_s);
        QCOMPARE(
            VaultScanner::missingImageEntry(u"n"_s, u"pipe.png"_s, pipe.reason), u"n: pipe.png (not a regular file)"_s);
        QCOMPARE(VaultScanner::missingImageEntry(u"n"_s, u"gone.png"_s, QString()), u"n: gone.png"_s);
    }

    // The image list holds each target as written in the file, so targets with "&" or quotes resolve.
    void escapedCharactersInImageTargetsResolve()
    {
        writeFile(vault(), u"n.md"_s, "![[a&b.png]] ![x](c'd.png)");
        writeFile(vault(), u"a&b.png"_s, "png");
        writeFile(vault(), u"c'd.png"_s, "png");
        QCOMPARE(scanVault().attachmentsResolved, 2);
    }

    // The counts come from what the migration will attach: an image written inside code, or cut in two by
    // a table's cell bars, is neither attached nor missing, though the reference is still listed.
    void imagesAreCountedAsTheMigrationAttachesThem()
    {
        writeFile(vault(), u"n.md"_s, "```\n![[a.png]]\n```\n| ![[a.png|300]] |\n![[a.png]]\n");
        writeFile(vault(), u"a.png"_s, "png");
        const VaultAnalysis analysis = scanVault();
        QCOMPARE(analysis.notes.first().imageRefs, (QStringList { u"a.png"_s, u"a.png"_s, u"a.png"_s }));
        QCOMPARE(analysis.attachmentsResolved, 1);
        QCOMPARE(analysis.attachmentsMissing, 0);
    }

    void imageWithTitleIsMissing()
    {
        writeFile(vault(), u"n.md"_s, "![x](img/a.png 'Title')");
        writeFile(vault(), u"img/a.png"_s, "png");
        const VaultAnalysis analysis = scanVault();
        QCOMPARE(analysis.notes.first().imageRefs, QStringList { u"img/a.png 'Title'"_s });
        QCOMPARE(analysis.attachmentsMissing, 1);
    }

    void indexFindsImagesAnywhereCaseInsensitively()
    {
        writeFile(vault(), u"notes/n.md"_s, "![[Photo.PNG]] ![p](deep/path/PHOTO.png)");
        writeFile(vault(), u"attachments/photo.png"_s, "png");
        const VaultAnalysis analysis = scanVault();
        QCOMPARE(analysis.attachmentsResolved, 2);
        QCOMPARE(analysis.attachmentsMissing, 0);
    }

    void referencesCountOneByOne()
    {
        writeFile(vault(), u"n.md"_s, "![[a.png]] ![[a.png]] ![[gone.png]]");
        writeFile(vault(), u"m.md"_s, "![[a.png]]");
        writeFile(vault(), u"a.png"_s, "png");
        const VaultAnalysis analysis = scanVault();
        QCOMPARE(analysis.attachmentsResolved, 3);
        QCOMPARE(analysis.attachmentsMissing, 1);
    }

    // The walk takes each folder's entries in name order, so the same vault always indexes the same file,
    // whatever order the file system lists them in.
    void imageIndexLastInNameOrderWins()
    {
        writeFile(vault(), u"c/x.PNG"_s, "c");
        writeFile(vault(), u"a/x.png"_s, "a");
        writeFile(vault(), u"b/X.png"_s, "b");
        const VaultScanner::ImageIndex index = VaultScanner::imageIndex(QUrl::fromLocalFile(vault()));
        QCOMPARE(index.size(), 1);
        QCOMPARE(index.value(u"x.png"_s), vault() + u"/c/x.PNG"_s);
    }

    void imageIndexSkipsHiddenAndNonImages()
    {
        writeFile(vault(), u".hidden/a.png"_s, "a");
        writeFile(vault(), u"doc.pdf"_s, "pdf");
        writeFile(vault(), u"b.svg"_s, "svg");
        writeFile(vault(), u"c.TIFF"_s, "tiff");
        const VaultScanner::ImageIndex index = VaultScanner::imageIndex(QUrl::fromLocalFile(vault()));
        QCOMPARE(QSet<QString>(index.keyBegin(), index.keyEnd()), (QSet<QString> { u"b.svg"_s, u"c.tiff"_s }));
        QVERIFY(VaultScanner::imageIndex(QUrl::fromLocalFile(vault() + u"/nowhere"_s)).isEmpty());
    }

    // A folder named like an image is indexed, but only a regular file is ever attached.
    void folderNamedLikeAnImageIsNotAttached()
    {
        makeDir(vault(), u"odd/pic.png"_s);
        writeFile(vault(), u"n.md"_s, "![[pic.png]]");
        const VaultAnalysis analysis = scanVault();
        QCOMPARE(analysis.attachmentsResolved, 0);
        QCOMPARE(analysis.attachmentsMissing, 1);
    }

    void folderNamedLikeANoteIsDropped()
    {
        writeFile(vault(), u"folder.md/inner.md"_s, "x");
        const VaultAnalysis analysis = scanVault();
        QCOMPARE(titles(analysis), QStringList { u"inner"_s });
        QCOMPARE(analysis.folders, QSet<QString> { u"folder.md"_s });
    }

    void unreadableFilesAreCountedWithTheirReason()
    {
        writeFile(vault(), u"good.md"_s, "fine");
        writeFile(vault(), u"latin1.md"_s, QByteArray("caf\xe9 cr\xe8me", 10));
        writeFile(vault(), u"sub/binary.markdown"_s, QByteArray("\x89PNG\r\n\x1a\n\xff\xfe", 10));
        QVERIFY(QFile::link(vault() + u"/nowhere.md"_s, vault() + u"/broken.md"_s));
        const VaultAnalysis analysis = scanVault();
        QCOMPARE(titles(analysis), QStringList { u"good"_s });
        QCOMPARE(analysis.unreadable,
            (Pairs { { u"broken.md"_s, u"no such file or folder"_s }, { u"latin1.md"_s, u"not UTF-8 text"_s },
                { u"sub/binary.markdown"_s, u"not UTF-8 text"_s } }));
    }

    // A FIFO named like a note would make a read wait for ever; a device would never end. Neither is
    // opened. (Should the FIFO be opened, this test hangs until the time-out of CTest ends it.)
    void fifosDevicesAndFoldersNamedLikeNotesAreNeverOpened()
    {
        writeFile(vault(), u"good.md"_s, "fine");
        QCOMPARE(::mkfifo(QFile::encodeName(vault() + u"/pipe.md"_s).constData(), 0644), 0);
        QVERIFY(QFile::link(u"/dev/zero"_s, vault() + u"/zero.md"_s));
        makeDir(vault(), u"folder.md"_s);
        const VaultAnalysis analysis = scanVault();
        QCOMPARE(titles(analysis), QStringList { u"good"_s });
        QCOMPARE(analysis.unreadable,
            (Pairs { { u"folder.md"_s, u"not a regular file"_s }, { u"pipe.md"_s, u"not a regular file"_s },
                { u"zero.md"_s, u"not a regular file"_s } }));
    }

    // A link named like a note is read only when it leads to a file inside the vault.
    void linkedNotesAreReadOnlyInsideTheVault()
    {
        QTemporaryDir outside;
        writeFile(outside.path(), u"secret.md"_s, "secret");
        writeFile(vault(), u"real/inside.md"_s, "inside");
        QVERIFY(QFile::link(outside.path() + u"/secret.md"_s, vault() + u"/out.md"_s));
        QVERIFY(QFile::link(vault() + u"/real/inside.md"_s, vault() + u"/alias.md"_s));
        const VaultAnalysis analysis = scanVault();
        QCOMPARE(titles(analysis), (QStringList { u"alias"_s, u"inside"_s }));
        QCOMPARE(analysis.unreadable, (Pairs { { u"out.md"_s, u"outside the folder"_s } }));
    }

    void unreadableFolderIsListed()
    {
        writeFile(vault(), u"good.md"_s, "fine");
        writeFile(vault(), u"closed/hidden away.md"_s, "secret");
        QVERIFY(QFile::setPermissions(vault() + u"/closed"_s, QFileDevice::Permissions()));
        QVERIFY(QFile::setPermissions(vault(),
            QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner | QFileDevice::ReadOther
                | QFileDevice::ExeOther));
        VaultAnalysis analysis;
        {
            const TestUtil::Unprivileged unprivileged;
            QVERIFY(unprivileged.enforced());
            analysis = scanVault();
        }
        QFile::setPermissions(
            vault() + u"/closed"_s, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        QCOMPARE(titles(analysis), QStringList { u"good"_s });
        QCOMPARE(analysis.unreadable, (Pairs { { u"closed/"_s, u"permission denied"_s } }));
    }

    void pathTooLongIsListed()
    {
        // 25 levels of 200 characters: past the longest path the system opens.
        const QByteArray component(200, 'd');
        QVERIFY(makeDeepChain(vault(), component, 25));
        writeFile(vault(), u"good.md"_s, "fine");
        const VaultAnalysis analysis = scanVault();
        QProcess::execute(u"rm"_s, { u"-rf"_s, vault() + u'/' + QString::fromLatin1(component) });
        QCOMPARE(titles(analysis), QStringList { u"good"_s });
        QCOMPARE(analysis.unreadable.size(), 1);
        QCOMPARE(analysis.unreadable[0].second, u"path too long"_s);
        QVERIFY(analysis.unreadable[0].first.startsWith(QString::fromLatin1(component) + u'/'));
        QVERIFY(analysis.unreadable[0].first.endsWith(u'/'));
    }

    // Two notes that would get one name in one Notes folder are both kept: the later ones in path order
    // are numbered, skipping numbers already taken, without regard to case. The same vault always gives
    // the same names.
    void notesWithOneNameInOneNotesFolderAreNumbered()
    {
        writeFile(vault(), u"x.md"_s, "1");
        writeFile(vault(), u"x.markdown"_s, "2");
        writeFile(vault(), u"X (2).md"_s, "3");
        writeFile(vault(), u"A/B/n.md"_s, "4");
        writeFile(vault(), u"A ▸ B/n.md"_s, "5");
        writeFile(vault(), u"A ▸ B/N.md"_s, "6");
        writeFile(vault(), u"C/n.md"_s, "7");
        const VaultAnalysis analysis = scanVault();
        QCOMPARE(named(analysis),
            (QStringList { u"A ▸ B|N|N.md"_s, u"C|n|n.md"_s, u"A ▸ B|n (2)|n.md|renamed"_s, u"A/B|n (3)|n.md|renamed"_s,
                u"|x|x.markdown"_s, u"|X (2)|X (2).md"_s, u"|x (3)|x.md|renamed"_s }));
        QCOMPARE(analysis.titlesRenamed, 3);
        QCOMPARE(named(scanVault()), named(analysis));
    }

    void fileWithoutReadPermissionIsListed()
    {
        writeFile(vault(), u"good.md"_s, "fine");
        writeFile(vault(), u"locked.md"_s, "secret");
        QVERIFY(QFile::setPermissions(vault() + u"/locked.md"_s, QFileDevice::Permissions()));
        // The walk must be able to enter the folder as the unprivileged user.
        QVERIFY(QFile::setPermissions(vault(),
            QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner | QFileDevice::ReadOther
                | QFileDevice::ExeOther));
        VaultAnalysis analysis;
        {
            const TestUtil::Unprivileged unprivileged;
            QVERIFY(unprivileged.enforced());
            analysis = scanVault();
        }
        QCOMPARE(titles(analysis), QStringList { u"good"_s });
        QCOMPARE(analysis.unreadable, (Pairs { { u"locked.md"_s, u"permission denied"_s } }));
        QFile::setPermissions(vault() + u"/locked.md"_s, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    }

    void symlinkLoopIsNotFollowed()
    {
        writeFile(vault(), u"a/n.md"_s, "x");
        QVERIFY(QFile::link(vault() + u"/a"_s, vault() + u"/a/loop"_s));
        QVERIFY(QFile::link(vault(), vault() + u"/a/up"_s));
        const VaultAnalysis analysis = scanVault();
        QCOMPARE(titles(analysis), QStringList { u"n"_s });
    }

    void crlfFile()
    {
        writeFile(vault(), u"n.md"_s, "---\r\ntitle: x\r\n---\r\n| a |\r\n- [ ] t\r\n");
        const VaultAnalysis analysis = scanVault();
        const VaultAnalysis::Note &note = analysis.notes.first();
        QVERIFY(!note.frontmatterStripped);
        QVERIFY(note.hasTables);
        QVERIFY(note.hasTasks);
    }

    // A byte-order mark is not part of the text, so a block right after it is still frontmatter.
    void byteOrderMark()
    {
        writeFile(vault(), u"n.md"_s, "\xEF\xBB\xBF---\ntitle: x\n---\n[[Link]]");
        const VaultAnalysis analysis = scanVault();
        const VaultAnalysis::Note &note = analysis.notes.first();
        QVERIFY(note.frontmatterStripped);
        QCOMPARE(note.wikilinks, QStringList { u"Link"_s });
    }

    void testsLookAtTheBodyOnly()
    {
        writeFile(vault(), u"n.md"_s, "---\ncover: \"![[fm.png]]\"\nlink: \"[[FM]]\"\ntags:\n- [x]\n---\nbody");
        const VaultAnalysis analysis = scanVault();
        const VaultAnalysis::Note &note = analysis.notes.first();
        QVERIFY(note.frontmatterStripped);
        QVERIFY(note.imageRefs.isEmpty());
        QVERIFY(note.wikilinks.isEmpty());
        QVERIFY(!note.hasTasks);
    }

    void hasTables_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("tables");
        QTest::addRow("first line") << QByteArray("| a |") << true;
        QTest::addRow("later line") << QByteArray("text\n|a|b|") << true;
        QTest::addRow("bar without closing") << QByteArray("x\n|") << true;
        QTest::addRow("indented") << QByteArray("  | a |\n\t| b |") << false;
        QTest::addRow("inside a line") << QByteArray("a | b") << false;
    }
    void hasTables()
    {
        QFETCH(QByteArray, body);
        QFETCH(bool, tables);
        writeFile(vault(), u"n.md"_s, body);
        QCOMPARE(scanVault().notes.first().hasTables, tables);
    }

    void hasTasks_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("tasks");
        QTest::addRow("dash open") << QByteArray("x\n- [ ] a") << true;
        QTest::addRow("star done") << QByteArray("* [x] a") << true;
        QTest::addRow("indented upper") << QByteArray("text\n\t  - [X] a") << true;
        QTest::addRow("no text after") << QByteArray("- [ ]") << true;
        QTest::addRow("plus") << QByteArray("+ [ ] a") << false;
        QTest::addRow("numbered") << QByteArray("1. [ ] a") << false;
        QTest::addRow("mid-line") << QByteArray("see - [ ] a") << false;
        QTest::addRow("other box") << QByteArray("- [-] a") << false;
    }
    void hasTasks()
    {
        QFETCH(QByteArray, body);
        QFETCH(bool, tasks);
        writeFile(vault(), u"n.md"_s, body);
        QCOMPARE(scanVault().notes.first().hasTasks, tasks);
    }

    void stripFrontmatter_data()
    {
        QTest::addColumn<QString>("content");
        QTest::addColumn<QString>("body");
        QTest::addColumn<bool>("stripped");

        QString yaml29;
        for (int i = 0; i < 29; ++i)
            yaml29 += u"k%1: v\n"_s.arg(i);

        QTest::addRow("simple") << u"---\ntitle: x\n---\nbody"_s << u"body"_s << true;
        QTest::addRow("blank line after the block stays") << u"---\na: 1\n---\n\nbody"_s << u"\nbody"_s << true;
        QTest::addRow("empty block") << u"---\n---\nbody"_s << u"body"_s << true;
        QTest::addRow("nothing after the block") << u"---\na: 1\n---"_s << QString() << true;
        QTest::addRow("closing fence at line index 30") << u"---\n"_s + yaml29 + u"---\nbody"_s << u"body"_s << true;
        QTest::addRow("closing fence at line index 31")
            << u"---\n"_s + yaml29 + u"k: v\n---\nbody"_s << u"---\n"_s + yaml29 + u"k: v\n---\nbody"_s << false;
        QTest::addRow("prose line") << u"---\ntitle: x\nJust some text\n---\nbody"_s
                                    << u"---\ntitle: x\nJust some text\n---\nbody"_s << false;
        QTest::addRow("fences with spaces") << u"  ---  \na: 1\n\t---\nbody"_s << u"body"_s << true;
        QTest::addRow("CRLF never stripped")
            << u"---\r\na: 1\r\n---\r\nbody"_s << u"---\r\na: 1\r\n---\r\nbody"_s << false;
        QTest::addRow("no closing fence") << u"---\na: 1\nbody"_s << u"---\na: 1\nbody"_s << false;
        QTest::addRow("not at the start") << u"\n---\na: 1\n---\nbody"_s << u"\n---\na: 1\n---\nbody"_s << false;
        QTest::addRow("yaml line kinds")
            << u"---\n\nkey: v\n  continued\n\tcontinued\n- item\n-\n# comment\nkey.with-dots_and spaces: v\n"
               "url: http://x/y\nclé: v\n---\nbody"_s
            << u"body"_s << true;
        QTest::addRow("key holding a slash") << u"---\na/b: c\n---\nbody"_s << u"---\na/b: c\n---\nbody"_s << false;
        QTest::addRow("empty key") << u"---\n: c\n---\nbody"_s << u"---\n: c\n---\nbody"_s << false;
        QTest::addRow("dash without space") << u"---\n-x\n---\nbody"_s << u"---\n-x\n---\nbody"_s << false;
        QTest::addRow("horizontal rule, not a fence") << u"---"_s << u"---"_s << false;
        QTest::addRow("no frontmatter") << u"# Title\ntext"_s << u"# Title\ntext"_s << false;
        QTest::addRow("empty") << QString() << QString() << false;
    }
    void stripFrontmatter()
    {
        QFETCH(QString, content);
        QFETCH(QString, body);
        QFETCH(bool, stripped);
        const auto [text, wasStripped] = VaultScanner::stripFrontmatter(content);
        QCOMPARE(text, body);
        QCOMPARE(wasStripped, stripped);
    }

    void relativeFolders_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("vault");
        QTest::addColumn<QStringList>("folders");
        QTest::addRow("root") << u"/v/n.md"_s << u"/v"_s << QStringList();
        QTest::addRow("nested") << u"/v/a/b/n.md"_s << u"/v"_s << QStringList { u"a"_s, u"b"_s };
        QTest::addRow("trailing slash on the vault") << u"/v/a/n.md"_s << u"/v/"_s << QStringList { u"a"_s };
        QTest::addRow("dot segments") << u"/v/a/./b/../c/n.md"_s << u"/x/../v"_s << QStringList { u"a"_s, u"c"_s };
        QTest::addRow("only counts are compared") << u"/other/a/n.md"_s << u"/v"_s << QStringList { u"a"_s };
        QTest::addRow("file above the vault") << u"/n.md"_s << u"/v/w"_s << QStringList();
    }
    void relativeFolders()
    {
        QFETCH(QString, file);
        QFETCH(QString, vault);
        QFETCH(QStringList, folders);
        QCOMPARE(VaultScanner::relativeFolders(QUrl::fromLocalFile(file), QUrl::fromLocalFile(vault)), folders);
    }

    void matches()
    {
        QCOMPARE(VaultScanner::matches(u"[[a]] [[b|c]]"_s, u"\\[\\[([^\\]|]+?)(?:\\|[^\\]]*)?\\]\\]"_s),
            (QStringList { u"a"_s, u"b"_s }));
        QCOMPARE(VaultScanner::matches(u"x x"_s, u"x"_s), QStringList());
        QCOMPARE(VaultScanner::matches(u"x"_s, u"(x"_s), QStringList());
        QCOMPARE(VaultScanner::matches(u"  a "_s, u"(\\s*a\\s*)"_s), QStringList { u"  a "_s });
    }

    void titlesSortLocaleAwareAndCaseInsensitive()
    {
        writeFile(vault(), u"Banana.md"_s, "x");
        writeFile(vault(), u"apple.md"_s, "x");
        writeFile(vault(), u"Élan.md"_s, "x");
        writeFile(vault(), u"zebra.md"_s, "x");
        QCOMPARE(titles(scanVault()), (QStringList { u"apple"_s, u"Banana"_s, u"Élan"_s, u"zebra"_s }));
    }

    // Equal titles keep the order of the walk, which takes the entries of each folder in name order.
    void equalTitlesKeepWalkOrder()
    {
        writeFile(vault(), u"y/B.md"_s, "upper");
        writeFile(vault(), u"x/b.md"_s, "lower");
        const VaultAnalysis analysis = scanVault();
        QCOMPARE(analysis.notes.size(), 2);
        QCOMPARE(analysis.notes[0].fileURL.toLocalFile(), vault() + u"/x/b.md"_s);
        QCOMPARE(analysis.notes[1].fileURL.toLocalFile(), vault() + u"/y/B.md"_s);
    }

    void idsAreFreshAtEachScan()
    {
        writeFile(vault(), u"a.md"_s, "x");
        writeFile(vault(), u"b.md"_s, "x");
        const VaultAnalysis first = scanVault();
        const VaultAnalysis second = scanVault();
        QVERIFY(first.notes[0].id != first.notes[1].id);
        QVERIFY(first.notes[0].id != second.notes[0].id);
    }

    void scanOnlyReads()
    {
        writeFile(vault(), u"a/n.md"_s, "---\na: 1\n---\n![[p.png]]");
        writeFile(vault(), u"a/p.png"_s, "png");
        const auto before = TestUtil::hashTree(vault());
        scanVault();
        QCOMPARE(TestUtil::hashTree(vault()), before);
    }

    // A prepared note is the note's text as it is now, rendered, with its images resolved; the analysis
    // counts the same images.
    void prepareRendersTheFileAndResolvesItsImages()
    {
        writeFile(vault(), u"Trips/Beach.md"_s,
            "---\ntags: [sea]\n---\n# Beach\n![[sand.png]]\n![x](https://example.com/a.png) [[Sea]]\n"
            "![s](../assets/map%20one.png)\n![[Shell.PNG]]\n![[folder.png]]\n![[sand.png]]\n");
        writeFile(vault(), u"Trips/sand.png"_s, "png");
        writeFile(vault(), u"assets/map one.png"_s, "png");
        writeFile(vault(), u"deep/shell.png"_s, "png");
        makeDir(vault(), u"folder.png"_s);
        const VaultAnalysis analysis = scanVault();
        QCOMPARE(analysis.notes.size(), 1);
        const std::optional<VaultScanner::PreparedNote> prepared
            = VaultScanner::prepare(analysis.notes.first(), QUrl::fromLocalFile(vault()));
        QVERIFY(prepared);
        QCOMPARE(prepared->html,
            MarkdownLite::convert(u"# Beach\n![[sand.png]]\n![x](https://example.com/a.png) [[Sea]]\n"
                                  "![s](../assets/map%20one.png)\n![[Shell.PNG]]\n![[folder.png]]\n![[sand.png]]\n"_s)
                .html);
        QCOMPARE(prepared->attachments,
            (QStringList { vault() + u"/Trips/sand.png"_s, vault() + u"/assets/map one.png"_s,
                vault() + u"/deep/shell.png"_s, vault() + u"/Trips/sand.png"_s }));
        QCOMPARE(prepared->imagesMissing,
            (QStringList { u"Beach: https://example.com/a.png"_s, u"Beach: folder.png (not a regular file)"_s }));
        QCOMPARE(analysis.attachmentsResolved, 4);
        QCOMPARE(analysis.attachmentsMissing, 2);
    }

    // The file is read when the note is prepared: an edit since the scan shows, a file gone gives nothing.
    // Its frontmatter is removed only when the scan found some.
    void prepareReadsTheFileAsItIsNow()
    {
        writeFile(vault(), u"Edited.md"_s, "---\na: 1\n---\nbefore\n");
        writeFile(vault(), u"Gone.md"_s, "soon gone\n");
        writeFile(vault(), u"Plain.md"_s, "plain\n");
        const VaultAnalysis analysis = scanVault();
        QCOMPARE(titles(analysis), (QStringList { u"Edited"_s, u"Gone"_s, u"Plain"_s }));
        writeFile(vault(), u"Edited.md"_s, "---\nb: 2\n---\nafter\n");
        QVERIFY(QFile::remove(vault() + u"/Gone.md"_s));
        writeFile(vault(), u"Plain.md"_s, "---\nc: 3\n---\nnow with a block\n");
        const QUrl url = QUrl::fromLocalFile(vault());
        QCOMPARE(VaultScanner::prepare(analysis.notes[0], url).value().html, MarkdownLite::convert(u"after\n"_s).html);
        QVERIFY(!VaultScanner::prepare(analysis.notes[1], url));
        QCOMPARE(VaultScanner::prepare(analysis.notes[2], url).value().html,
            MarkdownLite::convert(u"---\nc: 3\n---\nnow with a block\n"_s).html);
    }

    // The vault is not walked again: the index of the scan finds images, beside the note and at the root
    // the folder is looked at as it is now.
    void prepareUsesTheIndexOfTheScan()
    {
        writeFile(vault(), u"Notes/n.md"_s,
            "![[kept.png]]\n![[removed.png]]\n![[late.png]]\n![[beside.png]]\n![[top.png]]\n");
        writeFile(vault(), u"pics/kept.png"_s, "png");
        writeFile(vault(), u"pics/removed.png"_s, "png");
        const VaultAnalysis analysis = scanVault();
        QCOMPARE(analysis.attachmentsResolved, 2);
        QCOMPARE(analysis.attachmentsMissing, 3);
        QVERIFY(QFile::remove(vault() + u"/pics/removed.png"_s));
        writeFile(vault(), u"pics/late.png"_s, "png");
        writeFile(vault(), u"Notes/beside.png"_s, "png");
        writeFile(vault(), u"top.png"_s, "png");
        const std::optional<VaultScanner::PreparedNote> prepared
            = VaultScanner::prepare(analysis.notes.first(), QUrl::fromLocalFile(vault()));
        QVERIFY(prepared);
        QCOMPARE(prepared->attachments,
            (QStringList { vault() + u"/pics/kept.png"_s, vault() + u"/Notes/beside.png"_s, vault() + u"/top.png"_s }));
        QCOMPARE(prepared->imagesMissing, (QStringList { u"n: removed.png"_s, u"n: late.png"_s }));
    }

    // Every note carries the index of its scan, so a note taken into another analysis still finds its
    // images; a note that no scan made finds them only beside it and at the root.
    void notesCarryTheIndexOfTheirScan()
    {
        writeFile(vault(), u"a.md"_s, "![[deep.png]]\n![[top.png]]\n");
        writeFile(vault(), u"b.md"_s, "x");
        writeFile(vault(), u"x/y/deep.png"_s, "png");
        writeFile(vault(), u"top.png"_s, "png");
        const VaultAnalysis analysis = scanVault();
        QCOMPARE(analysis.notes.size(), 2);
        // One index, shared by the notes of the scan, and the same as a walk of the vault gives.
        QVERIFY(analysis.notes[0].vaultImages);
        QVERIFY(analysis.notes[0].vaultImages == analysis.notes[1].vaultImages);
        QVERIFY(*analysis.notes[0].vaultImages == VaultScanner::imageIndex(QUrl::fromLocalFile(vault())));

        VaultAnalysis part;
        part.notes = analysis.notes.mid(0, 1);
        const QUrl url = QUrl::fromLocalFile(vault());
        QCOMPARE(VaultScanner::prepare(part.notes.first(), url).value().attachments,
            (QStringList { vault() + u"/x/y/deep.png"_s, vault() + u"/top.png"_s }));

        VaultAnalysis::Note byHand;
        byHand.fileURL = analysis.notes[0].fileURL;
        byHand.title = u"a"_s;
        const std::optional<VaultScanner::PreparedNote> prepared = VaultScanner::prepare(byHand, url);
        QCOMPARE(prepared.value().attachments, QStringList { vault() + u"/top.png"_s });
        QCOMPARE(prepared.value().imagesMissing, QStringList { u"a: deep.png"_s });
    }

    // The example vault that the README's run command analyses.
    void exampleVault()
    {
        const VaultAnalysis analysis
            = VaultScanner::scan(QUrl::fromLocalFile(QStringLiteral(VELLORAN_SOURCE_DIR "/examples/vault")));
        QCOMPARE(analysis.notes.size(), 12);
        QCOMPARE(
            analysis.folders, (QSet<QString> { u"Projects"_s, u"Projects/2024/Q1"_s, u"Journal"_s, u"Reference"_s }));
        QCOMPARE(analysis.attachmentsResolved, 4);
        QCOMPARE(analysis.attachmentsMissing, 3);
    }
};

QTEST_GUILESS_MAIN(tst_VaultScanner)
#include "tst_VaultScanner.moc"
