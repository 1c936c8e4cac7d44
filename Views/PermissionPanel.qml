import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velloran

// The permission check on one screen, as velloran-cli doctor prints it: whether osascript is there,
// whether Automation for Notes is granted and, if not, where to grant it and how to be asked again, and
// what Notes holds. Runs the check when it is made; "Check again" runs it again, and once all is well
// "Continue" hands the start screen back to the direction cards.
ColumnLayout {
    id: panel

    readonly property PermissionCheck check: permissionCheck
    // A Presentation outcome: title, summary and sections, or undefined until the first check has ended.
    readonly property var outcome: permissionCheck.outcome
    readonly property bool ok: permissionCheck.ok

    signal dismissed()

    spacing: 10
    Component.onCompleted: permissionCheck.run()

    PermissionCheck {
        id: permissionCheck
    }

    RowLayout {
        objectName: "permissionChecking"
        visible: panel.outcome === undefined
        spacing: 8
        Layout.alignment: Qt.AlignHCenter

        BusyIndicator {
            running: visible
            Layout.preferredWidth: 20
            Layout.preferredHeight: 20
        }
        Label {
            text: qsTr("Asking Apple Notes…")
        }
    }

    Symbol {
        objectName: "permissionSymbol"
        visible: panel.outcome !== undefined
        symbol: panel.ok ? "checkmark.seal.fill" : "exclamationmark.triangle.fill"
        color: panel.ok ? Theme.ink : Theme.orange
        meaning: panel.ok ? qsTr("Granted") : qsTr("Warning")
        size: 40
        Layout.alignment: Qt.AlignHCenter
    }
    Label {
        objectName: "permissionTitle"
        text: panel.outcome?.title ?? ""
        font.pixelSize: Theme.title2
        font.bold: true
        Layout.alignment: Qt.AlignHCenter
    }
    Label {
        objectName: "permissionSummary"
        text: panel.outcome?.summary ?? ""
        color: Theme.secondary
        Layout.alignment: Qt.AlignHCenter
    }

    // Each section: a heading over its lines, or a paragraph.
    Repeater {
        model: panel.outcome?.sections ?? []

        ColumnLayout {
            required property var modelData

            spacing: 2
            Layout.fillWidth: true
            Layout.topMargin: 4

            Label {
                visible: modelData.heading !== ""
                text: modelData.heading
                font.pixelSize: Theme.callout
                font.weight: Font.DemiBold
                color: Theme.secondary
            }
            Repeater {
                model: modelData.entries

                Label {
                    required property string modelData

                    text: modelData
                    font.pixelSize: Theme.callout
                    wrapMode: Text.Wrap
                    Layout.fillWidth: true
                    Layout.leftMargin: 10
                }
            }
            Label {
                visible: modelData.text !== ""
                text: modelData.text
                font.pixelSize: Theme.callout
                wrapMode: Text.Wrap
                Layout.fillWidth: true
            }
        }
    }

    RowLayout {
        spacing: 12
        Layout.topMargin: 6
        Layout.alignment: Qt.AlignHCenter

        Button {
            id: checkAgainButton

            objectName: "checkAgainButton"
            text: qsTr("Check again")
            enabled: !permissionCheck.isChecking
            highlighted: !panel.ok
            Accessible.name: text
            onClicked: permissionCheck.run()

            FocusRing {}
        }
        ReturnKey {
            button: panel.ok ? continueButton : checkAgainButton
        }
        ProminentButton {
            id: continueButton

            objectName: "continueButton"
            visible: panel.ok
            text: qsTr("Continue")
            highlighted: true
            Accessible.name: text
            onClicked: panel.dismissed()

            FocusRing {}
        }
    }
}
