// Tests of the export controller: the folder list, one export from the Notes stand-in (fake-osascript)
// through the real script runners into Markdown files, the favourite folder, and reset.

#include "Exporter.h"
#include "NotesFixture.h"
#include "TestUtil.h"

#include <QPointer>
#include <QSettings>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <QTimer>

#include <memory>

using namespace Qt::StringLiterals;
using Pairs = QList<std::pair<QString, QString>>;

Q_DECLARE_METATYPE(QList<NotesExporter::FolderEntry>)

namespace {

QString refusedText()
{
    return u"Permission needed: System Settings → Privacy & Security → Automation → Velloran → Notes"_s;
}

/// A library of three folders, one of them holding a subfolder.
const QByteArray library = R"({"folders": [
    {"name": "Work", "notes": [
        {"name": "Plan", "body": "<div>Plan</div><div>Step one</div>"},
        {"name": "Ideas", "body": "<div>Ideas</div><div>Hello <i>there</i></div>"}],
     "folders": [{"name": "Archive", "notes": [{"name": "Old", "body": "<div>Old</div><div>gone</div>"}]}]},
    {"name": "home", "notes": [{"name": "Shopping", "body": "<div>Shopping</div><div>milk</div>"}]},
    {"name": "Empty"}
]})";

/// Two accounts, each with a top-level "Notes" and an "Archive" one level down, and a note of the same
/// name in both "Notes".
const QByteArray twoAccounts = R"({
    "folders": [
        {"name": "Notes", "notes": [{"name": "Hello", "body": "<div>Hello</div><div>from iCloud</div>"}]},
        {"name": "Work", "folders": [{"name": "Archive", "notes": [{"name": "Old plan", "body": "<div>Old plan</div>"}]}]}],
    "accounts": [{"name": "On My Mac", "folders": [
        {"name": "Notes", "notes": [{"name": "Hello", "body": "<div>Hello</div><div>from the Mac</div>"}]},
        {"name": "Home", "folders": [{"name": "Archive", "notes": [{"name": "Receipt", "body": "<div>Receipt</div>"}]}]}]}]
})";

/// Every file below `root`, by relative path, sorted.
QStringList filesBelow(const QString &root)
{
    QStringList files = TestUtil::hashTree(root).keys();
    files.sort();
    return files;
}

/// The programs that the stand-in ran, in order, each with its arguments after a space.
QStringList programsRun(const NotesFixture &fixture)
{
    QStringList programs;
    for (const QJsonObject &run : fixture.runs()) {
        QStringList argv;
        for (const QJsonValue value : run.value(u"argv"_s).toArray())
            argv.append(value.toString());
        programs.append((QStringList { run.value(u"program"_s).toString() } + argv.mid(1)).join(u' '));
    }
    return programs;
}

QString folderId(const QString &place)
{
    return u"x-coredata://FakeNotes/ICFolder/p"_s + place;
}

/// Every published change of an exporter, in order, with the value it changed to.
class Recorder
{
public:
    explicit Recorder(Exporter &exporter)
    {
        QObject *context = &m_context;
        QObject::connect(&exporter, &Exporter::progressChanged, context,
            [&] { events.append(u"progress "_s + QString::number(exporter.progress(), 'g', 4)); });
        QObject::connect(&exporter, &Exporter::currentNoteChanged, context,
            [&] { events.append(u"note "_s + exporter.currentNote()); });
        QObject::connect(&exporter, &Exporter::isRunningChanged, context,
            [&] { events.append(u"running "_s + (exporter.isRunning() ? u"true"_s : u"false"_s)); });
        QObject::connect(&exporter, &Exporter::availableFoldersChanged, context,
            [&] { events.append(u"folders "_s + exporter.availableFolders().join(u'|')); });
        QObject::connect(&exporter, &Exporter::isLoadingFoldersChanged, context,
            [&] { events.append(u"loading "_s + (exporter.isLoadingFolders() ? u"true"_s : u"false"_s)); });
        QObject::connect(&exporter, &Exporter::resultChanged, context,
            [&] { events.append(exporter.result() ? u"result"_s : u"result absent"_s); });
        QObject::connect(&exporter, &Exporter::errorMessageChanged, context,
            [&] { events.append(u"error "_s + exporter.errorMessage().value_or(u"absent"_s)); });
    }

    QStringList events;

private:
    QObject m_context;
};

} // namespace

class tst_Exporter : public QObject
{
    Q_OBJECT

    std::unique_ptr<NotesFixture> fixture;

    void load(Exporter &exporter)
    {
        QSignalSpy done(&exporter, &Exporter::isLoadingFoldersChanged);
        auto task = exporter.loadFolders();
        QTRY_VERIFY_WITH_TIMEOUT(task.isReady(), 60000);
    }

    void run(Exporter &exporter, const QStringList &folders, const QString &destination)
    {
        auto task = exporter.exportNotes(folders, QUrl::fromLocalFile(destination));
        QTRY_VERIFY_WITH_TIMEOUT(task.isReady(), 60000);
    }

    static QString read(const QString &path)
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return u"(missing)"_s;
        return QString::fromUtf8(file.readAll());
    }

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        // The settings of this test stay out of the real home.
        QVERIFY2(QSettings().fileName().contains(u"/.qttest/"_s), qPrintable(QSettings().fileName()));
    }

    void init()
    {
        fixture = std::make_unique<NotesFixture>();
        QSettings().remove(Exporter::favouriteKey);
    }

    void cleanup()
    {
        QCOMPARE(fixture->leftovers(), QStringList());
        fixture.reset();
        QSettings().remove(Exporter::favouriteKey);
    }

    void initialState()
    {
        Exporter exporter;
        QCOMPARE(exporter.progress(), 0.0);
        QCOMPARE(exporter.currentNote(), QString());
        QCOMPARE(exporter.isRunning(), false);
        QCOMPARE(exporter.availableFolders(), QStringList());
        QCOMPARE(exporter.isLoadingFolders(), false);
        QVERIFY(!exporter.result());
        QVERIFY(!exporter.errorMessage());
        QVERIFY(!exporter.favouriteFolder());
        QVERIFY(!exporter.property("result").isValid());
        QVERIFY(!exporter.property("errorMessage").isValid());
        QVERIFY(!exporter.property("favouriteFolder").isValid());
    }

    void favouriteFolderIsStoredAsAPath()
    {
        Exporter exporter;
        QSignalSpy changed(&exporter, &Exporter::favouriteFolderChanged);
        const QString folder = fixture->path(u"Out put"_s);
        exporter.setFavourite(QUrl::fromLocalFile(folder));
        QCOMPARE(changed.size(), 1);
        QCOMPARE(Exporter::favouriteKey, u"velloran/favouriteExportFolder"_s);
        // The plain path, not a URL string.
        QCOMPARE(QSettings().value(u"velloran/favouriteExportFolder"_s).toString(), folder);
        QCOMPARE(exporter.favouriteFolder(), std::optional<QUrl>(QUrl::fromLocalFile(folder)));
        QCOMPARE(exporter.property("favouriteFolder").toUrl(), QUrl::fromLocalFile(folder));
        // Nothing checks that the folder exists.
        QVERIFY(!QFileInfo::exists(folder));

        // A later favourite replaces the first; another controller reads the same store.
        exporter.setFavourite(QUrl::fromLocalFile(u"/elsewhere"_s));
        QCOMPARE(Exporter().favouriteFolder(), std::optional<QUrl>(QUrl::fromLocalFile(u"/elsewhere"_s)));

        exporter.setFavourite(std::nullopt);
        QCOMPARE(changed.size(), 3);
        QVERIFY(!exporter.favouriteFolder());
        QVERIFY(!QSettings().contains(u"velloran/favouriteExportFolder"_s));
        QVERIFY(!exporter.property("favouriteFolder").isValid());
    }

    void storedEmptyFavouriteIsAbsent()
    {
        QSettings().setValue(u"velloran/favouriteExportFolder"_s, QString());
        QVERIFY(!Exporter().favouriteFolder());
        // Read on every access: a value stored behind the controller's back is seen.
        Exporter exporter;
        QSettings().setValue(u"velloran/favouriteExportFolder"_s, u"/tmp/x"_s);
        QCOMPARE(exporter.favouriteFolder(), std::optional<QUrl>(QUrl::fromLocalFile(u"/tmp/x"_s)));
    }

    // The export screen's options are remembered beside the favourite folder, each under its own key; a
    // new controller starts with all of them off until they are restored.
    void exportOptionsAreRememberedUnderTheirKeys()
    {
        const QStringList keys = { u"velloran/exportImagesAsFiles"_s, u"velloran/exportKeepDates"_s,
            u"velloran/exportNoteLinks"_s, u"velloran/exportHeadings"_s, u"velloran/exportUpdate"_s };
        QCOMPARE((QStringList { Exporter::imagesAsFilesKey, Exporter::keepDatesKey, Exporter::noteLinksKey,
                     Exporter::headingsKey, Exporter::updateExportKey }),
            keys);
        for (const QString &key : keys)
            QSettings().remove(key);

        Exporter exporter;
        QCOMPARE(exporter.exportOptions(), NotesExporter::ExportOptions());
        QSignalSpy changed(&exporter, &Exporter::exportOptionsChanged);
        exporter.restoreExportOptions();
        QCOMPARE(changed.size(), 0);
        QVERIFY(exporter.setProperty("keepDates", true));
        QVERIFY(exporter.setProperty("updateExport", true));
        QVERIFY(exporter.setProperty("updateExport", true));
        QCOMPARE(changed.size(), 2);
        NotesExporter::ExportOptions expected;
        expected.dates = true;
        expected.update = true;
        QCOMPARE(exporter.exportOptions(), expected);
        QVERIFY(!QSettings().contains(Exporter::keepDatesKey));

        exporter.rememberExportOptions();
        QCOMPARE(QSettings().value(u"velloran/exportKeepDates"_s).toBool(), true);
        QCOMPARE(QSettings().value(u"velloran/exportUpdate"_s).toBool(), true);
        QCOMPARE(QSettings().value(u"velloran/exportImagesAsFiles"_s).toBool(), false);
        QCOMPARE(QSettings().value(u"velloran/exportNoteLinks"_s).toBool(), false);
        QCOMPARE(QSettings().value(u"velloran/exportHeadings"_s).toBool(), false);

        Exporter later;
        QCOMPARE(later.exportOptions(), NotesExporter::ExportOptions());
        later.restoreExportOptions();
        QCOMPARE(later.exportOptions(), expected);
        QCOMPARE(later.property("keepDates").toBool(), true);
        QCOMPARE(later.property("headings").toBool(), false);
        for (const QString &key : keys)
            QSettings().remove(key);
    }

    void loadFolders()
    {
        fixture->seed(library);
        Exporter exporter;
        Recorder recorder(exporter);
        load(exporter);
        // Sorted locale-aware and case-insensitively, subfolders among them.
        const QStringList expected { u"Archive"_s, u"Empty"_s, u"home"_s, u"Work"_s };
        QCOMPARE(exporter.availableFolders(), expected);
        QCOMPARE(recorder.events,
            (QStringList { u"loading true"_s, u"folders Archive|Empty|home|Work"_s, u"loading false"_s }));
        QVERIFY(!exporter.errorMessage());
    }

    void failedLoadEmptiesAnEarlierList()
    {
        fixture->seed(library);
        Exporter exporter;
        load(exporter);
        QCOMPARE(exporter.availableFolders().size(), 4);

        qputenv("VELLORAN_FAKE_NOTES_DENY", "1");
        Recorder recorder(exporter);
        load(exporter);
        QCOMPARE(exporter.availableFolders(), QStringList());
        QCOMPARE(exporter.errorMessage(), std::optional<QString>(refusedText()));
        QCOMPARE(exporter.property("errorMessage").toString(), refusedText());
        QCOMPARE(recorder.events,
            (QStringList { u"loading true"_s, u"error "_s + refusedText(), u"folders "_s, u"loading false"_s }));

        // The next load clears the message first.
        qunsetenv("VELLORAN_FAKE_NOTES_DENY");
        recorder.events.clear();
        load(exporter);
        QCOMPARE(recorder.events,
            (QStringList {
                u"loading true"_s, u"error absent"_s, u"folders Archive|Empty|home|Work"_s, u"loading false"_s }));
    }

    void emptySelectionExportsEveryFolder()
    {
        fixture->seed(library);
        const QString out = fixture->path(u"out"_s);
        Exporter exporter;
        run(exporter, {}, out);
        QVERIFY(exporter.result());
        const NotesExporter::Result result = *exporter.result();
        QCOMPARE(result.written, 4);
        QCOMPARE(result.failed, Pairs());
        QCOMPARE(result.folders, (QSet<QString> { u"home"_s, u"Work"_s, u"Archive"_s }));
        QCOMPARE(read(out + u"/Work/Plan.md"_s), u"# Plan\n\nPlan\nStep one\n"_s);
        QCOMPARE(read(out + u"/Work/Ideas.md"_s), u"# Ideas\n\nIdeas\nHello *there*\n"_s);
        QCOMPARE(read(out + u"/Archive/Old.md"_s), u"# Old\n\nOld\ngone\n"_s);
        QCOMPARE(read(out + u"/home/Shopping.md"_s), u"# Shopping\n\nShopping\nmilk\n"_s);
        QCOMPARE(exporter.progress(), 1.0);
        QCOMPARE(exporter.currentNote(), QString());
        QCOMPARE(exporter.isRunning(), false);
        QVERIFY(!exporter.errorMessage());
        // Every folder was read: the list, then one read per folder.
        QStringList programs;
        for (const QJsonObject &run : fixture->runs())
            programs.append(run.value(u"program"_s).toString());
        QCOMPARE(programs,
            (QStringList { u"list-folder-details"_s, u"read-folder-by-id"_s, u"read-folder-by-id"_s,
                u"read-folder-by-id"_s, u"read-folder-by-id"_s }));

        // What the screens read: the result itself, its folders sorted.
        const NotesExporter::Result view = exporter.property("result").value<NotesExporter::Result>();
        QCOMPARE(view.written, 4);
        QCOMPARE(view.failed, Pairs());
        QCOMPARE(view.folderList(), (QStringList { u"Archive"_s, u"Work"_s, u"home"_s }));
    }

    void selectedFoldersOnly()
    {
        fixture->seed(library);
        const QString out = fixture->path(u"out"_s);
        Exporter exporter;
        run(exporter, { u"home"_s, u"Archive"_s }, out);
        QCOMPARE(exporter.result()->written, 2);
        QCOMPARE(exporter.result()->folders, (QSet<QString> { u"home"_s, u"Archive"_s }));
        QVERIFY(!QFileInfo::exists(out + u"/Work"_s));
        QCOMPARE(QDir(out).entryList(QDir::Dirs | QDir::NoDotAndDotDot), (QStringList { u"Archive"_s, u"home"_s }));
    }

    // Same-named folders

    void sameNamedFoldersAreEachExportedOnce()
    {
        fixture->seed(twoAccounts);
        const QString out = fixture->path(u"out"_s);
        Exporter exporter;
        run(exporter, {}, out);
        const NotesExporter::Result result = *exporter.result();
        QCOMPARE(result.failed, Pairs());
        QCOMPARE(result.written, 4);
        QCOMPARE(result.folders, (QSet<QString> { u"Archive"_s, u"Archive (2)"_s, u"Notes"_s, u"Notes (2)"_s }));
        // In list order: the first account's folder first.
        QCOMPARE(filesBelow(out),
            (QStringList {
                u"Archive (2)/Receipt.md"_s, u"Archive/Old plan.md"_s, u"Notes (2)/Hello.md"_s, u"Notes/Hello.md"_s }));
        QCOMPARE(read(out + u"/Notes/Hello.md"_s), u"# Hello\n\nHello\nfrom iCloud\n"_s);
        QCOMPARE(read(out + u"/Notes (2)/Hello.md"_s), u"# Hello\n\nHello\nfrom the Mac\n"_s);
        QCOMPARE(read(out + u"/Archive/Old plan.md"_s), u"# Old plan\n\nOld plan\n"_s);
        QCOMPARE(read(out + u"/Archive (2)/Receipt.md"_s), u"# Receipt\n\nReceipt\n"_s);
        // One list, then each folder read once, by its id.
        QCOMPARE(programsRun(*fixture),
            (QStringList { u"list-folder-details"_s, u"read-folder-by-id "_s + folderId(u"0-2-1"_s),
                u"read-folder-by-id "_s + folderId(u"1-2-1"_s), u"read-folder-by-id "_s + folderId(u"1-2"_s),
                u"read-folder-by-id "_s + folderId(u"0-1"_s), u"read-folder-by-id "_s + folderId(u"1-1"_s),
                u"read-folder-by-id "_s + folderId(u"0-2"_s) }));
    }

    void sameNamedFoldersAreLabelledApart()
    {
        fixture->seed(twoAccounts);
        Exporter exporter;
        load(exporter);
        QCOMPARE(exporter.availableFolders(),
            (QStringList { u"Archive — in Work"_s, u"Archive — in Home"_s, u"Home"_s, u"Notes — iCloud"_s,
                u"Notes — On My Mac"_s, u"Work"_s }));
        QCOMPARE(exporter.unknownFolders({ u"Notes"_s, u"Notes — iCloud"_s, u"Archive — in Home"_s, u"Home"_s }),
            QStringList());
        QCOMPARE(exporter.unknownFolders({ u"Notes — Exchange"_s, u"notes"_s, u"Home"_s }),
            (QStringList { u"Notes — Exchange"_s, u"notes"_s }));
    }

    void chosenLabelReadsThatFolderOnly()
    {
        fixture->seed(twoAccounts);
        const QString out = fixture->path(u"out"_s);
        Exporter exporter;
        run(exporter, { u"Notes — On My Mac"_s, u"Archive — in Work"_s }, out);
        QCOMPARE(exporter.result()->failed, Pairs());
        QCOMPARE(exporter.result()->written, 2);
        QCOMPARE(filesBelow(out), (QStringList { u"Archive/Old plan.md"_s, u"Notes/Hello.md"_s }));
        QCOMPARE(read(out + u"/Notes/Hello.md"_s), u"# Hello\n\nHello\nfrom the Mac\n"_s);
        QCOMPARE(programsRun(*fixture),
            (QStringList { u"list-folder-details"_s, u"read-folder-by-id "_s + folderId(u"0-2-1"_s),
                u"read-folder-by-id "_s + folderId(u"1-1"_s) }));
    }

    void chosenNameStandsForEveryFolderOfThatName()
    {
        fixture->seed(twoAccounts);
        const QString out = fixture->path(u"out"_s);
        Exporter exporter;
        // Chosen twice, by name and by label: still read once.
        run(exporter, { u"Notes"_s, u"Notes — iCloud"_s }, out);
        QCOMPARE(exporter.result()->failed, Pairs());
        QCOMPARE(exporter.result()->written, 2);
        QCOMPARE(filesBelow(out), (QStringList { u"Notes (2)/Hello.md"_s, u"Notes/Hello.md"_s }));
        QCOMPARE(read(out + u"/Notes (2)/Hello.md"_s), u"# Hello\n\nHello\nfrom the Mac\n"_s);
        QCOMPARE(programsRun(*fixture).size(), 3);
    }

    void chosenFolderThatNotesLacksIsListed()
    {
        fixture->seed(twoAccounts);
        const QString out = fixture->path(u"out"_s);
        Exporter exporter;
        run(exporter, { u"Nowhere"_s, u"Archive — in Home"_s }, out);
        QCOMPARE(exporter.result()->failed, (Pairs { { u"(folder Nowhere)"_s, u"no such folder in Apple Notes"_s } }));
        QCOMPARE(filesBelow(out), QStringList { u"Archive/Receipt.md"_s });
        QVERIFY(!exporter.errorMessage());
    }

    void olderNotesExportsTheFirstOfEachName()
    {
        fixture->seed(twoAccounts);
        qputenv("VELLORAN_FAKE_NOTES_OLD_NOTES", "1");
        const QString out = fixture->path(u"out"_s);
        Exporter exporter;
        load(exporter);
        // Same-named folders cannot be told apart: one entry each.
        QCOMPARE(exporter.availableFolders(), (QStringList { u"Archive"_s, u"Home"_s, u"Notes"_s, u"Work"_s }));
        fixture->writeFile(u"runs.jsonl"_s, {});

        run(exporter, {}, out);
        const NotesExporter::Result result = *exporter.result();
        QCOMPARE(result.written, 2);
        QCOMPARE(result.failed,
            (Pairs { { u"(folder Archive)"_s, u"not exported: another folder has the same name"_s },
                { u"(folder Notes)"_s, u"not exported: another folder has the same name"_s } }));
        QCOMPARE(filesBelow(out), (QStringList { u"Archive/Old plan.md"_s, u"Notes/Hello.md"_s }));
        QCOMPARE(read(out + u"/Notes/Hello.md"_s), u"# Hello\n\nHello\nfrom iCloud\n"_s);
        QCOMPARE(programsRun(*fixture),
            (QStringList { u"list-folder-details"_s, u"list-folders"_s, u"read-folder Archive"_s, u"read-folder Home"_s,
                u"read-folder Notes"_s, u"read-folder Work"_s }));
        QVERIFY(!exporter.errorMessage());

        // Chosen by name: the same.
        const QString again = fixture->path(u"again"_s);
        run(exporter, { u"Notes"_s }, again);
        QCOMPARE(exporter.result()->written, 1);
        QCOMPARE(exporter.result()->failed,
            (Pairs { { u"(folder Notes)"_s, u"not exported: another folder has the same name"_s } }));
        QCOMPARE(filesBelow(again), QStringList { u"Notes/Hello.md"_s });
    }

    void folderLabels_data()
    {
        using Entries = QList<NotesExporter::FolderEntry>;
        QTest::addColumn<Entries>("folders");
        QTest::addColumn<QStringList>("labels");
        QTest::addRow("unique names stay")
            << Entries { { u"1"_s, u"A"_s, u"iCloud"_s, {} }, { u"2"_s, u"B"_s, u"iCloud"_s, u"A"_s } }
            << QStringList { u"A"_s, u"B"_s };
        QTest::addRow("names differing in case are unique") << Entries { { u"1"_s, u"Work"_s, u"iCloud"_s, {} },
            { u"2"_s, u"work"_s, u"iCloud"_s, {} } } << QStringList { u"Work"_s, u"work"_s };
        QTest::addRow("account and parent")
            << Entries { { u"1"_s, u"Archive"_s, u"iCloud"_s, {} }, { u"2"_s, u"Archive"_s, u"iCloud"_s, u"Work"_s } }
            << QStringList { u"Archive — iCloud"_s, u"Archive — in Work"_s };
        QTest::addRow("same parent's name in two accounts") << Entries {
            { u"1"_s, u"Archive"_s, u"iCloud"_s, u"Work"_s }, { u"2"_s, u"Archive"_s, u"On My Mac"_s, u"Work"_s }
        } << QStringList { u"Archive — in Work, iCloud"_s, u"Archive — in Work, On My Mac"_s };
        QTest::addRow("same parent's name in one account") << Entries {
            { u"1"_s, u"Archive"_s, u"iCloud"_s, u"Work"_s }, { u"2"_s, u"Archive"_s, u"iCloud"_s, u"Work"_s },
            { u"3"_s, u"Archive"_s, u"iCloud"_s, {} }
        } << QStringList { u"Archive — in Work, iCloud"_s, u"Archive — in Work, iCloud (2)"_s, u"Archive — iCloud"_s };
        QTest::addRow("a folder named like a label")
            << Entries { { u"1"_s, u"Notes"_s, u"iCloud"_s, {} }, { u"2"_s, u"Notes — iCloud"_s, u"iCloud"_s, {} },
                   { u"3"_s, u"Notes"_s, u"On My Mac"_s, {} } }
            << QStringList { u"Notes — iCloud"_s, u"Notes — iCloud (2)"_s, u"Notes — On My Mac"_s };
        QTest::addRow("names only") << Entries { { {}, u"Notes"_s, {}, {} }, { {}, u"Notes"_s, {}, {} } }
                                    << QStringList { u"Notes"_s, u"Notes"_s };
    }

    void folderLabels()
    {
        QFETCH(QList<NotesExporter::FolderEntry>, folders);
        QFETCH(QStringList, labels);
        QCOMPARE(Exporter::folderLabels(folders), labels);
    }

    void subfolderNames_data()
    {
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<QStringList>("subfolders");
        QTest::addRow("unique") << QStringList { u"A"_s, u"B"_s } << QStringList { u"A"_s, u"B"_s };
        QTest::addRow("three of a name") << QStringList { u"Notes"_s, u"Notes"_s, u"Notes"_s }
                                         << QStringList { u"Notes"_s, u"Notes (2)"_s, u"Notes (3)"_s };
        QTest::addRow("a folder already named Notes (2)") << QStringList { u"Notes"_s, u"Notes"_s, u"Notes (2)"_s }
                                                          << QStringList { u"Notes"_s, u"Notes (3)"_s, u"Notes (2)"_s };
        QTest::addRow("names differing in case")
            << QStringList { u"Work"_s, u"work"_s } << QStringList { u"Work"_s, u"work (2)"_s };
    }

    void subfolderNames()
    {
        QFETCH(QStringList, names);
        QFETCH(QStringList, subfolders);
        QList<NotesExporter::FolderEntry> folders;
        for (const QString &name : names)
            folders.append({ u"id"_s, name, u"iCloud"_s, {} });
        QCOMPARE(Exporter::subfolderNames(folders), subfolders);
    }

    void publishedStateInOrder()
    {
        fixture->seed(R"({"folders": [{"name": "F", "notes": [
            {"name": "A", "body": "<div>A</div>"}, {"name": "B", "body": "<div>B</div>"},
            {"name": "C", "body": "<div>C</div>"}, {"name": "D", "body": "<div>D</div>"}]}]})");
        Exporter exporter;
        Recorder recorder(exporter);
        run(exporter, {}, fixture->path(u"out"_s));
        // One queued call per writer callback, each setting progress and then the note; the completion after
        // the last of them. Progress 0 and the final 1 and "" are not announced twice: they did not change.
        const QStringList expected { u"running true"_s, u"note A"_s, u"progress 0.25"_s, u"note B"_s, u"progress 0.5"_s,
            u"note C"_s, u"progress 0.75"_s, u"note D"_s, u"progress 1"_s, u"note "_s, u"running false"_s,
            u"result"_s };
        QCOMPARE(recorder.events, expected);
        QCOMPARE(exporter.result()->written, 4);
    }

    void readingFailureGivesItsOwnResult()
    {
        fixture->seed(library);
        qputenv("VELLORAN_FAKE_NOTES_DENY", "1");
        const QString out = fixture->path(u"out"_s);
        Exporter exporter;
        Recorder recorder(exporter);
        run(exporter, {}, out);
        QCOMPARE(recorder.events,
            (QStringList {
                u"running true"_s, u"error "_s + refusedText(), u"progress 1"_s, u"running false"_s, u"result"_s }));
        const NotesExporter::Result result = *exporter.result();
        QCOMPARE(result.written, 0);
        QCOMPARE(result.folders, QSet<QString>());
        QCOMPARE(result.failed, (Pairs { { u"(reading Apple Notes)"_s, refusedText() } }));
        QCOMPARE(exporter.errorMessage(), std::optional<QString>(refusedText()));
        QVERIFY(!QFileInfo::exists(out));
    }

    void namedFoldersThatAllFailAreAReadingFailure()
    {
        fixture->seed(library);
        qputenv("VELLORAN_FAKE_NOTES_TIMEOUT", "1");
        Exporter exporter;
        run(exporter, { u"Work"_s }, fixture->path(u"out"_s));
        QCOMPARE(exporter.result()->failed.size(), 1);
        QCOMPARE(exporter.result()->failed.at(0).first, u"(reading Apple Notes)"_s);
        QVERIFY(exporter.result()->failed.at(0).second.startsWith(u"Apple Notes error: "_s));
        QVERIFY(exporter.result()->failed.at(0).second.endsWith(u"AppleEvent timed out. (-1712)"_s));
        QCOMPARE(exporter.errorMessage(), std::optional<QString>(exporter.result()->failed.at(0).second));
    }

    void writerFailuresStayInTheResult()
    {
        fixture->seed(library);
        // A destination below a file can be neither used nor made.
        const QString underAFile = fixture->writeFile(u"a file"_s, "x") + u"/out"_s;
        Exporter exporter;
        run(exporter, {}, underAFile);
        QCOMPARE(exporter.result()->written, 0);
        QCOMPARE(exporter.result()->failed, (Pairs { { u"(destination)"_s, u"not writable"_s } }));
        QVERIFY(!exporter.errorMessage());
        QCOMPARE(exporter.progress(), 1.0);
    }

    void secondExportNeverOverwrites()
    {
        fixture->seed(library);
        const QString out = fixture->path(u"out"_s);
        Exporter exporter;
        run(exporter, { u"Work"_s }, out);
        const QMap<QString, QByteArray> first = TestUtil::hashTree(out);
        run(exporter, { u"Work"_s }, out);
        QCOMPARE(exporter.result()->written, 2);
        const QMap<QString, QByteArray> second = TestUtil::hashTree(out);
        QCOMPARE(second.keys(),
            (QStringList { u"Work/Ideas (2).md"_s, u"Work/Ideas.md"_s, u"Work/Plan (2).md"_s, u"Work/Plan.md"_s }));
        QCOMPARE(second.value(u"Work/Plan.md"_s), first.value(u"Work/Plan.md"_s));
        QCOMPARE(second.value(u"Work/Plan (2).md"_s), first.value(u"Work/Plan.md"_s));
    }

    void resetClearsTheOutcomeOnly()
    {
        fixture->seed(library);
        Exporter exporter;
        load(exporter);
        qputenv("VELLORAN_FAKE_NOTES_DENY", "1");
        run(exporter, {}, fixture->path(u"out"_s));
        QVERIFY(exporter.result());
        QVERIFY(exporter.errorMessage());
        QCOMPARE(exporter.availableFolders().size(), 4);

        Recorder recorder(exporter);
        exporter.reset();
        QCOMPARE(recorder.events, (QStringList { u"result absent"_s, u"error absent"_s, u"progress 0"_s }));
        QVERIFY(!exporter.result());
        QVERIFY(!exporter.errorMessage());
        QCOMPARE(exporter.progress(), 0.0);
        QCOMPARE(exporter.currentNote(), QString());
        QCOMPARE(exporter.isRunning(), false);
        QCOMPARE(exporter.availableFolders().size(), 4);
        QCOMPARE(exporter.isLoadingFolders(), false);
    }

    void stopWhileReadingWritesNothing()
    {
        fixture->seed(library);
        const QString out = fixture->path(u"out"_s);
        Exporter exporter;
        // Asked while the notes are still being read: the writer stops before its first note.
        const auto stopper = connect(&exporter, &Exporter::isRunningChanged, this, [&] {
            if (exporter.isRunning())
                exporter.requestStop();
        });
        run(exporter, {}, out);
        QCOMPARE(exporter.result()->written, 0);
        QCOMPARE(exporter.result()->failed, Pairs());
        QCOMPARE(exporter.result()->stopped, true);
        QCOMPARE(exporter.isRunning(), false);
        QCOMPARE(exporter.progress(), 1.0);

        // The request belonged to that run only.
        disconnect(stopper);
        exporter.requestStop();
        run(exporter, {}, out);
        QCOMPARE(exporter.result()->written, 4);
    }

    // One folder that cannot be read no longer vanishes behind the others: it is a failure of the run,
    // and the other folders are exported.
    void folderThatCannotBeReadIsListedAndTheOthersExported()
    {
        fixture->seed(library);
        qputenv("VELLORAN_FAKE_NOTES_FAIL_FOLDER", "Work");
        const QString out = fixture->path(u"out"_s);
        Exporter exporter;
        run(exporter, {}, out);
        const NotesExporter::Result result = *exporter.result();
        QCOMPARE(result.written, 2);
        QCOMPARE(result.folders, (QSet<QString> { u"Archive"_s, u"home"_s }));
        QCOMPARE(result.failed.size(), 1);
        QCOMPARE(result.failed.at(0).first, u"(folder Work)"_s);
        QVERIFY2(
            result.failed.at(0).second.startsWith(u"Apple Notes error: "_s), qPrintable(result.failed.at(0).second));
        QVERIFY(result.failed.at(0).second.endsWith(u"Notes got an error: AppleEvent handler failed. (-10000)"_s));
        QCOMPARE(result.stopped, false);
        QVERIFY(!exporter.errorMessage());
        QCOMPARE(read(out + u"/home/Shopping.md"_s), u"# Shopping\n\nShopping\nmilk\n"_s);
    }

    // A note whose body Notes would not give is written with the explanation, and listed as failed.
    void noteWhoseBodyCannotBeReadIsWrittenAndListed()
    {
        fixture->seed(library);
        qputenv("VELLORAN_FAKE_NOTES_FAIL_NOTE", "Ideas");
        const QString out = fixture->path(u"out"_s);
        Exporter exporter;
        run(exporter, { u"Work"_s }, out);
        const NotesExporter::Result result = *exporter.result();
        QCOMPARE(result.written, 2);
        QCOMPARE(result.failed.size(), 1);
        QCOMPARE(result.failed.at(0).first, u"Ideas"_s);
        QVERIFY2(result.failed.at(0).second.startsWith(u"couldn't read the note's body: "_s),
            qPrintable(result.failed.at(0).second));
        QVERIFY(read(out + u"/Work/Ideas.md"_s).contains(u"could not read this note's body"_s));
    }

    // Notes that never answers a read: stopping ends the script after the grace period, and the result
    // says the export was stopped.
    void stopEndsAReadThatNeverAnswers()
    {
        fixture->seed(library);
        fixture->installScript("grep -q 'set fId to item 1 of argv' \"$1\" && exec sleep 600\nexec '"
            + QByteArray(VELLORAN_FAKE_OSASCRIPT) + "' \"$@\"");
        const QString out = fixture->path(u"out"_s);
        Exporter exporter;
        exporter.setStopGracePeriod(std::chrono::milliseconds(200));
        QTimer::singleShot(500, &exporter, &Exporter::requestStop);
        run(exporter, {}, out);
        const NotesExporter::Result result = *exporter.result();
        QCOMPARE(result.stopped, true);
        QCOMPARE(result.written, 0);
        QCOMPARE(result.failed, Pairs());
        QCOMPARE(exporter.isRunning(), false);
        QCOMPARE(exporter.property("result").value<NotesExporter::Result>().stopped, true);
    }

    void controllerDeletedDuringAnExport()
    {
        fixture->seed(library);
        auto *exporter = new Exporter;
        QPointer<Exporter> watch(exporter);
        auto task = exporter->exportNotes({}, QUrl::fromLocalFile(fixture->path(u"out"_s)));
        exporter->deleteLater();
        QTRY_VERIFY_WITH_TIMEOUT(watch.isNull(), 60000);
        QTRY_VERIFY_WITH_TIMEOUT(task.isReady(), 60000);
    }
};

QTEST_GUILESS_MAIN(tst_Exporter)
#include "tst_Exporter.moc"
