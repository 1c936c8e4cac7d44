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

    signal back()

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
        ProminentButton {
            objectName: "migrateButton"
            text: qsTr("Migrate to Apple Notes")
            icon.source: "icons/arrow.right.circle.fill.svg"
            highlighted: true
            font.weight: Font.DemiBold
            Layout.preferredWidth: 280
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: 6
            onClicked: view.controller.migrate(view.migrator)
        }
        Button {
            objectName: "differentFolderButton"
            text: qsTr("Choose a different folder")
            flat: true
            font.pixelSize: Theme.caption
            Layout.alignment: Qt.AlignHCenter
            onClicked: view.back()
        }
    }
}
