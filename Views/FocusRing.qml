import QtQuick

// The ring that shows which control the keyboard is on: an outline in the application colour just outside
// the control, shown only while it has focus from the keyboard (Tab, Shift+Tab), never after a click. Put
// one inside each control that Tab reaches; it follows the rounding of the control's background.
Rectangle {
    readonly property real gap: 3

    objectName: "focusRing"
    visible: parent?.visualFocus === true
    anchors.fill: parent
    anchors.margins: -gap
    radius: (parent?.background?.radius ?? 3) + gap
    color: "transparent"
    border.width: 2
    border.color: Theme.ink
    // Above the control's own background and content.
    z: 1
}
