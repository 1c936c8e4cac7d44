import QtQuick
import QtQuick.Controls.impl

// One of the bundled symbols (icons/NAME.svg), drawn in one colour.
IconImage {
    // The symbol's name, as in "folder" or "checkmark.seal.fill".
    property string symbol
    property real size: 16

    source: symbol ? Qt.resolvedUrl("icons/" + symbol + ".svg") : ""
    sourceSize: Qt.size(size, size)
    width: size
    height: size
    fillMode: Image.PreserveAspectFit
    color: Theme.primary
}
