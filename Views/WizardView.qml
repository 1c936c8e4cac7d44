import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts
import QtQuick.Window
import Velloran
import Velloran.Engine

// The root screen: a header, a divider, and the screen that the wizard's state and the controllers'
// published state call for.
Pane {
    id: wizard

    // The shared controllers (a Migrator and an Exporter).
    required property Migrator migrator
    required property Exporter exporter

    // A MigrationDirection value, or undefined until the user picks one.
    property var direction: undefined
    property bool dropTargeted: false
    // Notes refused Automation before it had ever answered: the picker shows the permission check.
    property bool permissionNeeded: false
    // Notes has answered once in this session; a later refusal stays on the screen it happened on.
    property bool notesAnswered: false
    // Room above the header for the window buttons where the title bar is hidden.
    property real titleBarInset: 0

    readonly property WizardController controller: wizardController
    readonly property var vault: wizardController.vault
    readonly property var analysis: wizardController.analysis
    readonly property bool isAnalyzing: wizardController.isAnalyzing

    // The screen showing, by name; checked in this order on every change.
    readonly property string screen: {
        if (direction === undefined)
            return "picker"
        if (direction === MigrationDirection.NotesToMd)
            return "export"
        if (migrator?.isRunning)
            return "progress"
        if (migrator?.report !== undefined)
            return "report"
        if (analysis !== undefined && vault !== undefined)
            return "analysis"
        return "import"
    }
    readonly property Item content: contentLoader.item
    readonly property alias importDialog: folderPanel

    function goHome() {
        direction = undefined
        wizardController.clearFolder()
        migrator.clearReport()
        exporter.reset()
    }

    // The end of an exchange with Notes ("answered", "refused" or "failed"): a refusal before Notes ever
    // answered takes the user back to the start, where the permission check says what to do.
    function notesExchanged(outcome) {
        if (notesAnswered || outcome === "failed")
            return
        if (outcome === "answered") {
            notesAnswered = true
            return
        }
        // After the signal that told of it: going home destroys the screen that started the exchange.
        Qt.callLater(() => {
            goHome()
            permissionNeeded = true
        })
    }

    function pickFolder() {
        folderPanel.open()
        // The import panel has no message; clears one left on a reused native panel.
        Folders.showPanelMessage("")
    }

    function analyze(folder) {
        wizardController.analyze(folder)
    }

    padding: 0

    WizardController {
        id: wizardController
    }

    // Tells a refusal of Automation from other failures.
    PermissionCheck {
        id: notesAccess
    }

    Connections {
        target: wizard.exporter

        function onIsLoadingFoldersChanged() {
            if (wizard.exporter.isLoadingFolders)
                return
            const error = wizard.exporter.errorMessage
            wizard.notesExchanged(error === undefined ? "answered" : notesAccess.isRefusal(error) ? "refused" : "failed")
        }
    }

    Connections {
        target: wizard.migrator

        function onReportChanged() {
            // Any migration report but a refusal counts as an answer: a later refusal shows on its own report.
            if (wizard.migrator.report !== undefined)
                wizard.notesExchanged(notesAccess.refusedMigration(wizard.migrator.report) ? "refused" : "answered")
        }
    }

    // Escape goes back to the start, as the back button does, whenever that button is shown.
    Shortcut {
        sequence: "Escape"
        enabled: backButton.visible
        onActivated: wizard.goHome()
    }

    FolderDialog {
        id: folderPanel

        // Found by the dialog only when it already sits in a window; the screens are built before that.
        parentWindow: wizard.Window.window
        acceptLabel: qsTr("Analyze")
        // The panel offers no "New Folder": the Markdown folder to import already exists.
        options: FolderDialog.ReadOnly
        onAccepted: wizard.analyze(selectedFolder)
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        RowLayout {
            spacing: 6
            Layout.fillWidth: true
            Layout.topMargin: wizard.titleBarInset + 8
            Layout.bottomMargin: 8
            Layout.leftMargin: 12
            Layout.rightMargin: 12

            ToolButton {
                id: backButton

                readonly property string help: qsTr("Back to start")

                objectName: "backButton"
                visible: wizard.direction !== undefined
                flat: true
                icon.source: "icons/chevron.left.svg"
                icon.width: Theme.caption + 2
                icon.height: Theme.caption + 2
                icon.color: Theme.secondary
                font.weight: Font.DemiBold
                ToolTip.text: help
                ToolTip.visible: hovered
                ToolTip.delay: 500
                Accessible.name: help
                onClicked: wizard.goHome()

                FocusRing {}
            }
            Symbol {
                objectName: "wordmarkSymbol"
                symbol: "note.text"
                size: Theme.title3
                color: Theme.secondary
            }
            Label {
                objectName: "wordmark"
                text: qsTr("VELLORAN")
                font.pixelSize: Theme.caption
                font.bold: true
                font.letterSpacing: 2.5
                color: Theme.secondary
            }
            Item { Layout.fillWidth: true }
        }

        Rectangle {
            implicitHeight: 1
            color: Theme.secondaryAt(0.45)
            Layout.fillWidth: true
        }

        Loader {
            id: contentLoader

            Layout.fillWidth: true
            Layout.fillHeight: true
            sourceComponent: ({
                    "picker": pickerScreen,
                    "export": exportScreen,
                    "progress": progressScreen,
                    "report": reportScreen,
                    "analysis": analysisScreen,
                    "import": importScreen
                })[wizard.screen]
        }
    }

    Component {
        id: pickerScreen

        DirectionPickerView {
            objectName: "directionPicker"
            permissionNeeded: wizard.permissionNeeded
            onPick: direction => wizard.direction = direction
            onPermissionGranted: {
                wizard.notesAnswered = true
                wizard.permissionNeeded = false
            }
        }
    }

    Component {
        id: exportScreen

        ExportFlowView {
            objectName: "exportFlow"
            exporter: wizard.exporter
            onDone: wizard.goHome()
        }
    }

    Component {
        id: progressScreen

        ProgressPanel {
            objectName: "migrationProgress"
            value: wizard.migrator?.progress ?? 0
            current: wizard.migrator?.currentNote ?? ""
            placeholder: qsTr("Preparing…")
            caption: qsTr("Creating notes in Apple Notes — don't quit Notes while this runs.")
            stoppable: true
            onStopRequested: wizard.migrator.requestStop()
        }
    }

    Component {
        id: reportScreen

        ReportView {
            objectName: "report"
            report: wizard.migrator?.report
            onDone: wizard.goHome()
        }
    }

    Component {
        id: analysisScreen

        AnalysisView {
            objectName: "analysis"
            analysis: wizard.analysis
            vault: wizard.vault
            migrator: wizard.migrator
            controller: wizardController
            onBack: wizardController.clearAnalysis()
        }
    }

    Component {
        id: importScreen

        ColumnLayout {
            objectName: "importScreen"

            spacing: 14
            Component.onDestruction: wizard.dropTargeted = false

            Item { Layout.fillHeight: true }
            InkSymbol {
                objectName: "importSymbol"
                symbol: "folder.fill"
                size: 46
                Layout.alignment: Qt.AlignHCenter
            }
            Label {
                text: qsTr("Move your Markdown files\ninto Apple Notes")
                font.pixelSize: Theme.title
                horizontalAlignment: Text.AlignHCenter
                Layout.alignment: Qt.AlignHCenter
            }
            Label {
                text: qsTr("Folders, images, tables and attachments — intact.\nYour original files are never touched.")
                color: Theme.secondary
                horizontalAlignment: Text.AlignHCenter
                Layout.alignment: Qt.AlignHCenter
            }
            DropZone {
                id: importZone

                objectName: "importDropZone"
                text: wizard.dropTargeted ? qsTr("Drop it!") : qsTr("Drop a folder of .md files (Obsidian, etc.)")
                Layout.preferredWidth: 400
                Layout.preferredHeight: 124
                Layout.alignment: Qt.AlignHCenter
                onTargetedChanged: wizard.dropTargeted = targeted
                onResolved: folder => {
                    if (folder !== undefined)
                        wizard.analyze(folder)
                }
            }
            Label {
                objectName: "importDropNote"
                text: qsTr("from Finder — not notes from the Notes app")
                font.pixelSize: Theme.caption
                color: Theme.secondary
                horizontalAlignment: Text.AlignHCenter
                Layout.alignment: Qt.AlignHCenter
                Layout.topMargin: -6
            }
            RowLayout {
                objectName: "analyzing"
                visible: wizard.isAnalyzing
                spacing: 8
                Layout.alignment: Qt.AlignHCenter

                BusyIndicator {
                    running: visible
                    Layout.preferredWidth: 20
                    Layout.preferredHeight: 20
                }
                Label {
                    text: qsTr("Analyzing…")
                }
            }
            Button {
                objectName: "chooseFolderButton"
                visible: !wizard.isAnalyzing
                text: qsTr("Choose Folder…")
                Layout.alignment: Qt.AlignHCenter
                Accessible.name: text
                onClicked: wizard.pickFolder()

                FocusRing {}
            }
            Item { Layout.fillHeight: true }
        }
    }
}
