// Tests of velloran-cli's migrate, export and round-trip commands against the Notes stand-in: what they
// print, their exit statuses, the progress line, Ctrl-C, and the dry run (which creates nothing).

#include "NotesFixture.h"
#include "TestUtil.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTest>

#include <csignal>
#include <memory>

using namespace Qt::StringLiterals;
using TestUtil::runCli;

namespace {

const QString exampleVault = QStringLiteral(VELLORAN_SOURCE_DIR "/examples/vault");

QString refusedText()
{
    return u"Permission needed: System Settings → Privacy & Security → Automation → Velloran → Notes"_s;
}

const QString exampleReport = u"Migration complete\n"
                              "12 notes · 4 images attached\n"
                              "\n"
                              "Images not found on disk (3)\n"
                              "  2024-01-16: https://example.com/cat.png\n"
                              "  Launch plan: missing-chart.png\n"
                              "  Recipes: gone.jpg\n"
                              "\n"
                              "Deep folders flattened to “A ▸ B” (Notes nests one level)\n"
                              "  Projects/2024/Q1\n"
                              "\n"
                              "7 wikilinks became underlined text references — Apple Notes has no API for creating "
                              "note-to-note links.\n"_s;

// What migrate --dry-run lists.

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

class tst_RunCli : public QObject
{
    Q_OBJECT

    std::unique_ptr<NotesFixture> fixture;
    QString vault;

    /// The number of notes the stand-in holds below "Imported by Velloran".
    qsizetype importedNotes() const
    {
        qsizetype count = 0;
        for (const QJsonValue top : fixture->folders()) {
            const QJsonObject root = top.toObject();
            if (root.value(u"name"_s).toString() != u"Imported by Velloran"_s)
                continue;
            count += root.value(u"notes"_s).toArray().size();
            for (const QJsonValue sub : root.value(u"folders"_s).toArray())
                count += sub.toObject().value(u"notes"_s).toArray().size();
        }
        return count;
    }

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

    qsizetype runsOf(const QString &program) const
    {
        qsizetype count = 0;
        for (const QJsonObject &run : fixture->runs())
            count += run.value(u"program"_s).toString() == program ? 1 : 0;
        return count;
    }

private slots:
    void init()
    {
        fixture = std::make_unique<NotesFixture>();
        vault = fixture->path(u"vault"_s);
        QVERIFY(QDir().mkpath(vault));
        // The command-line tool keeps its settings out of the real home.
        qputenv("XDG_CONFIG_HOME", fixture->path(u"config"_s).toUtf8());
    }

    void cleanup()
    {
        QCOMPARE(fixture->leftovers(), QStringList());
        fixture.reset();
    }

    void migrateExampleVault()
    {
        const QMap<QString, QByteArray> before = TestUtil::hashTree(exampleVault);
        const TestUtil::CliResult r = runCli({ u"migrate"_s, exampleVault });
        QCOMPARE(QString::fromUtf8(r.out), exampleReport);
        QCOMPARE(r.exitCode, 0);
        // Standard error is not a terminal here: no progress line.
        QCOMPARE(r.err, QByteArray());
        QCOMPARE(importedNotes(), 12);
        QCOMPARE(TestUtil::hashTree(exampleVault), before);

        // Again: everything is skipped, and that alone is no issue.
        const TestUtil::CliResult again = runCli({ u"migrate"_s, exampleVault });
        QCOMPARE(QString::fromUtf8(again.out),
            u"Migration complete\n"
            "0 notes · 0 images attached\n"
            "\n"
            "Images not found on disk (3)\n"
            "  2024-01-16: https://example.com/cat.png\n"
            "  Launch plan: missing-chart.png\n"
            "  Recipes: gone.jpg\n"
            "\n"
            "Deep folders flattened to “A ▸ B” (Notes nests one level)\n"
            "  Projects/2024/Q1\n"
            "\n"
            "12 notes already existed in the destination folder and were skipped (no duplicates created). Safe to "
            "re-run.\n"_s);
        QCOMPARE(again.exitCode, 0);
        QCOMPARE(importedNotes(), 12);
    }

    void migrateJson()
    {
        const TestUtil::CliResult r = runCli({ u"migrate"_s, u"--json"_s, exampleVault });
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.out,
            QByteArray("{\"notesCreated\":12,\"notesSkipped\":0,\"notesFailed\":[],\"notesMisfiled\":[],"
                       "\"imagesAttached\":4,\"imagesMissing\":[\"2024-01-16: https://example.com/cat.png\","
                       "\"Launch plan: missing-chart.png\",\"Recipes: gone.jpg\"],"
                       "\"foldersFlattened\":[\"Projects/2024/Q1\"],\"wikilinksDegraded\":7,\"stopped\":false}\n"));
    }

    void migrateWithIssues()
    {
        TestUtil::writeFile(vault, u"Lost/Stray.md"_s, "stray\n");
        TestUtil::writeFile(vault, u"Odd.md"_s, "odd\n");
        qputenv("VELLORAN_FAKE_NOTES_FAIL_FOLDER", "Lost");
        qputenv("VELLORAN_FAKE_NOTES_FAIL_NOTE", "Odd");
        const TestUtil::CliResult r = runCli({ u"migrate"_s, vault });
        QCOMPARE(r.exitCode, 1);
        const QString out = QString::fromUtf8(r.out);
        const QRegularExpression expected(u"^Migration finished with issues\n"
                                          "0 notes · 0 images attached\n"
                                          "\n"
                                          "Failed \\(2\\)\n"
                                          "  \\(folder Lost\\) — Apple Notes error: [^\n]*\\(-10000\\)\n"
                                          "  Odd — Apple Notes error: [^\n]*\\(-10000\\)\n"
                                          "\n"
                                          "Placed in root — their folder couldn’t be created \\(1\\)\n"
                                          "  Stray — expected in “Lost”\n$"_s);
        QVERIFY2(expected.match(out).hasMatch(), qPrintable(out));

        const TestUtil::CliResult json = runCli({ u"migrate"_s, u"--json"_s, vault });
        QCOMPARE(json.exitCode, 1);
        const QJsonObject report = QJsonDocument::fromJson(json.out).object();
        QCOMPARE(report.keys().size(), 9);
        QCOMPARE(report.value(u"notesSkipped"_s).toInteger(), 1);
        QCOMPARE(report.value(u"notesMisfiled"_s).toArray(), QJsonArray());
        QCOMPARE(report.value(u"notesFailed"_s).toArray().size(), 2);
        QCOMPARE(report.value(u"notesFailed"_s).toArray().at(1).toArray().at(0).toString(), u"Odd"_s);
    }

    void migrateRefused()
    {
        TestUtil::writeFile(vault, u"Note.md"_s, "text\n");
        qputenv("VELLORAN_FAKE_NOTES_DENY", "1");
        const TestUtil::CliResult r = runCli({ u"migrate"_s, vault });
        QCOMPARE(QString::fromUtf8(r.out),
            u"Migration finished with issues\n0 notes · 0 images attached\n\nFailed (1)\n  (setup) — "_s + refusedText()
                + u'\n');
        QCOMPARE(r.exitCode, 1);
        const TestUtil::CliResult json = runCli({ u"migrate"_s, u"--json"_s, vault });
        QCOMPARE(json.out,
            "{\"notesCreated\":0,\"notesSkipped\":0,\"notesFailed\":[[\"(setup)\",\"" + refusedText().toUtf8()
                + "\"]],\"notesMisfiled\":[],\"imagesAttached\":0,\"imagesMissing\":[],\"foldersFlattened\":[],"
                  "\"wikilinksDegraded\":0,\"stopped\":false}\n");
        QCOMPARE(json.exitCode, 1);
    }

    void dryRunListsEveryNoteAndCreatesNothing()
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
    void dryRunNotesAlreadyInNotesAreSkipped()
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
    void dryRunOnANotesWithoutFolderIds()
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

    void dryRunWhenOsascriptIsMissing()
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
    void dryRunOfTheExampleVaultBeforeAndAfterItsMigration()
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
    void ctrlCEndsTheDryRunsCheck()
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

    void dryRunWhenAutomationIsRefused()
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

    void dryRunJson()
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

    void usageErrors_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addRow("migrate without a path") << QStringList { u"migrate"_s };
        QTest::addRow("migrate with an unknown flag") << QStringList { u"migrate"_s, u"--fast"_s, exampleVault };
        QTest::addRow("export without a destination") << QStringList { u"export"_s };
        QTest::addRow("export --folder without a name") << QStringList { u"export"_s, u"out"_s, u"--folder"_s };
        QTest::addRow("round-trip without a path") << QStringList { u"round-trip"_s };
    }

    void usageErrors()
    {
        QFETCH(QStringList, arguments);
        const TestUtil::CliResult r = runCli(arguments);
        QCOMPARE(r.exitCode, 2);
        QCOMPARE(r.out, QByteArray());
        QVERIFY(!r.err.isEmpty());
        QCOMPARE(fixture->runs().size(), 0);
    }

    void usageErrorsWithJson_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("message");
        QTest::addRow("migrate with an unknown flag")
            << QStringList { u"migrate"_s, u"--json"_s, u"--fast"_s, exampleVault } << u"unknown option: --fast"_s;
        QTest::addRow("export without a destination")
            << QStringList { u"export"_s, u"--json"_s } << u"DEST is required"_s;
        QTest::addRow("export --folder without a name") << QStringList { u"export"_s, u"--json"_s, u"out"_s,
            u"--folder"_s } << u"--folder: 1 required TEXT missing"_s;
        QTest::addRow("export with two destinations")
            << QStringList { u"export"_s, u"--json"_s, u"a"_s, u"b"_s } << u"unexpected argument: b"_s;
        QTest::addRow("a command that does not exist")
            << QStringList { u"--json"_s, u"nosuchcmd"_s } << u"unknown command: nosuchcmd"_s;
    }
    void usageErrorsWithJson()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, message);
        const TestUtil::CliResult r = runCli(arguments);
        QCOMPARE(r.exitCode, 2);
        QCOMPARE(QString::fromUtf8(r.out), u"{\"error\":\""_s + message + u"\"}\n"_s);
        QCOMPARE(
            QString::fromUtf8(r.err), u"velloran-cli: "_s + message + u"\nRun with --help for more information.\n"_s);
        QCOMPARE(fixture->runs().size(), 0);
    }

    void pathThatDoesNotExist_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("argument");
        QTest::addColumn<QString>("message");
        // The same line and the same exit status from every command; export makes its destination, but
        // not the folder it is to be made in.
        const QString missing = u"/no/such/folder"_s;
        QTest::addRow("analyze") << u"analyze"_s << missing << missing + u": no such folder"_s;
        QTest::addRow("migrate") << u"migrate"_s << missing << missing + u": no such folder"_s;
        QTest::addRow("export") << u"export"_s << missing + u"/out"_s << missing + u": no such folder"_s;
        QTest::addRow("round-trip") << u"round-trip"_s << missing << missing + u": no such folder"_s;
        QTest::addRow("render") << u"render"_s << missing + u"/note.md"_s << missing + u"/note.md: no such file"_s;
    }
    void pathThatDoesNotExist()
    {
        QFETCH(QString, command);
        QFETCH(QString, argument);
        QFETCH(QString, message);
        const TestUtil::CliResult r = runCli({ command, argument });
        QCOMPARE(r.exitCode, 1);
        QCOMPARE(r.out, QByteArray());
        QCOMPARE(QString::fromUtf8(r.err), u"velloran-cli: "_s + message + u'\n');
        const TestUtil::CliResult json = runCli({ command, u"--json"_s, argument });
        QCOMPARE(json.exitCode, 1);
        QCOMPARE(QString::fromUtf8(json.out), u"{\"error\":\""_s + message + u"\"}\n"_s);
        QCOMPARE(json.err, r.err);
        QCOMPARE(fixture->runs().size(), 0);
        QVERIFY(!QFileInfo::exists(u"/no"_s));
    }

    void pathThatIsNotAFolder_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("argument");
        QTest::addColumn<QString>("message");
        const QString file = exampleVault + u"/Welcome.md"_s;
        QTest::addRow("migrate") << u"migrate"_s << file << file + u": not a folder"_s;
        QTest::addRow("export into a file") << u"export"_s << file << file + u": not a folder"_s;
        QTest::addRow("export below a file") << u"export"_s << file + u"/out"_s << file + u": not a folder"_s;
    }
    void pathThatIsNotAFolder()
    {
        QFETCH(QString, command);
        QFETCH(QString, argument);
        QFETCH(QString, message);
        const QMap<QString, QByteArray> before = TestUtil::hashTree(exampleVault);
        const TestUtil::CliResult r = runCli({ command, argument });
        QCOMPARE(r.exitCode, 1);
        QCOMPARE(r.out, QByteArray());
        QCOMPARE(QString::fromUtf8(r.err), u"velloran-cli: "_s + message + u'\n');
        const TestUtil::CliResult json = runCli({ command, u"--json"_s, argument });
        QCOMPARE(json.exitCode, 1);
        QCOMPARE(QString::fromUtf8(json.out), u"{\"error\":\""_s + message + u"\"}\n"_s);
        QCOMPARE(fixture->runs().size(), 0);
        QCOMPARE(TestUtil::hashTree(exampleVault), before);
    }

    void exportMakesAMissingDestination()
    {
        QCOMPARE(runCli({ u"migrate"_s, exampleVault }).exitCode, 0);
        const QString out = fixture->path(u"new"_s);
        QVERIFY(!QFileInfo::exists(out));
        const TestUtil::CliResult r = runCli({ u"export"_s, u"--json"_s, u"--folder"_s, u"Journal"_s, out });
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.out, QByteArray("{\"written\":2,\"failed\":[],\"folders\":[\"Journal\"],\"stopped\":false}\n"));
        QCOMPARE(TestUtil::hashTree(out).size(), 2);
    }

    void exportEverything()
    {
        QCOMPARE(runCli({ u"migrate"_s, exampleVault }).exitCode, 0);
        const QString out = fixture->path(u"out"_s);
        const TestUtil::CliResult r = runCli({ u"export"_s, out });
        QCOMPARE(QString::fromUtf8(r.out), u"Export complete\n12 notes written · 5 folders\n"_s);
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.err, QByteArray());
        QCOMPARE(TestUtil::hashTree(out).size(), 12);

        const TestUtil::CliResult json = runCli({ u"export"_s, u"--json"_s, out });
        QCOMPARE(json.out,
            QByteArray("{\"written\":12,\"failed\":[],\"folders\":[\"Imported by Velloran\",\"Journal\",\"Projects\","
                       "\"Projects ▸ 2024 ▸ Q1\",\"Reference\"],\"stopped\":false}\n"));
        QCOMPARE(TestUtil::hashTree(out).size(), 24);
    }

    void exportNamedFolders()
    {
        QCOMPARE(runCli({ u"migrate"_s, exampleVault }).exitCode, 0);
        const QString out = fixture->path(u"out"_s);
        const TestUtil::CliResult r
            = runCli({ u"export"_s, u"--json"_s, u"--folder"_s, u"Reference"_s, out, u"--folder"_s, u"Journal"_s });
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.out,
            QByteArray("{\"written\":5,\"failed\":[],\"folders\":[\"Journal\",\"Reference\"],\"stopped\":false}\n"));
        QCOMPARE(runsOf(u"read-folder-by-id"_s), 2);
        // Once to check the names, once for the export.
        QCOMPARE(runsOf(u"list-folder-details"_s), 2);
    }

    void exportOfAFolderThatNotesLacks()
    {
        QCOMPARE(runCli({ u"migrate"_s, exampleVault }).exitCode, 0);
        const QString out = fixture->path(u"out"_s);
        const qsizetype readsBefore = runsOf(u"read-folder-by-id"_s);
        const TestUtil::CliResult r
            = runCli({ u"export"_s, u"--folder"_s, u"Journal"_s, u"--folder"_s, u"Nowhere"_s, out });
        QCOMPARE(r.exitCode, 1);
        QCOMPARE(r.out, QByteArray());
        QCOMPARE(QString::fromUtf8(r.err), u"velloran-cli: Nowhere: no such folder in Apple Notes\n"_s);
        const TestUtil::CliResult json = runCli({ u"export"_s, u"--json"_s, u"--folder"_s, u"Nowhere"_s, out });
        QCOMPARE(json.exitCode, 1);
        QCOMPARE(QString::fromUtf8(json.out), u"{\"error\":\"Nowhere: no such folder in Apple Notes\"}\n"_s);
        QCOMPARE(json.err, r.err);
        // Nothing was read or written.
        QCOMPARE(runsOf(u"read-folder-by-id"_s), readsBefore);
        QVERIFY(!QFileInfo::exists(out));
    }

    void exportOfSameNamedFolders()
    {
        fixture->seed(R"({"folders": [{"name": "Notes", "notes": [{"name": "A", "body": "<div>A</div>"}]}],
            "accounts": [{"name": "On My Mac", "folders": [{"name": "Notes", "notes": [{"name": "B", "body": "<div>B</div>"}]}]}]})");
        const QString out = fixture->path(u"out"_s);
        TestUtil::CliResult r = runCli({ u"export"_s, u"--json"_s, out });
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.out,
            QByteArray("{\"written\":2,\"failed\":[],\"folders\":[\"Notes\",\"Notes (2)\"],\"stopped\":false}\n"));
        QCOMPARE(TestUtil::hashTree(out).keys(), (QStringList { u"Notes (2)/B.md"_s, u"Notes/A.md"_s }));

        // One of them, as the export screen labels it.
        const QString one = fixture->path(u"one"_s);
        r = runCli({ u"export"_s, u"--json"_s, u"--folder"_s, u"Notes — On My Mac"_s, one });
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(TestUtil::hashTree(one).keys(), QStringList { u"Notes/B.md"_s });

        // Where Notes cannot tell them apart, the second is listed as not exported.
        qputenv("VELLORAN_FAKE_NOTES_OLD_NOTES", "1");
        const QString old = fixture->path(u"old"_s);
        r = runCli({ u"export"_s, u"--json"_s, old });
        QCOMPARE(r.exitCode, 1);
        QCOMPARE(r.out,
            QByteArray("{\"written\":1,\"failed\":[[\"(folder Notes)\",\"not exported: another folder has the same "
                       "name\"]],\"folders\":[\"Notes\"],\"stopped\":false}\n"));
        QCOMPARE(TestUtil::hashTree(old).keys(), QStringList { u"Notes/A.md"_s });
        qunsetenv("VELLORAN_FAKE_NOTES_OLD_NOTES");
    }

    void exportRefused()
    {
        qputenv("VELLORAN_FAKE_NOTES_DENY", "1");
        const QString out = fixture->path(u"out"_s);
        const TestUtil::CliResult r = runCli({ u"export"_s, out });
        QCOMPARE(QString::fromUtf8(r.out),
            u"Export finished with issues\n0 notes written · 0 folders\n\nFailed (1)\n  (reading Apple Notes) — "_s
                + refusedText() + u'\n');
        QCOMPARE(r.exitCode, 1);
        const TestUtil::CliResult json = runCli({ u"export"_s, u"--json"_s, out });
        QCOMPARE(json.out,
            "{\"written\":0,\"failed\":[[\"(reading Apple Notes)\",\"" + refusedText().toUtf8()
                + "\"]],\"folders\":[],\"stopped\":false}\n");
        QCOMPARE(json.exitCode, 1);
        QVERIFY(!QFileInfo::exists(out));
    }

    void progressLineOnATerminal()
    {
        // `script` gives the tool a terminal; the progress line is drawn on it, and the report follows.
        if (QStandardPaths::findExecutable(u"script"_s).isEmpty())
            QSKIP("needs script(1) to provide a terminal");
        TestUtil::writeFile(vault, u"One.md"_s, "1\n");
        TestUtil::writeFile(vault, u"Two.md"_s, "2\n");
        QProcess process;
        process.start(u"script"_s,
            { u"-qec"_s, u"'"_s + QStringLiteral(VELLORAN_CLI) + u"' migrate '"_s + vault + u"'"_s, u"/dev/null"_s });
        QVERIFY(process.waitForFinished(60000));
        QCOMPARE(process.exitCode(), 0);
        const QString all = QString::fromUtf8(process.readAllStandardOutput());
        QVERIFY2(all.contains(u"\r\033[K[###############---------------]  50%  Two"_s), qPrintable(all));
        QVERIFY2(all.contains(u"Migration complete\r\n2 notes · 0 images attached\r\n"_s), qPrintable(all));
    }

    void ctrlCStopsAfterTheCurrentNote()
    {
        for (int i = 1; i <= 20; ++i)
            TestUtil::writeFile(vault, u"Note %1.md"_s.arg(i, 2, 10, QChar(u'0')), "text\n");
        // Each script run takes a while, so that the interrupt comes in the middle of the run.
        qputenv("VELLORAN_FAKE_NOTES_DELAY_MS", "150");
        QProcess process;
        process.start(QStringLiteral(VELLORAN_CLI), { u"migrate"_s, u"--json"_s, vault });
        QVERIFY(process.waitForStarted());
        QTRY_VERIFY_WITH_TIMEOUT(runsOf(u"create-note"_s) >= 1, 60000);
        ::kill(pid_t(process.processId()), SIGINT);
        QVERIFY(process.waitForFinished(60000));
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 130);
        const QJsonObject report = QJsonDocument::fromJson(process.readAllStandardOutput()).object();
        const qint64 created = report.value(u"notesCreated"_s).toInteger();
        // The note in flight finished and was counted; nothing after it was started.
        QVERIFY2(created >= 1 && created < 20, qPrintable(QString::number(created)));
        QCOMPARE(importedNotes(), created);
        QCOMPARE(runsOf(u"create-note"_s), created);
        QCOMPARE(QString::fromUtf8(process.readAllStandardError()), u"Stopping after the current note…\n"_s);
        QCOMPARE(report.value(u"stopped"_s).toBool(), true);
        // cleanup() checks that no body or script file was left behind.
    }

    // A terminal that closes (SIGHUP) or a polite kill (SIGTERM) stops the run as Ctrl-C does, and the run's
    // temporary folder goes with it.
    void sigtermAndSighupStopLikeCtrlC_data()
    {
        QTest::addColumn<int>("signal");
        QTest::addRow("SIGTERM") << int(SIGTERM);
        QTest::addRow("SIGHUP") << int(SIGHUP);
    }
    void sigtermAndSighupStopLikeCtrlC()
    {
        QFETCH(int, signal);
        for (int i = 1; i <= 20; ++i)
            TestUtil::writeFile(vault, u"Note %1.md"_s.arg(i, 2, 10, QChar(u'0')), "text\n");
        qputenv("VELLORAN_FAKE_NOTES_DELAY_MS", "150");
        QProcess process;
        process.start(QStringLiteral(VELLORAN_CLI), { u"migrate"_s, u"--json"_s, vault });
        QVERIFY(process.waitForStarted());
        QTRY_VERIFY_WITH_TIMEOUT(runsOf(u"create-note"_s) >= 1, 60000);
        ::kill(pid_t(process.processId()), signal);
        QVERIFY(process.waitForFinished(60000));
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 130);
        const QJsonObject report = QJsonDocument::fromJson(process.readAllStandardOutput()).object();
        QCOMPARE(report.value(u"stopped"_s).toBool(), true);
        const qint64 created = report.value(u"notesCreated"_s).toInteger();
        QVERIFY2(created >= 1 && created < 20, qPrintable(QString::number(created)));
        QCOMPARE(importedNotes(), created);
        // cleanup() checks that no body or script file, and no run folder, was left behind.
    }

    // Notes that never answers: Ctrl-C gives the script five seconds, then ends it. The note in flight is
    // reported as stopped, with a reason.
    void stopEndsAScriptThatNeverAnswers()
    {
        TestUtil::writeFile(vault, u"Hangs.md"_s, "text\n");
        // The stand-in answers every script but the note creation, which waits for ever.
        fixture->installScript("grep -q 'set noteName to item 3 of argv' \"$1\" && exec sleep 600\nexec '"
            + QByteArray(VELLORAN_FAKE_OSASCRIPT) + "' \"$@\"");
        QProcess process;
        process.start(QStringLiteral(VELLORAN_CLI), { u"migrate"_s, u"--json"_s, vault });
        QVERIFY(process.waitForStarted());
        QTRY_VERIFY_WITH_TIMEOUT(runsOf(u"ensure-folder"_s) >= 1, 60000);
        QTest::qWait(500);
        QElapsedTimer timer;
        timer.start();
        ::kill(pid_t(process.processId()), SIGINT);
        QVERIFY(process.waitForFinished(60000));
        QVERIFY2(timer.elapsed() >= 4000, qPrintable(QString::number(timer.elapsed())));
        QCOMPARE(process.exitCode(), 130);
        const QJsonObject report = QJsonDocument::fromJson(process.readAllStandardOutput()).object();
        QCOMPARE(report.value(u"stopped"_s).toBool(), true);
        QCOMPARE(report.value(u"notesCreated"_s).toInteger(), 0);
        QCOMPARE(report.value(u"notesFailed"_s).toArray(),
            QJsonArray({ QJsonArray({ u"Hangs"_s, u"stopped before Notes answered"_s }) }));
    }

    void ctrlCDuringAnExportWritesNothing()
    {
        QCOMPARE(runCli({ u"migrate"_s, exampleVault }).exitCode, 0);
        qputenv("VELLORAN_FAKE_NOTES_DELAY_MS", "150");
        const QString out = fixture->path(u"out"_s);
        QProcess process;
        process.start(QStringLiteral(VELLORAN_CLI), { u"export"_s, u"--json"_s, out });
        QVERIFY(process.waitForStarted());
        // Interrupted while the folders are read: the writer stops before its first note.
        QTRY_VERIFY_WITH_TIMEOUT(runsOf(u"read-folder-by-id"_s) >= 1, 60000);
        ::kill(pid_t(process.processId()), SIGINT);
        QVERIFY(process.waitForFinished(60000));
        QCOMPARE(process.exitCode(), 130);
        QCOMPARE(process.readAllStandardOutput(),
            QByteArray("{\"written\":0,\"failed\":[],\"folders\":[],\"stopped\":true}\n"));
        QVERIFY(!QFileInfo::exists(out) || TestUtil::hashTree(out).isEmpty());
    }

    void roundTripReport()
    {
        const QMap<QString, QByteArray> before = TestUtil::hashTree(exampleVault);
        const TestUtil::CliResult r = runCli({ u"round-trip"_s, exampleVault });
        QCOMPARE(r.exitCode, 0);
        const QStringList lines = QString::fromUtf8(r.out).split(u'\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 13); // one per note, then the total
        // The round trip works in a library of its own: the test's library is untouched.
        QCOMPARE(fixture->folders(), QJsonArray());
        QCOMPARE(TestUtil::hashTree(exampleVault), before);

        // Counts in the source are exact; the exported side is measured, not judged.
        const QRegularExpression line(u"^(.+): headings (\\d+)→(\\d+) · list items (\\d+)→(\\d+) · links (\\d+)→(\\d+)"
                                      " · emphasis (\\d+)→(\\d+) · tables (\\d+)→(\\d+) · images (\\d+)→(\\d+)$"_s);
        QList<qint64> sums(12, 0);
        QHash<QString, QList<qint64>> byNote;
        for (const QString &text : lines.mid(0, 12)) {
            const QRegularExpressionMatch m = line.match(text);
            QVERIFY2(m.hasMatch(), qPrintable(text));
            QList<qint64> counts;
            for (int i = 2; i <= 13; ++i) {
                counts.append(m.captured(i).toLongLong());
                sums[i - 2] += counts.last();
            }
            byNote.insert(m.captured(1), counts);
        }
        // Welcome: one heading, two wikilinks and a link, one bold, one embedded image.
        const QList<qint64> welcome = byNote.value(u"Welcome.md"_s);
        QCOMPARE(welcome.size(), 12);
        QCOMPARE(welcome.at(0), 1);
        QCOMPARE(welcome.at(2), 0);
        QCOMPARE(welcome.at(4), 3);
        QCOMPARE(welcome.at(6), 1);
        QCOMPARE(welcome.at(8), 0);
        QCOMPARE(welcome.at(10), 1);
        const QRegularExpressionMatch total
            = QRegularExpression(u"^Total \\(12 notes, 0 not exported\\): (.*)$"_s).match(lines.last());
        QVERIFY2(total.hasMatch(), qPrintable(lines.last()));
        const QRegularExpressionMatch totals = line.match(u"x: "_s + total.captured(1));
        QVERIFY(totals.hasMatch());
        for (int i = 2; i <= 13; ++i)
            QCOMPARE(totals.captured(i).toLongLong(), sums.at(i - 2));

        const TestUtil::CliResult json = runCli({ u"round-trip"_s, u"--json"_s, exampleVault });
        QCOMPARE(json.exitCode, 0);
        const QJsonObject root = QJsonDocument::fromJson(json.out).object();
        QCOMPARE(root.value(u"notes"_s).toArray().size(), 12);
        QCOMPARE(root.value(u"total"_s).toObject().value(u"source"_s).toObject().value(u"headings"_s).toInteger(),
            sums.at(0));
    }

    void roundTripNeedsTheStandIn()
    {
        qunsetenv("VELLORAN_OSASCRIPT");
        const TestUtil::CliResult r = runCli({ u"round-trip"_s, exampleVault });
        QCOMPARE(r.exitCode, 2);
        QCOMPARE(r.out, QByteArray());
        QCOMPARE(QString::fromUtf8(r.err),
            u"velloran-cli: round-trip runs only against the Notes stand-in: set VELLORAN_OSASCRIPT to "
            "fake-osascript\n"_s);
        const TestUtil::CliResult json = runCli({ u"round-trip"_s, u"--json"_s, exampleVault });
        QCOMPARE(json.exitCode, 2);
        QCOMPARE(json.out,
            QByteArray("{\"error\":\"round-trip runs only against the Notes stand-in: set VELLORAN_OSASCRIPT to "
                       "fake-osascript\"}\n"));
    }
};

QTEST_GUILESS_MAIN(tst_RunCli)
#include "tst_RunCli.moc"
