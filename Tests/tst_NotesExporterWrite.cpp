// Tests of the export writer: file names, the destination check, de-duplication, file content, failures
// that do not stop a run, and progress reports. Every test writes into its own temporary folder.

#include "HtmlToMarkdown.h"
#include "NotesExporter.h"
#include "NotesExporterWrite_p.h"
#include "TestUtil.h"

#include "Text.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <cstring>
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

} // namespace

class tst_NotesExporterWrite : public QObject
{
    Q_OBJECT

private slots:
    // MARK: File names

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
        QTest::addRow("cut after trimming") << u"   "_s + QString(200, u'z') + u"   "_s << QString(200, u'z');
    }

    void sanitizeFilename()
    {
        QFETCH(QString, name);
        QFETCH(QString, sanitized);
        QCOMPARE(NotesExporter::sanitizeFilename(name), sanitized);
        QVERIFY(Text::graphemeCount(sanitized) <= 200);
    }

    void uniqueNameCounts()
    {
        Workspace space;
        QVERIFY(writeBytes(space.path(u"Plan.md"_s), "x"));
        QVERIFY(writeBytes(space.path(u"Plan (2).md"_s), "x"));
        QCOMPARE(NotesExporter::uniqueName(u"Plan"_s, {}, space.path()), u"Plan (3)"_s);
        QCOMPARE(NotesExporter::uniqueName(u"Other"_s, { u"other"_s, u"other (2)"_s }, space.path()), u"Other (3)"_s);
        QCOMPARE(NotesExporter::uniqueName(u"Free"_s, { u"plan"_s }, space.path()), u"Free"_s);
        // A folder of that name is in the way as much as a file.
        QVERIFY(QDir().mkpath(space.path(u"Dir.md"_s)));
        QCOMPARE(NotesExporter::uniqueName(u"Dir"_s, {}, space.path()), u"Dir (2)"_s);
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

    // MARK: exportNotes

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
