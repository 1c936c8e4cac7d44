import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velloran
import Velloran.Engine

// What a scanned Markdown folder holds, and what will happen to each kind of content, before anything is
// written; the migration starts here.
Item {
    id: view

    // The counts of the analysis: WizardController.analysis, or an object with its fields by name.
    property var analysis
    // The scanned folder's url.
    property var vault
    // The Migrator that runs the migration.
    property Migrator migrator
    // Holds the analysis itself and starts the migration with it.
    property WizardController controller

    // The stat rows, in order: {symbol, count, label}, as the engine words them.
    readonly property var rows: analysis ? Presenter.analysisRows(analysis) : []

    // The details disclosure is open. Closed at first: the plan reads Apple Notes, so it is worked out
    // only when asked for.
    property bool detailsOpen: false
    // What the details list: the plan's summary and one section per note, as the engine words them.
    readonly property var details: Presenter.planOutcome(controller ? controller.plan : undefined)

    signal back()

    ReturnKey { button: migrateButton }

    ColumnLayout {
        anchors.centerIn: parent
        width: Math.min(implicitWidth, view.width - 40)
        spacing: 14

        Label {
            objectName: "folderName"
            text: view.vault ? Folders.name(view.vault) : ""
            font.pixelSize: Theme.title2
            font.bold: true
            elide: Text.ElideMiddle
            horizontalAlignment: Text.AlignHCenter
            Layout.fillWidth: true
        }
        Label {
            text: qsTr("Here's what Velloran found:")
            horizontalAlignment: Text.AlignHCenter
            Layout.fillWidth: true
        }
        Rectangle {
            radius: 12
            color: Qt.rgba(Theme.primary.r, Theme.primary.g, Theme.primary.b, 0.04)
            implicitWidth: grid.implicitWidth + 40
            implicitHeight: grid.implicitHeight + 40
            Layout.alignment: Qt.AlignHCenter
            Layout.maximumWidth: view.width - 40

            GridLayout {
                id: grid

                objectName: "statGrid"
                anchors.fill: parent
                anchors.margins: 20
                columns: 2
                columnSpacing: 28
                rowSpacing: 10

                Repeater {
                    model: view.rows

                    RowLayout {
                        required property var modelData
                        required property int index

                        spacing: 6
                        Layout.row: index
                        Layout.column: 0

                        Symbol {
                            symbol: modelData.symbol
                            size: Theme.body + 2
                            color: Theme.ink
                        }
                        Label {
                            text: modelData.count
                            font.weight: Font.DemiBold
                        }
                    }
                }
                Repeater {
                    model: view.rows

                    Label {
                        required property var modelData
                        required property int index

                        text: modelData.label
                        font.pixelSize: Theme.callout
                        wrapMode: Text.WordWrap
                        Layout.row: index
                        Layout.column: 1
                        Layout.maximumWidth: 360
                    }
                }
            }
        }
        // Note by note, what the migration will do: the details need the scan itself, which only the
        // controller holds.
        ColumnLayout {
            objectName: "details"
            visible: view.controller !== null && view.controller.analysis !== undefined
            spacing: 6
            Layout.fillWidth: true

            Button {
                objectName: "detailsButton"
                text: view.detailsOpen ? qsTr("Hide details") : qsTr("Show details")
                flat: true
                font.pixelSize: Theme.callout
                Layout.alignment: Qt.AlignHCenter
                Accessible.name: text
                onClicked: {
                    view.detailsOpen = !view.detailsOpen
                    if (view.detailsOpen && view.controller.plan === undefined)
                        view.controller.loadPlan()
                }

                FocusRing {}
            }
            Label {
                objectName: "detailsChecking"
                visible: view.detailsOpen && view.controller !== null && view.controller.isPlanning
                text: qsTr("Checking Apple Notes…")
                color: Theme.secondary
                font.pixelSize: Theme.callout
                Layout.alignment: Qt.AlignHCenter
            }
            Label {
                objectName: "detailsSummary"
                visible: view.detailsOpen && view.details.summary !== ""
                text: view.details.summary
                color: Theme.secondary
                font.pixelSize: Theme.callout
                Layout.alignment: Qt.AlignHCenter
            }
            ScrollView {
                objectName: "detailsList"
                visible: view.detailsOpen && view.details.sections.length > 0
                clip: true
                padding: 12
                contentWidth: availableWidth
                // As wide as the figures above, and as tall as the window leaves room for.
                implicitWidth: 0
                Layout.fillWidth: true
                Layout.preferredHeight: Math.min(detailsColumn.implicitHeight + 2 * padding,
                                                 Math.max(120, view.height - 430))
                // A list taller than its room shows its scroll bar, so that the rest is not missed.
                ScrollBar.vertical.policy: contentHeight > availableHeight ? ScrollBar.AlwaysOn : ScrollBar.AsNeeded

                background: Rectangle {
                    radius: 12
                    color: Qt.rgba(Theme.primary.r, Theme.primary.g, Theme.primary.b, 0.04)
                }

                ColumnLayout {
                    id: detailsColumn

                    width: parent.width
                    spacing: 10

                    Repeater {
                        model: view.details.sections

                        ColumnLayout {
                            required property var modelData

                            spacing: 2
                            Layout.fillWidth: true

                            Label {
                                visible: modelData.heading !== ""
                                text: modelData.heading
                                font.weight: Font.DemiBold
                                elide: Text.ElideRight
                                Layout.fillWidth: true
                            }
                            Repeater {
                                model: modelData.entries

                                Label {
                                    required property string modelData

                                    text: modelData
                                    font.pixelSize: Theme.caption
                                    wrapMode: Text.WordWrap
                                    Layout.fillWidth: true
                                    Layout.leftMargin: 12
                                }
                            }
                            Label {
                                visible: modelData.text !== ""
                                text: modelData.text
                                color: Theme.orange
                                font.pixelSize: Theme.callout
                                wrapMode: Text.WordWrap
                                Layout.fillWidth: true
                            }
                        }
                    }
                }
            }
        }
        ProminentButton {
            id: migrateButton

            objectName: "migrateButton"
            text: qsTr("Migrate to Apple Notes")
            icon.source: "icons/arrow.right.circle.fill.svg"
            highlighted: true
            font.weight: Font.DemiBold
            Layout.preferredWidth: 280
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: 6
            Accessible.name: text
            onClicked: view.controller.migrate(view.migrator)

            FocusRing {}
        }
        Button {
            objectName: "differentFolderButton"
            text: qsTr("Choose a different folder")
            flat: true
            font.pixelSize: Theme.caption
            Layout.alignment: Qt.AlignHCenter
            Accessible.name: text
            onClicked: view.back()

            FocusRing {}
        }
    }
}
