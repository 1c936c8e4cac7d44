import QtQuick
import QtTest
import Velloran
import Velloran.Engine
import "Screens.js" as Screens

// Whole runs through the screens with the keyboard alone, with the real controllers, against the Notes
// stand-in: Tab walks the controls in reading order and shows a focus ring on each, Space presses the focused
// button or toggles the focused checkbox, Return presses the screen's prominent button (or the focused
// direction card), Escape goes back to the start. The runs end as the mouse-driven ones do. Only the folder
// panel is answered from the test, as the desktop's own panel would be.
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

        property QtObject migrator
        property QtObject exporter
        property var wizard

        name: "KeyboardOnly"
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

        function focused() {
            return root.Window.activeFocusItem
        }

        // How a control is named in the lists of tab stops: its objectName, or its text (the folder rows).
        function stopName(item) {
            return item.objectName !== "" ? item.objectName : item.text
        }

        // Checks that the focused control shows it: the control knows it has focus from the keyboard, its
        // ring is shown, and the window looks different from `unfocused`, a picture without that focus.
        function verifyFocusShown(item, unfocused) {
            verify(item.visualFocus, stopName(item))
            const ring = findChild(item, "focusRing")
            verify(ring !== null, "no focus ring in " + stopName(item))
            verify(ring.visible, stopName(item))
            verify(!grabImage(root).equals(unfocused), "the focus on " + stopName(item) + " is not drawn")
        }

        // The export options' checkboxes, the last controls of the export setup.
        readonly property var optionStops: [
            "imagesAsFilesOption", "keepDatesOption", "noteLinksOption", "headingsOption", "updateExportOption"
        ]

        // Presses Tab, from no control, until it comes round to the first control again; returns the
        // controls it stopped at, in order, and checks on the way that each shows its focus. Ends with the
        // focus on the first one.
        function tabStops() {
            root.forceActiveFocus()
            const unfocused = grabImage(root)
            const stops = []
            for (let i = 0; i < 40; ++i) {
                keyClick(Qt.Key_Tab)
                const item = focused()
                // The window's own root takes the focus once per round where Tab wraps.
                if (!item || item.visualFocus === undefined)
                    continue
                if (stops.length > 0 && item === stops[0])
                    return stops.map(stopName)
                verifyFocusShown(item, unfocused)
                stops.push(item)
            }
            fail("Tab never came round: " + stops.map(stopName))
        }

        // Presses Tab until the focus is on `item`.
        function tabTo(item) {
            verify(item !== null)
            for (let i = 0; i < 40 && !item.activeFocus; ++i)
                keyClick(Qt.Key_Tab)
            verify(item.activeFocus, "Tab never reached " + stopName(item))
            verify(item.visualFocus)
        }

        function seedTwoFolders() {
            fixture.seedNotes(JSON.stringify({
                "folders": [
                    { "name": "Work", "notes": [{ "name": "Plan", "body": "<div>Plan</div><div>Step <b>one</b></div>" }] },
                    { "name": "Home", "notes": [{ "name": "Groceries", "body": "<div>Groceries</div><div>Milk</div>" }] }
                ]
            }))
        }

        // On the export setup: Space on "Choose Folder…" opens the panel, which is answered with `folder`.
        function chooseDestination(flow, folder) {
            tabTo(findChild(flow.content, "chooseDestinationButton"))
            keyClick(Qt.Key_Space)
            verify(flow.destinationDialog.visible)
            flow.destinationDialog.selectedFolder = fixture.url(folder)
            flow.destinationDialog.accept()
        }

        function test_migrate() {
            fixture.seedNotes('{"folders": []}')
            const vault = fixture.makeDir()
            fixture.writeFile(vault, "Welcome.md", "# Welcome\nStart at [[Ideas]].\n![logo](logo.png)\n")
            fixture.writeFile(vault, "logo.png", "not really a picture")
            fixture.writeFile(vault, "Projects/Ideas.md", "| a | b |\n|---|---|\n| 1 | 2 |\n")
            fixture.writeFile(vault, "Projects/2024/Plan.md", "- [ ] ship\n")

            compare(tabStops(), ["mdToNotesCard", "notesToMdCard"])
            verify(findChild(wizard, "mdToNotesCard").activeFocus)
            fixture.screenshot(wizard, "keyboard-picker-focus")
            keyClick(Qt.Key_Return)
            compare(wizard.screen, "import")

            compare(tabStops(), ["backButton", "chooseFolderButton"])
            tabTo(findChild(wizard.content, "chooseFolderButton"))
            keyClick(Qt.Key_Space)
            verify(wizard.importDialog.visible)
            wizard.importDialog.selectedFolder = fixture.url(vault)
            wizard.importDialog.accept()
            tryCompare(wizard, "screen", "analysis", 10000)
            compare(wizard.content.rows.map(row => row.count), ["3 notes", "2 folders", "1 image", "1 wikilink", "Tables"])

            compare(tabStops(), ["backButton", "detailsButton", "migrateButton", "differentFolderButton"])
            // Return presses "Migrate to Apple Notes" even with the focus on the back button.
            verify(findChild(wizard, "backButton").activeFocus)
            keyClick(Qt.Key_Return)
            compare(wizard.screen, "progress")
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
            fixture.screenshot(wizard, "keyboard-migration-report")

            const imported = fixture.notesLibrary().folders[0]
            compare(imported.name, "Imported by Velloran")
            compare(imported.notes.map(note => note.name), ["Welcome"])
            compare(imported.notes[0].attachments, ["logo.png"])
            compare(imported.folders.map(folder => folder.name), ["Projects", "Projects ▸ 2024"])
            compare(imported.folders[0].notes.map(note => note.name), ["Ideas"])
            compare(imported.folders[1].notes.map(note => note.name), ["Plan"])

            compare(tabStops(), ["backButton", "openNotesButton", "doneButton"])
            keyClick(Qt.Key_Return)
            compare(wizard.screen, "picker")
            compare(migrator.report, undefined)
            compare(wizard.vault, undefined)
            compare(wizard.analysis, undefined)
        }

        function test_exportAllNotes() {
            seedTwoFolders()
            compare(tabStops(), ["mdToNotesCard", "notesToMdCard"])
            tabTo(findChild(wizard, "notesToMdCard"))
            keyClick(Qt.Key_Space)
            compare(wizard.screen, "export")
            const flow = wizard.content
            tryCompare(exporter, "isLoadingFolders", false, 30000)
            // The start button is left out while it is disabled.
            compare(tabStops(), [
                "backButton", "allNotesSegment", "chooseFoldersSegment", "chooseDestinationButton", "rememberFavourite"
            ].concat(optionStops))
            keyClick(Qt.Key_Return)
            compare(flow.stage, "setup")

            const out = fixture.makeDir()
            chooseDestination(flow, out)
            compare(tabStops(), [
                "backButton", "allNotesSegment", "chooseFoldersSegment", "chooseDestinationButton",
                "rememberFavourite"
            ].concat(optionStops, ["exportButton"]))
            fixture.setNotesSwitch("VELLORAN_FAKE_NOTES_DELAY_MS", "300")
            keyClick(Qt.Key_Return)
            compare(flow.stage, "progress")
            tryCompare(flow, "stage", "result", 60000)
            compare(Screens.visibleTexts(flow.content), [
                "Export complete", "2 notes written · 2 folders", "Reveal in Finder", "Done"
            ])
            fixture.screenshot(wizard, "keyboard-export-result")
            compare(fixture.files(out), ["Home/Groceries.md", "Work/Plan.md"])
            verify(fixture.readFile(out + "/Work/Plan.md").indexOf("**one**") >= 0)

            compare(tabStops(), ["backButton", "revealButton", "doneButton"])
            keyClick(Qt.Key_Return)
            compare(wizard.screen, "picker")
            compare(exporter.result, undefined)
            compare(exporter.errorMessage, undefined)
        }

        // The folder rows and "Remember as favourite folder" are checkboxes that Space toggles; Escape on
        // the result goes back to the start as the back button does.
        function test_exportChosenFoldersAndGoBack() {
            seedTwoFolders()
            tabTo(findChild(wizard, "notesToMdCard"))
            keyClick(Qt.Key_Enter)
            compare(wizard.screen, "export")
            const flow = wizard.content
            tabTo(findChild(flow.content, "chooseFoldersSegment"))
            keyClick(Qt.Key_Space)
            compare(flow.exportAll, false)
            tryCompare(exporter, "isLoadingFolders", false, 30000)
            compare(exporter.availableFolders, ["Home", "Work"])
            compare(tabStops(), [
                "backButton", "allNotesSegment", "chooseFoldersSegment", "Home", "Work", "chooseDestinationButton",
                "rememberFavourite"
            ].concat(optionStops))

            const home = Screens.button(flow.content, "Home")
            tabTo(home)
            keyClick(Qt.Key_Space)
            fixture.screenshot(wizard, "keyboard-folder-row-focus")
            compare(home.checked, true)
            compare(flow.selectedFolders, ["Home"])
            const remember = findChild(flow.content, "rememberFavourite")
            tabTo(remember)
            keyClick(Qt.Key_Space)
            compare(flow.rememberFavourite, true)
            const out = fixture.makeDir()
            chooseDestination(flow, out)
            fixture.screenshot(wizard, "keyboard-export-setup")

            // Enter on the keypad starts the export as Return does.
            keyClick(Qt.Key_Enter)
            tryCompare(flow, "stage", "result", 60000)
            compare(Screens.visibleTexts(flow.content), [
                "Export complete", "1 note written · 1 folder", "Reveal in Finder", "Done"
            ])
            compare(fixture.files(out), ["Home/Groceries.md"])
            compare(Folders.path(exporter.favouriteFolder), out)

            keyClick(Qt.Key_Escape)
            compare(wizard.screen, "picker")
            compare(exporter.result, undefined)
            // On the picker there is nowhere further back.
            keyClick(Qt.Key_Escape)
            compare(wizard.screen, "picker")
        }

        // Return does not press a button that is not the screen's prominent one; Shift+Tab walks backwards;
        // Escape on the analysis goes back to the start, with nothing left over, as the back button does.
        function test_escapeFromTheAnalysis() {
            const vault = fixture.makeDir()
            fixture.writeFile(vault, "Welcome.md", "# Welcome\n")
            tabTo(findChild(wizard, "mdToNotesCard"))
            keyClick(Qt.Key_Space)
            tabTo(findChild(wizard.content, "chooseFolderButton"))
            keyClick(Qt.Key_Return)
            compare(wizard.importDialog.visible, false)
            keyClick(Qt.Key_Space)
            wizard.importDialog.selectedFolder = fixture.url(vault)
            wizard.importDialog.accept()
            tryCompare(wizard, "screen", "analysis", 10000)
            // Shift+Tab walks the controls backwards, from the last.
            root.forceActiveFocus()
            keyClick(Qt.Key_Tab, Qt.ShiftModifier)
            verify(findChild(wizard.content, "differentFolderButton").activeFocus)
            keyClick(Qt.Key_Tab, Qt.ShiftModifier)
            verify(findChild(wizard.content, "migrateButton").activeFocus)
            keyClick(Qt.Key_Tab, Qt.ShiftModifier)
            verify(findChild(wizard.content, "detailsButton").activeFocus)
            keyClick(Qt.Key_Tab, Qt.ShiftModifier)
            verify(findChild(wizard, "backButton").activeFocus)
            keyClick(Qt.Key_Escape)
            compare(wizard.screen, "picker")
            compare(wizard.direction, undefined)
            compare(wizard.vault, undefined)
            compare(wizard.analysis, undefined)
        }

        // Space on Stop, reached with Tab while the migration runs, stops it.
        function test_stopAMigration() {
            fixture.seedNotes('{"folders": []}')
            const vault = fixture.makeDir()
            for (let i = 1; i <= 6; ++i)
                fixture.writeFile(vault, "Note " + i + ".md", "text " + i + "\n")
            tabTo(findChild(wizard, "mdToNotesCard"))
            keyClick(Qt.Key_Return)
            tabTo(findChild(wizard.content, "chooseFolderButton"))
            keyClick(Qt.Key_Space)
            wizard.importDialog.selectedFolder = fixture.url(vault)
            wizard.importDialog.accept()
            tryCompare(wizard, "screen", "analysis", 10000)
            fixture.setNotesSwitch("VELLORAN_FAKE_NOTES_DELAY_MS", "400")
            keyClick(Qt.Key_Return)
            compare(wizard.screen, "progress")
            tryCompare(migrator, "currentNote", "Note 2", 30000)
            const stop = findChild(wizard.content, "stopButton")
            tabTo(stop)
            keyClick(Qt.Key_Space)
            compare(stop.text, "Stopping…")
            tryCompare(wizard, "screen", "report", 60000)
            compare(wizard.content.title, "Migration stopped")
            compare(fixture.notesLibrary().folders[0].notes.map(note => note.name), ["Note 1", "Note 2"])
        }
    }
}
