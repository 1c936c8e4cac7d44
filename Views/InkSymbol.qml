import QtQuick
import Velloran

// One of the bundled symbols (icons/NAME.svg), filled with the gradient of the application colour:
// lighter at the top, the application colour at the bottom.
GradientIcon {
    // The symbol's name, as in "folder.fill".
    property string symbol
    property real size: 16

    source: symbol ? Qt.resolvedUrl("icons/" + symbol + ".svg") : ""
    topColor: Theme.inkTop
    bottomColor: Theme.ink
    width: size
    height: size
    implicitWidth: size
    implicitHeight: size
}
