// Tests of the migration controller: one run of a scanned folder into the Notes stand-in (fake-osascript),
// through the real script runners, with what it publishes on the way and the report at the end.

#include "MarkdownLite.h"
#include "MigrationPlan.h"
#include "Migrator.h"
#include "NotesFixture.h"
#include "TestUtil.h"
#include "VaultScanner.h"

#include <QDirIterator>
#include <QJsonArray>
#include <QJsonObject>
#include <QPointer>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <QCoro/QCoroTask>

#include <memory>

using namespace Qt::StringLiterals;
using Pairs = QList<std::pair<QString, QString>>;

namespace {

QJsonObject childNamed(const QJsonArray &folders, const QString &name)
{
    for (const QJsonValue folder : folders) {
        if (folder.toObject().value(u"name"_s).toString() == name)
            return folder.toObject();
    }
    return {};
}

QStringList names(const QJsonArray &items)
{
    QStringList list;
    for (const QJsonValue item : items)
        list.append(item.toObject().value(u"name"_s).toString());
    return list;
}

QStringList titles(const VaultAnalysis &analysis)
{
    QStringList list;
    for (const VaultAnalysis::Note &note : analysis.notes)
        list.append(note.title);
    return list;
}

QStringList strings(const QJsonValue &array)
{
    QStringList list;
    for (const QJsonValue value : array.toArray())
        list.append(value.toString());
    return list;
}

/// The arguments (script file dropped) of every run of one program, in order.
QList<QStringList> argumentsOf(const NotesFixture &fixture, const QString &program)
{
    QList<QStringList> all;
    for (const QJsonObject &run : fixture.runs()) {
        if (run.value(u"program"_s).toString() == program)
            all.append(strings(run.value(u"argv"_s)).mid(1));
    }
    return all;
}

/// The body that Notes keeps for a note made from `html`, for bodies without headings or images.
QString keptBody(const QString &title, const QString &html)
{
    return u"<div>"_s + title + u"</div>"_s + html;
}

/// What a refused Automation permission (-1743) is reported as.
QString refusedText()
{
    return u"Permission needed: System Settings → Privacy & Security → Automation → Velloran → Notes"_s;
}

/// A failure text of a script run, with the script file's name and the character range left open.
QRegularExpression scriptFailure(const QString &tempDir, const QString &error)
{
    return QRegularExpression(u"^Apple Notes error: "_s + QRegularExpression::escape(tempDir)
        + u"/velloran-run-\\d+-[0-9A-F-]{36}/velloran-[^/]+\\.applescript:\\d+:\\d+: execution error: "_s
        + QRegularExpression::escape(error) + u"$"_s);
}

} // namespace

class tst_Migrator : public QObject
{
    Q_OBJECT

    std::unique_ptr<NotesFixture> fixture;
    QString vault;

    /// Scans the test's vault.
    VaultAnalysis scan() const { return VaultScanner::scan(QUrl::fromLocalFile(vault)); }

    /// Runs one migration to its end and returns the published report.
    Migrator::Report migrate(Migrator &migrator, const VaultAnalysis &analysis)
    {
        QSignalSpy finished(&migrator, &Migrator::reportChanged);
        auto task = migrator.migrate(analysis, QUrl::fromLocalFile(vault));
        if (finished.isEmpty())
            finished.wait(120000);
        if (finished.size() != 1 || !migrator.report()) {
            qWarning("the migration did not end with one report");
            return {};
        }
        return *migrator.report();
    }

    /// The folder "Imported by Velloran" in the stand-in's library.
    QJsonObject root() const { return childNamed(fixture->folders(), Migrator::rootFolderName); }

    void write(const QString &relativePath, const QByteArray &bytes) const
    {
        TestUtil::writeFile(vault, relativePath, bytes);
    }

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void init()
    {
        fixture = std::make_unique<NotesFixture>();
        vault = fixture->path(u"vault"_s);
        QVERIFY(QDir().mkpath(vault));
    }

    void cleanup()
    {
        // No body file or script file outlives a run, whatever its outcome.
        QCOMPARE(fixture->leftovers(), QStringList());
        fixture.reset();
    }

    void initialState()
    {
        Migrator migrator;
        QCOMPARE(migrator.progress(), 0.0);
        QCOMPARE(migrator.currentNote(), QString());
        QCOMPARE(migrator.isRunning(), false);
        QVERIFY(!migrator.report());
        QVERIFY(!migrator.property("report").isValid());
        const Migrator::Report fresh;
        QCOMPARE(fresh.notesCreated, 0);
        QCOMPARE(fresh.notesSkipped, 0);
        QVERIFY(fresh.notesFailed.isEmpty());
        QVERIFY(fresh.notesMisfiled.isEmpty());
        QCOMPARE(fresh.imagesAttached, 0);
        QVERIFY(fresh.imagesMissing.isEmpty());
        QVERIFY(fresh.foldersFlattened.isEmpty());
        QCOMPARE(fresh.wikilinksDegraded, 0);
    }

    void emptyVaultMakesOnlyTheRootFolder()
    {
        Migrator migrator;
        const Migrator::Report report = migrate(migrator, scan());
        QCOMPARE(report, Migrator::Report());
        QCOMPARE(migrator.progress(), 1.0);
        QCOMPARE(migrator.currentNote(), QString());
        QCOMPARE(migrator.isRunning(), false);
        QCOMPARE(names(fixture->folders()), QStringList { u"Imported by Velloran"_s });
        QCOMPARE(root().value(u"folders"_s).toArray().size(), 0);
        QCOMPARE(root().value(u"notes"_s).toArray().size(), 0);
        QCOMPARE(fixture->runs().size(), 1);
        QCOMPARE(argumentsOf(*fixture, u"ensure-folder"_s), QList<QStringList> { { u"Imported by Velloran"_s } });
    }

    void notesLandInTheirFolders()
    {
        write(u"Top.md"_s, "Hello *there*\n");
        write(u"A/In A.md"_s, "In A\n");
        write(u"A/B/C/Deep.md"_s, "Deep down\n");
        Migrator migrator;
        const Migrator::Report report = migrate(migrator, scan());

        QCOMPARE(report.notesCreated, 3);
        QCOMPARE(report.notesSkipped, 0);
        QCOMPARE(report.notesFailed, Pairs());
        QCOMPARE(report.notesMisfiled, Pairs());
        // A one-component path is never listed as flattened.
        QCOMPARE(report.foldersFlattened, QStringList { u"A/B/C"_s });

        const QJsonObject imported = root();
        QCOMPARE(names(imported.value(u"notes"_s).toArray()), QStringList { u"Top"_s });
        QCOMPARE(imported.value(u"notes"_s).toArray().at(0).toObject().value(u"body"_s).toString(),
            u"<div>Top</div><div>Hello <i>there</i></div>\n<div><br></div>"_s);
        QCOMPARE(names(imported.value(u"folders"_s).toArray()), (QStringList { u"A"_s, u"A ▸ B ▸ C"_s }));
        const QJsonObject a = childNamed(imported.value(u"folders"_s).toArray(), u"A"_s);
        QCOMPARE(names(a.value(u"notes"_s).toArray()), QStringList { u"In A"_s });
        const QJsonObject abc = childNamed(imported.value(u"folders"_s).toArray(), u"A ▸ B ▸ C"_s);
        QCOMPARE(names(abc.value(u"notes"_s).toArray()), QStringList { u"Deep"_s });
        QCOMPARE(abc.value(u"notes"_s).toArray().at(0).toObject().value(u"body"_s).toString(),
            u"<div>Deep</div><div>Deep down</div>\n<div><br></div>"_s);
        // The subfolder of A ▸ B ▸ C is one level down: A holds no folder of its own.
        QCOMPARE(a.value(u"folders"_s).toArray().size(), 0);
    }

    // A file the scan could not read is a failure of the run, with its reason: never a silent gap.
    void unreadableFilesAreListedAsFailed()
    {
        write(u"good.md"_s, "fine\n");
        write(u"Sub/latin1.md"_s, QByteArray("caf\xe9\n", 5));
        QVERIFY(QFile::link(u"/dev/zero"_s, vault + u"/zero.md"_s));
        Migrator migrator;
        const Migrator::Report report = migrate(migrator, scan());
        QCOMPARE(report.notesCreated, 1);
        QCOMPARE(report.notesFailed,
            (Pairs { { u"Sub/latin1.md"_s, u"not UTF-8 text"_s }, { u"zero.md"_s, u"not a regular file"_s } }));
        QCOMPARE(names(root().value(u"notes"_s).toArray()), QStringList { u"good"_s });
    }

    // Two notes that would get one name in one Notes folder are both created, the later one numbered; a
    // second run finds both and skips them.
    void notesOfOneNameAreAllCreatedAndSkippedOnTheNextRun()
    {
        write(u"x.md"_s, "from md\n");
        write(u"x.markdown"_s, "from markdown\n");
        write(u"A/B/n.md"_s, "deep\n");
        write(u"A ▸ B/n.md"_s, "flat\n");
        Migrator migrator;
        const Migrator::Report first = migrate(migrator, scan());
        QCOMPARE(first.notesCreated, 4);
        QCOMPARE(first.notesFailed, Pairs());
        const QJsonObject imported = root();
        QCOMPARE(names(imported.value(u"notes"_s).toArray()), (QStringList { u"x"_s, u"x (2)"_s }));
        QCOMPARE(imported.value(u"notes"_s).toArray().at(1).toObject().value(u"body"_s).toString(),
            u"<div>x (2)</div><div>from md</div>\n<div><br></div>"_s);
        const QJsonObject ab = childNamed(imported.value(u"folders"_s).toArray(), u"A ▸ B"_s);
        QCOMPARE(names(ab.value(u"notes"_s).toArray()), (QStringList { u"n"_s, u"n (2)"_s }));
        QCOMPARE(ab.value(u"notes"_s).toArray().at(0).toObject().value(u"body"_s).toString(),
            u"<div>n</div><div>flat</div>\n<div><br></div>"_s);

        const Migrator::Report second = migrate(migrator, scan());
        QCOMPARE(second.notesCreated, 0);
        QCOMPARE(second.notesSkipped, 4);
    }

    // Only readable regular files inside the folder are attached; the others are listed with the reason,
    // and the note is still created.
    void imagesThatCannotBeAttachedAreListedWithTheReason()
    {
        QTemporaryDir outside;
        TestUtil::writeFile(outside.path(), u"secret.png"_s, "secret");
        QVERIFY(QFile::link(outside.path() + u"/secret.png"_s, vault + u"/link.png"_s));
        QVERIFY(QDir(vault).mkpath(u"folder.png"_s));
        write(u"a&b.png"_s, "png");
        write(u"c'd.png"_s, "png");
        write(u"Note.md"_s,
            "![[link.png]] ![x](../outside.png) ![y](" + outside.path().toUtf8()
                + "/secret.png) ![[folder.png]] ![[a&b.png]] ![z](c'd.png)\n");
        Migrator migrator;
        const Migrator::Report report = migrate(migrator, scan());
        QCOMPARE(report.notesCreated, 1);
        QCOMPARE(report.imagesAttached, 2);
        QCOMPARE(report.imagesMissing,
            (QStringList { u"Note: folder.png (not a regular file)"_s, u"Note: link.png (outside the folder)"_s,
                u"Note: "_s + outside.path() + u"/secret.png (outside the folder)"_s, u"Note: ../outside.png"_s }));
        QCOMPARE(argumentsOf(*fixture, u"create-note"_s).at(0).mid(4),
            (QStringList { vault + u"/a&b.png"_s, vault + u"/c'd.png"_s }));
    }

    // Stopping lets the note in flight finish within the grace period, and starts no other.
    void stopLetsTheNoteInFlightFinish()
    {
        write(u"First.md"_s, "1\n");
        write(u"Second.md"_s, "2\n");
        write(u"Third.md"_s, "3\n");
        qputenv("VELLORAN_FAKE_NOTES_DELAY_MS", "300");
        Migrator migrator;
        connect(&migrator, &Migrator::currentNoteChanged, this, [&] {
            if (migrator.currentNote() == u"Second"_s)
                migrator.requestStop();
        });
        const Migrator::Report report = migrate(migrator, scan());
        QCOMPARE(report.notesCreated, 2);
        QCOMPARE(report.notesFailed, Pairs());
        QCOMPARE(report.stopped, true);
        QCOMPARE(names(root().value(u"notes"_s).toArray()), (QStringList { u"First"_s, u"Second"_s }));
        const QMetaObject &type = Migrator::Report::staticMetaObject;
        QCOMPARE(type.property(type.indexOfProperty("stopped")).readOnGadget(&report).toBool(), true);
    }

    // A note that Notes never answers is ended after the grace period and reported as stopped, not as an
    // error with an empty reason.
    void stopEndsANoteThatNotesNeverAnswers()
    {
        write(u"First.md"_s, "1\n");
        write(u"Second.md"_s, "2\n");
        write(u"Third.md"_s, "3\n");
        fixture->installScript(
            "[ \"$4\" = Second ] && exec sleep 600\nexec '" + QByteArray(VELLORAN_FAKE_OSASCRIPT) + "' \"$@\"");
        Migrator migrator;
        migrator.setStopGracePeriod(std::chrono::milliseconds(300));
        connect(&migrator, &Migrator::currentNoteChanged, this, [&] {
            if (migrator.currentNote() == u"Second"_s)
                QTimer::singleShot(200, &migrator, &Migrator::requestStop);
        });
        const Migrator::Report report = migrate(migrator, scan());
        QCOMPARE(report.notesCreated, 1);
        QCOMPARE(report.notesFailed, (Pairs { { u"Second"_s, u"stopped before Notes answered"_s } }));
        QCOMPARE(report.stopped, true);
        QCOMPARE(names(root().value(u"notes"_s).toArray()), QStringList { u"First"_s });
    }

    // The first script can wait on Notes for ever (an Automation prompt left open): it can be stopped too.
    void rootFolderThatNeverAnswersCanBeStopped()
    {
        write(u"First.md"_s, "1\n");
        fixture->installScript("exec sleep 600");
        Migrator migrator;
        migrator.setStopGracePeriod(std::chrono::milliseconds(100));
        QTimer::singleShot(300, &migrator, &Migrator::requestStop);
        const Migrator::Report report = migrate(migrator, scan());
        QCOMPARE(report.notesFailed, (Pairs { { u"(setup)"_s, u"stopped before Notes answered"_s } }));
        QCOMPARE(report.notesCreated, 0);
        QCOMPARE(report.stopped, true);
        QCOMPARE(migrator.isRunning(), false);
    }

    // Nothing blocks the thread that runs the migration, the folder scripts included.
    void theEventLoopRunsWhileFoldersAreMade()
    {
        write(u"A/First.md"_s, "1\n");
        qputenv("VELLORAN_FAKE_NOTES_DELAY_MS", "300");
        Migrator migrator;
        int ticks = 0;
        QTimer ticker;
        connect(&ticker, &QTimer::timeout, this, [&] { ++ticks; });
        ticker.start(20);
        int ticksAtFirstNote = -1;
        connect(&migrator, &Migrator::currentNoteChanged, this, [&] {
            if (ticksAtFirstNote < 0)
                ticksAtFirstNote = ticks;
        });
        const Migrator::Report report = migrate(migrator, scan());
        QCOMPARE(report.notesCreated, 1);
        // Two folder scripts of at least 300 ms each ran before the first note: the timer kept ticking.
        QVERIFY2(ticksAtFirstNote >= 10, qPrintable(QString::number(ticksAtFirstNote)));
    }

    // osascript itself can fail: a crash or a failure that says nothing still gives each note a reason.
    void failuresOfOsascriptItselfHaveAReason_data()
    {
        QTest::addColumn<QByteArray>("variable");
        QTest::addColumn<QString>("reason");
        QTest::addRow("crash") << QByteArray("VELLORAN_FAKE_NOTES_CRASH")
                               << u"Apple Notes error: osascript ended with signal 11"_s;
        QTest::addRow("no message") << QByteArray("VELLORAN_FAKE_NOTES_SILENT")
                                    << u"Apple Notes error: osascript failed without a message (exit status 1)"_s;
    }
    void failuresOfOsascriptItselfHaveAReason()
    {
        QFETCH(QByteArray, variable);
        QFETCH(QString, reason);
        write(u"One.md"_s, "1\n");
        write(u"Two.md"_s, "2\n");
        qputenv(variable.constData(), "create-note");
        Migrator migrator;
        const Migrator::Report report = migrate(migrator, scan());
        QCOMPARE(report.notesCreated, 0);
        QCOMPARE(report.notesFailed, (Pairs { { u"One"_s, reason }, { u"Two"_s, reason } }));
        QCOMPARE(report.stopped, false);
    }

    // The stand-in's own Notes that never answers a note: Stop ends it after the grace period.
    void hangingNoteOfTheStandInIsStopped()
    {
        write(u"One.md"_s, "1\n");
        qputenv("VELLORAN_FAKE_NOTES_HANG", "create-note");
        Migrator migrator;
        migrator.setStopGracePeriod(std::chrono::milliseconds(200));
        connect(&migrator, &Migrator::currentNoteChanged, this, [&] {
            if (migrator.currentNote() == u"One"_s)
                QTimer::singleShot(300, &migrator, &Migrator::requestStop);
        });
        const Migrator::Report report = migrate(migrator, scan());
        QCOMPARE(report.notesFailed, (Pairs { { u"One"_s, u"stopped before Notes answered"_s } }));
        QCOMPARE(report.stopped, true);
    }

    void subfoldersAreEnsuredInPlainOrder()
    {
        for (const char *path : { "b/n1.md", "a/n2.md", "B/n3.md", "a/b/n4.md", "Ä/n5.md", "a b/n6.md" })
            write(QString::fromUtf8(path), "x\n");
        Migrator migrator;
        const Migrator::Report report = migrate(migrator, scan());
        QCOMPARE(report.notesCreated, 6);
        QCOMPARE(report.foldersFlattened, QStringList { u"a/b"_s });
        const QList<QStringList> expected { { u"Imported by Velloran"_s, u"B"_s },
            { u"Imported by Velloran"_s, u"a"_s }, { u"Imported by Velloran"_s, u"a b"_s },
            { u"Imported by Velloran"_s, u"a ▸ b"_s }, { u"Imported by Velloran"_s, u"b"_s },
            { u"Imported by Velloran"_s, u"Ä"_s } };
        QCOMPARE(argumentsOf(*fixture, u"ensure-subfolder"_s), expected);
    }

    void notesAreCreatedInAnalysisOrderWithTheirArguments()
    {
        write(u"Zeta.md"_s, "z\n");
        write(u"F/alpha.md"_s, "a\n");
        write(u"Mid.md"_s, "m\n");
        Migrator migrator;
        const VaultAnalysis analysis = scan();
        migrate(migrator, analysis);
        const QList<QStringList> created = argumentsOf(*fixture, u"create-note"_s);
        QCOMPARE(created.size(), 3);
        // root, subfolder ("" for the root itself), title, body file, then the attachments.
        QCOMPARE(created.at(0).mid(0, 3), (QStringList { u"Imported by Velloran"_s, u"F"_s, u"alpha"_s }));
        QCOMPARE(created.at(1).mid(0, 3), (QStringList { u"Imported by Velloran"_s, QString(), u"Mid"_s }));
        QCOMPARE(created.at(2).mid(0, 3), (QStringList { u"Imported by Velloran"_s, QString(), u"Zeta"_s }));
        const QRegularExpression bodyFile(u"^"_s + QRegularExpression::escape(fixture->tempDir())
            + u"/velloran-run-\\d+-[0-9A-F-]{36}/velloran-body-[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}\\.html$"_s);
        for (const QStringList &arguments : created) {
            QCOMPARE(arguments.size(), 4);
            QVERIFY2(bodyFile.match(arguments.at(3)).hasMatch(), qPrintable(arguments.at(3)));
        }
        QCOMPARE(created.at(0).at(3) == created.at(1).at(3), false);
    }

    void publishedStateInOrder()
    {
        write(u"One.md"_s, "1\n");
        write(u"Two.md"_s, "2\n");
        write(u"Three.md"_s, "3\n");
        write(u"Four.md"_s, "4\n");
        Migrator migrator;
        QStringList events;
        QList<double> progress;
        connect(&migrator, &Migrator::progressChanged, this, [&] {
            progress.append(migrator.progress());
            events.append(u"progress "_s + QString::number(migrator.progress()));
        });
        connect(&migrator, &Migrator::currentNoteChanged, this,
            [&] { events.append(u"note "_s + migrator.currentNote()); });
        connect(&migrator, &Migrator::isRunningChanged, this,
            [&] { events.append(u"running "_s + (migrator.isRunning() ? u"true"_s : u"false"_s)); });
        connect(&migrator, &Migrator::reportChanged, this, [&] { events.append(u"report"_s); });
        QSignalSpy progressSpy(&migrator, &Migrator::progressChanged);

        migrate(migrator, scan());

        // Titles in locale order: Four, One, Three, Two. Progress 0 is not announced: it did not change.
        const QStringList expected { u"running true"_s, u"note Four"_s, u"note One"_s, u"progress 0.25"_s,
            u"note Three"_s, u"progress 0.5"_s, u"note Two"_s, u"progress 0.75"_s, u"progress 1"_s, u"note "_s,
            u"running false"_s, u"report"_s };
        QCOMPARE(events, expected);
        QCOMPARE(progressSpy.size(), 4);
        // Before the last note, (total - 1) / total; exactly 1 only at the end.
        QCOMPARE(progress, (QList<double> { 0.25, 0.5, 0.75, 1.0 }));
        QCOMPARE(progress.count(1.0), 1);
        QVERIFY(progress.at(2) == 3.0 / 4.0);

        // A second run starts again from 0 and keeps the last report until its own ends.
        events.clear();
        progress.clear();
        QSignalSpy reportSpy(&migrator, &Migrator::reportChanged);
        auto task = migrator.migrate(scan(), QUrl::fromLocalFile(vault));
        QCOMPARE(migrator.isRunning(), true);
        QVERIFY(migrator.report().has_value());
        QCOMPARE(migrator.report()->notesCreated, 4);
        QTRY_COMPARE_WITH_TIMEOUT(reportSpy.size(), 1, 60000);
        QCOMPARE(events.mid(0, 3), (QStringList { u"running true"_s, u"progress 0"_s, u"note Four"_s }));
        QCOMPARE(migrator.report()->notesSkipped, 4);
        QCOMPARE(migrator.report()->notesCreated, 0);
    }

    void rerunSkipsEverythingAndDuplicatesNothing()
    {
        write(u"Root note.md"_s, "![p](pic.png) [[Link]]\n");
        write(u"pic.png"_s, "png");
        write(u"F/G/Deep.md"_s, "deep [[x]] [[y]]\n");
        Migrator migrator;
        const Migrator::Report first = migrate(migrator, scan());
        QCOMPARE(first.notesCreated, 2);
        QCOMPARE(first.imagesAttached, 1);
        QCOMPARE(first.wikilinksDegraded, 3);
        const QJsonObject before = fixture->library();

        const Migrator::Report second = migrate(migrator, scan());
        Migrator::Report expected;
        expected.notesSkipped = 2;
        expected.foldersFlattened = QStringList { u"F/G"_s };
        QCOMPARE(second, expected);
        QCOMPARE(fixture->library(), before);
    }

    void existingNoteCountsOnlyAsSkipped()
    {
        fixture->seed(R"({"folders": [{"name": "Imported by Velloran", "folders": [{"name": "Trips",
            "notes": [{"name": "Beach", "body": "<div>Beach</div><div>old</div>"}]}]}]})");
        write(u"Trips/Beach.md"_s, "![[sand.png]] ![x](https://example.com/a.png) [[Sea]] [[Sun]]\n");
        write(u"Trips/sand.png"_s, "png");
        Migrator migrator;
        const Migrator::Report report = migrate(migrator, scan());
        Migrator::Report expected;
        expected.notesSkipped = 1;
        // The remote image is recorded while the note is prepared, before Notes is asked.
        expected.imagesMissing = QStringList { u"Beach: https://example.com/a.png"_s };
        QCOMPARE(report, expected);
        const QJsonObject trips = childNamed(root().value(u"folders"_s).toArray(), u"Trips"_s);
        QCOMPARE(trips.value(u"notes"_s).toArray().size(), 1);
        QCOMPARE(trips.value(u"notes"_s).toArray().at(0).toObject().value(u"body"_s).toString(),
            u"<div>Beach</div><div>old</div>"_s);
    }

    void rootFolderRefused()
    {
        write(u"A/Note.md"_s, "text\n");
        qputenv("VELLORAN_FAKE_NOTES_DENY", "1");
        Migrator migrator;
        QStringList events;
        connect(&migrator, &Migrator::progressChanged, this, [&] { events.append(u"progress"_s); });
        connect(&migrator, &Migrator::currentNoteChanged, this, [&] { events.append(u"note"_s); });
        connect(&migrator, &Migrator::isRunningChanged, this,
            [&] { events.append(u"running "_s + (migrator.isRunning() ? u"true"_s : u"false"_s)); });
        connect(&migrator, &Migrator::reportChanged, this, [&] { events.append(u"report"_s); });
        const Migrator::Report report = migrate(migrator, scan());

        Migrator::Report expected;
        expected.notesFailed = { { u"(setup)"_s, refusedText() } };
        QCOMPARE(report, expected);
        QCOMPARE(events, (QStringList { u"running true"_s, u"running false"_s, u"report"_s }));
        QCOMPARE(migrator.progress(), 0.0);
        QCOMPARE(migrator.currentNote(), QString());
        // Nothing after the refused root folder was tried.
        QCOMPARE(fixture->runs().size(), 1);
        QCOMPARE(fixture->folders().size(), 0);
    }

    void rootFolderTimesOut()
    {
        write(u"Note.md"_s, "text\n");
        qputenv("VELLORAN_FAKE_NOTES_TIMEOUT", "1");
        Migrator migrator;
        const Migrator::Report report = migrate(migrator, scan());
        QCOMPARE(report.notesFailed.size(), 1);
        QCOMPARE(report.notesFailed.at(0).first, u"(setup)"_s);
        const QString reason = report.notesFailed.at(0).second;
        QVERIFY2(scriptFailure(fixture->tempDir(), u"Notes got an error: AppleEvent timed out. (-1712)"_s)
                     .match(reason)
                     .hasMatch(),
            qPrintable(reason));
        QCOMPARE(report.notesCreated, 0);
        QCOMPARE(migrator.progress(), 0.0);
    }

    void failingSubfolderMisfilesItsNotes()
    {
        write(u"Good/Kept.md"_s, "kept\n");
        write(u"Bad/Stray.md"_s, "stray [[w]]\n");
        write(u"Bad/Other.md"_s, "other\n");
        write(u"Bad/x.png"_s, "png");
        write(u"Bad/Pictured.md"_s, "![[x.png]]\n");
        qputenv("VELLORAN_FAKE_NOTES_FAIL_FOLDER", "Bad");
        Migrator migrator;
        const Migrator::Report report = migrate(migrator, scan());

        QCOMPARE(report.notesFailed.size(), 1);
        QCOMPARE(report.notesFailed.at(0).first, u"(folder Bad)"_s);
        QVERIFY2(scriptFailure(fixture->tempDir(), u"Notes got an error: AppleEvent handler failed. (-10000)"_s)
                     .match(report.notesFailed.at(0).second)
                     .hasMatch(),
            qPrintable(report.notesFailed.at(0).second));
        // Misfiled notes are counted only as misfiled, never also as created; their images and wikilinks count.
        QCOMPARE(report.notesCreated, 1);
        QCOMPARE(report.notesMisfiled,
            (Pairs { { u"Other"_s, u"Bad"_s }, { u"Pictured"_s, u"Bad"_s }, { u"Stray"_s, u"Bad"_s } }));
        QCOMPARE(report.imagesAttached, 1);
        QCOMPARE(report.wikilinksDegraded, 1);
        QCOMPARE(names(root().value(u"notes"_s).toArray()), (QStringList { u"Other"_s, u"Pictured"_s, u"Stray"_s }));
        QCOMPARE(names(root().value(u"folders"_s).toArray()), QStringList { u"Good"_s });
    }

    // What prepare gives for a note is what the migration creates from it: the body file byte for byte,
    // the attachments in order, and the images listed as missing with their reasons.
    void preparedNotesAreWhatTheMigrationCreates()
    {
        QTemporaryDir outside;
        TestUtil::writeFile(outside.path(), u"secret.png"_s, "secret");
        QVERIFY(QFile::link(outside.path() + u"/secret.png"_s, vault + u"/link.png"_s));
        write(u"Trips/Beach.md"_s,
            "---\ntags: [sea]\n---\n# Beach & <sand>\n![[sand.png]]\n![x](https://example.com/a.png) [[Sea]]\n"
            "| a | b |\n|---|---|\n| 1 | ![[shell.png]] |\n- [ ] pack ![p](../assets/map%20one.png)\n");
        write(u"Trips/sand.png"_s, "png");
        write(u"assets/map one.png"_s, "png");
        write(u"deep/er/Shell.PNG"_s, "png");
        write(u"Odd.md"_s, "![[link.png]]\n![[gone.png]]\n![y](bad%zz.png)\n![[sand.png]]\n```\n![[sand.png]]\n```\n");
        write(u"Plain.md"_s, "Just *text* & <tags>\n");
        // The stand-in keeps a copy of every body file it is given, named after the note.
        const QString bodies = fixture->path(u"bodies"_s);
        QVERIFY(QDir().mkpath(bodies));
        fixture->installScript("case \"$5\" in *.html) cp \"$5\" '" + bodies.toUtf8() + "/'\"$4\".html ;; esac\nexec '"
            + QByteArray(VELLORAN_FAKE_OSASCRIPT) + "' \"$@\"");

        const VaultAnalysis analysis = scan();
        QList<VaultScanner::PreparedNote> prepared;
        for (const VaultAnalysis::Note &note : analysis.notes) {
            const std::optional<VaultScanner::PreparedNote> one
                = VaultScanner::prepare(note, QUrl::fromLocalFile(vault));
            QVERIFY(one);
            prepared.append(*one);
        }
        Migrator migrator;
        const Migrator::Report report = migrate(migrator, analysis);

        const QList<QStringList> created = argumentsOf(*fixture, u"create-note"_s);
        QCOMPARE(created.size(), 3);
        QStringList missing;
        qint64 attached = 0;
        for (qsizetype i = 0; i < created.size(); ++i) {
            const QString title = analysis.notes.at(i).title;
            QCOMPARE(created.at(i).at(2), title);
            QCOMPARE(created.at(i).mid(4), prepared.at(i).attachments);
            QFile body(bodies + u'/' + title + u".html"_s);
            QVERIFY(body.open(QIODevice::ReadOnly));
            QCOMPARE(body.readAll(), prepared.at(i).html.toUtf8());
            missing += prepared.at(i).imagesMissing;
            attached += prepared.at(i).attachments.size();
        }
        QCOMPARE(report.imagesMissing, missing);
        QCOMPARE(report.imagesAttached, attached);
        QCOMPARE(analysis.attachmentsResolved, attached);
        QCOMPARE(analysis.attachmentsMissing, missing.size());

        // What was compared: the notes in title order, each with what it attaches and misses.
        QCOMPARE(titles(analysis), (QStringList { u"Beach"_s, u"Odd"_s, u"Plain"_s }));
        QCOMPARE(prepared.at(0).attachments,
            (QStringList {
                vault + u"/Trips/sand.png"_s, vault + u"/deep/er/Shell.PNG"_s, vault + u"/assets/map one.png"_s }));
        QCOMPARE(prepared.at(1).attachments, QStringList { vault + u"/Trips/sand.png"_s });
        QCOMPARE(missing,
            (QStringList { u"Beach: https://example.com/a.png"_s, u"Odd: link.png (outside the folder)"_s,
                u"Odd: gone.png"_s, u"Odd: bad%zz.png"_s }));
        QCOMPARE(prepared.at(2).html, MarkdownLite::convert(u"Just *text* & <tags>\n"_s).html);
    }

    // The migration does not walk the vault again: images are looked for in the scan's index, and beside
    // the note and at the root as they are when the note is migrated. Each note is read then too.
    void theVaultIsNotWalkedAgain()
    {
        write(u"Notes/Trip.md"_s, "![[map.png]]\n![[late.png]]\n![[beside.png]]\n![[top.png]]\n");
        write(u"Notes/Edited.md"_s, "before\n");
        write(u"pics/map.png"_s, "png");
        const VaultAnalysis analysis = scan();
        QCOMPARE(analysis.attachmentsResolved, 1);
        QCOMPARE(analysis.attachmentsMissing, 3);

        // After the scan, the indexed image is removed and one is added where only a walk could find it;
        // two are added beside the note and at the root; a note is edited and one is added.
        QVERIFY(QFile::remove(vault + u"/pics/map.png"_s));
        write(u"pics/late.png"_s, "png");
        write(u"Notes/beside.png"_s, "png");
        write(u"top.png"_s, "png");
        write(u"Notes/Edited.md"_s, "after\n");
        write(u"Notes/Added.md"_s, "added\n");
        Migrator migrator;
        const Migrator::Report report = migrate(migrator, analysis);

        QCOMPARE(report.notesCreated, 2);
        QCOMPARE(report.imagesMissing, (QStringList { u"Trip: map.png"_s, u"Trip: late.png"_s }));
        QCOMPARE(report.imagesAttached, 2);
        const QList<QStringList> created = argumentsOf(*fixture, u"create-note"_s);
        QCOMPARE(created.size(), 2);
        QCOMPARE(created.at(1).mid(2, 1), QStringList { u"Trip"_s });
        QCOMPARE(created.at(1).mid(4), (QStringList { vault + u"/Notes/beside.png"_s, vault + u"/top.png"_s }));
        const QJsonArray notes
            = childNamed(root().value(u"folders"_s).toArray(), u"Notes"_s).value(u"notes"_s).toArray();
        QCOMPARE(names(notes), (QStringList { u"Edited"_s, u"Trip"_s }));
        QCOMPARE(notes.at(0).toObject().value(u"body"_s).toString(),
            keptBody(u"Edited"_s, u"<div>after</div>\n<div><br></div>"_s));
    }

    // A note replaced, after the scan, by a link to a file outside the vault is not read: nothing from
    // outside the chosen folder reaches Notes, and the note is listed as failed.
    void noteReplacedByALinkOutsideTheVaultIsNotRead()
    {
        QTemporaryDir outside;
        TestUtil::writeFile(outside.path(), u"private.md"_s, "private text\n");
        write(u"Swapped.md"_s, "mine\n");
        write(u"Kept.md"_s, "kept\n");
        const VaultAnalysis analysis = scan();
        QVERIFY(QFile::remove(vault + u"/Swapped.md"_s));
        QVERIFY(QFile::link(outside.path() + u"/private.md"_s, vault + u"/Swapped.md"_s));

        Migrator migrator;
        const Migrator::Report report = migrate(migrator, analysis);

        QCOMPARE(report.notesCreated, 1);
        QCOMPARE(
            report.notesFailed, (QList<std::pair<QString, QString>> { { u"Swapped"_s, u"Couldn't read the file"_s } }));
        QCOMPARE(names(root().value(u"notes"_s).toArray()), QStringList { u"Kept"_s });
    }

    void folderMissingFromTheAnalysisMisfiles()
    {
        write(u"Known/A.md"_s, "a\n");
        write(u"Unknown/B.md"_s, "b\n");
        VaultAnalysis analysis = scan();
        analysis.folders.remove(u"Unknown"_s);
        Migrator migrator;
        const Migrator::Report report = migrate(migrator, analysis);
        QCOMPARE(report.notesFailed, Pairs());
        QCOMPARE(report.notesCreated, 1);
        QCOMPARE(report.notesMisfiled, (Pairs { { u"B"_s, u"Unknown"_s } }));
    }

    void unreadableFilesFailAndTheRunGoesOn()
    {
        write(u"Before.md"_s, "before\n");
        write(u"Broken.md"_s, "fine at scan time\n");
        write(u"Gone.md"_s, "deleted after the scan\n");
        write(u"Last.md"_s, "last\n");
        const VaultAnalysis analysis = scan();
        write(u"Broken.md"_s, "caf\xe9\n"); // Latin-1, not UTF-8
        QVERIFY(QFile::remove(vault + u"/Gone.md"_s));
        Migrator migrator;
        const Migrator::Report report = migrate(migrator, analysis);
        QCOMPARE(report.notesFailed,
            (Pairs { { u"Broken"_s, u"Couldn't read the file"_s }, { u"Gone"_s, u"Couldn't read the file"_s } }));
        QCOMPARE(report.notesCreated, 2);
        QCOMPARE(argumentsOf(*fixture, u"create-note"_s).size(), 2);
    }

    void bodyFileThatCannotBeWrittenFailsTheNote()
    {
        write(u"First.md"_s, "first\n");
        write(u"Second.md"_s, "second\n");
        write(u"Third.md"_s, "third\n");
        // While the second note is prepared, the run's folder is a file, so nothing can be made in it.
        Migrator migrator;
        QString runFolder;
        connect(&migrator, &Migrator::currentNoteChanged, this, [&] {
            if (migrator.currentNote() == u"Second"_s) {
                runFolder = QDir(fixture->tempDir()).absoluteFilePath(fixture->leftovers().value(0));
                QVERIFY(QFile::rename(runFolder, runFolder + u".away"_s));
                fixture->writeFile(u"tmp/"_s + QFileInfo(runFolder).fileName(), "file");
            } else if (migrator.currentNote() == u"Third"_s) {
                QVERIFY(QFile::remove(runFolder));
                QVERIFY(QFile::rename(runFolder + u".away"_s, runFolder));
            }
        });
        const Migrator::Report report = migrate(migrator, scan());
        QVERIFY(QFileInfo(runFolder).fileName().startsWith(u"velloran-run-"_s));

        QCOMPARE(report.notesCreated, 2);
        QCOMPARE(report.notesFailed.size(), 1);
        QCOMPARE(report.notesFailed.at(0).first, u"Second"_s);
        // The system's text.
        QCOMPARE(report.notesFailed.at(0).second, u"Not a directory"_s);
        QCOMPARE(names(root().value(u"notes"_s).toArray()), (QStringList { u"First"_s, u"Third"_s }));
    }

    void scriptFailureForOneNote()
    {
        write(u"Alpha.md"_s, "a\n");
        write(u"Beta.md"_s, "b ![[pic.png]] [[link]]\n");
        write(u"pic.png"_s, "png");
        write(u"Gamma.md"_s, "c\n");
        qputenv("VELLORAN_FAKE_NOTES_FAIL_NOTE", "Beta");
        Migrator migrator;
        const Migrator::Report report = migrate(migrator, scan());
        QCOMPARE(report.notesCreated, 2);
        QCOMPARE(report.imagesAttached, 0);
        QCOMPARE(report.wikilinksDegraded, 0);
        QCOMPARE(report.notesFailed.size(), 1);
        QCOMPARE(report.notesFailed.at(0).first, u"Beta"_s);
        QVERIFY2(scriptFailure(fixture->tempDir(), u"Notes got an error: AppleEvent handler failed. (-10000)"_s)
                     .match(report.notesFailed.at(0).second)
                     .hasMatch(),
            qPrintable(report.notesFailed.at(0).second));
        QCOMPARE(names(root().value(u"notes"_s).toArray()), (QStringList { u"Alpha"_s, u"Gamma"_s }));
    }

    void imagesResolveOrGoMissing()
    {
        write(u"Notes/Pictures.md"_s,
            "![a](http://example.com/a.png)\n"
            "![b](https://example.com/b.png)\n"
            "![c](HTTPS://example.com/local.png)\n"
            "![d](beside%20me.png)\n"
            "![e](assets/at%20root.png)\n"
            "![f](somewhere/else/Indexed.PNG)\n"
            "![g](nowhere.png)\n"
            "![h](bad%zzescape.png)\n"
            "![i](beside%20me.png)\n");
        write(u"Notes/beside me.png"_s, "1");
        write(u"assets/at root.png"_s, "2");
        write(u"deep/er/indexed.png"_s, "3");
        write(u"local.png"_s, "4");
        Migrator migrator;
        const Migrator::Report report = migrate(migrator, scan());
        QCOMPARE(report.notesCreated, 1);
        QCOMPARE(report.imagesMissing,
            (QStringList { u"Pictures: http://example.com/a.png"_s, u"Pictures: https://example.com/b.png"_s,
                u"Pictures: nowhere.png"_s, u"Pictures: bad%zzescape.png"_s }));
        // The upper-case scheme is not remote: its last component is found in the index. The same file
        // referenced twice is attached twice.
        QCOMPARE(report.imagesAttached, 5);
        const QList<QStringList> created = argumentsOf(*fixture, u"create-note"_s);
        QCOMPARE(created.size(), 1);
        QCOMPARE(created.at(0).mid(4),
            (QStringList { vault + u"/local.png"_s, vault + u"/Notes/beside me.png"_s, vault + u"/assets/at root.png"_s,
                vault + u"/deep/er/indexed.png"_s, vault + u"/Notes/beside me.png"_s }));
        const QJsonObject note
            = childNamed(root().value(u"folders"_s).toArray(), u"Notes"_s).value(u"notes"_s).toArray().at(0).toObject();
        QCOMPARE(strings(note.value(u"attachments"_s)),
            (QStringList {
                u"local.png"_s, u"beside me.png"_s, u"at root.png"_s, u"indexed.png"_s, u"beside me.png"_s }));
    }

    // The walk takes each folder's entries in name order: one, three/deeper, two.
    void sameImageNameTheLastOneInNameOrderWins()
    {
        write(u"one/Pic.PNG"_s, "first");
        write(u"two/Pic.PNG"_s, "second");
        write(u"three/deeper/Pic.PNG"_s, "third");
        write(u"Notes/Uses.md"_s, "![[pic.png]]\n");
        const QString last = vault + u"/two/Pic.PNG"_s;
        Migrator migrator;
        const Migrator::Report report = migrate(migrator, scan());
        QCOMPARE(report.imagesAttached, 1);
        QCOMPARE(argumentsOf(*fixture, u"create-note"_s).at(0).mid(4), QStringList { last });
    }

    void hiddenImagesAreNotIndexed()
    {
        write(u".hidden/only.png"_s, "h");
        write(u"Note.md"_s, "![[only.png]]\n");
        Migrator migrator;
        const Migrator::Report report = migrate(migrator, scan());
        QCOMPARE(report.imagesMissing, QStringList { u"Note: only.png"_s });
        QCOMPARE(report.imagesAttached, 0);
    }

    void frontmatterIsStrippedWhenFlagged()
    {
        write(u"With.md"_s, "---\ntags: [a]\n---\nBody text\n");
        write(u"Crlf.md"_s, "---\r\ntags: [a]\r\n---\r\nBody\r\n");
        Migrator migrator;
        const VaultAnalysis analysis = scan();
        migrate(migrator, analysis);
        const QJsonArray notes = root().value(u"notes"_s).toArray();
        QCOMPARE(names(notes), (QStringList { u"Crlf"_s, u"With"_s }));
        QCOMPARE(notes.at(1).toObject().value(u"body"_s).toString(),
            keptBody(u"With"_s, MarkdownLite::convert(u"Body text\n"_s).html));
        QCOMPARE(notes.at(1).toObject().value(u"body"_s).toString(),
            u"<div>With</div><div>Body text</div>\n<div><br></div>"_s);
        // A file with CRLF line ends keeps its block: it is not stripped.
        QCOMPARE(notes.at(0).toObject().value(u"body"_s).toString(),
            keptBody(u"Crlf"_s, MarkdownLite::convert(u"---\r\ntags: [a]\r\n---\r\nBody\r\n"_s).html));
    }

    void stopsAfterTheNoteInFlight()
    {
        for (const char *name : { "n1.md", "n2.md", "n3.md", "n4.md" })
            write(QString::fromUtf8(name), "x\n");
        Migrator migrator;
        const auto stopper = connect(&migrator, &Migrator::currentNoteChanged, this, [&] {
            if (migrator.currentNote() == u"n2"_s)
                migrator.requestStop();
        });
        const Migrator::Report report = migrate(migrator, scan());
        QCOMPARE(report.notesCreated, 2);
        QCOMPARE(names(root().value(u"notes"_s).toArray()), (QStringList { u"n1"_s, u"n2"_s }));
        QCOMPARE(migrator.isRunning(), false);
        QCOMPARE(migrator.currentNote(), QString());

        // The request does not outlive its run: the next one goes to the end.
        disconnect(stopper);
        const Migrator::Report next = migrate(migrator, scan());
        QCOMPARE(next.notesSkipped, 2);
        QCOMPARE(next.notesCreated, 2);
    }

    void controllerDeletedWhileANoteIsInFlight()
    {
        write(u"Only.md"_s, "x\n");
        write(u"Never.md"_s, "y\n");
        auto *migrator = new Migrator;
        QPointer<Migrator> watch(migrator);
        connect(migrator, &Migrator::currentNoteChanged, this, [migrator] { migrator->deleteLater(); });
        auto task = migrator->migrate(scan(), QUrl::fromLocalFile(vault));
        QTRY_VERIFY_WITH_TIMEOUT(watch.isNull(), 60000);
        QTRY_VERIFY_WITH_TIMEOUT(task.isReady(), 60000);
        // The note in flight finished; nothing after it was started, and its body file is gone.
        QCOMPARE(argumentsOf(*fixture, u"create-note"_s).size(), 1);
    }

    void reportForTheScreens()
    {
        Migrator::Report report;
        report.notesCreated = 3;
        report.notesSkipped = 1;
        report.notesFailed = { { u"(setup)"_s, u"why"_s } };
        report.notesMisfiled = { { u"T"_s, u"A/B"_s } };
        report.imagesAttached = 2;
        report.imagesMissing = { u"T: x.png"_s };
        report.foldersFlattened = { u"A/B"_s };
        report.wikilinksDegraded = 7;
        // The screens read the report's fields by name, in this order.
        const QMetaObject &type = Migrator::Report::staticMetaObject;
        QStringList names;
        for (int i = type.propertyOffset(); i < type.propertyCount(); ++i)
            names.append(QString::fromLatin1(type.property(i).name()));
        QCOMPARE(names,
            (QStringList { u"notesCreated"_s, u"notesSkipped"_s, u"notesFailed"_s, u"notesMisfiled"_s,
                u"imagesAttached"_s, u"imagesMissing"_s, u"foldersFlattened"_s, u"wikilinksDegraded"_s,
                u"stopped"_s }));
        const auto field
            = [&](const char *name) { return type.property(type.indexOfProperty(name)).readOnGadget(&report); };
        QCOMPARE(field("notesCreated").toLongLong(), 3);
        QCOMPARE(field("notesSkipped").toLongLong(), 1);
        QCOMPARE(field("notesFailed").value<Pairs>(), (Pairs { { u"(setup)"_s, u"why"_s } }));
        QCOMPARE(field("notesMisfiled").value<Pairs>(), (Pairs { { u"T"_s, u"A/B"_s } }));
        QCOMPARE(field("imagesAttached").toLongLong(), 2);
        QCOMPARE(field("imagesMissing").toStringList(), QStringList { u"T: x.png"_s });
        QCOMPARE(field("foldersFlattened").toStringList(), QStringList { u"A/B"_s });
        QCOMPARE(field("wikilinksDegraded").toLongLong(), 7);

        Migrator migrator;
        QSignalSpy changed(&migrator, &Migrator::reportChanged);
        migrator.setReport(report);
        QCOMPARE(changed.size(), 1);
        QCOMPARE(migrator.property("report").value<Migrator::Report>(), report);
        migrator.clearReport();
        QCOMPARE(changed.size(), 2);
        QVERIFY(!migrator.report());
        QVERIFY(!migrator.property("report").isValid());
    }

    // The plan names the same Notes folders, titles and attachments that the migration then makes.
    void planAgreesWithTheMigrationOfTheExampleVault()
    {
        const QUrl url = QUrl::fromLocalFile(QStringLiteral(VELLORAN_SOURCE_DIR "/examples/vault"));
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

QTEST_GUILESS_MAIN(tst_Migrator)
#include "tst_Migrator.moc"
