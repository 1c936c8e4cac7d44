// Whole runs through the Notes stand-in (fake-osascript) and the real script runners: folders of Markdown
// into Notes and back out as Markdown, by the controllers and by velloran-cli.
//
// Source vaults are copied before a run, hashed before and after, and never written. The large vaults (the
// corpus and a synthetic 2,000-note vault) are migrated in slices of notes, each into its own stand-in
// library: the stand-in rewrites its whole JSON library on every script run, so one library of thousands
// of notes would make the run quadratic in the stand-in alone. Each slice is a full migration of part of
// the analysis over the whole vault (the same image index, the same folders), and every note is checked.

#include "Exporter.h"
#include "Files.h"
#include "HtmlToMarkdown.h"
#include "MarkdownLite.h"
#include "Migrator.h"
#include "NotesExporterWrite_p.h"
#include "NotesFixture.h"
#include "TestUtil.h"
#include "VaultScanner.h"
#include "VaultScanner_p.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QSettings>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

#include <csignal>
#include <memory>

using namespace Qt::StringLiterals;
using Pairs = QList<std::pair<QString, QString>>;

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool sanitized = true;
#elif defined(__has_feature)
constexpr bool sanitized = __has_feature(address_sanitizer);
#else
constexpr bool sanitized = false;
#endif

/// Which notes of a large vault are migrated: all of them, but under the sanitizers (where every start of
/// the stand-in costs several times as much) every tenth, so that the sanitizer build stays quick.
constexpr qsizetype largeVaultStride = sanitized ? 10 : 1;

const QString exampleVault = QStringLiteral(VELLORAN_SOURCE_DIR "/examples/vault");
const QString corpusDir = QStringLiteral(VELLORAN_SHARED_DIR "/corpus");

QString refusedText()
{
    return u"Permission needed: System Settings → Privacy & Security → Automation → Velloran → Notes"_s;
}

/// Copies the tree at `from` (hidden items included) to `to`.
bool copyTree(const QString &from, const QString &to)
{
    QDirIterator it(
        from, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    if (!QDir().mkpath(to))
        return false;
    while (it.hasNext()) {
        const QString path = it.next();
        const QString target = to + u'/' + QDir(from).relativeFilePath(path);
        if (it.fileInfo().isDir()) {
            if (!QDir().mkpath(target))
                return false;
        } else if (!QFile::copy(path, target)) {
            return false;
        }
    }
    return true;
}

QString escapeHtmlText(const QString &text)
{
    QString escaped = text;
    escaped.replace(u'&', u"&amp;"_s).replace(u'<', u"&lt;"_s).replace(u'>', u"&gt;"_s);
    return escaped;
}

QStringList strings(const QJsonValue &array)
{
    QStringList list;
    for (const QJsonValue value : array.toArray())
        list.append(value.toString());
    return list;
}

QJsonObject readLibrary(const QString &path)
{
    return NotesFixture::readLibrary(path);
}

/// A note as the stand-in keeps it.
struct KeptNote
{
    QString body;
    QStringList attachments;
};

/// The notes of "Imported by Velloran" and of its subfolders, by (folder, note name); the root's own notes
/// under the root's name. Also counts every note it meets, duplicates included.
struct Imported
{
    QHash<std::pair<QString, QString>, KeptNote> notes;
    QStringList subfolders;
    qsizetype noteCount = 0;
    QStringList topLevel;
};

Imported imported(const QJsonObject &library)
{
    Imported result;
    for (const QJsonValue top : library.value(u"folders"_s).toArray())
        result.topLevel.append(top.toObject().value(u"name"_s).toString());
    for (const QJsonValue top : library.value(u"folders"_s).toArray()) {
        const QJsonObject root = top.toObject();
        if (root.value(u"name"_s).toString() != Migrator::rootFolderName)
            continue;
        const auto take = [&result](const QString &folder, const QJsonArray &notes) {
            for (const QJsonValue value : notes) {
                const QJsonObject note = value.toObject();
                ++result.noteCount;
                result.notes.insert({ folder, note.value(u"name"_s).toString() },
                    { note.value(u"body"_s).toString(), strings(note.value(u"attachments"_s)) });
            }
        };
        take(Migrator::rootFolderName, root.value(u"notes"_s).toArray());
        for (const QJsonValue sub : root.value(u"folders"_s).toArray()) {
            const QJsonObject folder = sub.toObject();
            result.subfolders.append(folder.value(u"name"_s).toString());
            take(folder.value(u"name"_s).toString(), folder.value(u"notes"_s).toArray());
            if (!folder.value(u"folders"_s).toArray().isEmpty())
                result.subfolders.append(u"(nested below "_s + folder.value(u"name"_s).toString() + u')');
        }
    }
    return result;
}

/// What the stand-in must hold for one note of the analysis: its folder, its body and its attachments.
struct Expected
{
    QString folder;
    QString body;
    QStringList attachments;
    QStringList missing;
};

Expected expectedFor(const VaultAnalysis::Note &note, const QString &vaultPath, const VaultScanner::ImageIndex &index)
{
    Expected expected;
    expected.folder = note.relativeFolder.isEmpty() ? Migrator::rootFolderName
                                                    : note.relativeFolder.join(Migrator::subfolderJoiner);
    QString text = Files::readUtf8(note.fileURL.toLocalFile()).value_or(QString());
    if (note.frontmatterStripped)
        text = VaultScanner::stripFrontmatter(text).first;
    const MarkdownLite::Output output = MarkdownLite::convert(text);
    expected.body = u"<div>"_s + escapeHtmlText(note.title) + u"</div>"_s + output.html;
    const QString noteFolder = QFileInfo(note.fileURL.toLocalFile()).path();
    for (const QString &ref : output.images) {
        const VaultScanner::ImageResolution image = VaultScanner::resolveImage(ref, noteFolder, vaultPath, index);
        if (image.file)
            expected.attachments.append(QFileInfo(*image.file).fileName());
        else
            expected.missing.append(VaultScanner::missingImageEntry(note.title, ref, image.reason));
    }
    return expected;
}

/// The two controllers of one window, as the screens share them.
struct Controllers
{
    Migrator migrator;
    Exporter exporter;

    /// The wizard's way back to the start: the migrator's report cleared, the exporter reset.
    void goHome()
    {
        migrator.clearReport();
        exporter.reset();
    }
};

Migrator::Report sum(const QList<Migrator::Report> &reports)
{
    Migrator::Report total;
    for (const Migrator::Report &r : reports) {
        total.notesCreated += r.notesCreated;
        total.notesSkipped += r.notesSkipped;
        total.notesFailed += r.notesFailed;
        total.notesMisfiled += r.notesMisfiled;
        total.imagesAttached += r.imagesAttached;
        total.imagesMissing += r.imagesMissing;
        total.foldersFlattened += r.foldersFlattened;
        total.wikilinksDegraded += r.wikilinksDegraded;
    }
    // Slices that share a deep folder each flatten it.
    total.foldersFlattened.removeDuplicates();
    total.foldersFlattened.sort();
    return total;
}

} // namespace

class tst_EndToEnd : public QObject
{
    Q_OBJECT

    std::unique_ptr<NotesFixture> fixture;

    static Migrator::Report migrate(Migrator &migrator, const VaultAnalysis &analysis, const QString &vault)
    {
        QSignalSpy finished(&migrator, &Migrator::reportChanged);
        auto task = migrator.migrate(analysis, QUrl::fromLocalFile(vault));
        if (!task.isReady() && !finished.wait(300000))
            qWarning("the migration did not end");
        return migrator.report().value_or(Migrator::Report {});
    }

    static void exportAll(Exporter &exporter, const QString &destination, const QStringList &folders = {})
    {
        auto task = exporter.exportNotes(folders, QUrl::fromLocalFile(destination));
        QTRY_VERIFY_WITH_TIMEOUT(task.isReady(), 300000);
    }

    /// Copies `source` into the fixture, migrates it and checks every note in the stand-in, the report
    /// against the analysis, that the copy is unchanged and that nothing temporary is left. Large vaults go
    /// in slices of `slice` notes, each into a fresh library.
    void migrateAndCheck(
        const QString &source, qsizetype slice, Migrator::Report *reportOut = nullptr, qsizetype stride = 1)
    {
        const QString vault = fixture->path(u"vault"_s);
        QVERIFY(copyTree(source, vault));
        const QMap<QString, QByteArray> before = TestUtil::hashTree(vault);
        QCOMPARE(before, TestUtil::hashTree(source));

        VaultAnalysis analysis = VaultScanner::scan(QUrl::fromLocalFile(vault));
        QVERIFY(!analysis.notes.isEmpty());
        if (stride > 1) {
            QList<VaultAnalysis::Note> every;
            for (qsizetype i = 0; i < analysis.notes.size(); i += stride)
                every.append(analysis.notes.at(i));
            analysis.notes = every;
            analysis.folders.clear();
            for (const VaultAnalysis::Note &note : std::as_const(analysis.notes)) {
                if (!note.relativeFolder.isEmpty())
                    analysis.folders.insert(note.relativeFolder.join(u'/'));
            }
            qInfo("sanitizer build: every %lldth note, %lld in all", qint64(stride), qint64(analysis.notes.size()));
        }
        const VaultScanner::ImageIndex index = VaultScanner::imageIndex(QUrl::fromLocalFile(vault));

        QList<Migrator::Report> reports;
        Migrator migrator;
        for (qsizetype start = 0; start < analysis.notes.size(); start += slice) {
            VaultAnalysis part;
            part.notes = analysis.notes.mid(start, slice);
            for (const VaultAnalysis::Note &note : std::as_const(part.notes)) {
                if (!note.relativeFolder.isEmpty())
                    part.folders.insert(note.relativeFolder.join(u'/'));
            }
            if (slice >= analysis.notes.size())
                part.folders = analysis.folders;
            const QString libraryPath = fixture->path(u"library-%1.json"_s.arg(start));
            qputenv("VELLORAN_FAKE_NOTES", libraryPath.toUtf8());
            const Migrator::Report report = migrate(migrator, part, vault);
            reports.append(report);

            // Every note of the slice is in the stand-in: in its folder, with its body and its attachments.
            const Imported kept = imported(readLibrary(libraryPath));
            QCOMPARE(kept.topLevel, QStringList { Migrator::rootFolderName });
            QCOMPARE(kept.noteCount, part.notes.size());
            QStringList folders;
            for (const QString &path : std::as_const(part.folders))
                folders.append(path.split(u'/').join(Migrator::subfolderJoiner));
            folders.sort();
            QStringList subfolders = kept.subfolders;
            subfolders.sort();
            QCOMPARE(subfolders, folders);
            QStringList missing;
            for (const VaultAnalysis::Note &note : std::as_const(part.notes)) {
                const Expected expected
                    = expectedFor(note, VaultScanner::canonicalVaultPath(QUrl::fromLocalFile(vault)), index);
                missing += expected.missing;
                const auto found = kept.notes.constFind({ expected.folder, note.title });
                QVERIFY2(found != kept.notes.cend(), qPrintable(expected.folder + u" / "_s + note.title));
                QCOMPARE(found->body, expected.body);
                QCOMPARE(found->attachments, expected.attachments);
            }
            QCOMPARE(report.imagesMissing, missing);
        }

        // The report adds up to the analysis.
        const Migrator::Report total = sum(reports);
        qint64 wikilinks = 0;
        qint64 attachments = 0;
        for (const VaultAnalysis::Note &note : analysis.notes) {
            wikilinks += note.wikilinks.size();
            attachments += expectedFor(note, VaultScanner::canonicalVaultPath(QUrl::fromLocalFile(vault)), index)
                               .attachments.size();
        }
        QCOMPARE(total.notesCreated, analysis.notes.size());
        QCOMPARE(total.notesSkipped, 0);
        QCOMPARE(total.notesFailed, Pairs());
        QCOMPARE(total.notesMisfiled, Pairs());
        QCOMPARE(total.imagesAttached, attachments);
        if (stride == 1)
            QCOMPARE(total.imagesAttached + total.imagesMissing.size(),
                analysis.attachmentsResolved + analysis.attachmentsMissing);
        QCOMPARE(total.wikilinksDegraded, wikilinks);
        QStringList deep;
        for (const QString &path : analysis.folders) {
            if (path.contains(u'/'))
                deep.append(path);
        }
        deep.sort();
        QCOMPARE(total.foldersFlattened, deep);

        QCOMPARE(TestUtil::hashTree(vault), before);
        QCOMPARE(fixture->leftovers(), QStringList());
        qputenv("VELLORAN_FAKE_NOTES", fixture->libraryPath().toUtf8());
        if (slice >= analysis.notes.size())
            QVERIFY(QFile::rename(fixture->path(u"library-0.json"_s), fixture->libraryPath()));
        if (reportOut)
            *reportOut = total;
    }

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void init() { fixture = std::make_unique<NotesFixture>(); }

    void cleanup()
    {
        QCOMPARE(fixture->leftovers(), QStringList());
        fixture.reset();
    }

    void exampleVault()
    {
        Migrator::Report report;
        migrateAndCheck(::exampleVault, 1000, &report);
        if (QTest::currentTestFailed())
            return;
        Migrator::Report expected;
        expected.notesCreated = 12;
        expected.imagesAttached = 4;
        expected.imagesMissing = QStringList { u"2024-01-16: https://example.com/cat.png"_s,
            u"Launch plan: missing-chart.png"_s, u"Recipes: gone.jpg"_s };
        expected.wikilinksDegraded = 7;
        expected.foldersFlattened = QStringList { u"Projects/2024/Q1"_s };
        QCOMPARE(report, expected);

        // Named, not derived: where each note went and what was attached to it.
        const Imported kept = imported(fixture->library());
        QStringList subfolders = kept.subfolders;
        QCOMPARE(subfolders, (QStringList { u"Journal"_s, u"Projects"_s, u"Projects ▸ 2024 ▸ Q1"_s, u"Reference"_s }));
        const QList<std::tuple<QString, QString, QStringList>> notes {
            { u"Imported by Velloran"_s, u"Ideas"_s, {} },
            { u"Imported by Velloran"_s, u"Inbox"_s, {} },
            { u"Imported by Velloran"_s, u"Welcome"_s, { u"logo.png"_s } },
            { u"Journal"_s, u"2024-01-15"_s, { u"beach day.jpg"_s } },
            { u"Journal"_s, u"2024-01-16"_s, {} },
            { u"Projects"_s, u"Projects Overview"_s, { u"diagram.png"_s } },
            { u"Projects"_s, u"Roadmap"_s, {} },
            { u"Projects ▸ 2024 ▸ Q1"_s, u"Launch plan"_s, {} },
            { u"Projects ▸ 2024 ▸ Q1"_s, u"Retro"_s, {} },
            { u"Reference"_s, u"Markdown cheatsheet"_s, {} },
            { u"Reference"_s, u"Reading list"_s, {} },
            { u"Reference"_s, u"Recipes"_s, { u"logo.png"_s } },
        };
        QCOMPARE(kept.noteCount, notes.size());
        for (const auto &[folder, name, attachments] : notes) {
            const auto found = kept.notes.constFind({ folder, name });
            QVERIFY2(found != kept.notes.cend(), qPrintable(name));
            QCOMPARE(found->attachments, attachments);
        }
        // The frontmatter is gone and the text is there.
        const QString welcome = kept.notes.value({ u"Imported by Velloran"_s, u"Welcome"_s }).body;
        QVERIFY(welcome.startsWith(u"<div>Welcome</div>"_s));
        QVERIFY(!welcome.contains(u"tags:"_s));
        QVERIFY(welcome.contains(u"<b>typical</b>"_s));
    }

    void progressUntilTheEnd()
    {
        const QString vault = fixture->path(u"vault"_s);
        QVERIFY(copyTree(::exampleVault, vault));
        const VaultAnalysis analysis = VaultScanner::scan(QUrl::fromLocalFile(vault));
        const qsizetype total = analysis.notes.size();
        QCOMPARE(total, 12);
        Migrator migrator;
        QSignalSpy progressSpy(&migrator, &Migrator::progressChanged);
        QList<std::pair<double, QString>> seen;
        connect(&migrator, &Migrator::progressChanged, this, [&] {
            seen.append({ migrator.progress(), migrator.currentNote() });
        });
        migrate(migrator, analysis, vault);

        QCOMPARE(progressSpy.size(), total); // 0 is not announced: it did not change
        QCOMPARE(seen.size(), total);
        for (qsizetype i = 1; i < total; ++i) {
            QCOMPARE(seen.at(i - 1).first, double(i) / double(total));
            QCOMPARE(seen.at(i - 1).second, analysis.notes.at(i).title);
        }
        // Before the last note, (total - 1) / total; exactly 1 only at the end, with no note named.
        QCOMPARE(seen.at(total - 2).first, double(total - 1) / double(total));
        QCOMPARE(seen.at(total - 2).second, analysis.notes.last().title);
        QVERIFY(seen.at(total - 1).first == 1.0);
        QCOMPARE(seen.at(total - 1).second, analysis.notes.last().title); // then the note is cleared
        for (qsizetype i = 0; i + 1 < total; ++i)
            QVERIFY(seen.at(i).first < 1.0);
        QCOMPARE(migrator.currentNote(), QString());
    }

    void rerunSkipsEverything()
    {
        const QString vault = fixture->path(u"vault"_s);
        QVERIFY(copyTree(::exampleVault, vault));
        Migrator migrator;
        const Migrator::Report first = migrate(migrator, VaultScanner::scan(QUrl::fromLocalFile(vault)), vault);
        QCOMPARE(first.notesCreated, 12);
        const QJsonObject library = fixture->library();

        const Migrator::Report second = migrate(migrator, VaultScanner::scan(QUrl::fromLocalFile(vault)), vault);
        Migrator::Report expected;
        expected.notesSkipped = 12;
        expected.imagesMissing = first.imagesMissing;
        expected.foldersFlattened = first.foldersFlattened;
        QCOMPARE(second, expected);
        // Nothing duplicated, nothing changed.
        QCOMPARE(fixture->library(), library);
        QCOMPARE(imported(fixture->library()).noteCount, 12);
    }

    void corpus_data()
    {
        QTest::addColumn<QString>("vault");
        QTest::addColumn<int>("notes");
        QTest::addRow("obsidian-tasks-demo") << corpusDir + u"/obsidian-tasks-demo"_s << 205;
        QTest::addRow("vaultofknowledge") << corpusDir + u"/vaultofknowledge"_s << 2721;
    }

    void corpus()
    {
        QFETCH(QString, vault);
        QFETCH(int, notes);
        if (!QFileInfo(vault).isDir())
            QSKIP(qPrintable(u"needs the real vault "_s + vault + u", which is not beside this clone"_s));
        QElapsedTimer timer;
        timer.start();
        Migrator::Report report;
        migrateAndCheck(vault, 100, &report, largeVaultStride);
        QCOMPARE(report.notesCreated, (notes + largeVaultStride - 1) / largeVaultStride);
        qInfo("%s: %d notes in %lld ms", QTest::currentDataTag(), notes, timer.elapsed());
    }

    void syntheticVaultOf2000Notes()
    {
        const QString made = fixture->path(u"made"_s);
        QProcess maker;
        maker.start(u"python3"_s,
            { QStringLiteral(VELLORAN_SOURCE_DIR "/scripts/make-vault"), u"--notes"_s, u"2000"_s, u"--seed"_s, u"7"_s,
                u"--out"_s, made, u"--manifest"_s, fixture->path(u"manifest.json"_s) });
        QVERIFY(maker.waitForFinished(120000));
        QCOMPARE(maker.exitCode(), 0);
        QElapsedTimer timer;
        timer.start();
        Migrator::Report report;
        migrateAndCheck(made, 100, &report, largeVaultStride);
        // Files that are not UTF-8 are not notes: the scan lists them as unreadable.
        const VaultAnalysis analysis = VaultScanner::scan(QUrl::fromLocalFile(made));
        QCOMPARE(report.notesCreated, (analysis.notes.size() + largeVaultStride - 1) / largeVaultStride);
        QFile manifestFile(fixture->path(u"manifest.json"_s));
        QVERIFY(manifestFile.open(QIODevice::ReadOnly));
        const QJsonObject manifest = QJsonDocument::fromJson(manifestFile.readAll()).object();
        const qsizetype notUtf8 = manifest[u"non_utf8"_s].toArray().size();
        QVERIFY(notUtf8 > 0);
        QCOMPARE(analysis.notes.size(), 2000 - notUtf8);
        QStringList unreadable;
        for (const auto &[path, reason] : std::as_const(analysis.unreadable)) {
            QCOMPARE(reason, u"not UTF-8 text"_s);
            unreadable.append(path);
        }
        QStringList listed;
        for (const QJsonValue path : manifest[u"non_utf8"_s].toArray())
            listed.append(path.toString());
        unreadable.sort();
        listed.sort();
        QCOMPARE(unreadable, listed);
        qInfo("2,000-note vault: %lld notes in %lld ms", qint64(analysis.notes.size()), timer.elapsed());
    }

    void failureTableThroughTheStandIn()
    {
        // One run meets every kind of failure that does not end it.
        const QString vault = fixture->path(u"vault"_s);
        TestUtil::writeFile(vault, u"Fine.md"_s, "![r](https://example.com/r.png)\n\n![m](missing.png)\n");
        TestUtil::writeFile(vault, u"Broken.md"_s, "readable at scan time\n");
        TestUtil::writeFile(vault, u"Refused.md"_s, "the script fails for this one\n");
        TestUtil::writeFile(vault, u"Lost/Stray.md"_s, "its folder fails\n");
        const VaultAnalysis analysis = VaultScanner::scan(QUrl::fromLocalFile(vault));
        TestUtil::writeFile(vault, u"Broken.md"_s, "\xff\xfe not UTF-8\n");
        qputenv("VELLORAN_FAKE_NOTES_FAIL_FOLDER", "Lost");
        qputenv("VELLORAN_FAKE_NOTES_FAIL_NOTE", "Refused");
        Migrator migrator;
        const Migrator::Report report = migrate(migrator, analysis, vault);
        QCOMPARE(report.notesCreated, 1);
        QCOMPARE(report.notesMisfiled, (Pairs { { u"Stray"_s, u"Lost"_s } }));
        QCOMPARE(report.imagesMissing, (QStringList { u"Fine: https://example.com/r.png"_s, u"Fine: missing.png"_s }));
        QCOMPARE(report.notesFailed.size(), 3);
        QCOMPARE(report.notesFailed.at(0).first, u"(folder Lost)"_s);
        QVERIFY(report.notesFailed.at(0).second.endsWith(
            u": execution error: Notes got an error: AppleEvent handler failed. (-10000)"_s));
        QCOMPARE(report.notesFailed.at(1), (std::pair { u"Broken"_s, u"Couldn't read the file"_s }));
        QCOMPARE(report.notesFailed.at(2).first, u"Refused"_s);
        QVERIFY(report.notesFailed.at(2).second.startsWith(u"Apple Notes error: "_s));
        QVERIFY(report.notesFailed.at(2).second.endsWith(u"AppleEvent handler failed. (-10000)"_s));
        const Imported kept = imported(fixture->library());
        QCOMPARE(kept.noteCount, 2);
        QVERIFY(kept.notes.contains({ Migrator::rootFolderName, u"Stray"_s }));
        QVERIFY(kept.notes.contains({ Migrator::rootFolderName, u"Fine"_s }));

        // The root refused: one failure, and nothing else happens.
        qputenv("VELLORAN_FAKE_NOTES_DENY", "1");
        const qsizetype runs = fixture->runs().size();
        const Migrator::Report refused = migrate(migrator, analysis, vault);
        Migrator::Report expected;
        expected.notesFailed = { { u"(setup)"_s, refusedText() } };
        QCOMPARE(refused, expected);
        QCOMPARE(fixture->runs().size(), runs + 1);
        QCOMPARE(migrator.progress(), 0.0);
    }

    void exportBackToMarkdown()
    {
        const QString vault = fixture->path(u"vault"_s);
        QVERIFY(copyTree(::exampleVault, vault));
        Controllers app;
        migrate(app.migrator, VaultScanner::scan(QUrl::fromLocalFile(vault)), vault);
        const QJsonObject library = fixture->library();
        const QString out = fixture->path(u"out"_s);
        exportAll(app.exporter, out);
        QVERIFY(app.exporter.result());
        const NotesExporter::Result result = *app.exporter.result();
        QCOMPARE(result.written, 12);
        QCOMPARE(result.failed, Pairs());
        QCOMPARE(result.folders,
            (QSet<QString> {
                u"Imported by Velloran"_s, u"Journal"_s, u"Projects"_s, u"Projects ▸ 2024 ▸ Q1"_s, u"Reference"_s }));
        const QStringList files = TestUtil::hashTree(out).keys();
        QCOMPARE(files,
            (QStringList { u"Imported by Velloran/Ideas.md"_s, u"Imported by Velloran/Inbox.md"_s,
                u"Imported by Velloran/Welcome.md"_s, u"Journal/2024-01-15.md"_s, u"Journal/2024-01-16.md"_s,
                u"Projects ▸ 2024 ▸ Q1/Launch plan.md"_s, u"Projects ▸ 2024 ▸ Q1/Retro.md"_s,
                u"Projects/Projects Overview.md"_s, u"Projects/Roadmap.md"_s, u"Reference/Markdown cheatsheet.md"_s,
                u"Reference/Reading list.md"_s, u"Reference/Recipes.md"_s }));
        // Each file is the note's name as a heading and its body as Markdown.
        const Imported kept = imported(library);
        for (const QString &file : files) {
            const QString folder = file.section(u'/', 0, 0);
            const QString name = file.section(u'/', 1).chopped(3);
            const QString body = kept.notes.value({ folder, name }).body;
            QVERIFY2(!body.isEmpty(), qPrintable(file));
            QCOMPARE(Files::readUtf8(out + u'/' + file).value_or(QString()),
                NotesExporter::fileContent(name, HtmlToMarkdown::convert(body)));
        }
        const QString welcome = Files::readUtf8(out + u"/Imported by Velloran/Welcome.md"_s).value_or(QString());
        QVERIFY2(welcome.startsWith(u"# Welcome\n\n"_s), qPrintable(welcome));
        QVERIFY(welcome.contains(u"**typical**"_s));
        // Notes itself is not changed by an export.
        QCOMPARE(fixture->library(), library);

        // A second export into the same folder never overwrites: every name gets " (2)".
        const QMap<QString, QByteArray> firstExport = TestUtil::hashTree(out);
        exportAll(app.exporter, out);
        QCOMPARE(app.exporter.result()->written, 12);
        const QMap<QString, QByteArray> both = TestUtil::hashTree(out);
        QCOMPARE(both.size(), 24);
        for (auto it = firstExport.cbegin(); it != firstExport.cend(); ++it) {
            QCOMPARE(both.value(it.key()), it.value());
            QCOMPARE(both.value(it.key().chopped(3) + u" (2).md"_s), it.value());
        }
    }

    void exportDeduplicatesNamesWithinAFolder()
    {
        fixture->seed(R"({"folders": [
            {"name": "Mixed", "notes": [
                {"name": "a:b", "body": "<div>a:b</div><div>one</div>"},
                {"name": "a/b", "body": "<div>a/b</div><div>two</div>"},
                {"name": "A:B", "body": "<div>A:B</div><div>three</div>"},
                {"body": "<div>nameless</div>"}]},
            {"name": "Other", "notes": [{"name": "a:b", "body": "<div>a:b</div><div>four</div>"}]}]})");
        Exporter exporter;
        const QString out = fixture->path(u"out"_s);
        exportAll(exporter, out);
        QCOMPARE(exporter.result()->written, 5);
        const QStringList files = TestUtil::hashTree(out).keys();
        const QString base = NotesExporter::sanitizeFilename(u"a:b"_s);
        QCOMPARE(base, u"a-b"_s);
        QCOMPARE(files,
            (QStringList { u"Mixed/(untitled).md"_s, u"Mixed/A-B (3).md"_s, u"Mixed/a-b (2).md"_s, u"Mixed/a-b.md"_s,
                u"Other/a-b.md"_s }));
        QCOMPARE(Files::readUtf8(out + u"/Mixed/a-b (2).md"_s).value_or(QString()), u"# a/b\n\na/b\ntwo\n"_s);
    }

    void favouriteFolderAndGoingHome()
    {
        const QString vault = fixture->path(u"vault"_s);
        QVERIFY(copyTree(::exampleVault, vault));
        QSettings().remove(Exporter::favouriteKey);
        Controllers app;
        migrate(app.migrator, VaultScanner::scan(QUrl::fromLocalFile(vault)), vault);
        auto loading = app.exporter.loadFolders();
        QTRY_VERIFY_WITH_TIMEOUT(loading.isReady(), 60000);
        QCOMPARE(app.exporter.availableFolders(),
            (QStringList {
                u"Imported by Velloran"_s, u"Journal"_s, u"Projects"_s, u"Projects ▸ 2024 ▸ Q1"_s, u"Reference"_s }));

        // The screen remembers the destination; a new controller (a new launch) finds it.
        const QString out = fixture->path(u"out"_s);
        app.exporter.setFavourite(QUrl::fromLocalFile(out));
        exportAll(app.exporter, out, { u"Journal"_s });
        QCOMPARE(app.exporter.result()->written, 2);
        QCOMPARE(Exporter().favouriteFolder(), std::optional<QUrl>(QUrl::fromLocalFile(out)));

        app.goHome();
        QVERIFY(!app.migrator.report());
        QVERIFY(!app.migrator.property("report").isValid());
        QCOMPARE(app.migrator.isRunning(), false);
        QCOMPARE(app.migrator.currentNote(), QString());
        QVERIFY(!app.exporter.result());
        QVERIFY(!app.exporter.errorMessage());
        QCOMPARE(app.exporter.progress(), 0.0);
        QCOMPARE(app.exporter.currentNote(), QString());
        QCOMPARE(app.exporter.isRunning(), false);
        QCOMPARE(app.exporter.availableFolders().size(), 5);
        // Going home keeps the favourite.
        QCOMPARE(app.exporter.favouriteFolder(), std::optional<QUrl>(QUrl::fromLocalFile(out)));

        // The second trip: the migration skips everything and the export starts from a clean state.
        const Migrator::Report again = migrate(app.migrator, VaultScanner::scan(QUrl::fromLocalFile(vault)), vault);
        QCOMPARE(again.notesSkipped, 12);
        app.exporter.setFavourite(std::nullopt);
        QVERIFY(!Exporter().favouriteFolder());
        QSettings().remove(Exporter::favouriteKey);
    }
};

QTEST_GUILESS_MAIN(tst_EndToEnd)
#include "tst_EndToEnd.moc"
