// Tests of the export's "Keep dates" and "Update a previous export" through velloran-cli and the Notes
// stand-in: the frontmatter and file times, the record of an export, and a second export over the first.

#include "NotesFixture.h"
#include "TestUtil.h"

#include "ExportManifest.h"
#include "NotesExporter.h"
#include "Presentation.h"
#include "private/NotesExporter_p.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;
using TestUtil::runCli;

namespace {

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(file.write(bytes), bytes.size());
}

/// Every file below `folder`, hidden ones included, as sorted relative paths.
QStringList filesBelow(const QString &folder)
{
    QStringList files;
    const QDir root(folder);
    const auto walk = [&](const auto &self, const QString &path) -> void {
        const QDir dir(path);
        for (const QFileInfo &entry :
            dir.entryInfoList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden, QDir::Name)) {
            if (entry.isDir())
                self(self, entry.filePath());
            else
                files.append(root.relativeFilePath(entry.filePath()));
        }
    };
    walk(walk, folder);
    files.sort();
    return files;
}

QDateTime localTime(const char *text)
{
    return QDateTime::fromString(QString::fromLatin1(text), u"yyyy-MM-ddTHH:mm:ss"_s);
}

const QByteArray firstLibrary = R"({"folders": [{"name": "Work", "notes": [
    {"name": "Plan", "body": "<div>Plan</div><div>Step one</div>", "id": "note-plan",
     "created": "2024-03-01T09:30:00", "modified": "2024-03-05T18:02:11"},
    {"name": "Diary", "body": "<div>Diary</div><div>Day one</div>", "id": "note-diary"},
    {"name": "Recipe", "body": "<div>Recipe</div><div>Flour</div>", "id": "note-recipe"},
    {"name": "Old", "body": "<div>Old</div><div>Soon gone</div>", "id": "note-old"},
    {"name": "List", "body": "<div>List</div><div>Milk</div>", "id": "note-list"}]}]})";

/// The first library a little later: Plan and Diary changed, Old removed, Idea added.
const QByteArray secondLibrary = R"({"folders": [{"name": "Work", "notes": [
    {"name": "Plan", "body": "<div>Plan</div><div>Step two</div>", "id": "note-plan",
     "created": "2024-03-01T09:30:00", "modified": "2024-03-06T08:00:00"},
    {"name": "Diary", "body": "<div>Diary</div><div>Day two</div>", "id": "note-diary",
     "modified": "2024-03-06T08:15:00"},
    {"name": "Recipe", "body": "<div>Recipe</div><div>Flour</div>", "id": "note-recipe"},
    {"name": "Idea", "body": "<div>Idea</div><div>New</div>", "id": "note-idea"},
    {"name": "List", "body": "<div>List</div><div>Milk</div>", "id": "note-list"}]}]})";

} // namespace

class tst_ExportDatesAndUpdate : public QObject
{
    Q_OBJECT

    std::unique_ptr<NotesFixture> fixture;

    QString out() const { return fixture->path(u"out"_s); }

    /// Writes a file below the destination, making its folder.
    void putFile(const QString &relative, const QByteArray &bytes) const
    {
        QVERIFY(QDir().mkpath(QFileInfo(out() + u'/' + relative).path()));
        writeFile(out() + u'/' + relative, bytes);
    }

private slots:
    void init() { fixture = std::make_unique<NotesFixture>(); }
    void cleanup() { fixture.reset(); }

    // Images saved as files and links between notes, updated: an unchanged note keeps its image file and
    // its text, and a renamed note keeps its file, which the links to it go on naming.
    void imagesAndLinksSurviveAnUpdate()
    {
        const QByteArray library = R"({"folders": [{"name": "Work", "notes": [
            {"name": "Trip", "id": "note-trip", "body": "<div>Trip</div><div><img src='data:image/png;base64,iVBORw0KGgo='/></div><div>See <a href='applenotes:note/note-plan'>the plan</a></div>"},
            {"name": "Plan", "id": "note-plan", "body": "<div>Plan</div><div>Step one</div>"}]}]})";
        fixture->seed(library);
        const QStringList arguments { u"export"_s, u"--images"_s, u"files"_s, u"--update"_s, out() };
        TestUtil::CliResult r = runCli(arguments);
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.out, QByteArray("Export complete\n2 notes written · 1 folder\n\n1 image saved as a file.\n"));
        const QStringList files { u".velloran/export.json"_s, u"Work/Plan.md"_s, u"Work/Trip.md"_s,
            u"Work/attachments/Trip 1.png"_s };
        QCOMPARE(filesBelow(out()), files);
        const QByteArray trip("# Trip\n\nTrip\n![](attachments/Trip%201.png)\nSee [[Plan]]\n");
        QCOMPARE(readFile(out() + u"/Work/Trip.md"_s), trip);
        QCOMPARE(readFile(out() + u"/Work/attachments/Trip 1.png"_s), QByteArray::fromBase64("iVBORw0KGgo="));

        r = runCli(arguments);
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.out,
            QByteArray("Export complete\n0 notes written · 1 folder\n\n0 images saved as files.\n\n"
                       "2 notes had not changed since the last export and were left alone.\n"));
        QCOMPARE(filesBelow(out()), files);

        fixture->seed(QByteArray(library).replace(
            R"("name": "Plan", "id": "note-plan", "body": "<div>Plan</div><div>Step one</div>")",
            R"("name": "Plan B", "id": "note-plan", "modified": "2024-05-01T10:00:00", )"
            R"("body": "<div>Plan B</div><div>Step two</div>")"));
        r = runCli(arguments);
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.out,
            QByteArray("Export complete\n1 note written · 1 folder\n\n0 images saved as files.\n\n"
                       "Updated (1)\n  Work/Plan.md\n\n"
                       "1 note had not changed since the last export and was left alone.\n"));
        QCOMPARE(filesBelow(out()), files);
        QCOMPARE(readFile(out() + u"/Work/Plan.md"_s), QByteArray("# Plan B\n\nPlan B\nStep two\n"));
        QCOMPARE(readFile(out() + u"/Work/Trip.md"_s), trip);
    }

    void datesAsFrontmatterAndFileTime()
    {
        fixture->seed(firstLibrary);
        const TestUtil::CliResult r = runCli({ u"export"_s, u"--dates"_s, out() });
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.out, QByteArray("Export complete\n5 notes written · 1 folder\n"));
        QCOMPARE(readFile(out() + u"/Work/Plan.md"_s),
            QByteArray("---\ncreated: 2024-03-01T09:30:00\nmodified: 2024-03-05T18:02:11\n---\n"
                       "# Plan\n\nPlan\nStep one\n"));
        // A note that the library gives no dates has the stand-in's fixed ones.
        QCOMPARE(readFile(out() + u"/Work/Diary.md"_s),
            QByteArray("---\ncreated: 2024-01-01T09:00:00\nmodified: 2024-01-02T10:30:00\n---\n"
                       "# Diary\n\nDiary\nDay one\n"));
        QCOMPARE(QFileInfo(out() + u"/Work/Plan.md"_s).lastModified(), localTime("2024-03-05T18:02:11"));
        QCOMPARE(QFileInfo(out() + u"/Work/Diary.md"_s).lastModified(), localTime("2024-01-02T10:30:00"));
        // The export is recorded, as every export that reads the notes' ids is.
        QCOMPARE(filesBelow(out()),
            QStringList({ u".velloran/export.json"_s, u"Work/Diary.md"_s, u"Work/List.md"_s, u"Work/Old.md"_s,
                u"Work/Plan.md"_s, u"Work/Recipe.md"_s }));
        const QStringList programs = [this] {
            QStringList names;
            for (const QJsonObject &run : fixture->runs())
                names.append(run.value(u"program"_s).toString());
            return names;
        }();
        QVERIFY(programs.contains(u"read-folder-with-dates"_s));
        QVERIFY(!programs.contains(u"read-folder-by-id"_s));
    }

    void withoutOptionsNothingChanges()
    {
        fixture->seed(firstLibrary);
        const TestUtil::CliResult r = runCli({ u"export"_s, u"--json"_s, out() });
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.out,
            QByteArray(R"({"written":5,"failed":[],"folders":["Work"],"stopped":false})"
                       "\n"));
        QCOMPARE(readFile(out() + u"/Work/Plan.md"_s), QByteArray("# Plan\n\nPlan\nStep one\n"));
        QCOMPARE(filesBelow(out()),
            QStringList(
                { u"Work/Diary.md"_s, u"Work/List.md"_s, u"Work/Old.md"_s, u"Work/Plan.md"_s, u"Work/Recipe.md"_s }));
        for (const QJsonObject &run : fixture->runs())
            QVERIFY(run.value(u"program"_s).toString() != u"read-folder-with-dates"_s);
    }

    void updateAfterAnEditAndAChange()
    {
        fixture->seed(firstLibrary);
        TestUtil::CliResult r = runCli({ u"export"_s, u"--update"_s, u"--json"_s, out() });
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.out,
            QByteArray(R"({"written":5,"failed":[],"folders":["Work"],"stopped":false,)"
                       R"("update":{"updated":[],"unchanged":0,"keptEdits":[],"gone":[]}})"
                       "\n"));
        const QByteArray edited = "# Diary\n\nDiary\nDay one\nMy own line\n";
        writeFile(out() + u"/Work/Diary.md"_s, edited);
        fixture->seed(secondLibrary);

        r = runCli({ u"export"_s, u"--update"_s, out() });
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(QString::fromUtf8(r.out),
            u"Export complete\n"
            "3 notes written · 1 folder\n"
            "\n"
            "Updated (1)\n"
            "  Work/Plan.md\n"
            "\n"
            "2 notes had not changed since the last export and were left alone.\n"
            "\n"
            "Kept your edits (1)\n"
            "  Work/Diary.md — kept your edits; the new version is Work/Diary (2).md\n"
            "\n"
            "No longer in Apple Notes — files left alone (1)\n"
            "  Work/Old.md\n"_s);
        QCOMPARE(filesBelow(out()),
            QStringList({ u".velloran/export.json"_s, u"Work/Diary (2).md"_s, u"Work/Diary.md"_s, u"Work/Idea.md"_s,
                u"Work/List.md"_s, u"Work/Old.md"_s, u"Work/Plan.md"_s, u"Work/Recipe.md"_s }));
        QCOMPARE(readFile(out() + u"/Work/Plan.md"_s), QByteArray("# Plan\n\nPlan\nStep two\n"));
        QCOMPARE(readFile(out() + u"/Work/Diary.md"_s), edited);
        QCOMPARE(readFile(out() + u"/Work/Diary (2).md"_s), QByteArray("# Diary\n\nDiary\nDay two\n"));
        QCOMPARE(readFile(out() + u"/Work/Idea.md"_s), QByteArray("# Idea\n\nIdea\nNew\n"));
        QCOMPARE(readFile(out() + u"/Work/Old.md"_s), QByteArray("# Old\n\nOld\nSoon gone\n"));

        // The record follows what was written last: the new copy, not the edited file; Old is dropped.
        QString error;
        const std::optional<QList<ExportManifest::Entry>> record = ExportManifest::read(out(), &error);
        QVERIFY2(record, qPrintable(error));
        QStringList recorded;
        for (const ExportManifest::Entry &entry : *record)
            recorded.append(entry.id + u" "_s + entry.file + u" "_s + entry.modified);
        recorded.sort();
        QCOMPARE(recorded,
            QStringList({ u"note-diary Work/Diary (2).md 2024-03-06T08:15:00"_s,
                u"note-idea Work/Idea.md 2024-01-02T10:30:00"_s, u"note-list Work/List.md 2024-01-02T10:30:00"_s,
                u"note-plan Work/Plan.md 2024-03-06T08:00:00"_s,
                u"note-recipe Work/Recipe.md 2024-01-02T10:30:00"_s }));
        for (const ExportManifest::Entry &entry : *record)
            QCOMPARE(entry.sha256, ExportManifest::digest(readFile(out() + u'/' + entry.file)));

        // Nothing changed since: everything is left alone, and the gone note is not listed again.
        r = runCli({ u"export"_s, u"--update"_s, u"--json"_s, out() });
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.out,
            QByteArray(R"({"written":0,"failed":[],"folders":["Work"],"stopped":false,)"
                       R"("update":{"updated":[],"unchanged":5,"keptEdits":[],"gone":[]}})"
                       "\n"));
    }

    void notesOfFoldersNotExportedAreNotGone()
    {
        fixture->seed(R"({"folders": [
            {"name": "Work", "notes": [{"name": "Plan", "body": "<div>Plan</div>", "id": "w1"}]},
            {"name": "Home", "notes": [{"name": "Keys", "body": "<div>Keys</div>", "id": "h1"}]}]})");
        QCOMPARE(runCli({ u"export"_s, u"--update"_s, out() }).exitCode, 0);
        fixture->seed(R"({"folders": [
            {"name": "Work", "notes": []},
            {"name": "Home", "notes": [{"name": "Keys", "body": "<div>Keys</div>", "id": "h1"}]}]})");
        TestUtil::CliResult r = runCli({ u"export"_s, u"--update"_s, u"--json"_s, u"--folder"_s, u"Home"_s, out() });
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.out,
            QByteArray(R"({"written":0,"failed":[],"folders":["Home"],"stopped":false,)"
                       R"("update":{"updated":[],"unchanged":1,"keptEdits":[],"gone":[]}})"
                       "\n"));
        // Read whole, the emptied folder tells that its note is gone.
        r = runCli({ u"export"_s, u"--update"_s, u"--json"_s, u"--folder"_s, u"Work"_s, out() });
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.out,
            QByteArray(R"({"written":0,"failed":[],"folders":[],"stopped":false,)"
                       R"("update":{"updated":[],"unchanged":0,"keptEdits":[],"gone":["Work/Plan.md"]}})"
                       "\n"));
    }

    void updateWritesARemovedFileAgain()
    {
        fixture->seed(firstLibrary);
        QCOMPARE(runCli({ u"export"_s, u"--update"_s, out() }).exitCode, 0);
        QVERIFY(QFile::remove(out() + u"/Work/Recipe.md"_s));
        const TestUtil::CliResult r = runCli({ u"export"_s, u"--update"_s, out() });
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(QString::fromUtf8(r.out),
            u"Export complete\n1 note written · 1 folder\n\n"
            "4 notes had not changed since the last export and were left alone.\n"_s);
        QCOMPARE(readFile(out() + u"/Work/Recipe.md"_s), QByteArray("# Recipe\n\nRecipe\nFlour\n"));
    }

    void updateWithoutAnEarlierExportWritesEverything()
    {
        fixture->seed(firstLibrary);
        putFile(u"Work/Plan.md"_s, "mine\n");
        const TestUtil::CliResult r = runCli({ u"export"_s, u"--update"_s, out() });
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.out, QByteArray("Export complete\n5 notes written · 1 folder\n"));
        // Never overwritten: a file that no export recorded is not Velloran's.
        QCOMPARE(readFile(out() + u"/Work/Plan.md"_s), QByteArray("mine\n"));
        QCOMPARE(readFile(out() + u"/Work/Plan (2).md"_s), QByteArray("# Plan\n\nPlan\nStep one\n"));
    }

    void aSecondExportWithoutUpdateWritesBeside()
    {
        fixture->seed(firstLibrary);
        QCOMPARE(runCli({ u"export"_s, u"--dates"_s, out() }).exitCode, 0);
        fixture->seed(secondLibrary);
        const TestUtil::CliResult r = runCli({ u"export"_s, u"--dates"_s, out() });
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.out, QByteArray("Export complete\n5 notes written · 1 folder\n"));
        QVERIFY(readFile(out() + u"/Work/Plan.md"_s).contains("Step one"));
        QVERIFY(readFile(out() + u"/Work/Plan (2).md"_s).contains("Step two"));
    }

    void updateRefusedWhenNotesGivesNoIds()
    {
        fixture->seed(firstLibrary);
        qputenv("VELLORAN_FAKE_NOTES_NO_DATES", "1");
        const QString refusal = u"This version of Notes does not give the notes’ ids, so a previous export cannot be "
                                "updated. Export without “Update a previous export”."_s;
        TestUtil::CliResult r = runCli({ u"export"_s, u"--update"_s, out() });
        QCOMPARE(r.exitCode, 1);
        QCOMPARE(QString::fromUtf8(r.out),
            u"Export finished with issues\n0 notes written · 0 folders\n\nFailed (1)\n  (reading Apple Notes) — "_s
                + refusal + u'\n');
        QVERIFY(!QFileInfo::exists(out()));

        // Without the folder ids either (an older Notes), the same.
        qunsetenv("VELLORAN_FAKE_NOTES_NO_DATES");
        qputenv("VELLORAN_FAKE_NOTES_OLD_NOTES", "1");
        r = runCli({ u"export"_s, u"--json"_s, u"--update"_s, u"--dates"_s, out() });
        QCOMPARE(r.exitCode, 1);
        const QJsonObject json = QJsonDocument::fromJson(r.out).object();
        QCOMPARE(
            json.value(u"failed"_s).toArray(), QJsonArray({ QJsonArray({ u"(reading Apple Notes)"_s, refusal }) }));
        QVERIFY(!QFileInfo::exists(out()));
    }

    void datesFallBackWhenNotesGivesNone()
    {
        fixture->seed(firstLibrary);
        qputenv("VELLORAN_FAKE_NOTES_NO_DATES", "1");
        TestUtil::CliResult r = runCli({ u"export"_s, u"--dates"_s, out() });
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(QString::fromUtf8(r.out),
            u"Export complete\n5 notes written · 1 folder\n\n"
            "This version of Notes does not give the notes’ dates: the files were written without them.\n"_s);
        QCOMPARE(readFile(out() + u"/Work/Plan.md"_s), QByteArray("# Plan\n\nPlan\nStep one\n"));
        // Without ids there is nothing to record.
        QCOMPARE(filesBelow(out()),
            QStringList(
                { u"Work/Diary.md"_s, u"Work/List.md"_s, u"Work/Old.md"_s, u"Work/Plan.md"_s, u"Work/Recipe.md"_s }));
        r = runCli({ u"export"_s, u"--dates"_s, u"--json"_s, fixture->path(u"second"_s) });
        QCOMPARE(r.out,
            QByteArray(R"({"written":5,"failed":[],"folders":["Work"],"stopped":false,)"
                       R"("datesUnavailable":true,"linksOutsideExport":[]})"
                       "\n"));
    }

    void aDamagedRecordStopsAnUpdate()
    {
        fixture->seed(firstLibrary);
        putFile(u".velloran/export.json"_s, "not json");
        const TestUtil::CliResult r = runCli({ u"export"_s, u"--update"_s, out() });
        QCOMPARE(r.exitCode, 1);
        QCOMPARE(QString::fromUtf8(r.out),
            u"Export finished with issues\n0 notes written · 0 folders\n\nFailed (1)\n  (destination) — couldn't read "
            "the record of the last export: the record of the previous export is damaged\n"_s);
        QCOMPARE(filesBelow(out()), QStringList({ u".velloran/export.json"_s }));
    }

    void aRecordedFileReplacedByALinkIsNotWrittenThrough()
    {
        fixture->seed(firstLibrary);
        QCOMPARE(runCli({ u"export"_s, u"--update"_s, out() }).exitCode, 0);
        const QString target = fixture->writeFile(u"elsewhere.md"_s, readFile(out() + u"/Work/Plan.md"_s));
        QVERIFY(QFile::remove(out() + u"/Work/Plan.md"_s));
        QVERIFY(QFile::link(target, out() + u"/Work/Plan.md"_s));
        fixture->seed(secondLibrary);
        const TestUtil::CliResult r = runCli({ u"export"_s, u"--update"_s, out() });
        QCOMPARE(r.exitCode, 0);
        QVERIFY(r.out.contains("  Work/Plan.md — kept your edits; the new version is Work/Plan (2).md\n"));
        QCOMPARE(readFile(target), QByteArray("# Plan\n\nPlan\nStep one\n"));
        QVERIFY(QFileInfo(out() + u"/Work/Plan.md"_s).isSymLink());
    }

    void parsesTheDatedRecords()
    {
        const QChar us(0x1F);
        const QChar rs(0x1E);
        const QString output = u"Work"_s + us + u"Plan"_s + us + u"id-1"_s + us + u"2024-03-01T09:30:00"_s + us
            + u"2024-03-05T18:02:11"_s + us + u"<div>a"_s + us + u"b</div>"_s + rs + u"Work"_s + us + u"Bare"_s + us
            + u"id-2"_s + us + us + u"garbage"_s + us + u"<div>c</div>"_s + rs + u"\n"_s;
        const QList<NotesExporter::NoteRecord> records = NotesExporter::parseRecordsWithDates(output);
        QCOMPARE(records.size(), 2);
        QCOMPARE(records[0].id, u"id-1"_s);
        QCOMPARE(records[0].created, localTime("2024-03-01T09:30:00"));
        QCOMPARE(records[0].modified, localTime("2024-03-05T18:02:11"));
        QCOMPARE(records[0].html, u"<div>a"_s + us + u"b</div>"_s);
        QCOMPARE(records[1].id, u"id-2"_s);
        QVERIFY(records[1].created.isNull());
        QVERIFY(records[1].modified.isNull());
        QCOMPARE(records[1].html, u"<div>c</div>"_s);
    }

    void theProgramUsesTheIsoCoercion()
    {
        QVERIFY(NotesExporter::folderReadWithDatesProgram.contains(u"(creation date of n) as «class isot» as string"));
        QVERIFY(
            NotesExporter::folderReadWithDatesProgram.contains(u"(modification date of n) as «class isot» as string"));
    }
};

QTEST_GUILESS_MAIN(tst_ExportDatesAndUpdate)
#include "tst_ExportDatesAndUpdate.moc"
