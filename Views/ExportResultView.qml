import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velloran

// The outcome of an export run (Exporter.result).
Item {
    id: view

    // {written, failed: [[first, second], ...], folders: [...]}
    property var result
    // The run's output folder (a url), or undefined.
    property var destination: undefined

    readonly property var failed: result ? result.failed : []
    // A stopped run is never complete, whatever it did before the stop.
    readonly property bool stopped: result ? result.stopped === true : false
    readonly property bool hasIssues: failed.length > 0 || stopped
    readonly property string title: stopped ? qsTr("Export stopped")
                                            : hasIssues ? qsTr("Export finished with issues") : qsTr("Export complete")
    readonly property string summary: result ? qsTr("%1 notes written · %2 folders").arg(result.written)
                                               .arg(result.folders.length) : ""

    signal done()

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 20
        spacing: 10

        Item {
            visible: !view.hasIssues
            Layout.fillHeight: true
        }
        Symbol {
            objectName: "resultSymbol"
            symbol: view.hasIssues ? "exclamationmark.triangle.fill" : "checkmark.seal.fill"
            color: view.hasIssues ? Theme.orange : Theme.ink
            size: 48
            Layout.alignment: Qt.AlignHCenter
        }
        Label {
            objectName: "resultTitle"
            text: view.title
            font.pixelSize: Theme.title
            font.bold: true
            Layout.alignment: Qt.AlignHCenter
        }
        Label {
            objectName: "resultSummary"
            text: view.summary
            color: Theme.secondary
            Layout.alignment: Qt.AlignHCenter
        }
        ScrollView {
            objectName: "failedList"
            visible: view.hasIssues
            clip: true
            contentWidth: availableWidth
            Layout.fillWidth: true
            Layout.fillHeight: true

            ColumnLayout {
                width: parent.width
                spacing: 3

                Label {
                    objectName: "stoppedNote"
                    visible: view.stopped
                    text: qsTr("You stopped the export: the notes it had not reached were not written.")
                    font.pixelSize: Theme.callout
                    wrapMode: Text.WordWrap
                    Layout.fillWidth: true
                    Layout.bottomMargin: 6
                }
                Label {
                    visible: view.failed.length > 0
                    text: qsTr("Failed (%1)").arg(view.failed.length)
                    font.weight: Font.DemiBold
                    color: Theme.secondary
                }
                Repeater {
                    model: view.failed

                    Label {
                        required property var modelData

                        text: modelData[0] + qsTr(" — ") + modelData[1]
                        font.pixelSize: Theme.caption
                        wrapMode: Text.WordWrap
                        Layout.fillWidth: true
                    }
                }
            }
        }
        RowLayout {
            spacing: 12
            Layout.alignment: Qt.AlignHCenter

            Button {
                objectName: "revealButton"
                visible: view.destination !== undefined
                text: qsTr("Reveal in Finder")
                icon.source: "icons/arrow.up.forward.app.svg"
                onClicked: Qt.openUrlExternally(view.destination)
            }
            Button {
                objectName: "doneButton"
                text: qsTr("Done")
                highlighted: true
                onClicked: view.done()
            }
        }
        Item {
            visible: !view.hasIssues
            Layout.fillHeight: true
        }
    }
}
