import QtQuick
import QtTest
import Velloran
import Velloran.Engine
import "Screens.js" as Screens

Item {
    id: root

    width: 640
    height: 560

    Component {
        id: viewComponent

        AnalysisView {
            anchors.fill: parent
        }
    }

    Component {
        id: migratorComponent

        Migrator {}
    }

    Component {
        id: controllerComponent

        WizardController {}
    }

    Component {
        id: spyComponent

        SignalSpy {}
    }

    function counts(notes, folders, resolved, missing, wikilinks, tables) {
        return {
            "notes": notes,
            "folders": folders,
            "attachmentsResolved": resolved,
            "attachmentsMissing": missing,
            "wikilinks": wikilinks,
            "hasTables": tables
        }
    }

    TestCase {
        id: test

        name: "AnalysisView"
        when: windowShown

        function show(analysis, vault) {
            return createTemporaryObject(viewComponent, root, { "analysis": fixture.analysisSummary(analysis),
                                                                "vault": vault })
        }

        function test_rowsWithoutTablesOrMissingImages() {
            const view = show(root.counts(12, 3, 4, 0, 0, false), "file:///Users/me/Notes%20Vault/")
            compare(view.rows, [
                { "symbol": "doc.text", "count": "12 notes", "label": "will be created in Apple Notes" },
                { "symbol": "folder", "count": "3 folders", "label": "recreated inside “Imported by Velloran”" },
                { "symbol": "photo", "count": "4 images", "label": "attached to their notes" },
                { "symbol": "link", "count": "0 wikilinks",
                  "label": "become styled text references (Notes has no API for note-to-note links)" }
            ])
            compare(Screens.visibleTexts(view), [
                "Notes Vault",
                "Here's what Velloran found:",
                "12 notes", "3 folders", "4 images", "0 wikilinks",
                "will be created in Apple Notes",
                "recreated inside “Imported by Velloran”",
                "attached to their notes",
                "become styled text references (Notes has no API for note-to-note links)",
                "Migrate to Apple Notes",
                "Choose a different folder"
            ])
            fixture.screenshot(view, "analysis")
        }

        function test_rowsWithTablesAndMissingImages() {
            const view = show(root.counts(1, 0, 2, 1, 7, true), "file:///tmp/vault")
            compare(view.rows.length, 5)
            compare(view.rows[2], { "symbol": "photo", "count": "2 images",
                                    "label": "attached · 1 missing on disk (listed in the report)" })
            compare(view.rows[3].count, "7 wikilinks")
            compare(view.rows[4], { "symbol": "tablecells", "count": "Tables", "label": "preserved as real Notes tables" })
            const texts = Screens.visibleTexts(view)
            compare(texts[0], "vault")
            verify(texts.indexOf("Tables") > 0)
            verify(texts.indexOf("preserved as real Notes tables") > 0)
            verify(texts.indexOf("attached · 1 missing on disk (listed in the report)") > 0)
            fixture.screenshot(view, "analysis-tables-missing-images")
        }

        // Files that cannot be read and titles given a number are shown before anything is written.
        function test_rowsForUnreadableFilesAndNumberedTitles() {
            const analysis = root.counts(3, 1, 0, 0, 0, false)
            analysis.titlesRenamed = 1
            analysis.unreadableFiles = 2
            analysis.unreadableFolders = 1
            const view = show(analysis, "file:///tmp/vault")
            compare(view.rows.length, 7)
            compare(view.rows[4], { "symbol": "doc.text", "count": "1 title",
                                    "label": "get a number, as another note of that name goes to the same Notes folder" })
            compare(view.rows[5], { "symbol": "exclamationmark.triangle.fill", "count": "2 files",
                                    "label": "couldn't be read (listed in the report)" })
            compare(view.rows[6], { "symbol": "exclamationmark.triangle.fill", "count": "1 folder",
                                    "label": "couldn't be read (listed in the report)" })
            verify(Screens.visibleTexts(view).indexOf("2 files") > 0)
            fixture.screenshot(view, "analysis-unreadable-and-numbered")
        }

        // The controller's analysis carries the counts of a real scan.
        function test_scanCountsUnreadableFilesAndNumberedTitles() {
            const vault = fixture.makeDir()
            fixture.writeFile(vault, "x.md", "one\n")
            fixture.writeFile(vault, "x.markdown", "two\n")
            fixture.writeFile(vault, "latin.md", "caf\u00e9\n")
            const controller = createTemporaryObject(controllerComponent, test)
            controller.analyze(fixture.url(vault))
            tryCompare(controller, "isAnalyzing", false, 10000)
            compare(controller.analysis.notes, 3)
            compare(controller.analysis.titlesRenamed, 1)
            compare(controller.analysis.unreadableFiles, 0)
            compare(controller.analysis.unreadableFolders, 0)
        }

        function test_statGrid() {
            const view = show(root.counts(1, 1, 0, 0, 0, true), "file:///tmp/vault")
            const grid = findChild(view, "statGrid")
            compare(grid.columns, 2)
            compare(grid.columnSpacing, 28)
            compare(grid.rowSpacing, 10)
        }

        function test_buttons() {
            const view = show(root.counts(1, 0, 0, 0, 0, false), "file:///tmp/vault")
            const migrate = findChild(view, "migrateButton")
            compare(migrate.text, "Migrate to Apple Notes")
            compare(migrate.width, 280)
            compare(migrate.highlighted, true)
            verify(Screens.filledWith(migrate, Theme.inkFill, Theme.textOnInk))
            compare(migrate.font.weight, Font.DemiBold)
            verify(migrate.icon.source.toString().endsWith("icons/arrow.right.circle.fill.svg"))
            const back = createTemporaryObject(spyComponent, test, { "target": view, "signalName": "back" })
            mouseClick(findChild(view, "differentFolderButton"))
            compare(back.count, 1)
        }

        // A vault of four notes, two of which Apple Notes already has in their folder.
        function detailsView() {
            fixture.seedNotes('{"folders": [{"name": "Imported by Velloran", "notes": ['
                              + '{"name": "Alpha", "body": "<div>Alpha</div>"}, {"name": "Gamma", "body": "<div>Gamma</div>"}]}]}')
            const vault = fixture.makeDir()
            fixture.writeFile(vault, "Alpha.md", "Hello [[Beta]]\n")
            fixture.writeFile(vault, "Gamma.md", "Hi\n")
            fixture.writeFile(vault, "Work/Beta.md", "| a |\n![x](gone.png)\n")
            fixture.writeFile(vault, "Work/Delta.md", "Later\n")
            const controller = createTemporaryObject(controllerComponent, test)
            controller.analyze(fixture.url(vault))
            tryCompare(controller, "isAnalyzing", false, 10000)
            fixture.clearScriptLog()
            return createTemporaryObject(viewComponent, root, {
                "analysis": controller.analysis, "vault": controller.vault, "controller": controller
            })
        }

        // The texts from the details disclosure on.
        function detailTexts(view) {
            const texts = Screens.visibleTexts(view)
            return texts.slice(texts.indexOf(view.detailsOpen ? "Hide details" : "Show details"))
        }

        function test_detailsListWhatTheMigrationWillDo() {
            const view = detailsView()
            // Closed, and nothing asked of Notes, until opened.
            compare(detailTexts(view), ["Show details", "Migrate to Apple Notes", "Choose a different folder"])
            compare(view.controller.plan, undefined)
            const before = JSON.stringify(fixture.notesLibrary())
            mouseClick(Screens.button(view, "Show details"))
            tryCompare(view.controller, "isPlanning", false, 30000)
            compare(detailTexts(view), [
                "Hide details",
                "2 notes to create · 2 already in Apple Notes (skipped)",
                "Alpha", "Folder: Imported by Velloran", "Already in Apple Notes — will be skipped",
                "Wikilink becomes underlined text: Beta",
                "Beta", "Folder: Imported by Velloran / Work", "Will be created",
                "Image not attached: gone.png — not found on disk", "Tables preserved as real Notes tables",
                "Delta", "Folder: Imported by Velloran / Work", "Will be created",
                "Gamma", "Folder: Imported by Velloran", "Already in Apple Notes — will be skipped",
                "Migrate to Apple Notes",
                "Choose a different folder"
            ])
            fixture.screenshot(view, "analysis-details")
            // Only read: no folder or note was made.
            compare(fixture.scriptRuns("create-note"), 0)
            compare(fixture.scriptRuns("ensure-folder"), 0)
            compare(JSON.stringify(fixture.notesLibrary()), before)

            // Closing keeps the plan; opening again does not read Notes again.
            mouseClick(Screens.button(view, "Hide details"))
            compare(detailTexts(view), ["Show details", "Migrate to Apple Notes", "Choose a different folder"])
            const reads = fixture.scriptRuns("list-folder-details")
            mouseClick(Screens.button(view, "Show details"))
            compare(view.controller.isPlanning, false)
            compare(fixture.scriptRuns("list-folder-details"), reads)
        }

        function test_detailsSayWhyNotesCouldNotBeChecked() {
            const view = detailsView()
            fixture.setNotesSwitch("VELLORAN_FAKE_NOTES_DENY", "1")
            fixture.setNotesSwitch("VELLORAN_FAKE_NOTES_DELAY_MS", "300")
            mouseClick(Screens.button(view, "Show details"))
            compare(detailTexts(view).slice(0, 2), ["Hide details", "Checking Apple Notes…"])
            tryCompare(view.controller, "isPlanning", false, 30000)
            fixture.setNotesSwitch("VELLORAN_FAKE_NOTES_DENY", "")
            fixture.setNotesSwitch("VELLORAN_FAKE_NOTES_DELAY_MS", "")
            const texts = detailTexts(view)
            compare(texts.slice(0, 6), [
                "Hide details",
                "4 notes to migrate",
                "Apple Notes couldn't be read, so it is unknown which notes are already there (they would be "
                + "skipped): Permission needed: System Settings → Privacy & Security → Automation → Velloran → Notes",
                "Alpha", "Folder: Imported by Velloran", "Not checked whether it is already in Apple Notes"
            ])
            fixture.screenshot(view, "analysis-details-unchecked")
        }

        // A new scan drops the plan of the last one.
        function test_aNewAnalysisDropsThePlan() {
            const view = detailsView()
            mouseClick(Screens.button(view, "Show details"))
            tryCompare(view.controller, "isPlanning", false, 30000)
            verify(view.controller.plan !== undefined)
            view.controller.analyze(view.controller.vault)
            tryCompare(view.controller, "isAnalyzing", false, 10000)
            compare(view.controller.plan, undefined)
        }

        function test_migrateStartsTheMigration() {
            fixture.seedNotes('{"folders": []}')
            const vault = fixture.makeDir()
            fixture.writeFile(vault, "Alpha.md", "Hello\n")
            fixture.writeFile(vault, "Work/Beta.md", "World\n")
            const controller = createTemporaryObject(controllerComponent, test)
            controller.analyze(fixture.url(vault))
            tryCompare(controller, "isAnalyzing", false, 10000)
            const migrator = createTemporaryObject(migratorComponent, test)
            const view = createTemporaryObject(viewComponent, root, {
                "analysis": controller.analysis, "vault": controller.vault,
                "migrator": migrator, "controller": controller
            })
            mouseClick(findChild(view, "migrateButton"))
            compare(migrator.isRunning, true)
            tryCompare(migrator, "isRunning", false, 30000)
            compare(migrator.report.notesCreated, 2)
            compare(migrator.report.notesFailed, [])
            const root0 = fixture.notesLibrary().folders[0]
            compare(root0.name, "Imported by Velloran")
            compare(root0.notes.map(note => note.name), ["Alpha"])
            compare(root0.folders.map(folder => folder.name), ["Work"])
            compare(root0.folders[0].notes.map(note => note.name), ["Beta"])
        }
    }
}
