import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Shapes
import QtTest
import Velloran
import Velloran.Engine
import Velloran.StandIns
import "Screens.js" as Screens

// The wizard decides from its own state and the controllers' published state; the stand-ins are a Migrator
// and an Exporter whose published state each test sets directly.
Item {
    id: root

    width: 640
    height: 560

    Component {
        id: migratorStandIn

        MigratorStandIn {}
    }

    Component {
        id: exporterStandIn

        ExporterStandIn {}
    }

    Component {
        id: wizardComponent

        WizardView {
            anchors.fill: parent
        }
    }

    readonly property var emptyReport: ({
            "notesCreated": 3,
            "notesSkipped": 0,
            "notesFailed": [],
            "notesMisfiled": [],
            "imagesAttached": 1,
            "imagesMissing": [],
            "foldersFlattened": [],
            "wikilinksDegraded": 0
        })

    TestCase {
        id: test

        property Migrator migrator
        property Exporter exporter
        property var wizard
        property string vault

        name: "WizardView"
        when: windowShown

        function init() {
            migrator = createTemporaryObject(migratorStandIn, root)
            exporter = createTemporaryObject(exporterStandIn, root)
            wizard = createTemporaryObject(wizardComponent, root, { "migrator": migrator, "exporter": exporter })
            verify(wizard)
            vault = fixture.makeDir()
            fixture.writeFile(vault, "Welcome.md", "# Welcome\nSee [[Ideas]] and [[Plans]].\n")
            fixture.writeFile(vault, "Projects/Ideas.md", "| a | b |\n|---|---|\n| 1 | 2 |\n")
            fixture.writeFile(vault, "Projects/2024/Plans.md", "![[missing.png]]\n")
        }

        function cleanup() {
            // Notes answers normally again, and no folder load outlives its test.
            fixture.setNotesSwitch("VELLORAN_FAKE_NOTES_DENY", "")
            fixture.setNotesSwitch("VELLORAN_FAKE_NOTES_TIMEOUT", "")
            tryCompare(exporter, "isLoadingFolders", false, 30000)
        }

        function chooseImport() {
            mouseClick(findChild(wizard, "mdToNotesCard"))
            compare(wizard.screen, "import")
        }

        function analyzed() {
            chooseImport()
            wizard.analyze(fixture.url(vault))
            tryCompare(wizard, "screen", "analysis", 10000)
        }

        function importZone() {
            return findChild(wizard.content, "importDropZone")
        }

        function test_startsAtTheDirectionPicker() {
            compare(wizard.screen, "picker")
            compare(wizard.content.objectName, "directionPicker")
            compare(wizard.direction, undefined)
            compare(wizard.vault, undefined)
            compare(wizard.analysis, undefined)
            compare(wizard.isAnalyzing, false)
            compare(wizard.dropTargeted, false)
            verify(!findChild(wizard, "backButton").visible)
        }

        function test_header() {
            const wordmark = findChild(wizard, "wordmark")
            compare(wordmark.text, "VELLORAN")
            compare(wordmark.font.bold, true)
            compare(wordmark.font.letterSpacing, 2.5)
            compare(findChild(wizard, "wordmarkSymbol").symbol, "note.text")
            compare(findChild(wizard, "wordmarkSymbol").size, Theme.title3)
            const back = findChild(wizard, "backButton")
            compare(back.help, "Back to start")
            compare(back.ToolTip.text, "Back to start")
            compare(back.icon.source.toString().endsWith("icons/chevron.left.svg"), true)
            chooseImport()
            verify(back.visible)
        }

        function test_pickingDirections_data() {
            return [
                { tag: "Markdown → Apple Notes", card: "mdToNotesCard", screen: "import", content: "importScreen" },
                { tag: "Apple Notes → Markdown", card: "notesToMdCard", screen: "export", content: "exportFlow" }
            ]
        }

        function test_pickingDirections(data) {
            mouseClick(findChild(wizard, data.card))
            compare(wizard.screen, data.screen)
            compare(wizard.content.objectName, data.content)
        }

        function test_importScreen() {
            chooseImport()
            compare(Screens.visibleTexts(wizard.content), [
                "Move your Markdown files\ninto Apple Notes",
                "Folders, images, tables and attachments — intact.\nYour original files are never touched.",
                "Drop a folder of .md files (Obsidian, etc.)",
                "from Finder — not notes from the Notes app",
                "Choose Folder…"
            ])
            compare(importZone().width, 400)
            compare(importZone().height, 124)
            // The note about where to drag from sits below the zone, in caption size.
            const note = findChild(wizard.content, "importDropNote")
            compare(note.font.pixelSize, Theme.caption)
            verify(note.mapToItem(wizard.content, 0, 0).y >= importZone().mapToItem(wizard.content, 0, 124).y)
            // The large folder: 46 points, filled with the ink gradient, lighter at the top.
            const symbol = findChild(wizard.content, "importSymbol")
            compare(symbol.symbol, "folder.fill")
            compare(symbol.width, 46)
            verify(Screens.sameColor(symbol.bottomColor, Theme.ink))
            const ink = Screens.inkDownTheMiddle(fixture.middleColumn(symbol))
            verify(ink.top.hslLightness > ink.bottom.hslLightness)
            fixture.screenshot(wizard, "import")
        }

        function test_analyzingThenTheAnalysis() {
            chooseImport()
            wizard.analyze(fixture.url(vault))
            compare(wizard.isAnalyzing, true)
            compare(wizard.screen, "import")
            const texts = Screens.visibleTexts(wizard.content)
            compare(texts[texts.length - 1], "Analyzing…")
            verify(texts.indexOf("Choose Folder…") < 0)
            fixture.screenshot(wizard, "import-analyzing")
            tryCompare(wizard, "screen", "analysis", 10000)
            compare(wizard.isAnalyzing, false)
            compare(wizard.vault, fixture.url(vault))
            compare(wizard.analysis.notes, 3)
            compare(wizard.analysis.folders, 2)
            compare(wizard.content.objectName, "analysis")
        }

        function test_dropAFolder() {
            chooseImport()
            const zone = importZone()
            verify(fixture.dragEnter(zone, [fixture.url(vault)]))
            compare(wizard.dropTargeted, true)
            compare(findChild(zone, "dropZoneText").text, "Drop it!")
            compare(findChild(wizard.content, "importDropNote").text, "from Finder — not notes from the Notes app")
            verify(Screens.sameColor(zone.outline.strokeColor, Theme.ink))
            verify(Screens.sameColor(findChild(zone, "dropZoneSymbol").color, Theme.ink))
            fixture.screenshot(wizard, "import-drop-hover")
            verify(fixture.drop(zone))
            compare(wizard.dropTargeted, false)
            tryCompare(wizard, "screen", "analysis", 10000)
            compare(wizard.vault, fixture.url(vault))
        }

        function test_dropZoneLook() {
            chooseImport()
            const zone = importZone()
            compare(zone.radius, 14)
            compare(zone.outline.strokeWidth, 2)
            compare(zone.outline.strokeStyle, ShapePath.DashLine)
            // Dashes and gaps in stroke widths: 6 points each.
            compare(zone.outline.dashPattern, [3, 3])
            compare(zone.outline.capStyle, ShapePath.FlatCap)
            compare(findChild(zone, "dropZoneSymbol").size, Theme.title2)
            verify(!Screens.sameColor(zone.outline.strokeColor, Theme.ink))
            verify(Screens.sameColor(findChild(zone, "dropZoneSymbol").color, Theme.secondary))
            fixture.dragEnter(zone, [fixture.url(vault)])
            fixture.dragLeave(zone)
            compare(wizard.dropTargeted, false)
            compare(findChild(zone, "dropZoneText").text, "Drop a folder of .md files (Obsidian, etc.)")
            verify(!Screens.sameColor(zone.outline.strokeColor, Theme.ink))
        }

        function test_dropAFileSelectsItsFolder() {
            chooseImport()
            const zone = importZone()
            fixture.dragEnter(zone, [fixture.url(vault + "/Projects/Ideas.md")])
            fixture.drop(zone)
            tryCompare(wizard, "screen", "analysis", 10000)
            compare(wizard.vault, fixture.url(vault + "/Projects"))
            compare(wizard.analysis.notes, 2)
        }

        function test_dropSeveralFoldersUsesTheFirst() {
            chooseImport()
            const zone = importZone()
            fixture.dragEnter(zone, [fixture.url(vault + "/Projects/2024"), fixture.url(vault)])
            fixture.drop(zone)
            tryCompare(wizard, "screen", "analysis", 10000)
            compare(wizard.vault, fixture.url(vault + "/Projects/2024"))
            compare(wizard.analysis.notes, 1)
        }

        function test_dropAMissingPathDoesNothing() {
            chooseImport()
            const zone = importZone()
            const resolved = createTemporaryObject(spyComponent, test, { "target": zone, "signalName": "resolved" })
            fixture.dragEnter(zone, [fixture.url(vault + "/gone")])
            verify(fixture.drop(zone))
            resolved.wait(10000)
            compare(resolved.signalArguments[0][0], undefined)
            compare(wizard.screen, "import")
            compare(wizard.isAnalyzing, false)
            compare(wizard.vault, undefined)
        }

        function test_onlyFileUrlsAreOffered_data() {
            return [
                { tag: "text (a note from Notes)", text: "A note dragged out of Notes" },
                { tag: "a web address", url: "https://example.com/notes/" }
            ]
        }

        function test_onlyFileUrlsAreOffered(data) {
            chooseImport()
            const zone = importZone()
            const accepted = data.text !== undefined ? fixture.dragTextEnter(zone, data.text)
                                                     : fixture.dragEnter(zone, [data.url])
            compare(accepted, false)
            compare(wizard.dropTargeted, false)
            compare(findChild(zone, "dropZoneText").text, "Drop a folder of .md files (Obsidian, etc.)")
            fixture.dragLeave(zone)
        }

        function test_folderPanel() {
            chooseImport()
            const panel = wizard.importDialog
            compare(panel.acceptLabel, "Analyze")
            // No "New Folder" in the import panel.
            compare(panel.options, FolderDialog.ReadOnly)
            mouseClick(Screens.button(wizard.content, "Choose Folder…"))
            verify(panel.visible)
            panel.selectedFolder = fixture.url(vault)
            // The panel hands its folder over when it has closed, which may be after accept() returns: the
            // scan is seen starting and ending through the signals, whenever they come.
            const analyzing = createTemporaryObject(spyComponent, test,
                                                    { "target": wizard, "signalName": "isAnalyzingChanged" })
            panel.accept()
            tryCompare(wizard, "screen", "analysis", 10000)
            compare(analyzing.count, 2)
            compare(wizard.vault, fixture.url(vault))
        }

        function test_folderPanelCancelled() {
            chooseImport()
            mouseClick(Screens.button(wizard.content, "Choose Folder…"))
            verify(wizard.importDialog.visible)
            wizard.importDialog.reject()
            verify(!wizard.importDialog.visible)
            compare(wizard.isAnalyzing, false)
            compare(wizard.screen, "import")
        }

        function test_chooseADifferentFolder() {
            analyzed()
            mouseClick(Screens.button(wizard.content, "Choose a different folder"))
            compare(wizard.screen, "import")
            compare(wizard.analysis, undefined)
            compare(wizard.vault, undefined)
            compare(wizard.direction, MigrationDirection.MdToNotes)
        }

        function test_progressScreen() {
            analyzed()
            migrator.publishRunning(true)
            compare(wizard.screen, "progress")
            compare(wizard.content.objectName, "migrationProgress")
            compare(Screens.visibleTexts(wizard.content), [
                "Preparing…",
                "Creating notes in Apple Notes — don't quit Notes while this runs.",
                "Stop"
            ])
            compare(findChild(wizard.content, "progressBar").value, 0)
            compare(findChild(wizard.content, "progressBar").width, 360)
            fixture.screenshot(wizard, "migration-progress-preparing")
            migrator.publishProgress(0.5, "Ideas")
            compare(Screens.visibleTexts(wizard.content), [
                "Ideas",
                "Creating notes in Apple Notes — don't quit Notes while this runs.",
                "Stop"
            ])
            compare(findChild(wizard.content, "progressBar").value, 0.5)
            // The bar fills with the application colour, half of it at one half.
            const fill = findChild(wizard.content, "progressFill")
            verify(Screens.sameColor(fill.color, Theme.inkFill))
            compare(fill.width, 180)
            fixture.screenshot(wizard, "migration-progress")

            // Stop asks the migrator once and says it is stopping until the run ends.
            const stop = findChild(wizard.content, "stopButton")
            compare(stop.flat, true)
            mouseClick(stop)
            compare(migrator.stopCalls, 1)
            compare(stop.text, "Stopping…")
            compare(stop.enabled, false)
            mouseClick(stop)
            compare(migrator.stopCalls, 1)
        }

        function test_screenOrder() {
            analyzed()
            // Running comes before a report that is still there from the last run.
            migrator.publishReport(fixture.migrationReport(root.emptyReport))
            migrator.publishRunning(true)
            compare(wizard.screen, "progress")
            migrator.publishRunning(false)
            compare(wizard.screen, "report")
            compare(wizard.content.objectName, "report")
            migrator.publishReport(undefined)
            compare(wizard.screen, "analysis")
        }

        function test_reportThenDone() {
            analyzed()
            migrator.publishReport(fixture.migrationReport(root.emptyReport))
            compare(wizard.screen, "report")
            mouseClick(Screens.button(wizard.content, "Done"))
            compare(wizard.screen, "picker")
            compare(wizard.direction, undefined)
            compare(wizard.vault, undefined)
            compare(wizard.analysis, undefined)
            compare(migrator.clearCalls, 1)
            compare(migrator.report, undefined)
            compare(exporter.resetCalls, 1)
        }

        function test_backToStartLeavesNothing() {
            analyzed()
            const back = findChild(wizard, "backButton")
            mouseClick(back)
            compare(wizard.screen, "picker")
            compare(wizard.direction, undefined)
            compare(wizard.vault, undefined)
            compare(wizard.analysis, undefined)
            compare(migrator.clearCalls, 1)
            compare(exporter.resetCalls, 1)
            verify(!back.visible)
            // A new import starts clean.
            chooseImport()
            compare(Screens.visibleTexts(wizard.content)[2], "Drop a folder of .md files (Obsidian, etc.)")
        }

        readonly property string permissionText:
            "Permission needed: System Settings → Privacy & Security → Automation → Velloran → Notes"

        // The export screen asks Notes for its folders, and Notes refuses, as it does a first run without
        // Automation.
        function refuseFolderList() {
            fixture.setNotesSwitch("VELLORAN_FAKE_NOTES_DENY", "1")
            mouseClick(findChild(wizard, "notesToMdCard"))
            compare(wizard.screen, "export")
            // The refusal takes the user home, which clears the exporter's message again.
            tryCompare(wizard, "screen", "picker", 10000)
        }

        function permissionPanel() {
            const panel = findChild(wizard.content, "permissionPanel")
            verify(panel)
            return panel
        }

        // Refused before Notes ever answered: back at the start, the permission check says what to do; once
        // Automation is granted, "Check again" shows what Notes holds and "Continue" brings the cards back.
        function test_refusalShowsThePermissionCheck() {
            fixture.seedNotes(JSON.stringify({ "folders": [
                { "name": "Work", "notes": [{ "name": "Plan", "body": "<div>Plan</div>" }],
                  "folders": [{ "name": "Old" }] }] }))
            fixture.clearScriptLog()
            refuseFolderList()
            compare(wizard.permissionNeeded, true)
            compare(exporter.resetCalls, 1)
            const panel = permissionPanel()
            tryVerify(() => panel.outcome !== undefined, 10000)
            compare(panel.ok, false)
            compare(fixture.scriptRuns("count-folders-and-notes"), 1)
            compare(Screens.visibleTexts(wizard.content), [
                "Velloran may not control Apple Notes",
                "No folders or notes could be read.",
                "osascript",
                panel.outcome.sections[0].entries[0],
                "Automation for Notes",
                "refused (-1743)",
                "To grant it",
                "Open System Settings → Privacy & Security → Automation → Velloran → Notes and switch Notes on.",
                "If Velloran is not listed there, have macOS ask again: tccutil reset AppleEvents com.velloran.Velloran",
                "Then check again.",
                "Check again"
            ])
            verify(panel.outcome.sections[0].entries[0].endsWith("fake-osascript — found"))
            compare(findChild(wizard.content, "mdToNotesCard").visible, false)
            fixture.screenshot(wizard, "picker-permission-refused")

            // Still refused: the check says the same again.
            mouseClick(Screens.button(wizard.content, "Check again"))
            tryCompare(panel.check, "isChecking", false, 10000)
            compare(fixture.scriptRuns("count-folders-and-notes"), 2)
            compare(panel.ok, false)

            fixture.setNotesSwitch("VELLORAN_FAKE_NOTES_DENY", "")
            mouseClick(Screens.button(wizard.content, "Check again"))
            tryCompare(panel, "ok", true, 10000)
            compare(Screens.visibleTexts(wizard.content), [
                "Velloran can reach Apple Notes",
                "2 folders · 1 note",
                "osascript",
                panel.outcome.sections[0].entries[0],
                "Automation for Notes",
                "granted",
                "Check again",
                "Continue"
            ])
            fixture.screenshot(wizard, "picker-permission-granted")
            mouseClick(Screens.button(wizard.content, "Continue"))
            compare(wizard.permissionNeeded, false)
            compare(wizard.notesAnswered, true)
            compare(Screens.visibleTexts(wizard.content)[0], "Apple Notes ↔ Markdown")
            verify(findChild(wizard.content, "mdToNotesCard").visible)
        }

        // The migration's first script refused: the same check, in place of the report.
        function test_refusedMigrationShowsThePermissionCheck() {
            fixture.setNotesSwitch("VELLORAN_FAKE_NOTES_DENY", "1")
            analyzed()
            migrator.publishReport(fixture.migrationReport(Object.assign({}, root.emptyReport, {
                "notesCreated": 0,
                "notesFailed": [["(setup)", permissionText]]
            })))
            tryCompare(wizard, "screen", "picker")
            compare(wizard.permissionNeeded, true)
            compare(migrator.report, undefined)
            compare(wizard.vault, undefined)
            tryVerify(() => permissionPanel().outcome !== undefined, 10000)
            compare(permissionPanel().outcome.title, "Velloran may not control Apple Notes")
            fixture.setNotesSwitch("VELLORAN_FAKE_NOTES_DENY", "")
        }

        // Other failures, and refusals once Notes has answered, stay where they happened.
        function test_onlyAFirstRefusalLeadsToTheCheck() {
            fixture.setNotesSwitch("VELLORAN_FAKE_NOTES_TIMEOUT", "1")
            mouseClick(findChild(wizard, "notesToMdCard"))
            tryVerify(() => exporter.errorMessage !== undefined, 10000)
            verify(exporter.errorMessage.endsWith("AppleEvent timed out. (-1712)"))
            wait(50)
            compare(wizard.screen, "export")
            compare(wizard.notesAnswered, false)
            fixture.setNotesSwitch("VELLORAN_FAKE_NOTES_TIMEOUT", "")
            exporter.loadFolderList()
            tryCompare(wizard, "notesAnswered", true, 10000)
            compare(exporter.errorMessage, undefined)
            fixture.setNotesSwitch("VELLORAN_FAKE_NOTES_DENY", "1")
            exporter.loadFolderList()
            tryCompare(exporter, "errorMessage", permissionText, 10000)
            wait(50)
            compare(wizard.screen, "export")
            compare(wizard.permissionNeeded, false)
            fixture.setNotesSwitch("VELLORAN_FAKE_NOTES_DENY", "")
        }

        function test_exportDoneGoesHome() {
            mouseClick(findChild(wizard, "notesToMdCard"))
            exporter.publishResult(fixture.exportResult({ "written": 2, "failed": [], "folders": ["Work"] }))
            compare(wizard.content.stage, "result")
            mouseClick(Screens.button(wizard.content, "Done"))
            compare(wizard.screen, "picker")
            compare(exporter.resetCalls, 1)
            compare(exporter.result, undefined)
            compare(migrator.clearCalls, 1)
        }
    }

    Component {
        id: spyComponent

        SignalSpy {}
    }
}
