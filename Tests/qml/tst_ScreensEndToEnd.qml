import QtQuick
import QtQuick.Dialogs
import QtTest
import Velloran
import Velloran.Engine
import "Screens.js" as Screens

// Whole runs through the screens, with the real controllers, against the Notes stand-in.
Item {
    id: root

    width: 640
    height: 560

    Component {
        id: migratorComponent

        Migrator {}
    }

    Component {
        id: exporterComponent

        Exporter {}
    }

    Component {
        id: wizardComponent

        WizardView {
            anchors.fill: parent
        }
    }

    TestCase {
        id: test

        property Migrator migrator
        property Exporter exporter
        property var wizard

        name: "ScreensEndToEnd"
        when: windowShown

        function init() {
            fixture.clearScriptLog()
            migrator = createTemporaryObject(migratorComponent, test)
            exporter = createTemporaryObject(exporterComponent, test)
            exporter.setFavouriteFolder(undefined)
            wizard = createTemporaryObject(wizardComponent, root, { "migrator": migrator, "exporter": exporter })
        }

        function cleanup() {
            fixture.setNotesSwitch("VELLORAN_FAKE_NOTES_DELAY_MS", "")
            tryCompare(migrator, "isRunning", false, 60000)
            tryCompare(exporter, "isRunning", false, 60000)
            tryCompare(exporter, "isLoadingFolders", false, 60000)
        }

        function test_dropAFolderAndMigrate() {
            fixture.seedNotes('{"folders": []}')
            const vault = fixture.makeDir()
            fixture.writeFile(vault, "Welcome.md", "# Welcome\nStart at [[Ideas]].\n![logo](logo.png)\n")
            fixture.writeFile(vault, "logo.png", "not really a picture")
            fixture.writeFile(vault, "Projects/Ideas.md", "| a | b |\n|---|---|\n| 1 | 2 |\n")
            fixture.writeFile(vault, "Projects/2024/Plan.md", "- [ ] ship\n")

            mouseClick(findChild(wizard, "mdToNotesCard"))
            compare(wizard.screen, "import")
            const zone = findChild(wizard.content, "importDropZone")
            verify(fixture.dragEnter(zone, [fixture.url(vault)]))
            verify(fixture.drop(zone))
            tryCompare(wizard, "screen", "analysis", 10000)
            compare(wizard.content.rows.map(row => row.count), ["3 notes", "2 folders", "1 image", "1 wikilink", "Tables"])

            mouseClick(findChild(wizard.content, "migrateButton"))
            // The window stays free while the folders are made: the progress screen shows at once.
            compare(wizard.screen, "progress")
            compare(Screens.visibleTexts(wizard.content)[0], "Preparing…")
            tryCompare(wizard, "screen", "report", 60000)
            compare(Screens.visibleTexts(wizard.content), [
                "Migration complete",
                "3 notes · 1 image attached",
                "Deep folders flattened to “A ▸ B” (Notes nests one level)",
                "Projects/2024",
                "1 wikilink became an underlined text reference — Apple Notes has no API for creating note-to-note links.",
                "Open Apple Notes",
                "Done"
            ])
            fixture.screenshot(wizard, "e2e-migration-report")

            const imported = fixture.notesLibrary().folders[0]
            compare(imported.name, "Imported by Velloran")
            compare(imported.notes.map(note => note.name), ["Welcome"])
            compare(imported.notes[0].attachments, ["logo.png"])
            compare(imported.folders.map(folder => folder.name), ["Projects", "Projects ▸ 2024"])
            compare(imported.folders[0].notes.map(note => note.name), ["Ideas"])
            compare(imported.folders[1].notes.map(note => note.name), ["Plan"])

            mouseClick(Screens.button(wizard.content, "Done"))
            compare(wizard.screen, "picker")
            compare(migrator.report, undefined)
            compare(wizard.vault, undefined)
            compare(wizard.analysis, undefined)
        }

        function test_exportAllNotes() {
            fixture.seedNotes(JSON.stringify({
                "folders": [
                    { "name": "Work", "notes": [{ "name": "Plan", "body": "<div>Plan</div><div>Step <b>one</b></div>" }] },
                    { "name": "Home", "notes": [{ "name": "Groceries", "body": "<div>Groceries</div><div>Milk</div>" }] }
                ]
            }))
            mouseClick(findChild(wizard, "notesToMdCard"))
            compare(wizard.screen, "export")
            const flow = wizard.content
            tryCompare(exporter, "isLoadingFolders", false, 30000)
            const out = fixture.makeDir()
            mouseClick(Screens.button(flow.content, "Choose Folder…"))
            verify(flow.destinationDialog.visible)
            flow.destinationDialog.selectedFolder = fixture.url(out)
            flow.destinationDialog.accept()
            const start = findChild(flow.content, "exportButton")
            verify(start.enabled)
            // Notes answers slowly enough that the run is still reading when the test looks.
            fixture.setNotesSwitch("VELLORAN_FAKE_NOTES_DELAY_MS", "300")
            mouseClick(start)
            compare(flow.stage, "progress")
            tryCompare(flow, "stage", "result", 60000)
            compare(Screens.visibleTexts(flow.content), [
                "Export complete", "2 notes written · 2 folders", "Reveal in Finder", "Done"
            ])
            fixture.screenshot(wizard, "e2e-export-result")
            compare(fixture.files(out), ["Home/Groceries.md", "Work/Plan.md"])
            verify(fixture.readFile(out + "/Work/Plan.md").indexOf("**one**") >= 0)

            mouseClick(Screens.button(flow.content, "Done"))
            compare(wizard.screen, "picker")
            compare(exporter.result, undefined)
            compare(exporter.errorMessage, undefined)
        }

        // Stop on the progress screen ends the run after the note in flight and shows what was done.
        function test_stopAMigration() {
            fixture.seedNotes('{"folders": []}')
            const vault = fixture.makeDir()
            for (let i = 1; i <= 6; ++i)
                fixture.writeFile(vault, "Note " + i + ".md", "text " + i + "\n")
            mouseClick(findChild(wizard, "mdToNotesCard"))
            const zone = findChild(wizard.content, "importDropZone")
            verify(fixture.dragEnter(zone, [fixture.url(vault)]))
            verify(fixture.drop(zone))
            tryCompare(wizard, "screen", "analysis", 10000)
            fixture.setNotesSwitch("VELLORAN_FAKE_NOTES_DELAY_MS", "400")
            mouseClick(findChild(wizard.content, "migrateButton"))
            compare(wizard.screen, "progress")
            tryCompare(migrator, "currentNote", "Note 2", 30000)
            const stop = findChild(wizard.content, "stopButton")
            verify(stop.visible)
            compare(stop.text, "Stop")
            compare(stop.flat, true)
            mouseClick(stop)
            compare(stop.text, "Stopping…")
            compare(stop.enabled, false)
            fixture.screenshot(wizard, "migration-progress-stopping")
            tryCompare(wizard, "screen", "report", 60000)
            compare(Screens.visibleTexts(wizard.content), [
                "Migration stopped",
                "2 notes · 0 images attached",
                "You stopped the migration: the notes it had not reached are not in Apple Notes. Run it again to carry on; the notes already made are skipped.",
                "Open Apple Notes",
                "Done"
            ])
            compare(findChild(wizard.content, "reportSymbol").symbol, "exclamationmark.triangle.fill")
            fixture.screenshot(wizard, "e2e-migration-stopped")
            compare(fixture.notesLibrary().folders[0].notes.map(note => note.name), ["Note 1", "Note 2"])
        }

        function test_stopAnExport() {
            fixture.seedNotes(JSON.stringify({
                "folders": [
                    { "name": "Work", "notes": [{ "name": "Plan", "body": "<div>Plan</div>" }] },
                    { "name": "Home", "notes": [{ "name": "Groceries", "body": "<div>Groceries</div>" }] },
                    { "name": "Trips", "notes": [{ "name": "Rome", "body": "<div>Rome</div>" }] }
                ]
            }))
            mouseClick(findChild(wizard, "notesToMdCard"))
            const flow = wizard.content
            tryCompare(exporter, "isLoadingFolders", false, 30000)
            const out = fixture.makeDir()
            mouseClick(Screens.button(flow.content, "Choose Folder…"))
            flow.destinationDialog.selectedFolder = fixture.url(out)
            flow.destinationDialog.accept()
            fixture.setNotesSwitch("VELLORAN_FAKE_NOTES_DELAY_MS", "400")
            mouseClick(findChild(flow.content, "exportButton"))
            compare(flow.stage, "progress")
            const stop = findChild(flow.content, "stopButton")
            verify(stop.visible)
            mouseClick(stop)
            compare(stop.text, "Stopping…")
            fixture.screenshot(wizard, "export-progress-stopping")
            tryCompare(flow, "stage", "result", 60000)
            compare(Screens.visibleTexts(flow.content), [
                "Export stopped", "0 notes written · 0 folders",
                "You stopped the export: the notes it had not reached were not written.",
                "Reveal in Finder", "Done"
            ])
            fixture.screenshot(wizard, "e2e-export-stopped")
            compare(fixture.files(out), [])
        }
    }
}
