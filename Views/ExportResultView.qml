import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velloran

// The outcome of an export run (Exporter.result).
Item {
    id: view

    // The result: Exporter.result, or an object with a result's fields by name.
    property var result
    // The run's output folder (a url), or undefined.
    property var destination: undefined

    // What the engine makes of it: title, summary and the sections present, in order.
    readonly property var outcome: Presenter.resultOutcome(result)
    readonly property bool hasIssues: outcome.hasIssues
    readonly property string title: outcome.title
    readonly property string summary: result ? outcome.summary : ""

    signal done()

    ReturnKey { button: doneButton }

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
            // The outcome for a screen reader, which does not see the symbol's shape or colour.
            meaning: view.result?.stopped ? qsTr("Stopped")
                                            : view.hasIssues ? qsTr("Finished with issues") : qsTr("Complete")
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

                Repeater {
                    model: view.outcome.sections

                    ColumnLayout {
                        required property var modelData

                        spacing: 3
                        Layout.fillWidth: true
                        // A paragraph (the stop) stands apart from the failures under it.
                        Layout.bottomMargin: modelData.text !== "" ? 6 : 0

                        Label {
                            visible: modelData.text !== ""
                            text: modelData.text
                            font.pixelSize: Theme.callout
                            wrapMode: Text.WordWrap
                            Layout.fillWidth: true
                        }
                        Label {
                            visible: modelData.heading !== ""
                            text: modelData.heading
                            font.weight: Font.DemiBold
                            color: Theme.secondary
                        }
                        Repeater {
                            model: modelData.entries

                            Label {
                                required property string modelData

                                text: modelData
                                font.pixelSize: Theme.caption
                                wrapMode: Text.WordWrap
                                Layout.fillWidth: true
                            }
                        }
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
                Accessible.name: text
                onClicked: Qt.openUrlExternally(view.destination)

                FocusRing {}
            }
            ProminentButton {
                id: doneButton

                objectName: "doneButton"
                text: qsTr("Done")
                highlighted: true
                Accessible.name: text
                onClicked: view.done()

                FocusRing {}
            }
        }
        Item {
            visible: !view.hasIssues
            Layout.fillHeight: true
        }
    }
}
