// Tests of the export writer: file names, the destination check, de-duplication, file content, failures
// that do not stop a run, and progress reports. Every test writes into its own temporary folder.

#include "ExportConversion_p.h"
#include "HtmlToMarkdown.h"
#include "NotesExporter.h"
#include "NotesExporterWrite_p.h"
#include "Presentation.h"
#include "TestUtil.h"

#include "Text.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <cstring>
#include <functional>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace Qt::StringLiterals;
using NotesExporter::NoteRecord;
using NotesExporter::Result;

namespace {

using Failures = QList<std::pair<QString, QString>>;
using ProgressCalls = QList<std::pair<double, QString>>;

/// The system's text for an errno value, as the file layer reports it.
QString systemText(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

QByteArray readAll(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QByteArrayLiteral("<unreadable>");
    return file.readAll();
}

bool writeBytes(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

/// Every file and folder below `root`, as sorted relative paths; folders end with "/".
QStringList tree(const QString &root)
{
    QStringList entries;
    QDirIterator it(
        root, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        entries.append(QDir(root).relativeFilePath(path) + (it.fileInfo().isDir() ? u"/"_s : QString()));
    }
    entries.sort();
    return entries;
}

/// A temporary folder that an unprivileged user may enter and write into.
struct Workspace
{
    QTemporaryDir dir;
    Workspace()
    {
        QFile::setPermissions(dir.path(),
            QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadOther | QFile::WriteOther
                | QFile::ExeOther);
    }
    QString path(const QString &relative = QString()) const
    {
        return relative.isEmpty() ? dir.path() : dir.path() + u'/' + relative;
    }
    QUrl url(const QString &relative = QString()) const { return QUrl::fromLocalFile(path(relative)); }
};

const QFile::Permissions readOnlyFolder
    = QFile::ReadOwner | QFile::ExeOwner | QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther;
const QFile::Permissions openFolder = readOnlyFolder | QFile::WriteOwner | QFile::WriteGroup | QFile::WriteOther;

/// The pages of the small file system that the full-disk tests fill.
constexpr int smallFileSystemPages = 16;

/// Runs `body` in a child process that mounts a tmpfs of smallFileSystemPages pages at `mountPoint`, in a
/// mount namespace of its own (so that nothing outside the test sees it), and gives back what `body`
/// returns plus "files": every file left on the tmpfs (hidden ones included) with its contents in base64.
/// When no tmpfs can be mounted here, gives only "skip": why not.
QJsonObject inSmallFileSystem(const QString &mountPoint, const std::function<QJsonObject()> &body)
{
    int channel[2];
    if (::pipe(channel) != 0)
        return { { u"skip"_s, u"no pipe: "_s + systemText(errno) } };
    const pid_t child = ::fork();
    if (child < 0)
        return { { u"skip"_s, u"no child process: "_s + systemText(errno) } };
    if (child == 0) {
        ::close(channel[0]);
        const auto report = [&](const QJsonObject &outcome) {
            const QByteArray bytes = QJsonDocument(outcome).toJson(QJsonDocument::Compact);
            for (qsizetype done = 0; done < bytes.size();) {
                const ssize_t count = ::write(channel[1], bytes.constData() + done, size_t(bytes.size() - done));
                if (count <= 0)
                    break;
                done += count;
            }
            ::_exit(0);
        };
        const auto skip = [&](const QString &what) { report({ { u"skip"_s, what + u": "_s + systemText(errno) } }); };
        if (::unshare(CLONE_NEWNS) != 0) {
            // Not privileged: a user namespace of our own gives the right to mount a tmpfs.
            const QByteArray uid = QByteArray::number(::getuid());
            const QByteArray gid = QByteArray::number(::getgid());
            if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
                skip(u"no mount namespace (unshare)"_s);
            writeBytes(u"/proc/self/setgroups"_s, "deny");
            writeBytes(u"/proc/self/uid_map"_s, "0 " + uid + " 1\n");
            writeBytes(u"/proc/self/gid_map"_s, "0 " + gid + " 1\n");
        }
        if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
            skip(u"cannot make the mounts private"_s);
        const QByteArray size = "size=" + QByteArray::number(qint64(smallFileSystemPages) * ::sysconf(_SC_PAGESIZE));
        if (::mount("tmpfs", QFile::encodeName(mountPoint).constData(), "tmpfs", MS_NOSUID | MS_NODEV, size.constData())
            != 0)
            skip(u"cannot mount a tmpfs"_s);
        QJsonObject outcome = body();
        QJsonObject files;
        QDirIterator it(mountPoint, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString path = it.next();
            files.insert(QDir(mountPoint).relativeFilePath(path), QString::fromLatin1(readAll(path).toBase64()));
        }
        outcome.insert(u"files"_s, files);
        report(outcome);
    }
    ::close(channel[1]);
    QByteArray bytes;
    char buffer[4096];
    for (;;) {
        const ssize_t count = ::read(channel[0], buffer, sizeof buffer);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        bytes.append(buffer, count);
    }
    ::close(channel[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        return { { u"crashed"_s, status } };
    return QJsonDocument::fromJson(bytes).object();
}

QJsonArray failuresJson(const Failures &failures)
{
    QJsonArray array;
    for (const auto &[name, reason] : failures)
        array.append(QJsonArray { name, reason });
    return array;
}

/// Notes for the small file system: seven of a little over two and a half pages each (three pages on the
/// disk), then a small one. Five big ones fill fifteen of the sixteen pages; the sixth and the seventh
/// get one page and fail; the small one still fits in that page.
QList<NoteRecord> notesForASmallDisk()
{
    QList<NoteRecord> notes;
    const long page = ::sysconf(_SC_PAGESIZE);
    for (int i = 1; i <= 7; ++i)
        notes.append({ u"F"_s, u"Big %1"_s.arg(i), u"<div>"_s + QString(2 * page + page / 2, u'x') + u"</div>"_s });
    notes.append({ u"F"_s, u"Small"_s, u"<div>small</div>"_s });
    return notes;
}

/// A note with a Notes id, as the read that links notes gives it.
NoteRecord noteWithId(const QString &folder, const QString &name, const QString &html, const QString &id)
{
    NoteRecord note { folder, name, html };
    note.id = u"x-coredata://FakeNotes/ICNote/"_s + id;
    return note;
}

/// An image as Notes holds it in a body: a self-closing tag with a base64 data URI.
QString dataImage(const QString &mediaType, const QByteArray &bytes)
{
    return u"<div><img style=\"max-width: 100%;\" src=\"data:"_s + mediaType + u";base64,"_s
        + QString::fromLatin1(bytes.toBase64()) + u"\"/><br></div>"_s;
}

/// The images that a Markdown file refers to, each read from the path written, percent-decoded and
/// taken from the file's own folder, as an editor opens it.
QList<QByteArray> imagesReferencedBy(const QString &markdownPath)
{
    static const QRegularExpression image(u"!\\[[^\\]]*\\]\\(([^)]*)\\)"_s);
    const QString markdown = QString::fromUtf8(readAll(markdownPath));
    const QDir folder = QFileInfo(markdownPath).dir();
    QList<QByteArray> images;
    for (const QRegularExpressionMatch &match : image.globalMatch(markdown))
        images.append(readAll(folder.filePath(QUrl::fromPercentEncoding(match.captured(1).toUtf8()))));
    return images;
}

NotesExporter::ExportOptions imagesAsFiles()
{
    NotesExporter::ExportOptions options;
    options.imagesAsFiles = true;
    return options;
}

QByteArray contentOf(const NoteRecord &note)
{
    return NotesExporter::fileContent(note.name, HtmlToMarkdown::convert(note.html)).toUtf8();
}

} // namespace

class tst_NotesExporterWrite : public QObject
{
    Q_OBJECT

private slots:
    // File names

    void sanitizeFilename_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("sanitized");
        QTest::addRow("plain") << u"Meeting notes"_s << u"Meeting notes"_s;
        QTest::addRow("nine characters") << u"a/b\\c:d*e?f\"g<h>i|j"_s << u"a-b-c-d-e-f-g-h-i-j"_s;
        QTest::addRow("slash with a mark is still replaced") << u"a/\u0301b"_s << u"a-\u0301b"_s;
        QTest::addRow("date") << u"Meeting: 10/12"_s << u"Meeting- 10-12"_s;
        QTest::addRow("white space runs") << u"a \t\n\r\n b"_s << u"a b"_s;
        QTest::addRow("ideographic space") << u"a\u3000b"_s << u"a b"_s;
        QTest::addRow("trimmed") << u"  x \n"_s << u"x"_s;
        QTest::addRow("no-break space trimmed") << u"\u00A0x\u00A0"_s << u"x"_s;
        QTest::addRow("../secret") << u"../secret"_s << u"-secret"_s;
        QTest::addRow("hidden name") << u".hidden"_s << u"hidden"_s;
        QTest::addRow("only dots") << u"..."_s << QString();
        QTest::addRow("dots and spaces") << u". . ."_s << u". ."_s;
        QTest::addRow("dot then space") << u". x"_s << u"x"_s;
        QTest::addRow("inner and final dots kept") << u"v1.2."_s << u"v1.2."_s;
        QTest::addRow("dot with a mark is not a dot") << u".\u0301x"_s << u".\u0301x"_s;
        QTest::addRow("empty") << QString() << QString();
        QTest::addRow("only white space") << u" \t\n"_s << QString();
        QTest::addRow("300 characters") << QString(300, u'x') << QString(200, u'x');
        QTest::addRow("200 characters") << QString(200, u'y') << QString(200, u'y');
        QTest::addRow("mark on the 200th character")
            << QString(199, u'a') + u"e\u0301bbb"_s << QString(199, u'a') + u"e\u0301"_s;
        QTest::addRow("mark on the 201st character")
            << QString(200, u'a') + u"\u0301b"_s << QString(199, u'a') + u"a\u0301"_s;
        QTest::addRow("flags at the cut") << QString(199, u'a') + u"🇫🇷🇩🇪"_s << QString(199, u'a') + u"🇫🇷"_s;
        QTest::addRow("NUL") << u"a\0b"_s << u"a-b"_s;
        QTest::addRow("control characters") << u"\u0001a\u0008b\u001Bc\u007F"_s << u"-a-b-c-"_s;
        QTest::addRow("white space controls stay white space") << u"a\u000Bb\u000Cc\u000Dd"_s << u"a b c d"_s;
        QTest::addRow("separators 1C to 1F") << u"a\u001Cb\u001Dc\u001Ed\u001Ff"_s << u"a-b-c-d-f"_s;
        QTest::addRow("150 Chinese characters") << QString(150, QChar(0x4E2D)) << QString(85, QChar(0x4E2D));
        QTest::addRow("200 two-byte characters") << QString(200, QChar(0x00E9)) << QString(127, QChar(0x00E9));
        QTest::addRow("cut after trimming") << u"   "_s + QString(200, u'z') + u"   "_s << QString(200, u'z');
    }

    void sanitizeFilename()
    {
        QFETCH(QString, name);
        QFETCH(QString, sanitized);
        QCOMPARE(NotesExporter::sanitizeFilename(name), sanitized);
        QVERIFY(Text::graphemeCount(sanitized) <= 200);
        QVERIFY(sanitized.toUtf8().size() <= 255);
    }

    void newFileTakesTheFirstFreeName_data()
    {
        QTest::addColumn<NotesExporter::ClaimMethod>("method");
        QTest::addRow("hard link") << NotesExporter::ClaimMethod::hardLink;
        QTest::addRow("exclusive create") << NotesExporter::ClaimMethod::exclusiveCreate;
    }
    void newFileTakesTheFirstFreeName()
    {
        QFETCH(NotesExporter::ClaimMethod, method);
        Workspace space;
        QVERIFY(writeBytes(space.path(u"Plan.md"_s), "one"));
        QVERIFY(writeBytes(space.path(u"Plan (2).md"_s), "two"));
        // A folder of that name is in the way as much as a file.
        QVERIFY(QDir().mkpath(space.path(u"Dir.md"_s)));
        NotesExporter::RunNames names;
        names.give(space.path(), u"Other"_s, u"other"_s, 1);
        names.give(space.path(), u"Other"_s, u"other (2)"_s, 2);
        NotesExporter::ClaimMethod used = method;
        const auto write = [&](const QString &base, const QByteArray &bytes) {
            const NotesExporter::NewFile file = NotesExporter::writeNewFile(space.path(), base, bytes, names, used);
            return std::pair(file.name, file.error);
        };
        QCOMPARE(write(u"Plan"_s, "three"), std::pair(u"Plan (3)"_s, QString()));
        QCOMPARE(write(u"Other"_s, "o"), std::pair(u"Other (3)"_s, QString()));
        QCOMPARE(write(u"Free"_s, "f"), std::pair(u"Free"_s, QString()));
        QCOMPARE(write(u"Dir"_s, "d"), std::pair(u"Dir (2)"_s, QString()));
        QCOMPARE(write(u"plan"_s, "four"), std::pair(u"plan (4)"_s, QString()));
        QCOMPARE(used, method);
        QCOMPARE(tree(space.path()),
            (QStringList { u"Dir (2).md"_s, u"Dir.md/"_s, u"Free.md"_s, u"Other (3).md"_s, u"Plan (2).md"_s,
                u"Plan (3).md"_s, u"Plan.md"_s, u"plan (4).md"_s }));
        QCOMPARE(readAll(space.path(u"Plan.md"_s)), QByteArray("one"));
        QCOMPARE(readAll(space.path(u"Plan (2).md"_s)), QByteArray("two"));
        QCOMPARE(readAll(space.path(u"Plan (3).md"_s)), QByteArray("three"));
        QCOMPARE(readAll(space.path(u"plan (4).md"_s)), QByteArray("four"));
        QCOMPARE(readAll(space.path(u"Dir (2).md"_s)), QByteArray("d"));
    }

    void newFileFailureLeavesNothing_data() { newFileTakesTheFirstFreeName_data(); }
    void newFileFailureLeavesNothing()
    {
        QFETCH(NotesExporter::ClaimMethod, method);
        Workspace space;
        NotesExporter::RunNames names;
        NotesExporter::ClaimMethod used = method;
        const NotesExporter::NewFile file
            = NotesExporter::writeNewFile(space.path(u"missing"_s), u"N"_s, "x", names, used);
        QCOMPARE(file.name, QString());
        QCOMPARE(file.error, systemText(ENOENT));
        QCOMPARE(names.isGiven(space.path(u"missing"_s), u"N"_s), false);
        QCOMPARE(tree(space.path()), QStringList());
    }

    void namesResumeWhereTheyStopped()
    {
        NotesExporter::RunNames names;
        QCOMPARE(names.firstCounter(u"F"_s, u"Plan"_s), 1);
        names.give(u"F"_s, u"Plan"_s, u"Plan"_s, 1);
        names.give(u"F"_s, u"Plan"_s, u"Plan (2)"_s, 2);
        QCOMPARE(names.firstCounter(u"F"_s, u"Plan"_s), 3);
        QCOMPARE(names.firstCounter(u"F"_s, u"PLAN"_s), 3);
        QCOMPARE(names.firstCounter(u"G"_s, u"Plan"_s), 1);
        QCOMPARE(names.isGiven(u"F"_s, u"PLAN (2)"_s), true);
        QCOMPARE(names.isGiven(u"F"_s, u"Plan (3)"_s), false);
        QCOMPARE(names.isGiven(u"G"_s, u"Plan"_s), false);
    }

    void manyNotesOfOneName()
    {
        Workspace space;
        QList<NoteRecord> notes;
        for (int i = 0; i < 1000; ++i)
            notes.append({ u"F"_s, u"Same"_s, u"<div>%1</div>"_s.arg(i) });
        const Result result = NotesExporter::exportNotes(notes, space.url());
        QCOMPARE(result.written, 1000);
        QCOMPARE(result.failed, Failures());
        QCOMPARE(readAll(space.path(u"F/Same.md"_s)), QByteArray("# Same\n\n0\n"));
        QCOMPARE(readAll(space.path(u"F/Same (2).md"_s)), QByteArray("# Same\n\n1\n"));
        QCOMPARE(readAll(space.path(u"F/Same (1000).md"_s)), QByteArray("# Same\n\n999\n"));
        QCOMPARE(tree(space.path(u"F"_s)).size(), 1000);
    }

    void fileContentShape()
    {
        QCOMPARE(NotesExporter::fileContent(u"a/b"_s, u"x\ny"_s), u"# a/b\n\nx\ny\n"_s);
        QCOMPARE(NotesExporter::fileContent(QString(), QString()), u"# \n\n\n"_s);
    }

    void createFolderReportsTheSystemText()
    {
        Workspace space;
        QCOMPARE(NotesExporter::createFolder(space.path(u"a/b/c"_s)), std::nullopt);
        QVERIFY(QFileInfo(space.path(u"a/b/c"_s)).isDir());
        QCOMPARE(NotesExporter::createFolder(space.path(u"a/b"_s)), std::nullopt);
        QVERIFY(writeBytes(space.path(u"file"_s), "x"));
        QCOMPARE(NotesExporter::createFolder(space.path(u"file/sub"_s)), std::optional(systemText(ENOTDIR)));
    }

    // Writing whole runs

    void writesOneFilePerNote()
    {
        Workspace space;
        const QList<NoteRecord> notes {
            { u"Work"_s, u"Plan"_s, u"<div>Ship <b>it</b></div>"_s },
            { u"Home"_s, u"Shopping"_s, u"<ul><li>Milk</li></ul>"_s },
        };
        ProgressCalls calls;
        const Result result = NotesExporter::exportNotes(notes, space.url(u"out"_s), [&](double f, const QString &n) {
            calls.append({ f, n });
        });
        QCOMPARE(result.written, 2);
        QCOMPARE(result.failed, Failures());
        QCOMPARE(result.folders, (QSet<QString> { u"Work"_s, u"Home"_s }));
        QCOMPARE(tree(space.path(u"out"_s)),
            (QStringList { u"Home/"_s, u"Home/Shopping.md"_s, u"Work/"_s, u"Work/Plan.md"_s }));
        QCOMPARE(readAll(space.path(u"out/Work/Plan.md"_s)), QByteArray("# Plan\n\nShip **it**\n"));
        QCOMPARE(readAll(space.path(u"out/Home/Shopping.md"_s)), QByteArray("# Shopping\n\n- Milk\n"));
        QCOMPARE(calls, (ProgressCalls { { 0.0, u"Plan"_s }, { 0.5, u"Shopping"_s }, { 1.0, QString() } }));
    }

    void contentIsUtf8AndNameUnsanitised()
    {
        Workspace space;
        const QList<NoteRecord> notes { { u"Café"_s, u"Réunion: 10/12 ✓"_s, u"<div>Déjà vu &mdash; 👍</div>"_s } };
        const Result result = NotesExporter::exportNotes(notes, space.url());
        QCOMPARE(result.written, 1);
        const QString expected = u"# Réunion: 10/12 ✓\n\n"_s + HtmlToMarkdown::convert(notes[0].html) + u"\n"_s;
        QCOMPARE(expected, u"# Réunion: 10/12 ✓\n\nDéjà vu — 👍\n"_s);
        QCOMPARE(readAll(space.path(u"Café/Réunion- 10-12 ✓.md"_s)), expected.toUtf8());
    }

    void emptyListOfNotes()
    {
        Workspace space;
        ProgressCalls calls;
        const Result result = NotesExporter::exportNotes({}, space.url(), [&](double f, const QString &n) {
            calls.append({ f, n });
        });
        QCOMPARE(result.written, 0);
        QCOMPARE(result.failed, Failures());
        QCOMPARE(result.folders, QSet<QString>());
        QCOMPARE(calls, (ProgressCalls { { 1.0, QString() } }));
        QCOMPARE(tree(space.path()), QStringList());
    }

    void withoutProgressCallback()
    {
        Workspace space;
        const Result result = NotesExporter::exportNotes({ { u"F"_s, u"N"_s, u"x"_s } }, space.url());
        QCOMPARE(result.written, 1);
        QCOMPARE(readAll(space.path(u"F/N.md"_s)), QByteArray("# N\n\nx\n"));
    }

    void missingDestinationIsCreated()
    {
        Workspace space;
        const Result result = NotesExporter::exportNotes({ { u"F"_s, u"N"_s, u"x"_s } }, space.url(u"a/b/c"_s));
        QCOMPARE(result.written, 1);
        QCOMPARE(result.failed, Failures());
        QCOMPARE(
            tree(space.path()), (QStringList { u"a/"_s, u"a/b/"_s, u"a/b/c/"_s, u"a/b/c/F/"_s, u"a/b/c/F/N.md"_s }));
    }

    void destinationThatCannotBeMade()
    {
        Workspace space;
        QVERIFY(writeBytes(space.path(u"file"_s), "keep"));
        ProgressCalls calls;
        const Result result = NotesExporter::exportNotes(
            { { u"F"_s, u"N"_s, u"x"_s } }, space.url(u"file/sub"_s), [&](double f, const QString &n) {
                calls.append({ f, n });
            });
        QCOMPARE(result.written, 0);
        QCOMPARE(result.failed, (Failures { { u"(destination)"_s, u"not writable"_s } }));
        QCOMPARE(result.folders, QSet<QString>());
        QCOMPARE(calls, ProgressCalls());
        QCOMPARE(readAll(space.path(u"file"_s)), QByteArray("keep"));
    }

    void destinationIsAReadOnlyFile()
    {
        Workspace space;
        QVERIFY(writeBytes(space.path(u"file"_s), "keep"));
        QVERIFY(QFile::setPermissions(space.path(u"file"_s), QFile::ReadOwner | QFile::ReadOther));
        ProgressCalls calls;
        Result result;
        {
            const TestUtil::Unprivileged unprivileged;
            if (!unprivileged.enforced())
                QSKIP("permissions cannot be enforced here");
            result = NotesExporter::exportNotes(
                { { u"F"_s, u"N"_s, u"x"_s } }, space.url(u"file"_s), [&](double f, const QString &n) {
                    calls.append({ f, n });
                });
        }
        QCOMPARE(result.failed, (Failures { { u"(destination)"_s, u"not writable"_s } }));
        QCOMPARE(result.written, 0);
        QCOMPARE(calls, ProgressCalls());
        QCOMPARE(readAll(space.path(u"file"_s)), QByteArray("keep"));
    }

    void destinationIsAWritableFile()
    {
        // A writable file passes the destination check; then no subfolder can be made in it, and each
        // note fails on its own.
        Workspace space;
        QVERIFY(writeBytes(space.path(u"file"_s), "keep"));
        ProgressCalls calls;
        const Result result
            = NotesExporter::exportNotes({ { u"F"_s, u"One"_s, u"x"_s }, { QString(), u"Two"_s, u"y"_s } },
                space.url(u"file"_s), [&](double f, const QString &n) {
                    calls.append({ f, n });
                });
        const QString reason = u"couldn't create folder: "_s + systemText(ENOTDIR);
        QCOMPARE(result.failed, (Failures { { u"One"_s, reason }, { u"Two"_s, reason } }));
        QCOMPARE(result.written, 0);
        QCOMPARE(result.folders, QSet<QString>());
        QCOMPARE(calls, (ProgressCalls { { 0.0, u"One"_s }, { 0.5, u"Two"_s }, { 1.0, QString() } }));
        QCOMPARE(readAll(space.path(u"file"_s)), QByteArray("keep"));
    }

    void readOnlyDestination()
    {
        // An existing folder that is not writable: "creating" it succeeds, so the run goes on and each
        // note fails when its subfolder cannot be made.
        Workspace space;
        QVERIFY(QDir().mkpath(space.path(u"ro"_s)));
        QVERIFY(QFile::setPermissions(space.path(u"ro"_s), readOnlyFolder));
        Result result;
        {
            const TestUtil::Unprivileged unprivileged;
            if (!unprivileged.enforced())
                QSKIP("permissions cannot be enforced here");
            QVERIFY(!QFileInfo(space.path(u"ro"_s)).isWritable());
            result = NotesExporter::exportNotes(
                { { u"F"_s, u"A"_s, u"x"_s }, { u"G"_s, u"B"_s, u"y"_s } }, space.url(u"ro"_s));
        }
        const QString reason = u"couldn't create folder: "_s + systemText(EACCES);
        QCOMPARE(result.failed, (Failures { { u"A"_s, reason }, { u"B"_s, reason } }));
        QCOMPARE(result.written, 0);
        QCOMPARE(result.folders, QSet<QString>());
        QCOMPARE(tree(space.path(u"ro"_s)), QStringList());
    }

    void missingDestinationInReadOnlyFolder()
    {
        Workspace space;
        QVERIFY(QDir().mkpath(space.path(u"ro"_s)));
        QVERIFY(QFile::setPermissions(space.path(u"ro"_s), readOnlyFolder));
        Result result;
        {
            const TestUtil::Unprivileged unprivileged;
            if (!unprivileged.enforced())
                QSKIP("permissions cannot be enforced here");
            result = NotesExporter::exportNotes({ { u"F"_s, u"A"_s, u"x"_s } }, space.url(u"ro/new"_s));
        }
        QCOMPARE(result.failed, (Failures { { u"(destination)"_s, u"not writable"_s } }));
        QCOMPARE(result.written, 0);
    }

    void writeFailureDoesNotStopTheRun()
    {
        Workspace space;
        QVERIFY(QDir().mkpath(space.path(u"out/Locked"_s)));
        QVERIFY(QFile::setPermissions(space.path(u"out"_s), openFolder));
        QVERIFY(QFile::setPermissions(space.path(u"out/Locked"_s), readOnlyFolder));
        Result result;
        {
            const TestUtil::Unprivileged unprivileged;
            if (!unprivileged.enforced())
                QSKIP("permissions cannot be enforced here");
            result = NotesExporter::exportNotes(
                { { u"Locked"_s, u"A"_s, u"x"_s }, { u"Open"_s, u"B"_s, u"y"_s }, { u"Locked"_s, u"C"_s, u"z"_s } },
                space.url(u"out"_s));
        }
        QCOMPARE(result.written, 1);
        // The file layer's own text for the refused temporary file.
        QCOMPARE(result.failed, (Failures { { u"A"_s, systemText(EACCES) }, { u"C"_s, systemText(EACCES) } }));
        QCOMPARE(result.folders, (QSet<QString> { u"Locked"_s, u"Open"_s }));
        QCOMPARE(tree(space.path(u"out"_s)), (QStringList { u"Locked/"_s, u"Open/"_s, u"Open/B.md"_s }));
    }

    void existingFileIsNeverOverwritten()
    {
        Workspace space;
        QVERIFY(QDir().mkpath(space.path(u"Notes"_s)));
        const QByteArray original("original \xff\xfe bytes\r\n", 20);
        QVERIFY(writeBytes(space.path(u"Notes/Plan.md"_s), original));
        const Result result = NotesExporter::exportNotes({ { u"Notes"_s, u"Plan"_s, u"new"_s } }, space.url());
        QCOMPARE(result.written, 1);
        QCOMPARE(readAll(space.path(u"Notes/Plan.md"_s)), original);
        QCOMPARE(readAll(space.path(u"Notes/Plan (2).md"_s)), QByteArray("# Plan\n\nnew\n"));
    }

    void symbolicLinksAtTheNameCountAsTaken_data() { newFileTakesTheFirstFreeName_data(); }
    void symbolicLinksAtTheNameCountAsTaken()
    {
        QFETCH(NotesExporter::ClaimMethod, method);
        Workspace space;
        QVERIFY(QDir().mkpath(space.path(u"out/F"_s)));
        QVERIFY(QDir().mkpath(space.path(u"elsewhere"_s)));
        QVERIFY(writeBytes(space.path(u"elsewhere/target.md"_s), "keep"));
        QVERIFY(QFile::link(space.path(u"elsewhere/target.md"_s), space.path(u"out/F/Plan.md"_s)));
        QVERIFY(QFile::link(space.path(u"elsewhere/gone.md"_s), space.path(u"out/F/Idea.md"_s)));
        NotesExporter::RunNames names;
        NotesExporter::ClaimMethod used = method;
        for (const QString &base : { u"Plan"_s, u"Idea"_s }) {
            const NotesExporter::NewFile file
                = NotesExporter::writeNewFile(space.path(u"out/F"_s), base, base.toUtf8(), names, used);
            QCOMPARE(file.error, QString());
            QCOMPARE(file.name, base + u" (2)"_s);
        }
        QCOMPARE(readAll(space.path(u"elsewhere/target.md"_s)), QByteArray("keep"));
        QVERIFY(!QFileInfo::exists(space.path(u"elsewhere/gone.md"_s)));
        QCOMPARE(tree(space.path(u"elsewhere"_s)), QStringList { u"target.md"_s });
        QVERIFY(QFileInfo(space.path(u"out/F/Plan.md"_s)).isSymLink());
        QVERIFY(QFileInfo(space.path(u"out/F/Idea.md"_s)).isSymLink());
        QCOMPARE(readAll(space.path(u"out/F/Plan (2).md"_s)), QByteArray("Plan"));
        QCOMPARE(readAll(space.path(u"out/F/Idea (2).md"_s)), QByteArray("Idea"));
    }

    void exportNeverWritesThroughSymbolicLinks()
    {
        Workspace space;
        QVERIFY(QDir().mkpath(space.path(u"out/F"_s)));
        QVERIFY(writeBytes(space.path(u"target.md"_s), "keep"));
        QVERIFY(QFile::link(space.path(u"target.md"_s), space.path(u"out/F/Plan.md"_s)));
        QVERIFY(QFile::link(space.path(u"gone.md"_s), space.path(u"out/F/Idea.md"_s)));
        const Result result = NotesExporter::exportNotes(
            { { u"F"_s, u"Plan"_s, u"new plan"_s }, { u"F"_s, u"Idea"_s, u"new idea"_s } }, space.url(u"out"_s));
        QCOMPARE(result.written, 2);
        QCOMPARE(result.failed, Failures());
        QCOMPARE(readAll(space.path(u"target.md"_s)), QByteArray("keep"));
        QVERIFY(!QFileInfo::exists(space.path(u"gone.md"_s)));
        QCOMPARE(readAll(space.path(u"out/F/Plan (2).md"_s)), QByteArray("# Plan\n\nnew plan\n"));
        QCOMPARE(readAll(space.path(u"out/F/Idea (2).md"_s)), QByteArray("# Idea\n\nnew idea\n"));
        QCOMPARE(tree(space.path(u"out"_s)),
            (QStringList { u"F/"_s, u"F/Idea (2).md"_s, u"F/Idea.md"_s, u"F/Plan (2).md"_s, u"F/Plan.md"_s }));
    }

    void twoExportsIntoOneFolderAtOnce()
    {
        Workspace space;
        constexpr int perRun = 60;
        const auto notesOf = [](const QString &run) {
            QList<NoteRecord> notes;
            for (int i = 0; i < perRun; ++i)
                notes.append({ u"F%1"_s.arg(i % 2), u"Note %1"_s.arg(i % 4), u"<div>%1 %2</div>"_s.arg(run).arg(i) });
            return notes;
        };
        const QList<NoteRecord> first = notesOf(u"first"_s);
        const QList<NoteRecord> second = notesOf(u"second"_s);
        Result firstResult;
        Result secondResult;
        std::thread other([&] { secondResult = NotesExporter::exportNotes(second, space.url()); });
        firstResult = NotesExporter::exportNotes(first, space.url());
        other.join();
        QCOMPARE(firstResult.written, perRun);
        QCOMPARE(secondResult.written, perRun);
        QCOMPARE(firstResult.failed, Failures());
        QCOMPARE(secondResult.failed, Failures());

        // Every note is there exactly once, whole: nothing was overwritten.
        QStringList expected;
        for (const QList<NoteRecord> &notes : { first, second }) {
            for (const NoteRecord &note : notes)
                expected.append(
                    note.folder + u'|' + NotesExporter::fileContent(note.name, HtmlToMarkdown::convert(note.html)));
        }
        QStringList found;
        QStringList names;
        for (const QString &entry : tree(space.path())) {
            if (entry.endsWith(u'/'))
                continue;
            names.append(entry);
            found.append(entry.section(u'/', 0, 0) + u'|' + QString::fromUtf8(readAll(space.path(entry))));
        }
        expected.sort();
        found.sort();
        QCOMPARE(found, expected);
        // Note 0 and Note 2 go to F0, Note 1 and Note 3 to F1, 30 of each name: "Note 0.md", "Note 0 (2).md",
        // ..., "Note 0 (30).md".
        QStringList expectedNames;
        for (int name = 0; name < 4; ++name) {
            for (int n = 1; n <= 2 * perRun / 4; ++n)
                expectedNames.append(
                    u"F%1/Note %2%3.md"_s.arg(name % 2).arg(name).arg(n == 1 ? QString() : u" (%1)"_s.arg(n)));
        }
        expectedNames.sort();
        names.sort();
        QCOMPARE(names, expectedNames);
    }

    void fileNamesFitInBytes_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        const QString han = QString(150, QChar(0x4E2D)); // 中, three bytes in UTF-8
        QTest::addRow("150 Chinese characters")
            << han << QString(84, QChar(0x4E2D)) + u".md"_s << QString(82, QChar(0x4E2D)) + u" (2).md"_s;
        // Three bytes each: "é" as e and a combining mark, and "中".
        const QString pair = u"e\u0301\u4E2D"_s;
        const QString mixed = u"ab"_s + pair.repeated(100);
        QTest::addRow("marks and Chinese characters")
            << mixed << u"ab"_s + pair.repeated(41) + u"e\u0301.md"_s << u"ab"_s + pair.repeated(41) + u" (2).md"_s;
        QTest::addRow("200 ASCII characters")
            << QString(200, u'a') << QString(200, u'a') + u".md"_s << QString(200, u'a') + u" (2).md"_s;
    }
    void fileNamesFitInBytes()
    {
        QFETCH(QString, title);
        QFETCH(QString, first);
        QFETCH(QString, second);
        Workspace space;
        const Result result
            = NotesExporter::exportNotes({ { u"F"_s, title, u"1"_s }, { u"F"_s, title, u"2"_s } }, space.url());
        QCOMPARE(result.failed, Failures());
        QCOMPARE(result.written, 2);
        QStringList expected { u"F/"_s, u"F/"_s + first, u"F/"_s + second };
        expected.sort();
        QCOMPARE(tree(space.path()), expected);
        QVERIFY(first.toUtf8().size() <= 255);
        QVERIFY(second.toUtf8().size() <= 255);
        QCOMPARE(readAll(space.path(u"F/"_s + first)), (u"# "_s + title + u"\n\n1\n"_s).toUtf8());
        QCOMPARE(readAll(space.path(u"F/"_s + second)), (u"# "_s + title + u"\n\n2\n"_s).toUtf8());
    }

    void cutToUtf8Bytes_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("maxBytes");
        QTest::addColumn<QString>("cut");
        QTest::addRow("fits") << u"abc"_s << 3 << u"abc"_s;
        QTest::addRow("ASCII") << u"abcd"_s << 3 << u"abc"_s;
        QTest::addRow("not inside a character") << u"a中b"_s << 3 << u"a"_s;
        QTest::addRow("not inside a mark") << u"ae\u0301"_s << 3 << u"a"_s;
        QTest::addRow("not inside a flag") << u"a🇫🇷"_s << 8 << u"a"_s;
        QTest::addRow("whole flag") << u"a🇫🇷b"_s << 9 << u"a🇫🇷"_s;
        QTest::addRow("one character longer than all")
            << u"e"_s + QString(300, QChar(0x0301)) << 7 << u"e"_s + QString(3, QChar(0x0301));
        QTest::addRow("not inside a surrogate pair") << u"😀😀"_s << 7 << u"😀"_s;
        QTest::addRow("nothing fits") << u"中"_s << 2 << QString();
    }
    void cutToUtf8Bytes()
    {
        QFETCH(QString, text);
        QFETCH(int, maxBytes);
        QFETCH(QString, cut);
        QCOMPARE(NotesExporter::cutToUtf8Bytes(text, maxBytes), cut);
    }

    void candidateNames()
    {
        QCOMPARE(NotesExporter::candidateName(u"Plan"_s, 1), u"Plan"_s);
        QCOMPARE(NotesExporter::candidateName(u"Plan"_s, 2), u"Plan (2)"_s);
        QCOMPARE(NotesExporter::candidateName(QString(252, u'x'), 1), QString(252, u'x'));
        QCOMPARE(NotesExporter::candidateName(QString(252, u'x'), 2), QString(248, u'x') + u" (2)"_s);
        QCOMPARE(NotesExporter::candidateName(QString(252, u'x'), 123456), QString(243, u'x') + u" (123456)"_s);
    }

    void controlCharactersInNames()
    {
        Workspace space;
        const QString title = u"a\0b\u0001c\u001Fd\u007Fe\tf"_s;
        const Result result = NotesExporter::exportNotes({ { u"F\0G"_s, title, u"x"_s } }, space.url());
        QCOMPARE(result.written, 1);
        QCOMPARE(result.folders, QSet<QString> { u"F-G"_s });
        QCOMPARE(tree(space.path()), (QStringList { u"F-G/"_s, u"F-G/a-b-c-d-e f.md"_s }));
        QCOMPARE(readAll(space.path(u"F-G/a-b-c-d-e f.md"_s)), (u"# "_s + title + u"\n\nx\n"_s).toUtf8());
    }

    void fullDiskFailsTheNotesThatDoNotFit_data()
    {
        QTest::addColumn<bool>("wholeExport");
        QTest::addRow("export, hard links") << true;
        QTest::addRow("new files created in place") << false;
    }
    void fullDiskFailsTheNotesThatDoNotFit()
    {
        QFETCH(bool, wholeExport);
        Workspace space;
        QVERIFY(QDir().mkpath(space.path(u"disk"_s)));
        const QString mount = space.path(u"disk"_s);
        const QList<NoteRecord> notes = notesForASmallDisk();
        const QJsonObject outcome = inSmallFileSystem(mount, [&] {
            if (wholeExport) {
                const Result result = NotesExporter::exportNotes(notes, QUrl::fromLocalFile(mount));
                return QJsonObject { { u"written"_s, result.written }, { u"failed"_s, failuresJson(result.failed) } };
            }
            QDir().mkpath(mount + u"/F"_s);
            NotesExporter::RunNames names;
            qint64 written = 0;
            Failures failed;
            for (const NoteRecord &note : notes) {
                NotesExporter::ClaimMethod method = NotesExporter::ClaimMethod::exclusiveCreate;
                const NotesExporter::NewFile file
                    = NotesExporter::writeNewFile(mount + u"/F"_s, note.name, contentOf(note), names, method);
                if (file.error.isEmpty())
                    ++written;
                else
                    failed.append({ note.name, file.error });
            }
            return QJsonObject { { u"written"_s, written }, { u"failed"_s, failuresJson(failed) } };
        });
        if (outcome.contains(u"skip"_s))
            QSKIP(qPrintable(u"no small file system to fill: "_s + outcome[u"skip"_s].toString()));
        QVERIFY2(!outcome.contains(u"crashed"_s), "the child process did not end normally");

        QCOMPARE(outcome[u"written"_s].toInteger(), 6);
        const QString full = systemText(ENOSPC);
        QCOMPARE(full, u"No space left on device"_s);
        QCOMPARE(outcome[u"failed"_s].toArray(),
            (QJsonArray { QJsonArray { u"Big 6"_s, full }, QJsonArray { u"Big 7"_s, full } }));
        // Only whole files: no empty or partial file, no temporary file.
        QJsonObject expected;
        for (const NoteRecord &note : notes) {
            if (note.name != u"Big 6"_s && note.name != u"Big 7"_s)
                expected.insert(u"F/"_s + note.name + u".md"_s, QString::fromLatin1(contentOf(note).toBase64()));
        }
        QCOMPARE(outcome[u"files"_s].toObject().keys(), expected.keys());
        QCOMPARE(outcome[u"files"_s].toObject(), expected);
    }

    void sameNamesInOneFolder()
    {
        Workspace space;
        const Result result
            = NotesExporter::exportNotes({ { u"F"_s, u"Plan"_s, u"1"_s }, { u"F"_s, u"Plan"_s, u"2"_s },
                                             { u"F"_s, u"plan"_s, u"3"_s }, { u"G"_s, u"Plan"_s, u"4"_s } },
                space.url());
        QCOMPARE(result.written, 4);
        QCOMPARE(tree(space.path()),
            (QStringList { u"F/"_s, u"F/Plan (2).md"_s, u"F/Plan.md"_s, u"F/plan (3).md"_s, u"G/"_s, u"G/Plan.md"_s }));
        QCOMPARE(readAll(space.path(u"F/Plan (2).md"_s)), QByteArray("# Plan\n\n2\n"));
        QCOMPARE(readAll(space.path(u"F/plan (3).md"_s)), QByteArray("# plan\n\n3\n"));
    }

    void namesDifferingInCase()
    {
        Workspace space;
        const Result result
            = NotesExporter::exportNotes({ { u"F"_s, u"Plan"_s, u"1"_s }, { u"F"_s, u"plan"_s, u"2"_s } }, space.url());
        QCOMPARE(result.written, 2);
        QCOMPARE(tree(space.path()), (QStringList { u"F/"_s, u"F/Plan.md"_s, u"F/plan (2).md"_s }));
    }

    void foldersCollidingAfterSanitising()
    {
        Workspace space;
        const Result result
            = NotesExporter::exportNotes({ { u"A/B"_s, u"x"_s, u"1"_s }, { u"A:B"_s, u"X"_s, u"2"_s } }, space.url());
        QCOMPARE(result.written, 2);
        QCOMPARE(result.folders, QSet<QString> { u"A-B"_s });
        QCOMPARE(tree(space.path()), (QStringList { u"A-B/"_s, u"A-B/X (2).md"_s, u"A-B/x.md"_s }));
    }

    void namesThatSanitiseToNothing()
    {
        Workspace space;
        const Result result
            = NotesExporter::exportNotes({ { u"F"_s, u"..."_s, u"a"_s }, { u"F"_s, QString(), u"b"_s },
                                             { u"F"_s, u" / "_s, u"c"_s }, { u"F"_s, u"\t\n"_s, u"d"_s } },
                space.url());
        QCOMPARE(result.written, 4);
        QCOMPARE(tree(space.path()),
            (QStringList { u"F/"_s, u"F/-.md"_s, u"F/Untitled (2).md"_s, u"F/Untitled (3).md"_s, u"F/Untitled.md"_s }));
        QCOMPARE(readAll(space.path(u"F/Untitled.md"_s)), QByteArray("# ...\n\na\n"));
        QCOMPARE(readAll(space.path(u"F/Untitled (2).md"_s)), QByteArray("# \n\nb\n"));
        QCOMPARE(readAll(space.path(u"F/-.md"_s)), QByteArray("#  / \n\nc\n"));
        QCOMPARE(readAll(space.path(u"F/Untitled (3).md"_s)), QByteArray("# \t\n\n\nd\n"));
    }

    void emptyFolderBecomesNotes()
    {
        Workspace space;
        const Result result = NotesExporter::exportNotes({ { QString(), u"N"_s, u"x"_s } }, space.url());
        QCOMPARE(result.folders, QSet<QString> { u"Notes"_s });
        QCOMPARE(tree(space.path()), (QStringList { u"Notes/"_s, u"Notes/N.md"_s }));
    }

    void folderSanitisingToNothing()
    {
        // Its notes go straight into the destination.
        Workspace space;
        const Result result = NotesExporter::exportNotes({ { u"..."_s, u"N"_s, u"x"_s } }, space.url());
        QCOMPARE(result.written, 1);
        QCOMPARE(result.folders, QSet<QString> { QString() });
        QCOMPARE(tree(space.path()), QStringList { u"N.md"_s });
    }

    void pathTraversalName()
    {
        Workspace space;
        const Result result = NotesExporter::exportNotes({ { u".."_s, u"../secret"_s, u"x"_s } }, space.url(u"out"_s));
        QCOMPARE(result.written, 1);
        QCOMPARE(tree(space.path()), (QStringList { u"out/"_s, u"out/-secret.md"_s }));
    }

    void longTitles()
    {
        Workspace space;
        const QString title = QString(150, u'a') + QString(150, u'b');
        const Result result
            = NotesExporter::exportNotes({ { u"F"_s, title, u"1"_s }, { u"F"_s, title, u"2"_s } }, space.url());
        QCOMPARE(result.written, 2);
        const QString cut = QString(150, u'a') + QString(50, u'b');
        QCOMPARE(tree(space.path()), (QStringList { u"F/"_s, u"F/"_s + cut + u" (2).md"_s, u"F/"_s + cut + u".md"_s }));
        // The heading keeps the whole name.
        QCOMPARE(readAll(space.path(u"F/"_s + cut + u".md"_s)), (u"# "_s + title + u"\n\n1\n"_s).toUtf8());
    }

    void combiningMarkAtTheCut()
    {
        Workspace space;
        const QString title = QString(199, u'a') + u"e\u0301"_s + QString(100, u'z');
        const Result result = NotesExporter::exportNotes({ { u"F"_s, title, u"x"_s } }, space.url());
        QCOMPARE(result.written, 1);
        QCOMPARE(tree(space.path()), (QStringList { u"F/"_s, u"F/"_s + QString(199, u'a') + u"e\u0301.md"_s }));
    }

    void rerunAddsNumberedCopies()
    {
        Workspace space;
        const QList<NoteRecord> notes { { u"F"_s, u"Plan"_s, u"<div>one</div>"_s },
            { u"F"_s, u"Plan"_s, u"<div>two</div>"_s }, { u"G"_s, u"Idea"_s, u"<div>three</div>"_s } };
        QCOMPARE(NotesExporter::exportNotes(notes, space.url()).written, 3);
        const QByteArray plan = readAll(space.path(u"F/Plan.md"_s));
        const QByteArray plan2 = readAll(space.path(u"F/Plan (2).md"_s));
        const QByteArray idea = readAll(space.path(u"G/Idea.md"_s));
        const Result second = NotesExporter::exportNotes(notes, space.url());
        QCOMPARE(second.written, 3);
        QCOMPARE(second.failed, Failures());
        QCOMPARE(tree(space.path()),
            (QStringList { u"F/"_s, u"F/Plan (2).md"_s, u"F/Plan (3).md"_s, u"F/Plan (4).md"_s, u"F/Plan.md"_s, u"G/"_s,
                u"G/Idea (2).md"_s, u"G/Idea.md"_s }));
        QCOMPARE(readAll(space.path(u"F/Plan.md"_s)), plan);
        QCOMPARE(readAll(space.path(u"F/Plan (2).md"_s)), plan2);
        QCOMPARE(readAll(space.path(u"G/Idea.md"_s)), idea);
        QCOMPARE(readAll(space.path(u"F/Plan (3).md"_s)), QByteArray("# Plan\n\none\n"));
        QCOMPARE(readAll(space.path(u"F/Plan (4).md"_s)), QByteArray("# Plan\n\ntwo\n"));
        QCOMPARE(readAll(space.path(u"G/Idea (2).md"_s)), QByteArray("# Idea\n\nthree\n"));
    }

    // Export options: images saved as files, links between notes, headings

    void imagesAreSavedBesideTheNote()
    {
        Workspace space;
        const QByteArray png("\x89PNG\r\n\x1a\nfirst", 13);
        const QByteArray other("\x89PNG\r\n\x1a\nsecond", 14);
        const QByteArray jpeg("\xff\xd8\xff\xe0jpeg", 8);
        const QList<NoteRecord> notes { noteWithId(u"Travel"_s, u"Trip: Day 1"_s,
            u"<div>Before</div>"_s + dataImage(u"image/png"_s, png) + dataImage(u"image/png"_s, other)
                + dataImage(u"image/png"_s, png) + dataImage(u"image/jpeg"_s, jpeg) + u"<div>After</div>"_s,
            u"p1"_s) };
        const Result result = NotesExporter::exportNotes(notes, space.url(), {}, {}, imagesAsFiles());
        QCOMPARE(result.written, 1);
        QCOMPARE(result.failed, Failures());
        QCOMPARE(result.imagesSaved, 3);
        QCOMPARE(result.imagesKeptInline, Failures());
        QCOMPARE(tree(space.path()),
            (QStringList { u".velloran/"_s, u".velloran/export.json"_s, u"Travel/"_s, u"Travel/Trip- Day 1.md"_s,
                u"Travel/attachments/"_s, u"Travel/attachments/Trip- Day 1 1.png"_s,
                u"Travel/attachments/Trip- Day 1 2.png"_s, u"Travel/attachments/Trip- Day 1 3.jpg"_s }));
        const QString markdownPath = space.path(u"Travel/Trip- Day 1.md"_s);
        QCOMPARE(readAll(markdownPath),
            QByteArray("# Trip: Day 1\n\nBefore\n![](attachments/Trip-%20Day%201%201.png)\n"
                       "![](attachments/Trip-%20Day%201%202.png)\n![](attachments/Trip-%20Day%201%201.png)\n"
                       "![](attachments/Trip-%20Day%201%203.jpg)\nAfter\n"));
        QCOMPARE(imagesReferencedBy(markdownPath), (QList<QByteArray> { png, other, png, jpeg }));
    }

    void imagesNeverOverwriteAndFollowTheNotesFileName()
    {
        Workspace space;
        QVERIFY(QDir().mkpath(space.path(u"F/attachments"_s)));
        QVERIFY(writeBytes(space.path(u"F/Trip.md"_s), "mine"));
        QVERIFY(writeBytes(space.path(u"F/attachments/Trip (2) 1.png"_s), "my picture"));
        QVERIFY(QFile::link(space.path(u"elsewhere.png"_s), space.path(u"F/attachments/Trip (2) 2.png"_s)));
        const QByteArray png("png bytes");
        const QList<NoteRecord> notes {
            noteWithId(u"F"_s, u"Trip"_s, dataImage(u"image/png"_s, png), u"p1"_s),
            noteWithId(u"F"_s, u"trip"_s, dataImage(u"image/webp"_s, "webp bytes"), u"p2"_s),
        };
        const Result result = NotesExporter::exportNotes(notes, space.url(), {}, {}, imagesAsFiles());
        QCOMPARE(result.written, 2);
        QCOMPARE(result.imagesSaved, 2);
        QCOMPARE(readAll(space.path(u"F/Trip.md"_s)), QByteArray("mine"));
        QCOMPARE(readAll(space.path(u"F/attachments/Trip (2) 1.png"_s)), QByteArray("my picture"));
        QVERIFY(!QFileInfo::exists(space.path(u"elsewhere.png"_s)));
        QCOMPARE(
            readAll(space.path(u"F/Trip (2).md"_s)), QByteArray("# Trip\n\n![](attachments/Trip%20%282%29%203.png)\n"));
        QCOMPARE(readAll(space.path(u"F/trip (3).md"_s)),
            QByteArray("# trip\n\n![](attachments/trip%20%283%29%201.webp)\n"));
        QCOMPARE(imagesReferencedBy(space.path(u"F/Trip (2).md"_s)), QList<QByteArray> { png });
        QCOMPARE(imagesReferencedBy(space.path(u"F/trip (3).md"_s)), QList<QByteArray> { "webp bytes" });
    }

    // An "attachments" link in the note's folder would take the images out of the destination: they stay
    // inline, and nothing is written where it points.
    void imagesAreNotWrittenThroughALinkedAttachmentsFolder()
    {
        Workspace space;
        QVERIFY(QDir().mkpath(space.path(u"F"_s)));
        QVERIFY(QDir().mkpath(space.path(u"elsewhere"_s)));
        QVERIFY(QFile::link(space.path(u"elsewhere"_s), space.path(u"F/attachments"_s)));
        const QList<NoteRecord> notes { noteWithId(u"F"_s, u"Trip"_s, dataImage(u"image/png"_s, "png"), u"p1"_s) };
        const Result result = NotesExporter::exportNotes(notes, space.url(), {}, {}, imagesAsFiles());
        QCOMPARE(result.written, 1);
        QCOMPARE(result.imagesSaved, 0);
        QCOMPARE(result.imagesKeptInline,
            Failures({ { u"Trip"_s, u"couldn't save the image: “attachments” is a symbolic link"_s } }));
        QCOMPARE(QDir(space.path(u"elsewhere"_s)).entryList(QDir::NoDotAndDotDot | QDir::AllEntries), QStringList());
        QCOMPARE(readAll(space.path(u"F/Trip.md"_s)), QByteArray("# Trip\n\n![](data:image/png;base64,cG5n)\n"));
    }

    void percentEncodedAndUnknownImages()
    {
        Workspace space;
        const QList<NoteRecord> notes { { u"F"_s, u"Shapes"_s,
            u"<img src=\"data:image/svg+xml;charset=utf-8,%3Csvg%2F%3E\"><img src=\"data:image/x-icon;base64,AAE=\">"
            u"<img src=\"data:,raw\"><img src=\"data:IMAGE/GIF;BASE64,R0lG\">"_s } };
        const Result result = NotesExporter::exportNotes(notes, space.url(), {}, {}, imagesAsFiles());
        QCOMPARE(result.imagesSaved, 4);
        QCOMPARE(readAll(space.path(u"F/attachments/Shapes 1.svg"_s)), QByteArray("<svg/>"));
        QCOMPARE(readAll(space.path(u"F/attachments/Shapes 2.bin"_s)), QByteArray("\x00\x01", 2));
        QCOMPARE(readAll(space.path(u"F/attachments/Shapes 3.bin"_s)), QByteArray("raw"));
        QCOMPARE(readAll(space.path(u"F/attachments/Shapes 4.gif"_s)), QByteArray("GIF"));
    }

    void undecodableImagesStayInlineAndAreListed()
    {
        Workspace space;
        const QList<NoteRecord> notes {
            { u"F"_s, u"Broken"_s,
                u"<div>a</div><img src=\"data:image/png;base64,@@@\"/><img src=\"data:image/png\">"_s },
            { u"F"_s, u"Empty"_s, u"<img src=\"data:image/png;base64,\">"_s },
        };
        const Result result = NotesExporter::exportNotes(notes, space.url(), {}, {}, imagesAsFiles());
        QCOMPARE(result.written, 2);
        QCOMPARE(result.failed, Failures());
        QCOMPARE(result.imagesSaved, 0);
        QCOMPARE(result.imagesKeptInline,
            (Failures { { u"Broken"_s, u"the image data could not be decoded"_s },
                { u"Broken"_s, u"the image data could not be decoded"_s },
                { u"Empty"_s, u"the image holds no data"_s } }));
        QCOMPARE(readAll(space.path(u"F/Broken.md"_s)),
            QByteArray("# Broken\n\na\n![](data:image/png;base64,@@@)![](data:image/png)\n"));
        QCOMPARE(tree(space.path()), (QStringList { u"F/"_s, u"F/Broken.md"_s, u"F/Empty.md"_s }));
    }

    void linksBetweenNotesNameTheExportedFiles()
    {
        Workspace space;
        QVERIFY(QDir().mkpath(space.path(u"Work"_s)));
        QVERIFY(writeBytes(space.path(u"Work/Plan.md"_s), "earlier export"));
        const QList<NoteRecord> notes {
            noteWithId(u"Home"_s, u"Index"_s,
                u"<div>See <a href=\"applenotes:note/p2\">the plan</a>, "
                u"<a href=\"notes://showNote?identifier=x-coredata%3A%2F%2FFakeNotes%2FICNote%2Fp3\">this</a> and "
                u"<a href=\"applenotes:note/p99\">a note not exported</a>.</div>"_s,
                u"p1"_s),
            noteWithId(
                u"Work"_s, u"Plan"_s, u"<div>Back to <a href=\"applenotes:note/p1\">the index</a></div>"_s, u"p2"_s),
            noteWithId(u"Work"_s, u"Plan"_s, u"<div>Second plan</div>"_s, u"p3"_s),
        };
        NotesExporter::ExportOptions options;
        options.noteLinks = true;
        const Result result = NotesExporter::exportNotes(notes, space.url(), {}, {}, options);
        QCOMPARE(result.written, 3);
        QCOMPARE(result.linksOutsideExport, (Failures { { u"Index"_s, u"applenotes:note/p99"_s } }));
        QCOMPARE(readAll(space.path(u"Home/Index.md"_s)),
            QByteArray("# Index\n\nSee [[Plan (2)]], [[Plan (3)]] and [a note not exported](applenotes:note/p99).\n"));
        QCOMPARE(readAll(space.path(u"Work/Plan (2).md"_s)), QByteArray("# Plan\n\nBack to [[Index]]\n"));
        QCOMPARE(readAll(space.path(u"Work/Plan (3).md"_s)), QByteArray("# Plan\n\nSecond plan\n"));
    }

    void plannedNamesAreTheNamesWritten()
    {
        Workspace space;
        QVERIFY(QDir().mkpath(space.path(u"F"_s)));
        QVERIFY(writeBytes(space.path(u"F/A (2).md"_s), "x"));
        QVERIFY(QFile::link(space.path(u"nowhere"_s), space.path(u"F/B.md"_s)));
        QList<NoteRecord> notes;
        for (const QString &name : { u"A"_s, u"A"_s, u"a"_s, u"B"_s, u""_s, u"..."_s, u"x/y"_s })
            notes.append({ u"F"_s, name, QString() });
        notes.append({ QString(), u"A"_s, QString() });
        QStringList planned;
        for (const NotesExporter::PlannedFile &file : NotesExporter::planFileNames(notes, space.path()))
            planned.append(file.subfolder + u'/' + file.name);
        QCOMPARE(planned,
            (QStringList { u"F/A"_s, u"F/A (3)"_s, u"F/a (4)"_s, u"F/B (2)"_s, u"F/Untitled"_s, u"F/Untitled (2)"_s,
                u"F/x-y"_s, u"Notes/A"_s }));
        QCOMPARE(NotesExporter::exportNotes(notes, space.url()).written, 8);
        for (const QString &file : std::as_const(planned))
            QVERIFY2(QFileInfo(space.path(file + u".md"_s)).isFile(), qPrintable(file));
    }

    void headingsFromNotesStyles()
    {
        Workspace space;
        const QList<NoteRecord> notes { { u"F"_s, u"Plan"_s,
            u"<div><b><span style=\"font-size: 24px\">Plan</span></b></div><div>Intro</div>"
            u"<div><b><span style=\"font-size: 18px\">Steps</span></b></div><div><b>Details</b></div>"_s } };
        NotesExporter::ExportOptions options;
        options.headings = true;
        QCOMPARE(NotesExporter::exportNotes(notes, space.url(), {}, {}, options).written, 1);
        QCOMPARE(
            readAll(space.path(u"F/Plan.md"_s)), QByteArray("# Plan\n\n# Plan\n\nIntro\n\n## Steps\n\n### Details\n"));
    }

    void optionResultsOnlyWhenAskedFor()
    {
        Workspace space;
        const QList<NoteRecord> notes { noteWithId(
            u"F"_s, u"A"_s, u"<img src=\"data:image/png;base64,@\"><a href=\"applenotes:note/p9\">x</a>"_s, u"p1"_s) };
        const Result plain = NotesExporter::exportNotes(notes, space.url(u"plain"_s));
        QCOMPARE(Presentation::compactJson(plain),
            QByteArray(R"({"written":1,"failed":[],"folders":["F"],"stopped":false})"));
        QCOMPARE(readAll(space.path(u"plain/F/A.md"_s)),
            QByteArray("# A\n\n![](data:image/png;base64,@)[x](applenotes:note/p9)\n"));
        QCOMPARE(Presentation::outcomeOf(plain).sections.size(), 0);

        const Result withOptions = NotesExporter::exportNotes(notes, space.url(u"options"_s), {}, {}, imagesAsFiles());
        QCOMPARE(Presentation::compactJson(withOptions),
            QByteArray(R"({"written":1,"failed":[],"folders":["F"],"stopped":false,"imagesSaved":0,)"
                       R"("imagesKeptInline":[["A","the image data could not be decoded"]],)"
                       R"("linksOutsideExport":[["A","applenotes:note/p9"]]})"));
        const Presentation::Outcome outcome = Presentation::outcomeOf(withOptions);
        QCOMPARE(outcome.title, u"Export complete"_s);
        QCOMPARE(outcome.sections,
            (QList<Presentation::Section> { { QString(), {}, u"0 images saved as files."_s },
                { u"Images kept inline (1)"_s, { u"A — the image data could not be decoded"_s }, QString() },
                { u"Links to notes outside the export (1)"_s, { u"A — applenotes:note/p9"_s }, QString() } }));

        NotesExporter::ExportOptions linksOnly;
        linksOnly.noteLinks = true;
        const Result links = NotesExporter::exportNotes(notes, space.url(u"links"_s), {}, {}, linksOnly);
        QCOMPARE(Presentation::compactJson(links),
            QByteArray(R"({"written":1,"failed":[],"folders":["F"],"stopped":false,)"
                       R"("linksOutsideExport":[["A","applenotes:note/p9"]]})"));
    }

    void dataUris_data()
    {
        QTest::addColumn<QString>("uri");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("mediaType");
        QTest::addColumn<QString>("failure");
        const QString undecodable = u"the image data could not be decoded"_s;
        QTest::addRow("base64") << u"data:image/png;base64,AAEC"_s << QByteArray("\x00\x01\x02", 3) << u"image/png"_s
                                << QString();
        QTest::addRow("base64 in lines") << u"data:image/png;base64,AA\r\n EC"_s << QByteArray("\x00\x01\x02", 3)
                                         << u"image/png"_s << QString();
        QTest::addRow("parameters before base64")
            << u"data:Image/JPEG;name=a.jpg;base64,/9g="_s << QByteArray("\xff\xd8") << u"image/jpeg"_s << QString();
        QTest::addRow("percent-encoded") << u"data:text/plain,a%20b"_s << QByteArray("a b") << u"text/plain"_s
                                         << QString();
        QTest::addRow("no media type") << u"data:,x"_s << QByteArray("x") << QString() << QString();
        QTest::addRow("not base64") << u"data:image/png;base64,A*B"_s << QByteArray() << u"image/png"_s << undecodable;
        QTest::addRow("letters beyond ASCII")
            << u"data:image/png;base64,AAé="_s << QByteArray() << u"image/png"_s << undecodable;
        QTest::addRow("no comma") << u"data:image/png;base64"_s << QByteArray() << QString() << undecodable;
        QTest::addRow("no data") << u"data:image/png,"_s << QByteArray() << u"image/png"_s
                                 << u"the image holds no data"_s;
    }

    void dataUris()
    {
        QFETCH(QString, uri);
        QFETCH(QByteArray, bytes);
        QFETCH(QString, mediaType);
        QFETCH(QString, failure);
        const NotesExporter::DataUri decoded = NotesExporter::decodeDataUri(uri);
        QCOMPARE(decoded.bytes, bytes);
        QCOMPARE(decoded.mediaType, mediaType);
        QCOMPARE(decoded.failure, failure);
    }

    void extensionsForMediaTypes()
    {
        const QList<std::pair<QString, QString>> expected { { u"image/png"_s, u"png"_s }, { u"image/jpeg"_s, u"jpg"_s },
            { u"image/gif"_s, u"gif"_s }, { u"image/heic"_s, u"heic"_s }, { u"image/webp"_s, u"webp"_s },
            { u"image/tiff"_s, u"tiff"_s }, { u"application/pdf"_s, u"pdf"_s }, { u"image/svg+xml"_s, u"svg"_s },
            { u"image/avif"_s, u"avif"_s }, { u"image/x-icon"_s, u"bin"_s }, { u"image/averyverylongname"_s, u"bin"_s },
            { u"text/plain"_s, u"bin"_s }, { QString(), u"bin"_s } };
        for (const auto &[mediaType, extension] : expected)
            QCOMPARE(NotesExporter::extensionForMediaType(mediaType), extension);
    }

    void referencesEncodedWhereNeeded()
    {
        QCOMPARE(NotesExporter::encodedReference(u"attachments/Trip 1.png"_s), u"attachments/Trip%201.png"_s);
        QCOMPARE(NotesExporter::encodedReference(u"attachments/a (2) #[x]%?<>.png"_s),
            u"attachments/a%20%282%29%20%23%5Bx%5D%25%3F%3C%3E.png"_s);
        QCOMPARE(NotesExporter::encodedReference(u"attachments/Réunion ✓.png"_s), u"attachments/Réunion%20✓.png"_s);
    }

    void progressForEachNote()
    {
        Workspace space;
        QList<NoteRecord> notes;
        for (int i = 0; i < 4; ++i)
            notes.append({ u"F"_s, u"N%1"_s.arg(i), u"x"_s });
        ProgressCalls calls;
        NotesExporter::exportNotes(notes, space.url(), [&](double f, const QString &n) { calls.append({ f, n }); });
        QCOMPARE(calls,
            (ProgressCalls {
                { 0.0, u"N0"_s }, { 0.25, u"N1"_s }, { 0.5, u"N2"_s }, { 0.75, u"N3"_s }, { 1.0, QString() } }));
    }

    void stopCheckEndsTheRun()
    {
        Workspace space;
        ProgressCalls calls;
        int asked = 0;
        const Result result = NotesExporter::exportNotes(
            { { u"F"_s, u"A"_s, u"x"_s }, { u"F"_s, u"B"_s, u"y"_s }, { u"F"_s, u"C"_s, u"z"_s } }, space.url(),
            [&](double f, const QString &n) {
                calls.append({ f, n });
            },
            [&] { return ++asked > 1; });
        QCOMPARE(asked, 2);
        QCOMPARE(result.written, 1);
        QCOMPARE(result.failed, Failures());
        QCOMPARE(calls, (ProgressCalls { { 0.0, u"A"_s }, { 1.0, QString() } }));
        QCOMPARE(tree(space.path()), (QStringList { u"F/"_s, u"F/A.md"_s }));
    }

    void unreadableBodyIsStillWritten()
    {
        Workspace space;
        const QString fragment = u"<div>[Velloran: could not read this note's body]</div>"_s;
        const Result result = NotesExporter::exportNotes({ { u"F"_s, u"N"_s, fragment } }, space.url());
        QCOMPARE(result.written, 1);
        QCOMPARE(
            readAll(space.path(u"F/N.md"_s)), QByteArray("# N\n\n\\[Velloran: could not read this note's body\\]\n"));
    }

    void noTemporaryFilesLeft()
    {
        Workspace space;
        QList<NoteRecord> notes;
        for (int i = 0; i < 50; ++i)
            notes.append({ u"F%1"_s.arg(i % 3), u"Note %1"_s.arg(i % 7), u"<div>%1</div>"_s.arg(i) });
        QCOMPARE(NotesExporter::exportNotes(notes, space.url()).written, 50);
        const QStringList entries = tree(space.path());
        QCOMPARE(entries.size(), 53);
        for (const QString &entry : entries)
            QVERIFY2(entry.endsWith(u".md"_s) || entry.endsWith(u'/'), qPrintable(entry));
    }
};

QTEST_GUILESS_MAIN(tst_NotesExporterWrite)
#include "tst_NotesExporterWrite.moc"
