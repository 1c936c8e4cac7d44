import QtQuick
import QtQuick.Templates as T
import Velloran

// A linear progress bar filled with the application colour on every platform.
T.ProgressBar {
    id: control

    implicitWidth: Math.max(implicitBackgroundWidth + leftInset + rightInset,
                            implicitContentWidth + leftPadding + rightPadding)
    implicitHeight: Math.max(implicitBackgroundHeight + topInset + bottomInset,
                             implicitContentHeight + topPadding + bottomPadding)

    contentItem: Item {
        implicitWidth: 200
        implicitHeight: 6

        Rectangle {
            objectName: "progressFill"
            width: control.visualPosition * parent.width
            height: parent.height
            radius: height / 2
            color: Theme.inkFill
        }
    }

    background: Rectangle {
        implicitWidth: 200
        implicitHeight: 6
        radius: height / 2
        color: Theme.secondaryAt(0.35)
    }
}
