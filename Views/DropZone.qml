import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import QtQuick.Shapes
import Velloran

// A drop target for one folder dragged from the file manager: a rounded rectangle with a dashed outline,
// the folder symbol and a text. Only file urls are offered to it; a drop always counts as handled and
// ends in `resolved` with the folder (a url) or with undefined.
Item {
    id: zone

    property string text
    property int textSize: Theme.body

    readonly property bool targeted: dropArea.containsDrag
    readonly property color outlineColor: targeted ? Theme.ink : Theme.secondaryAt(0.65)
    readonly property real radius: 14
    readonly property alias outline: outlinePath

    signal resolved(var folder)

    function fileUrls(urls) {
        const files = []
        for (let i = 0; i < urls.length; ++i) {
            if (urls[i].toString().startsWith("file:"))
                files.push(urls[i])
        }
        return files
    }

    Shape {
        anchors.fill: parent

        ShapePath {
            id: outlinePath

            readonly property real inset: strokeWidth / 2
            readonly property real right: zone.width - inset
            readonly property real bottom: zone.height - inset

            strokeWidth: 2
            strokeColor: zone.outlineColor
            strokeStyle: ShapePath.DashLine
            // In units of the stroke width: dashes 6 long with gaps of 6. Flat caps end each dash where it
            // is measured (square caps would lengthen it by the stroke width and shorten the gap).
            dashPattern: [3, 3]
            capStyle: ShapePath.FlatCap
            fillColor: "transparent"
            startX: inset + zone.radius
            startY: inset

            PathLine { x: outlinePath.right - zone.radius; y: outlinePath.inset }
            PathArc {
                x: outlinePath.right; y: outlinePath.inset + zone.radius
                radiusX: zone.radius; radiusY: zone.radius
            }
            PathLine { x: outlinePath.right; y: outlinePath.bottom - zone.radius }
            PathArc {
                x: outlinePath.right - zone.radius; y: outlinePath.bottom
                radiusX: zone.radius; radiusY: zone.radius
            }
            PathLine { x: outlinePath.inset + zone.radius; y: outlinePath.bottom }
            PathArc {
                x: outlinePath.inset; y: outlinePath.bottom - zone.radius
                radiusX: zone.radius; radiusY: zone.radius
            }
            PathLine { x: outlinePath.inset; y: outlinePath.inset + zone.radius }
            PathArc {
                x: outlinePath.inset + zone.radius; y: outlinePath.inset
                radiusX: zone.radius; radiusY: zone.radius
            }
        }
    }

    ColumnLayout {
        anchors.centerIn: parent
        width: Math.min(implicitWidth, zone.width - 24)
        height: Math.min(implicitHeight, zone.height - 24)
        spacing: 6

        Symbol {
            objectName: "dropZoneSymbol"
            symbol: "folder"
            size: Theme.title2
            color: zone.targeted ? Theme.ink : Theme.secondary
            Layout.alignment: Qt.AlignHCenter
        }
        Label {
            objectName: "dropZoneText"
            text: zone.text
            font.pixelSize: zone.textSize
            horizontalAlignment: Text.AlignHCenter
            elide: Text.ElideMiddle
            maximumLineCount: 1
            Layout.fillWidth: true
        }
    }

    DropArea {
        id: dropArea

        anchors.fill: parent
        keys: ["text/uri-list"]
        onEntered: drag => {
            drag.accepted = zone.fileUrls(drag.urls).length > 0
        }
        onDropped: drop => {
            const urls = zone.fileUrls(drop.urls)
            drop.accept(Qt.CopyAction)
            DropHelper.resolveFolder(urls, folder => zone.resolved(folder))
        }
    }
}
