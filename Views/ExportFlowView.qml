import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts
import QtQuick.Window
import Velloran
import Velloran.Engine

// The Notes-to-Markdown direction in one screen: the setup, the progress of a run and its result.
Item {
    id: flow

    // The shared Exporter.
    property Exporter exporter
    // Notes folder names ticked by the user, in the order ticked.
    property var selectedFolders: []
    property bool exportAll: true
    // The output folder (a url), or undefined.
    property var destination: undefined
    property bool rememberFavourite: false
    property bool destDropTargeted: false
    // Shown after a drop that gave no folder, or undefined.
    property var dropHint: undefined

    // The part showing: "progress", "result" or "setup".
    readonly property string stage: exporter?.isRunning ? "progress"
                                                        : exporter?.result !== undefined ? "result" : "setup"
    readonly property bool canExport: destination !== undefined && (exportAll || selectedFolders.length > 0)
    readonly property Item content: stageLoader.item
    readonly property alias destinationDialog: folderPanel

    signal done()

    function chooseDestination() {
        folderPanel.open()
        // The macOS panel shows no title; its message line above the files carries the text there.
        Folders.showPanelMessage(folderPanel.title)
    }

    function setDestination(folder) {
        destination = folder
        dropHint = undefined
    }

    function toggleFolder(name, on) {
        const rest = selectedFolders.filter(folder => folder !== name)
        selectedFolders = on ? rest.concat([name]) : rest
    }

    // Offers the favourite folder when it still exists, brings back the options as they were left, and
    // asks Notes for its folders.
    function setupShown() {
        // The screen may outlive its exporter while the window closes.
        if (!exporter)
            return
        exporter.restoreExportOptions()
        if (destination === undefined && exporter.favouriteFolder !== undefined
                && Folders.exists(exporter.favouriteFolder)) {
            destination = exporter.favouriteFolder
            rememberFavourite = true
        }
        exporter.loadFolderList()
    }

    // One of the export options (an Exporter property), remembered at once for the next time.
    function setOption(name, on) {
        exporter[name] = on
        exporter.rememberExportOptions()
    }

    function runExport() {
        if (destination === undefined)
            return
        if (rememberFavourite)
            exporter.setFavouriteFolder(destination)
        else if (exporter.favouriteFolder !== undefined && Folders.same(exporter.favouriteFolder, destination))
            exporter.setFavouriteFolder(undefined)
        exporter.exportFolders(exportAll ? [] : selectedFolders.slice(), destination)
    }

    // A first load that failed (no Automation permission yet) is retried by switching to the folder list.
    onExportAllChanged: {
        if (!exportAll && exporter && exporter.availableFolders.length === 0)
            exporter.loadFolderList()
    }

    FolderDialog {
        id: folderPanel

        // Found by the dialog only when it already sits in a window; the screens are built before that.
        parentWindow: flow.Window.window
        acceptLabel: qsTr("Choose")
        // The panel's message: the title where the panel shows one; on macOS see chooseDestination.
        title: qsTr("Choose where to save the exported Markdown files")
        onAccepted: flow.setDestination(selectedFolder)
    }

    Loader {
        id: stageLoader

        anchors.fill: parent
        sourceComponent: flow.stage === "progress" ? progressStage
                                                   : flow.stage === "result" ? resultStage : setupStage
    }

    Component {
        id: progressStage

        ProgressPanel {
            objectName: "exportProgress"
            value: flow.exporter?.progress ?? 0
            current: flow.exporter?.currentNote ?? ""
            placeholder: qsTr("Reading notes…")
            caption: qsTr("Writing Markdown files — your Apple Notes are not modified.")
            stoppable: true
            onStopRequested: flow.exporter.requestStop()
        }
    }

    Component {
        id: resultStage

        ExportResultView {
            objectName: "exportResult"
            result: flow.exporter?.result
            destination: flow.destination
            onDone: flow.done()
        }
    }

    Component {
        id: setupStage

        ScrollView {
            id: scroller

            objectName: "exportSetup"
            contentWidth: availableWidth
            Component.onCompleted: flow.setupShown()

            // Centred in the window both ways; scrolls only when the window is too small for it.
            ColumnLayout {
                objectName: "setupColumn"
                width: Math.min(scroller.availableWidth, 600)
                x: (scroller.availableWidth - width) / 2
                y: Math.max(0, (scroller.availableHeight - implicitHeight) / 2)
                spacing: 16

                Item { implicitHeight: 4 }
                Label {
                    text: qsTr("Export Apple Notes to Markdown")
                    font.pixelSize: Theme.title2
                    font.bold: true
                    Layout.alignment: Qt.AlignHCenter
                }
                RowLayout {
                    objectName: "errorMessage"
                    visible: flow.exporter?.errorMessage !== undefined
                    spacing: 6
                    Layout.leftMargin: 28
                    Layout.rightMargin: 28
                    Layout.alignment: Qt.AlignHCenter

                    Symbol {
                        symbol: "exclamationmark.triangle.fill"
                        meaning: qsTr("Warning")
                        size: Theme.caption + 2
                        color: Theme.orange
                    }
                    Label {
                        text: flow.exporter?.errorMessage ?? ""
                        font.pixelSize: Theme.caption
                        color: Theme.orange
                        wrapMode: Text.WordWrap
                        Layout.fillWidth: true
                    }
                }

                ColumnLayout {
                    spacing: 8
                    Layout.fillWidth: true
                    Layout.leftMargin: 28
                    Layout.rightMargin: 28

                    Label {
                        text: qsTr("1 · What to export")
                        font.pixelSize: Theme.caption
                        font.weight: Font.DemiBold
                        color: Theme.secondary
                    }
                    RowLayout {
                        objectName: "scopePicker"
                        spacing: 0
                        Layout.fillWidth: true

                        ButtonGroup { id: scope }
                        Button {
                            objectName: "allNotesSegment"
                            text: qsTr("All notes")
                            checkable: true
                            checked: flow.exportAll
                            ButtonGroup.group: scope
                            Layout.fillWidth: true
                            Accessible.name: text
                            onClicked: flow.exportAll = true

                            FocusRing {}
                        }
                        Button {
                            objectName: "chooseFoldersSegment"
                            text: qsTr("Choose folders")
                            checkable: true
                            checked: !flow.exportAll
                            ButtonGroup.group: scope
                            Layout.fillWidth: true
                            Accessible.name: text
                            onClicked: flow.exportAll = false

                            FocusRing {}
                        }
                    }
                    RowLayout {
                        objectName: "loadingFolders"
                        visible: !flow.exportAll && (flow.exporter?.isLoadingFolders ?? false)
                        spacing: 8
                        Layout.fillWidth: true
                        Layout.margins: 8

                        BusyIndicator {
                            running: visible
                            Layout.preferredWidth: 20
                            Layout.preferredHeight: 20
                        }
                        Label {
                            text: qsTr("Reading Apple Notes folders…")
                            Layout.fillWidth: true
                        }
                    }
                    Label {
                        objectName: "noFolders"
                        visible: !flow.exportAll && !(flow.exporter?.isLoadingFolders ?? false)
                                 && (flow.exporter?.availableFolders.length ?? 0) === 0
                        text: qsTr("No folders found (grant Automation → Notes if first run).")
                        font.pixelSize: Theme.caption
                        wrapMode: Text.WordWrap
                        Layout.fillWidth: true
                    }
                    Rectangle {
                        visible: !flow.exportAll && !(flow.exporter?.isLoadingFolders ?? false)
                                 && (flow.exporter?.availableFolders.length ?? 0) > 0
                        color: Qt.rgba(Theme.primary.r, Theme.primary.g, Theme.primary.b, 0.04)
                        radius: 6
                        implicitHeight: 120
                        Layout.fillWidth: true

                        ListView {
                            objectName: "folderList"
                            anchors.fill: parent
                            // The padding of 8 is half outside the list's clip and half inside, so that the
                            // focus ring of a row at the edge is not cut off.
                            anchors.margins: 4
                            topMargin: 4
                            bottomMargin: 4
                            leftMargin: 4
                            rightMargin: 4
                            clip: true
                            model: flow.exporter?.availableFolders ?? []
                            boundsBehavior: Flickable.StopAtBounds
                            // Every row is made at once and kept, so that Tab walks the rows in their order
                            // (a scrolled-out row made again would come last); folder lists are short.
                            cacheBuffer: 100000
                            ScrollBar.vertical: ScrollBar {}

                            // A plain CheckBox: the macOS style sizes the control from its own indicator and
                            // label, so a custom content item there loops and widens the rows.
                            delegate: CheckBox {
                                required property string modelData
                                required property int index

                                text: modelData
                                checked: flow.selectedFolders.indexOf(modelData) >= 0
                                Accessible.name: text
                                onToggled: flow.toggleFolder(modelData, checked)
                                // A row reached with Tab scrolls into view.
                                onActiveFocusChanged: {
                                    if (activeFocus)
                                        ListView.view.positionViewAtIndex(index, ListView.Contain)
                                }

                                FocusRing {}
                            }
                        }
                    }
                }

                ColumnLayout {
                    spacing: 8
                    Layout.fillWidth: true
                    Layout.leftMargin: 28
                    Layout.rightMargin: 28

                    Label {
                        text: qsTr("2 · Where to save the .md files")
                        font.pixelSize: Theme.caption
                        font.weight: Font.DemiBold
                        color: Theme.secondary
                    }
                    DropZone {
                        objectName: "destinationDropZone"
                        text: flow.destDropTargeted ? qsTr("Drop it!")
                                                    : flow.destination !== undefined
                                                      ? Folders.path(flow.destination)
                                                      : qsTr("Drop a folder from Finder, or click Choose Folder below")
                        textSize: !flow.destDropTargeted && flow.destination !== undefined ? Theme.callout : Theme.body
                        implicitHeight: 96
                        Layout.fillWidth: true
                        Component.onDestruction: flow.destDropTargeted = false
                        onTargetedChanged: flow.destDropTargeted = targeted
                        onResolved: folder => {
                            if (folder !== undefined)
                                flow.setDestination(folder)
                            else
                                flow.dropHint = qsTr("Notes can't be dragged here. Choose your notes above, then pick an output folder.")
                        }
                    }
                    Label {
                        objectName: "destinationCaption"
                        visible: flow.dropHint === undefined
                        text: qsTr("Your notes are picked above — this is only the output folder.")
                        font.pixelSize: Theme.caption
                        color: Theme.secondary
                    }
                    RowLayout {
                        objectName: "dropHint"
                        visible: flow.dropHint !== undefined
                        spacing: 6

                        Symbol {
                            symbol: "exclamationmark.triangle.fill"
                            meaning: qsTr("Warning")
                            size: Theme.caption + 2
                            color: Theme.red
                        }
                        Label {
                            text: flow.dropHint !== undefined ? flow.dropHint : ""
                            font.pixelSize: Theme.caption
                            color: Theme.red
                            wrapMode: Text.WordWrap
                            Layout.fillWidth: true
                        }
                    }
                    RowLayout {
                        spacing: 16

                        Button {
                            objectName: "chooseDestinationButton"
                            text: qsTr("Choose Folder…")
                            Accessible.name: text
                            onClicked: flow.chooseDestination()

                            FocusRing {}
                        }
                        CheckBox {
                            objectName: "rememberFavourite"
                            text: qsTr("Remember as favourite folder")
                            font.pixelSize: Theme.callout
                            checked: flow.rememberFavourite
                            Accessible.name: text
                            onToggled: flow.rememberFavourite = checked

                            FocusRing {}
                        }
                    }
                }

                ColumnLayout {
                    objectName: "exportOptions"
                    spacing: 2
                    Layout.fillWidth: true
                    Layout.leftMargin: 28
                    Layout.rightMargin: 28

                    Label {
                        text: qsTr("Options")
                        font.pixelSize: Theme.caption
                        font.weight: Font.DemiBold
                        color: Theme.secondary
                    }
                    // As many to a line as fit, so that the start button stays in the window.
                    Flow {
                        Layout.fillWidth: true

                        Repeater {
                            // Each option: the Exporter property it sets, and its label.
                            model: [
                                { "option": "imagesAsFiles", "label": qsTr("Save images as files") },
                                { "option": "keepDates", "label": qsTr("Keep dates") },
                                { "option": "noteLinks", "label": qsTr("Links between notes") },
                                { "option": "headings", "label": qsTr("Headings from Notes’ styles") },
                                { "option": "updateExport", "label": qsTr("Update a previous export") }
                            ]

                            CheckBox {
                                required property var modelData

                                objectName: modelData.option + "Option"
                                text: modelData.label
                                function shown() {
                                    return flow.exporter?.[modelData.option] ?? false
                                }

                                checked: shown()
                                Accessible.name: text
                                font.pixelSize: Theme.callout
                                topPadding: 3
                                bottomPadding: 3
                                // The room between options on a line; Flow's spacing would part the lines too.
                                rightPadding: 16
                                // Toggling replaces the binding with the value: bound again, the box follows
                                // the controller, whose options another screen may restore.
                                onToggled: {
                                    flow.setOption(modelData.option, checked)
                                    checked = Qt.binding(shown)
                                }

                                FocusRing {}
                            }
                        }
                    }
                }

                ReturnKey { button: exportButton }
                ProminentButton {
                    id: exportButton

                    objectName: "exportButton"
                    text: qsTr("Export to Markdown")
                    icon.source: "icons/arrow.up.doc.fill.svg"
                    highlighted: true
                    enabled: flow.canExport
                    Layout.alignment: Qt.AlignHCenter
                    Accessible.name: text
                    onClicked: flow.runExport()

                    FocusRing {}
                }
                Item { implicitHeight: 4 }
            }
        }
    }
}
