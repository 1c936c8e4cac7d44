import QtQuick
import QtQuick.Dialogs
import QtTest
import Velloran
import Velloran.Engine
import "Screens.js" as Screens

// The export screen against a real Exporter and the Notes stand-in.
Item {
    id: root

    width: 640
    height: 560

    readonly property string library: JSON.stringify({
        "folders": [
            { "name": "Work", "notes": [{ "name": "Plan", "body": "<div>Plan</div><div>Step one</div>" }] },
            { "name": "Home", "notes": [{ "name": "Groceries", "body": "<div>Groceries</div><div>Milk</div>" }] }
        ]
    })

    // The Exporter properties behind the Options checkboxes, in screen order.
    readonly property var options: ["imagesAsFiles", "keepDates", "noteLinks", "headings", "updateExport"]

    Component {
        id: exporterComponent

        Exporter {}
    }

    Component {
        id: flowComponent

        ExportFlowView {
            anchors.fill: parent
        }
    }

    Component {
        id: spyComponent

        SignalSpy {}
    }

    TestCase {
        id: test

        property Exporter exporter
        property var flow

        name: "ExportFlowView"
        when: windowShown

        function init() {
            fixture.seedNotes(root.library)
            fixture.clearScriptLog()
            exporter = createTemporaryObject(exporterComponent, test)
            exporter.setFavouriteFolder(undefined)
        }

        function cleanup() {
            // No load or run may outlive its test.
            tryCompare(exporter, "isLoadingFolders", false, 30000)
            tryCompare(exporter, "isRunning", false, 30000)
            fixture.setNotesSwitch("VELLORAN_FAKE_NOTES_DENY", "")
            fixture.setNotesSwitch("VELLORAN_FAKE_NOTES_DELAY_MS", "")
            // The next test starts with every option off, as a first start does.
            for (const option of root.options)
                exporter[option] = false
            exporter.rememberExportOptions()
        }

        // Keeps Notes busy long enough that a load or run just started is still under way when the test
        // looks; nothing waits on the time itself.
        function slowNotes() {
            fixture.setNotesSwitch("VELLORAN_FAKE_NOTES_DELAY_MS", "300")
        }

        function show() {
            flow = createTemporaryObject(flowComponent, root, { "exporter": exporter })
            verify(flow)
            return flow
        }

        function loaded() {
            show()
            tryCompare(exporter, "isLoadingFolders", false, 30000)
        }

        function choose(folder) {
            mouseClick(Screens.button(flow.content, "Choose Folder…"))
            verify(flow.destinationDialog.visible)
            flow.destinationDialog.selectedFolder = fixture.url(folder)
            flow.destinationDialog.accept()
        }

        function setupTexts() {
            return Screens.visibleTexts(flow.content)
        }

        function exportButton() {
            return findChild(flow.content, "exportButton")
        }

        function test_setup() {
            show()
            compare(flow.stage, "setup")
            compare(flow.content.objectName, "exportSetup")
            compare(flow.exportAll, true)
            compare(flow.selectedFolders, [])
            compare(flow.destination, undefined)
            compare(flow.rememberFavourite, false)
            compare(flow.destDropTargeted, false)
            compare(flow.dropHint, undefined)
            compare(setupTexts(), [
                "Export Apple Notes to Markdown",
                "1 · What to export",
                "All notes",
                "Choose folders",
                "2 · Where to save the .md files",
                "Drop a folder from Finder, or click Choose Folder below",
                "Your notes are picked above — this is only the output folder.",
                "Choose Folder…",
                "Remember as favourite folder",
                "Options",
                "Save images as files",
                "Keep dates",
                "Links between notes",
                "Headings from Notes’ styles",
                "Update a previous export",
                "Export to Markdown"
            ])
            for (const option of root.options)
                compare(findChild(flow.content, option + "Option").checked, false)
            compare(exportButton().enabled, false)
            verify(exportButton().icon.source.toString().endsWith("icons/arrow.up.doc.fill.svg"))
            // Disabled, the start button keeps a readable label on a pale fill.
            verify(Screens.filledWith(exportButton(), Theme.secondaryAt(0.3), Theme.secondary))
            compare(findChild(flow.content, "destinationDropZone").height, 96)
            fixture.screenshot(flow, "export-setup")
        }

        function test_setupIsCentred() {
            show()
            const scroller = flow.content
            const column = findChild(scroller, "setupColumn")
            const above = column.y
            const below = scroller.availableHeight - column.y - column.height
            verify(above > 0)
            verify(Math.abs(above - below) <= 1)
            compare(column.x, (scroller.availableWidth - column.width) / 2)
            // A window too small for it: the setup starts at the top and scrolls.
            flow.anchors.fill = undefined
            flow.height = 300
            compare(column.y, 0)
            verify(scroller.contentHeight > scroller.availableHeight)
        }

        function test_startButtonIsProminent() {
            loaded()
            choose(fixture.makeDir())
            compare(exportButton().enabled, true)
            verify(Screens.filledWith(exportButton(), Theme.inkFill, Theme.textOnInk))
            verify(Screens.sameColor(exportButton().icon.color, Theme.textOnInk))
        }

        function optionBox(screen, option) {
            return findChild(screen.content, option + "Option")
        }

        // Each checkbox sets its option on the controller, which hands the options to every export it
        // runs; what was ticked is remembered and comes back with the next screen.
        function test_options() {
            loaded()
            waitForRendering(flow)
            for (const option of root.options)
                compare(exporter[option], false)
            mouseClick(optionBox(flow, "keepDates"))
            mouseClick(optionBox(flow, "headings"))
            compare(optionBox(flow, "keepDates").checked, true)
            compare(optionBox(flow, "headings").checked, true)
            compare(root.options.map(option => exporter[option]), [false, true, false, true, false])
            fixture.screenshot(flow, "export-setup-options")

            const later = createTemporaryObject(exporterComponent, test)
            compare(later.keepDates, false)
            const again = createTemporaryObject(flowComponent, root, { "exporter": later })
            tryCompare(later, "isLoadingFolders", false, 30000)
            compare(root.options.map(option => later[option]), [false, true, false, true, false])
            compare(root.options.map(option => optionBox(again, option).checked), [false, true, false, true, false])

            // Unticking is remembered too, and so is every other option.
            waitForRendering(again)
            mouseClick(optionBox(again, "keepDates"))
            mouseClick(optionBox(again, "imagesAsFiles"))
            mouseClick(optionBox(again, "noteLinks"))
            mouseClick(optionBox(again, "updateExport"))
            compare(root.options.map(option => later[option]), [true, false, true, true, true])
            exporter.restoreExportOptions()
            compare(root.options.map(option => exporter[option]), [true, false, true, true, true])
            compare(root.options.map(option => optionBox(flow, option).checked), [true, false, true, true, true])
            again.destroy()
        }

        function test_foldersLoadOnFirstShow() {
            slowNotes()
            show()
            compare(exporter.isLoadingFolders, true)
            tryCompare(exporter, "isLoadingFolders", false, 30000)
            compare(exporter.availableFolders, ["Home", "Work"])
            compare(fixture.scriptRuns("list-folder-details"), 1)
        }

        function test_chooseFoldersWhileLoading() {
            slowNotes()
            show()
            mouseClick(Screens.button(flow.content, "Choose folders"))
            compare(flow.exportAll, false)
            compare(exporter.isLoadingFolders, true)
            const texts = setupTexts()
            compare(texts.slice(0, 5), [
                "Export Apple Notes to Markdown",
                "1 · What to export",
                "All notes",
                "Choose folders",
                "Reading Apple Notes folders…"
            ])
            fixture.screenshot(flow, "export-setup-loading")
            tryCompare(exporter, "isLoadingFolders", false, 30000)
            // The list was still empty when the user switched, so it was asked for again.
            compare(fixture.scriptRuns("list-folder-details"), 2)
            compare(setupTexts().slice(0, 7), [
                "Export Apple Notes to Markdown",
                "1 · What to export",
                "All notes",
                "Choose folders",
                "Home",
                "Work",
                "2 · Where to save the .md files"
            ])
            fixture.screenshot(flow, "export-setup-folders")
        }

        function test_chooseFoldersOnceLoadedDoesNotReload() {
            loaded()
            mouseClick(Screens.button(flow.content, "Choose folders"))
            compare(exporter.isLoadingFolders, false)
            compare(fixture.scriptRuns("list-folder-details"), 1)
            const list = findChild(flow.content, "folderList")
            compare(list.count, 2)
            compare(list.parent.height, 120)
            mouseClick(Screens.button(flow.content, "All notes"))
            compare(flow.exportAll, true)
            compare(findChild(flow.content, "folderList").visible, false)
        }

        function test_noFoldersAsksAgain() {
            fixture.setNotesSwitch("VELLORAN_FAKE_NOTES_DENY", "1")
            loaded()
            verify(exporter.errorMessage !== undefined)
            compare(exporter.availableFolders, [])
            const error = findChild(flow.content, "errorMessage")
            verify(error.visible)
            compare(Screens.visibleTexts(error), [exporter.errorMessage])
            compare(setupTexts()[1], exporter.errorMessage)
            slowNotes()
            mouseClick(Screens.button(flow.content, "Choose folders"))
            compare(exporter.isLoadingFolders, true)
            tryCompare(exporter, "isLoadingFolders", false, 30000)
            compare(fixture.scriptRuns("list-folder-details"), 2)
            compare(setupTexts().slice(2, 6), [
                "1 · What to export",
                "All notes",
                "Choose folders",
                "No folders found (grant Automation → Notes if first run)."
            ])
            fixture.screenshot(flow, "export-setup-no-folders")
        }

        function test_startButton() {
            loaded()
            compare(exportButton().enabled, false)
            choose(fixture.makeDir())
            compare(exportButton().enabled, true)
            mouseClick(Screens.button(flow.content, "Choose folders"))
            compare(exportButton().enabled, false)
            // The folder list lays out its rows on the next frame.
            waitForRendering(flow)
            mouseClick(Screens.button(flow.content, "Work"))
            compare(flow.selectedFolders, ["Work"])
            compare(exportButton().enabled, true)
            mouseClick(Screens.button(flow.content, "Home"))
            compare(flow.selectedFolders, ["Work", "Home"])
            mouseClick(Screens.button(flow.content, "Work"))
            mouseClick(Screens.button(flow.content, "Home"))
            compare(flow.selectedFolders, [])
            compare(exportButton().enabled, false)
        }

        function test_destinationPanel() {
            loaded()
            const panel = flow.destinationDialog
            compare(panel.acceptLabel, "Choose")
            compare(panel.title, "Choose where to save the exported Markdown files")
            // The title carries the message here; only macOS's panel takes it as its message line.
            compare(Folders.showPanelMessage(panel.title), false)
            // Creating folders is allowed.
            compare((panel.options & FolderDialog.ReadOnly) !== 0, false)
            const out = fixture.makeDir()
            flow.dropHint = "stale"
            choose(out)
            compare(flow.destination, fixture.url(out))
            compare(flow.dropHint, undefined)
            compare(findChild(flow.content, "dropZoneText").text, out)
            mouseClick(Screens.button(flow.content, "Choose Folder…"))
            panel.reject()
            compare(flow.destination, fixture.url(out))
        }

        function test_destinationDrop() {
            loaded()
            const zone = findChild(flow.content, "destinationDropZone")
            const out = fixture.makeDir()
            verify(fixture.dragEnter(zone, [fixture.url(out)]))
            compare(flow.destDropTargeted, true)
            compare(findChild(zone, "dropZoneText").text, "Drop it!")
            verify(Screens.sameColor(zone.outline.strokeColor, Theme.ink))
            compare(zone.outline.strokeWidth, 2)
            compare(zone.radius, 14)
            fixture.screenshot(flow, "export-setup-drop-hover")
            verify(fixture.drop(zone))
            tryCompare(flow, "destination", fixture.url(out), 10000)
            compare(flow.destDropTargeted, false)
            compare(findChild(zone, "dropZoneText").text, out)
            compare(findChild(zone, "dropZoneText").font.pixelSize, Theme.callout)
        }

        function test_rejectedDropShowsTheHint() {
            loaded()
            const out = fixture.makeDir()
            choose(out)
            const zone = findChild(flow.content, "destinationDropZone")
            const resolved = createTemporaryObject(spyComponent, test, { "target": zone, "signalName": "resolved" })
            fixture.dragEnter(zone, [fixture.url(out + "/no such folder")])
            fixture.drop(zone)
            resolved.wait(10000)
            compare(flow.dropHint, "Notes can't be dragged here. Choose your notes above, then pick an output folder.")
            compare(flow.destination, fixture.url(out))
            const texts = setupTexts()
            verify(texts.indexOf("Notes can't be dragged here. Choose your notes above, then pick an output folder.") > 0)
            verify(texts.indexOf("Your notes are picked above — this is only the output folder.") < 0)
            fixture.screenshot(flow, "export-setup-drop-hint")
            // A later drop that gives a folder clears it.
            const other = fixture.makeDir()
            fixture.dragEnter(zone, [fixture.url(other)])
            fixture.drop(zone)
            resolved.wait(10000)
            compare(flow.dropHint, undefined)
            compare(flow.destination, fixture.url(other))
            verify(setupTexts().indexOf("Your notes are picked above — this is only the output folder.") > 0)
        }

        function test_favouriteIsOffered() {
            const favourite = fixture.makeDir()
            exporter.setFavouriteFolder(fixture.url(favourite))
            loaded()
            compare(flow.destination, fixture.url(favourite))
            compare(flow.rememberFavourite, true)
            compare(findChild(flow.content, "rememberFavourite").checked, true)
            compare(exportButton().enabled, true)
        }

        function test_missingFavouriteIsNotOffered() {
            exporter.setFavouriteFolder(fixture.url(fixture.makeDir() + "/deleted"))
            loaded()
            compare(flow.destination, undefined)
            compare(flow.rememberFavourite, false)
        }

        function run() {
            mouseClick(exportButton())
            tryCompare(exporter, "isRunning", false, 30000)
            compare(flow.stage, "result")
        }

        function test_runRemembersTheFavourite() {
            loaded()
            const out = fixture.makeDir()
            choose(out)
            mouseClick(findChild(flow.content, "rememberFavourite"))
            compare(flow.rememberFavourite, true)
            run()
            compare(Folders.path(exporter.favouriteFolder), out)
        }

        function test_runIntoTheFavouriteWithoutRememberingForgetsIt() {
            const favourite = fixture.makeDir()
            exporter.setFavouriteFolder(fixture.url(favourite))
            loaded()
            mouseClick(findChild(flow.content, "rememberFavourite"))
            compare(flow.rememberFavourite, false)
            run()
            compare(exporter.favouriteFolder, undefined)
        }

        function test_runElsewhereWithoutRememberingKeepsTheFavourite() {
            const favourite = fixture.makeDir()
            exporter.setFavouriteFolder(fixture.url(favourite))
            loaded()
            choose(fixture.makeDir())
            mouseClick(findChild(flow.content, "rememberFavourite"))
            run()
            compare(Folders.path(exporter.favouriteFolder), favourite)
        }

        function test_runAllNotes() {
            loaded()
            const out = fixture.makeDir()
            choose(out)
            slowNotes()
            mouseClick(exportButton())
            compare(flow.stage, "progress")
            compare(flow.content.objectName, "exportProgress")
            compare(Screens.visibleTexts(flow.content), [
                "Reading notes…",
                "Writing Markdown files — your Apple Notes are not modified.",
                "Stop"
            ])
            compare(findChild(flow.content, "progressBar").width, 360)
            verify(Screens.sameColor(findChild(flow.content, "progressFill").color, Theme.inkFill))
            fixture.screenshot(flow, "export-progress")
            tryCompare(exporter, "isRunning", false, 30000)
            compare(flow.stage, "result")
            compare(flow.content.objectName, "exportResult")
            compare(Screens.visibleTexts(flow.content), [
                "Export complete", "2 notes written · 2 folders", "Reveal in Finder", "Done"
            ])
            compare(fixture.files(out), ["Home/Groceries.md", "Work/Plan.md"])
        }

        function test_runChosenFolders() {
            loaded()
            const out = fixture.makeDir()
            choose(out)
            mouseClick(Screens.button(flow.content, "Choose folders"))
            waitForRendering(flow)
            mouseClick(Screens.button(flow.content, "Home"))
            run()
            compare(fixture.files(out), ["Home/Groceries.md"])
            compare(Screens.visibleTexts(flow.content)[1], "1 note written · 1 folder")
        }

        function test_sameNamedFoldersAreListedApart() {
            fixture.seedNotes(JSON.stringify({
                "folders": [{ "name": "Notes", "notes": [{ "name": "A", "body": "<div>A</div>" }] }],
                "accounts": [{ "name": "On My Mac",
                               "folders": [{ "name": "Notes", "notes": [{ "name": "B", "body": "<div>B</div>" }] }] }]
            }))
            loaded()
            compare(exporter.availableFolders, ["Notes — iCloud", "Notes — On My Mac"])
            const out = fixture.makeDir()
            choose(out)
            mouseClick(Screens.button(flow.content, "Choose folders"))
            waitForRendering(flow)
            compare(findChild(flow.content, "folderList").count, 2)
            mouseClick(Screens.button(flow.content, "Notes — On My Mac"))
            compare(flow.selectedFolders, ["Notes — On My Mac"])
            run()
            compare(fixture.files(out), ["Notes/B.md"])
            compare(Screens.visibleTexts(flow.content)[1], "1 note written · 1 folder")
        }

        function test_sameNamedFoldersAreEachExported() {
            fixture.seedNotes(JSON.stringify({
                "folders": [{ "name": "Notes", "notes": [{ "name": "A", "body": "<div>A</div>" }] }],
                "accounts": [{ "name": "On My Mac",
                               "folders": [{ "name": "Notes", "notes": [{ "name": "B", "body": "<div>B</div>" }] }] }]
            }))
            loaded()
            const out = fixture.makeDir()
            choose(out)
            run()
            compare(fixture.files(out), ["Notes (2)/B.md", "Notes/A.md"])
            compare(Screens.visibleTexts(flow.content)[1], "2 notes written · 2 folders")
        }

        function test_resultDone() {
            loaded()
            choose(fixture.makeDir())
            run()
            const done = createTemporaryObject(spyComponent, test, { "target": flow, "signalName": "done" })
            mouseClick(Screens.button(flow.content, "Done"))
            compare(done.count, 1)
        }
    }
}
