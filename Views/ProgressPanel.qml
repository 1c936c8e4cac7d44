import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velloran

// A run under way: a progress bar, the item in hand (or a placeholder) and a caption, between spacers.
ColumnLayout {
    id: panel

    property real value: 0
    property string current
    // Shown while `current` is empty.
    property string placeholder
    property string caption
    // Whether the run can be stopped from here (a "Stop" button below the bar).
    property bool stoppable: false
    // Set once Stop was pressed, until the run ends.
    property bool stopping: false

    signal stopRequested()

    spacing: 12

    Item { Layout.fillHeight: true }
    InkProgressBar {
        objectName: "progressBar"
        from: 0
        to: 1
        value: panel.value
        Layout.preferredWidth: 360
        // A screen reader hears how far the run is, then the item in hand.
        Accessible.name: qsTr("%1% done").arg(Math.round(panel.value * 100))
        Accessible.description: progressLine.text
        Layout.alignment: Qt.AlignHCenter
    }
    Label {
        id: progressLine

        objectName: "progressLine"
        text: panel.current === "" ? panel.placeholder : panel.current
        font.pixelSize: Theme.callout
        maximumLineCount: 1
        elide: Text.ElideRight
        horizontalAlignment: Text.AlignHCenter
        Layout.maximumWidth: 360
        Layout.alignment: Qt.AlignHCenter
    }
    Label {
        objectName: "progressCaption"
        text: panel.caption
        font.pixelSize: Theme.caption
        color: Theme.secondary
        horizontalAlignment: Text.AlignHCenter
        Layout.alignment: Qt.AlignHCenter
    }
    Button {
        objectName: "stopButton"
        visible: panel.stoppable
        enabled: !panel.stopping
        flat: true
        text: panel.stopping ? qsTr("Stopping…") : qsTr("Stop")
        Layout.alignment: Qt.AlignHCenter
        Accessible.name: text
        onClicked: {
            panel.stopping = true
            panel.stopRequested()
        }

        FocusRing {}
    }
    Item { Layout.fillHeight: true }
}
