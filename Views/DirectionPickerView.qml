import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velloran

// The first screen: pick a direction. `pick` carries a MigrationDirection value. While Notes has refused
// Automation (permissionNeeded), the permission check takes the cards' place until it finds all well.
Item {
    id: picker

    property bool permissionNeeded: false
    readonly property Item permissionPanel: permissionLoader.item

    signal pick(int direction)
    // The permission check found all well and the user went on: the cards may come back.
    signal permissionGranted()

    // One direction card: a plain button around the symbol, the title and the subtitle.
    component DirectionCard: AbstractButton {
        id: card

        property string symbol
        property string subtitle

        implicitWidth: 220
        implicitHeight: 180
        hoverEnabled: true
        // Read as a button: its title, then what it does.
        Accessible.role: Accessible.Button
        Accessible.name: text
        Accessible.description: subtitle.replace(/\n/g, " ")
        // Space presses it as any button; Return too, as the card is the screen's only choice.
        Keys.onReturnPressed: clicked()
        Keys.onEnterPressed: clicked()

        background: Rectangle {
            radius: 14
            // Hovering and pressing deepen the fill; the outline stays as drawn.
            color: Qt.rgba(Theme.primary.r, Theme.primary.g, Theme.primary.b,
                           card.down ? 0.1 : card.hovered ? 0.07 : 0.04)
            border.width: 1
            border.color: Theme.secondaryAt(0.18)
        }
        contentItem: ColumnLayout {
            spacing: 8

            Item { Layout.fillHeight: true }
            InkSymbol {
                objectName: "cardSymbol"
                symbol: card.symbol
                size: 38
                Layout.alignment: Qt.AlignHCenter
            }
            Label {
                text: card.text
                font.pixelSize: Theme.headline
                font.weight: Font.DemiBold
                horizontalAlignment: Text.AlignHCenter
                Layout.fillWidth: true
            }
            Label {
                text: card.subtitle
                font.pixelSize: Theme.caption
                color: Theme.secondary
                horizontalAlignment: Text.AlignHCenter
                Layout.fillWidth: true
            }
            Item { Layout.fillHeight: true }
        }

        FocusRing {}
    }

    Loader {
        id: permissionLoader

        anchors.fill: parent
        anchors.margins: 24
        active: picker.permissionNeeded
        sourceComponent: ScrollView {
            id: permissionScroller

            objectName: "permissionCheck"
            contentWidth: availableWidth

            PermissionPanel {
                objectName: "permissionPanel"
                width: permissionScroller.availableWidth
                onDismissed: picker.permissionGranted()
            }
        }
    }

    ColumnLayout {
        visible: !picker.permissionNeeded
        anchors.centerIn: parent
        spacing: 14

        Label {
            objectName: "pickerTitle"
            text: qsTr("Apple Notes ↔ Markdown")
            font.pixelSize: Theme.title
            font.bold: true
            Layout.alignment: Qt.AlignHCenter
        }
        Label {
            objectName: "pickerSubtitle"
            text: qsTr("Your notes, portable and ready for AI.\nPick a direction to begin.")
            color: Theme.secondary
            horizontalAlignment: Text.AlignHCenter
            Layout.alignment: Qt.AlignHCenter
        }
        RowLayout {
            spacing: 18
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: 10

            DirectionCard {
                objectName: "mdToNotesCard"
                symbol: "arrow.right.doc.on.clipboard"
                text: qsTr("Markdown → Apple Notes")
                subtitle: qsTr("Import a folder of .md files\ninto Apple Notes")
                onClicked: picker.pick(MigrationDirection.MdToNotes)
            }
            DirectionCard {
                objectName: "notesToMdCard"
                symbol: "arrow.up.doc.on.clipboard"
                text: qsTr("Apple Notes → Markdown")
                subtitle: qsTr("Export your Apple Notes\nto clean .md files")
                onClicked: picker.pick(MigrationDirection.NotesToMd)
            }
        }
    }
}
