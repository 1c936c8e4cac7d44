import QtQuick
import QtQuick.Controls
import QtTest
import Velloran
import Velloran.Engine

// What a screen reader is told on every screen: the window's accessibility tree, walked from the window
// down. No control and no meaningful symbol may be nameless; the cards read as buttons with their title and
// subtitle, the outcome symbols say the outcome, the progress bar says how far the run is and what it is on.
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

    Component {
        id: reportComponent

        ReportView {
            anchors.fill: parent
        }
    }

    Component {
        id: resultComponent

        ExportResultView {
            anchors.fill: parent
        }
    }

    // A button that shows only a symbol and says nothing to a screen reader.
    Component {
        id: unnamedButtonComponent

        Button {
            objectName: "symbolOnly"
            icon.source: "qrc:/Velloran/icons/folder.svg"
        }
    }

    // The same button, named for a screen reader.
    Component {
        id: namedButtonComponent

        Button {
            objectName: "symbolOnly"
            icon.source: "qrc:/Velloran/icons/folder.svg"
            Accessible.name: "Choose a folder"
        }
    }

    TestCase {
        id: test

        property QtObject migrator
        property QtObject exporter
        property var wizard

        name: "Accessibility"
        when: windowShown

        function init() {
            fixture.clearScriptLog()
            migrator = createTemporaryObject(migratorComponent, test)
            exporter = createTemporaryObject(exporterComponent, test)
            exporter.setFavouriteFolder(undefined)
        }

        function showWizard() {
            wizard = createTemporaryObject(wizardComponent, root, { "migrator": migrator, "exporter": exporter })
        }

        function cleanup() {
            fixture.setNotesSwitch("VELLORAN_FAKE_NOTES_DELAY_MS", "")
            fixture.setNotesSwitch("VELLORAN_FAKE_NOTES_DENY", "")
            wizard = undefined
            tryCompare(migrator, "isRunning", false, 60000)
            tryCompare(exporter, "isRunning", false, 60000)
            tryCompare(exporter, "isLoadingFolders", false, 60000)
        }

        // The nodes of the window with the given role, as "name | description".
        readonly property var exportOptions: [
            "Save images as files", "Keep dates", "Links between notes", "Headings from Notes’ styles",
            "Update a previous export"
        ]

        function named(role) {
            return accessibility.nodes(root).filter(node => node.role === role)
                    .map(node => node.description === "" ? node.name : node.name + " | " + node.description)
        }

        function verifyAllNamed(screen) {
            compare(accessibility.unnamed(root), [], screen)
        }

        function analyse(files) {
            const vault = fixture.makeDir()
            for (const path in files)
                fixture.writeFile(vault, path, files[path])
            showWizard()
            wizard.direction = MigrationDirection.MdToNotes
            wizard.analyze(fixture.url(vault))
            tryCompare(wizard, "screen", "analysis", 10000)
        }

        // The walk finds a nameless control: a button with a symbol only, named neither by a text nor by
        // Accessible.name, is reported; once named, it is not.
        function test_anUnnamedButtonIsFound() {
            const unnamed = createTemporaryObject(unnamedButtonComponent, root)
            compare(accessibility.unnamed(root), ["Button symbolOnly"])
            unnamed.visible = false
            verifyAllNamed("hidden button")
            createTemporaryObject(namedButtonComponent, root)
            verifyAllNamed("named button")
            compare(named("Button"), ["Choose a folder"])
        }

        function test_picker() {
            showWizard()
            verifyAllNamed("picker")
            compare(named("Button"), [
                "Markdown → Apple Notes | Import a folder of .md files into Apple Notes",
                "Apple Notes → Markdown | Export your Apple Notes to clean .md files"
            ])
            // The symbols on the cards are decoration: the title says it all.
            compare(named("Graphic"), [])
        }

        function test_importScreen() {
            showWizard()
            wizard.direction = MigrationDirection.MdToNotes
            verifyAllNamed("import")
            compare(named("Button"), ["Back to start", "Choose Folder…"])
            compare(named("Graphic"), [])
        }

        function test_analysis() {
            analyse({ "Welcome.md": "# Welcome\n", "Projects/Plan.md": "| a | b |\n|---|---|\n| 1 | 2 |\n" })
            verifyAllNamed("analysis")
            compare(named("Button"),
                    ["Back to start", "Show details", "Migrate to Apple Notes", "Choose a different folder"])
            compare(named("Graphic"), [])
            verify(named("StaticText").indexOf("2 notes") >= 0)
            // Opened, the details are named too.
            mouseClick(findChild(wizard.content, "detailsButton"))
            compare(findChild(wizard.content, "detailsButton").text, "Hide details")
            tryVerify(() => findChild(wizard.content, "detailsList").visible, 10000)
            verifyAllNamed("analysis details")
        }

        function test_migrationProgressAndReport() {
            fixture.seedNotes('{"folders": []}')
            analyse({ "One.md": "one\n", "Two.md": "two\n" })
            fixture.setNotesSwitch("VELLORAN_FAKE_NOTES_DELAY_MS", "400")
            findChild(wizard.content, "migrateButton").clicked()
            compare(wizard.screen, "progress")
            tryCompare(migrator, "currentNote", "Two", 30000)
            verifyAllNamed("migration progress")
            const bar = named("ProgressBar")
            compare(bar.length, 1)
            verify(/^\d+% done \| Two$/.test(bar[0]), bar[0])
            compare(named("Button"), ["Back to start", "Stop"])
            tryCompare(wizard, "screen", "report", 60000)
            verifyAllNamed("report")
            compare(named("Graphic"), ["Complete"])
            compare(named("Button"), ["Back to start", "Open Apple Notes", "Done"])
        }

        function test_reportOutcomes_data() {
            return [
                { tag: "complete", report: { "notesCreated": 2 }, symbol: "Complete" },
                { tag: "issues", report: { "notesFailed": [["Plan", "Notes refused it"]] }, symbol: "Finished with issues" },
                { tag: "stopped", report: { "notesCreated": 1, "stopped": true }, symbol: "Stopped" }
            ]
        }

        function test_reportOutcomes(data) {
            createTemporaryObject(reportComponent, root, { "report": fixture.migrationReport(data.report) })
            verifyAllNamed(data.tag)
            compare(named("Graphic"), [data.symbol])
            compare(named("Button"), ["Open Apple Notes", "Done"])
        }

        function test_resultOutcomes_data() {
            return [
                { tag: "complete", result: { "written": 2, "failed": [], "folders": ["Home"] }, symbol: "Complete" },
                { tag: "issues", result: { "written": 1, "failed": [["Plan", "unreadable"]], "folders": ["Home"] },
                  symbol: "Finished with issues" },
                { tag: "stopped", result: { "written": 0, "failed": [], "folders": [], "stopped": true }, symbol: "Stopped" }
            ]
        }

        function test_resultOutcomes(data) {
            createTemporaryObject(resultComponent, root, {
                "result": fixture.exportResult(data.result), "destination": "file:///tmp/out"
            })
            verifyAllNamed(data.tag)
            compare(named("Graphic"), [data.symbol])
            compare(named("Button"), ["Reveal in Finder", "Done"])
        }

        function test_exportSetup() {
            fixture.seedNotes(JSON.stringify({
                "folders": [
                    { "name": "Work", "notes": [{ "name": "Plan", "body": "<div>Plan</div>" }] },
                    { "name": "Home", "notes": [{ "name": "Groceries", "body": "<div>Groceries</div>" }] }
                ]
            }))
            showWizard()
            wizard.direction = MigrationDirection.NotesToMd
            const flow = wizard.content
            tryCompare(exporter, "isLoadingFolders", false, 30000)
            verifyAllNamed("export setup")
            compare(named("Button"), ["Back to start", "Choose Folder…", "Export to Markdown"])
            // The two segments toggle, one of them on.
            compare(named("CheckBox"), ["All notes", "Choose folders", "Remember as favourite folder"].concat(exportOptions))

            flow.exportAll = false
            tryCompare(exporter, "isLoadingFolders", false, 30000)
            verifyAllNamed("export folder list")
            compare(named("CheckBox"),
                    ["All notes", "Choose folders", "Home", "Work", "Remember as favourite folder"].concat(exportOptions))

            flow.dropHint = "Notes can't be dragged here. Choose your notes above, then pick an output folder."
            verifyAllNamed("export drop hint")
            compare(named("Graphic"), ["Warning"])
        }

        function test_exportWithoutPermission() {
            fixture.setNotesSwitch("VELLORAN_FAKE_NOTES_DENY", "1")
            showWizard()
            wizard.direction = MigrationDirection.NotesToMd
            // Refused before Notes ever answered: the start screen shows the permission check.
            tryCompare(wizard, "permissionNeeded", true, 30000)
            compare(wizard.screen, "picker")
            tryVerify(() => findChild(wizard.content, "permissionPanel").outcome !== undefined, 10000)
            verifyAllNamed("permission check")
            compare(named("Graphic"), ["Warning"])
            compare(named("Button"), ["Check again"])
        }

        function test_exportProgressAndResult() {
            fixture.seedNotes(JSON.stringify({
                "folders": [{ "name": "Work", "notes": [{ "name": "Plan", "body": "<div>Plan</div>" }] }]
            }))
            showWizard()
            wizard.direction = MigrationDirection.NotesToMd
            const flow = wizard.content
            tryCompare(exporter, "isLoadingFolders", false, 30000)
            flow.setDestination(fixture.url(fixture.makeDir()))
            fixture.setNotesSwitch("VELLORAN_FAKE_NOTES_DELAY_MS", "400")
            flow.runExport()
            compare(flow.stage, "progress")
            verifyAllNamed("export progress")
            const bar = named("ProgressBar")
            compare(bar.length, 1)
            verify(/^\d+% done \| Reading notes…$/.test(bar[0]), bar[0])
            tryCompare(flow, "stage", "result", 60000)
            verifyAllNamed("export result")
            compare(named("Graphic"), ["Complete"])
            compare(named("Button"), ["Back to start", "Reveal in Finder", "Done"])
        }
    }
}
