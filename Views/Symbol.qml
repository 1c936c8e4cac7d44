import QtQuick
import QtQuick.Controls.impl

// One of the bundled symbols (icons/NAME.svg), drawn in one colour.
IconImage {
    // The symbol's name, as in "folder" or "checkmark.seal.fill".
    property string symbol
    property real size: 16
    // What the symbol tells a screen reader ("Warning"); a symbol without one is decoration, and the reader
    // passes over it.
    property string meaning

    source: symbol ? Qt.resolvedUrl("icons/" + symbol + ".svg") : ""
    sourceSize: Qt.size(size, size)
    width: size
    height: size
    fillMode: Image.PreserveAspectFit
    color: Theme.primary
    Accessible.role: Accessible.Graphic
    Accessible.name: meaning
    Accessible.ignored: meaning === ""
}
