import QtQuick
import QtQuick.Controls.impl
import QtQuick.Templates as T
import Velloran

// The screen's main action: filled with the application colour and labelled in white, the same on every
// platform (the native styles would draw their own accent colour instead). Disabled, it turns to a pale
// fill with a label in the secondary colour, still readable.
T.Button {
    id: control

    readonly property color foreground: enabled ? Theme.textOnInk : Theme.secondary

    implicitWidth: Math.max(implicitBackgroundWidth + leftInset + rightInset,
                            implicitContentWidth + leftPadding + rightPadding)
    implicitHeight: Math.max(implicitBackgroundHeight + topInset + bottomInset,
                             implicitContentHeight + topPadding + bottomPadding)
    topPadding: 6
    bottomPadding: 6
    leftPadding: 16
    rightPadding: 16
    spacing: 6
    icon.width: 16
    icon.height: 16
    icon.color: foreground

    contentItem: IconLabel {
        spacing: control.spacing
        mirrored: control.mirrored
        display: control.display
        icon: control.icon
        text: control.text
        font: control.font
        color: control.foreground
    }

    background: Rectangle {
        objectName: "prominentBackground"
        implicitWidth: 88
        implicitHeight: 30
        radius: 7
        color: !control.enabled ? Theme.secondaryAt(0.3) : control.down ? Theme.inkFillPressed : Theme.inkFill
        border.width: control.visualFocus ? 2 : 0
        border.color: Theme.ink
    }
}
