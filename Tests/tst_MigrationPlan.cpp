// Tests of the migration worked out without running it (velloran-cli migrate --dry-run, and the plan the
// analysis screen's details list): what it says of each note, that it agrees with the migration, that it
// reads Apple Notes only to tell which notes are there, and that it creates nothing.

#include "MigrationPlan.h"
#include "Migrator.h"
#include "NotesFixture.h"
#include "TestUtil.h"
#include "VaultScanner.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <QCoro/QCoroTask>

#include <csignal>
#include <memory>

using namespace Qt::StringLiterals;
using TestUtil::runCli;

namespace {

const QString exampleVault = QStringLiteral(VELLORAN_SOURCE_DIR "/examples/vault");

/// The notes of examples/vault as the dry run lists them while Apple Notes is not checked, in order.
const QString exampleVaultNotes = u"2024-01-15\n"
                                  "  Folder: Imported by Velloran / Journal\n"
                                  "  Not checked whether it is already in Apple Notes\n"
                                  "  Image attached: attachments/beach day.jpg\n"
                                  "\n"
                                  "2024-01-16\n"
                                  "  Folder: Imported by Velloran / Journal\n"
                                  "  Not checked whether it is already in Apple Notes\n"
                                  "  Image not attached: https://example.com/cat.png — web images are not downloaded\n"
                                  "\n"
                                  "Ideas\n"
                                  "  Folder: Imported by Velloran\n"
                                  "  Not checked whether it is already in Apple Notes\n"
                                  "  Wikilink becomes underlined text: Journal/2024-01-15\n"
                                  "\n"
                                  "Inbox\n"
                                  "  Folder: Imported by Velloran\n"
                                  "  Not checked whether it is already in Apple Notes\n"
                                  "\n"
                                  "Launch plan\n"
                                  "  Folder: Imported by Velloran / Projects ▸ 2024 ▸ Q1\n"
                                  "  Not checked whether it is already in Apple Notes\n"
                                  "  Image not attached: missing-chart.png — not found on disk\n"
                                  "  Tables preserved as real Notes tables\n"
                                  "\n"
                                  "Markdown cheatsheet\n"
                                  "  Folder: Imported by Velloran / Reference\n"
                                  "  Not checked whether it is already in Apple Notes\n"
                                  "  Wikilink becomes underlined text: Reading list\n"
                                  "  Tables preserved as real Notes tables\n"
                                  "\n"
                                  "Projects Overview\n"
                                  "  Folder: Imported by Velloran / Projects\n"
                                  "  Not checked whether it is already in Apple Notes\n"
                                  "  Image attached: Projects/diagram.png\n"
                                  "  Wikilink becomes underlined text: Roadmap\n"
                                  "  Tables preserved as real Notes tables\n"
                                  "\n"
                                  "Reading list\n"
                                  "  Folder: Imported by Velloran / Reference\n"
                                  "  Not checked whether it is already in Apple Notes\n"
                                  "  Wikilink becomes underlined text: Markdown cheatsheet\n"
                                  "\n"
                                  "Recipes\n"
                                  "  Folder: Imported by Velloran / Reference\n"
                                  "  Not checked whether it is already in Apple Notes\n"
                                  "  Image attached: attachments/logo.png\n"
                                  "  Image not attached: gone.jpg — not found on disk\n"
                                  "\n"
                                  "Retro\n"
                                  "  Folder: Imported by Velloran / Projects ▸ 2024 ▸ Q1\n"
                                  "  Not checked whether it is already in Apple Notes\n"
                                  "  Wikilink becomes underlined text: Launch plan\n"
                                  "\n"
                                  "Roadmap\n"
                                  "  Folder: Imported by Velloran / Projects\n"
                                  "  Not checked whether it is already in Apple Notes\n"
                                  "\n"
                                  "Welcome\n"
                                  "  Folder: Imported by Velloran\n"
                                  "  Not checked whether it is already in Apple Notes\n"
                                  "  Image attached: attachments/logo.png\n"
                                  "  Wikilink becomes underlined text: Projects Overview\n"
                                  "  Wikilink becomes underlined text: Reading list\n"_s;

/// The notes of the small vault below, in the order the migration makes them, with what happens to each:
/// `home` and `trip` say whether Notes has those two already, `others` the same of the other two.
QString smallVaultNotes(const QString &home, const QString &trip, const QString &others)
{
    return u"Home\n"
           "  Folder: Imported by Velloran\n"
           "  "_s
        + home
        + u"\n"
          "  Image attached: pic.png\n"
          "  Image not attached: https://example.com/b.png — web images are not downloaded\n"
          "  Image not attached: gone.jpg — not found on disk\n"
          "  Wikilink becomes underlined text: Trip\n"
          "\n"
          "Note\n"
          "  Folder: Imported by Velloran / Deep ▸ Er\n"
          "  "_s
        + others
        + u"\n"
          "\n"
          "Trip\n"
          "  Folder: Imported by Velloran / Travel\n"
          "  "_s
        + trip
        + u"\n"
          "  Tables preserved as real Notes tables\n"
          "\n"
          "trip (2) → renamed from “trip”\n"
          "  Folder: Imported by Velloran / Travel\n"
          "  "_s
        + others
        + u"\n"
          "\n"
          "Couldn't be read — will be listed as failed (1)\n"
          "  bad.md — not UTF-8 text\n"_s;
}

/// The whole listing: the title, the summary line, then the notes (and what follows them).
QString dryRun(const QString &summary, const QString &notes)
{
    return u"Dry run: nothing was created\n"_s + summary + u"\n\n"_s + notes;
}

const QString created = u"Will be created"_s;
const QString skipped = u"Already in Apple Notes — will be skipped"_s;
const QString unchecked = u"Not checked whether it is already in Apple Notes"_s;

} // namespace

class tst_MigrationPlan : public QObject
{
    Q_OBJECT

    std::unique_ptr<NotesFixture> fixture;
    QString vault;

    /// A vault with a note at the root (images beside it, on the web and nowhere, and a wiki link), one in
    /// a deep folder, a table, two notes of the same name in one folder, and a file that is not UTF-8.
    void writeSmallVault() const
    {
        TestUtil::writeFile(vault, u"Home.md"_s,
            "# Home\n![a](pic.png)\n![b](https://example.com/b.png)\n![[gone.jpg]]\nSee [[Trip]].\n");
        TestUtil::writeFile(vault, u"pic.png"_s, "png");
        TestUtil::writeFile(vault, u"Deep/Er/Note.md"_s, "text\n");
        TestUtil::writeFile(vault, u"Travel/Trip.md"_s, "| a | b |\n|---|---|\n| 1 | 2 |\n");
        TestUtil::writeFile(vault, u"Travel/trip.markdown"_s, "again\n");
        TestUtil::writeFile(vault, u"bad.md"_s, QByteArray("caf\xe9", 4));
    }

    /// The stand-in's library as it prints it, from its store, without writing the file.
    QByteArray printedLibrary() const
    {
        QProcess process;
        process.start(QStringLiteral(VELLORAN_FAKE_OSASCRIPT), { u"--print"_s });
        process.waitForFinished();
        return process.readAllStandardOutput();
    }

    QStringList programsRun() const
    {
        QStringList programs;
        for (const QJsonObject &run : fixture->runs())
            programs.append(run.value(u"program"_s).toString());
        return programs;
    }

private slots:
    void init()
    {
        fixture = std::make_unique<NotesFixture>();
        vault = fixture->path(u"vault"_s);
        QVERIFY(QDir().mkpath(vault));
    }

    void cleanup()
    {
        QCOMPARE(fixture->leftovers(), QStringList());
        fixture.reset();
    }

    void listsEveryNoteAndCreatesNothing()
    {
        writeSmallVault();
        fixture->seed(R"({"folders": [{"name": "Work", "notes": [{"name": "Plan", "body": "<div>Plan</div>"}]}]})");
        const QByteArray libraryBefore = printedLibrary();
        const QMap<QString, QByteArray> vaultBefore = TestUtil::hashTree(vault);
        QFile file(fixture->libraryPath());
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray fileBefore = file.readAll();
        file.close();

        const TestUtil::CliResult r = runCli({ u"migrate"_s, u"--dry-run"_s, vault });
        QCOMPARE(QString::fromUtf8(r.out),
            dryRun(u"4 notes to create · 0 already in Apple Notes (skipped)"_s,
                smallVaultNotes(created, created, created)));
        QCOMPARE(r.err, QByteArray());
        QCOMPARE(r.exitCode, 0);

        // Only the folder list was read: there is no "Imported by Velloran" to read notes from.
        QCOMPARE(programsRun(), QStringList { u"list-folder-details"_s });
        QCOMPARE(printedLibrary(), libraryBefore);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), fileBefore);
        QCOMPARE(TestUtil::hashTree(vault), vaultBefore);
    }

    // A note already in its Notes folder is listed as skipped, and the migration then skips exactly those.
    void notesAlreadyInNotesAreSkipped()
    {
        writeSmallVault();
        fixture->seed(R"json({"folders": [{"name": "Imported by Velloran",
            "notes": [{"name": "Home", "body": "<div>Home</div>"}, {"name": "Note", "body": "<div>Note</div>"}],
            "folders": [{"name": "Travel", "notes": [{"name": "Trip", "body": "<div>Trip</div>"}]},
                        {"name": "Elsewhere", "notes": [{"name": "trip (2)", "body": "<div>x</div>"}]}]}]})json");
        const TestUtil::CliResult r = runCli({ u"migrate"_s, u"--dry-run"_s, vault });
        QCOMPARE(QString::fromUtf8(r.out),
            dryRun(u"2 notes to create · 2 already in Apple Notes (skipped)"_s,
                smallVaultNotes(skipped, skipped, created)));
        QCOMPARE(r.exitCode, 0);
        // The root and Travel are read; Elsewhere, where no note goes, is not.
        QCOMPARE(
            programsRun(), (QStringList { u"list-folder-details"_s, u"read-folder-by-id"_s, u"read-folder-by-id"_s }));

        const TestUtil::CliResult migrated = runCli({ u"migrate"_s, u"--json"_s, vault });
        const QJsonObject report = QJsonDocument::fromJson(migrated.out).object();
        QCOMPARE(report[u"notesCreated"_s].toInteger(), 2);
        QCOMPARE(report[u"notesSkipped"_s].toInteger(), 2);
    }

    // Without osascript the dry run still lists every note, says why Notes was not checked, and succeeds.
    // A Notes without the terms that give folder ids: the destination folders are read by name.
    void notesWithoutFolderIds()
    {
        writeSmallVault();
        fixture->seed(R"json({"folders": [{"name": "Imported by Velloran",
            "notes": [{"name": "Home", "body": "<div>Home</div>"}],
            "folders": [{"name": "Travel", "notes": [{"name": "trip (2)", "body": "<div>x</div>"}]}]}]})json");
        qputenv("VELLORAN_FAKE_NOTES_OLD_NOTES", "1");
        const TestUtil::CliResult r = runCli({ u"migrate"_s, u"--dry-run"_s, u"--json"_s, vault });
        QCOMPARE(r.exitCode, 0);
        const QJsonObject plan = QJsonDocument::fromJson(r.out).object();
        QCOMPARE(plan[u"notesChecked"_s].toBool(), true);
        QStringList presence;
        for (const QJsonValue note : plan[u"notes"_s].toArray())
            presence.append(note[u"title"_s].toString() + u": "_s + note[u"inNotes"_s].toString());
        QCOMPARE(presence, (QStringList { u"Home: exists"_s, u"Note: new"_s, u"Trip: new"_s, u"trip (2): exists"_s }));
    }

    void unknownWhenOsascriptIsMissing()
    {
        const QString missing = fixture->path(u"no-such-osascript"_s);
        QProcess launch;
        launch.start(missing, {});
        QVERIFY(!launch.waitForStarted());
        writeSmallVault();
        qputenv("VELLORAN_OSASCRIPT", missing.toUtf8());
        const TestUtil::CliResult r = runCli({ u"migrate"_s, u"--dry-run"_s, vault });
        QCOMPARE(QString::fromUtf8(r.out),
            dryRun(u"4 notes to migrate"_s,
                u"Apple Notes couldn't be read, so it is unknown which notes are already there (they would be "
                "skipped): "_s
                    + launch.errorString() + u"\n\n"_s + smallVaultNotes(unchecked, unchecked, unchecked)));
        QCOMPARE(r.err, QByteArray());
        QCOMPARE(r.exitCode, 0);
    }

    // The example vault before and after its migration: every note to create, then every note skipped.
    void exampleVaultBeforeAndAfterItsMigration()
    {
        fixture->seed(R"({"folders": []})");
        const TestUtil::CliResult before = runCli({ u"migrate"_s, u"--dry-run"_s, exampleVault });
        QCOMPARE(QString::fromUtf8(before.out),
            dryRun(u"12 notes to create · 0 already in Apple Notes (skipped)"_s,
                QString(exampleVaultNotes).replace(unchecked, created)));
        QCOMPARE(before.exitCode, 0);
        QCOMPARE(fixture->folders(), QJsonArray());

        QCOMPARE(runCli({ u"migrate"_s, exampleVault }).exitCode, 0);
        const TestUtil::CliResult after = runCli({ u"migrate"_s, u"--dry-run"_s, exampleVault });
        QCOMPARE(QString::fromUtf8(after.out),
            dryRun(u"0 notes to create · 12 already in Apple Notes (skipped)"_s,
                QString(exampleVaultNotes).replace(unchecked, skipped)));
        QCOMPARE(after.exitCode, 0);
    }

    // Ctrl-C while Notes does not answer ends the check: the plan so far is printed, nothing is left behind.
    void ctrlCEndsTheCheck()
    {
        writeSmallVault();
        qputenv("VELLORAN_FAKE_NOTES_HANG", "list-folder-details");
        QProcess process;
        process.start(QStringLiteral(VELLORAN_CLI), { u"migrate"_s, u"--dry-run"_s, u"--json"_s, vault });
        QVERIFY(process.waitForStarted());
        QTRY_VERIFY_WITH_TIMEOUT(programsRun().contains(u"list-folder-details"_s), 60000);
        ::kill(pid_t(process.processId()), SIGINT);
        QVERIFY(process.waitForFinished(60000));
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 130);
        const QJsonObject plan = QJsonDocument::fromJson(process.readAllStandardOutput()).object();
        QCOMPARE(plan[u"notesChecked"_s].toBool(), false);
        QCOMPARE(plan[u"unknownReason"_s].toString(), u"stopped before Notes answered"_s);
        QCOMPARE(plan[u"notes"_s].toArray().size(), 4);
    }

    void unknownWhenAutomationIsRefused()
    {
        writeSmallVault();
        qputenv("VELLORAN_FAKE_NOTES_DENY", "1");
        const TestUtil::CliResult r = runCli({ u"migrate"_s, u"--dry-run"_s, u"--json"_s, vault });
        QCOMPARE(r.exitCode, 0);
        const QJsonObject plan = QJsonDocument::fromJson(r.out).object();
        QCOMPARE(plan[u"notesChecked"_s].toBool(), false);
        QCOMPARE(plan[u"unknownReason"_s].toString(), permissionText());
        for (const QJsonValue note : plan[u"notes"_s].toArray())
            QCOMPARE(note[u"inNotes"_s].toString(), u"unknown"_s);
    }

    void json()
    {
        writeSmallVault();
        fixture->seed(R"({"folders": [{"name": "Imported by Velloran",
            "folders": [{"name": "Travel", "notes": [{"name": "Trip", "body": "<div>Trip</div>"}]}]}]})");
        const TestUtil::CliResult r = runCli({ u"migrate"_s, u"--dry-run"_s, u"--json"_s, vault });
        QCOMPARE(r.exitCode, 0);
        QJsonParseError error;
        const QJsonObject plan = QJsonDocument::fromJson(r.out, &error).object();
        QCOMPARE(error.error, QJsonParseError::NoError);
        const auto note = [](const QString &path, const QJsonArray &folder, const QString &title,
                              const QString &renamedFrom, const QString &inNotes) {
            return QJsonObject { { u"path"_s, path }, { u"folder"_s, folder }, { u"title"_s, title },
                { u"renamedFrom"_s, renamedFrom }, { u"imagesAttached"_s, QJsonArray() },
                { u"imagesNotAttached"_s, QJsonArray() }, { u"wikilinks"_s, QJsonArray() }, { u"hasTables"_s, false },
                { u"failure"_s, QString() }, { u"inNotes"_s, inNotes } };
        };
        QJsonObject home = note(u"Home.md"_s, { u"Imported by Velloran"_s }, u"Home"_s, QString(), u"new"_s);
        home[u"imagesAttached"_s] = QJsonArray { u"pic.png"_s };
        home[u"imagesNotAttached"_s]
            = QJsonArray { QJsonArray { u"https://example.com/b.png"_s, u"web images are not downloaded"_s },
                  QJsonArray { u"gone.jpg"_s, u"not found on disk"_s } };
        home[u"wikilinks"_s] = QJsonArray { u"Trip"_s };
        QJsonObject trip
            = note(u"Travel/Trip.md"_s, { u"Imported by Velloran"_s, u"Travel"_s }, u"Trip"_s, QString(), u"exists"_s);
        trip[u"hasTables"_s] = true;
        const QJsonObject expected { { u"notes"_s,
                                         QJsonArray { home,
                                             note(u"Deep/Er/Note.md"_s, { u"Imported by Velloran"_s, u"Deep ▸ Er"_s },
                                                 u"Note"_s, QString(), u"new"_s),
                                             trip,
                                             note(u"Travel/trip.markdown"_s, { u"Imported by Velloran"_s, u"Travel"_s },
                                                 u"trip (2)"_s, u"trip"_s, u"new"_s) } },
            { u"unreadable"_s, QJsonArray { QJsonArray { u"bad.md"_s, u"not UTF-8 text"_s } } },
            { u"notesChecked"_s, true }, { u"unknownReason"_s, QString() } };
        QCOMPARE(plan, expected);
    }

    // The plan names the same Notes folders, titles and attachments that the migration then makes.
    void agreesWithTheMigrationOfTheExampleVault()
    {
        const QUrl url = QUrl::fromLocalFile(exampleVault);
        const VaultAnalysis analysis = VaultScanner::scan(url);
        QCoro::Task<MigrationPlan> planning = MigrationPlanner::planChecked(analysis, url);
        const MigrationPlan plan = QCoro::waitFor(planning);
        QVERIFY(plan.notesChecked);
        QCOMPARE(plan.count(PlannedNote::willBeCreated), 12);
        qint64 attached = 0;
        qint64 wikilinks = 0;
        for (const PlannedNote &note : plan.notes) {
            attached += note.imagesAttached.size();
            wikilinks += note.wikilinks.size();
        }

        Migrator migrator;
        QCoro::Task<> migrating = migrator.migrate(analysis, url);
        QCoro::waitFor(migrating);
        QVERIFY(migrator.report());
        QCOMPARE(migrator.report()->notesCreated, plan.count(PlannedNote::willBeCreated));
        QCOMPARE(migrator.report()->imagesAttached, attached);
        QCOMPARE(migrator.report()->wikilinksDegraded, wikilinks);
        QCOMPARE(migrator.report()->imagesMissing.size(), analysis.attachmentsMissing);

        const QJsonObject root = fixture->folders().at(0).toObject();
        QCOMPARE(root[u"name"_s].toString(), Migrator::rootFolderName);
        for (const PlannedNote &note : plan.notes) {
            QJsonObject folder = root;
            if (note.folder.size() > 1) {
                for (const QJsonValue sub : root[u"folders"_s].toArray()) {
                    if (sub[u"name"_s].toString() == note.folder.at(1))
                        folder = sub.toObject();
                }
                QCOMPARE(folder[u"name"_s].toString(), note.folder.at(1));
            }
            QStringList names;
            for (const QJsonValue made : folder[u"notes"_s].toArray())
                names.append(made[u"name"_s].toString());
            QVERIFY2(names.contains(note.title), qPrintable(note.title));
        }

        // Once migrated, every note is there: a second migration would skip them all.
        QCoro::Task<MigrationPlan> planningAgain = MigrationPlanner::planChecked(analysis, url);
        const MigrationPlan again = QCoro::waitFor(planningAgain);
        QCOMPARE(again.count(PlannedNote::alreadyInNotes), 12);
        QCOMPARE(again.count(PlannedNote::willBeCreated), 0);
    }
};

QTEST_GUILESS_MAIN(tst_MigrationPlan)
#include "tst_MigrationPlan.moc"
