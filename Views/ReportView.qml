import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velloran

// The outcome of a migration run (Migrator.report).
Item {
    id: view

    // The report: Migrator.report, or an object with a report's fields by name.
    property var report

    // What the engine makes of it: title, summary and the sections present, in order.
    readonly property var outcome: Presenter.reportOutcome(report)
    readonly property bool hasIssues: outcome.hasIssues
    readonly property string title: outcome.title
    readonly property string summary: report ? outcome.summary : ""
    // Each a heading with entries, or a paragraph of text.
    readonly property var sections: outcome.sections

    signal done()

    ReturnKey { button: doneButton }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 20
        spacing: 10

        Symbol {
            objectName: "reportSymbol"
            symbol: view.hasIssues ? "exclamationmark.triangle.fill" : "checkmark.seal.fill"
            color: view.hasIssues ? Theme.orange : Theme.ink
            size: 48
            // The outcome for a screen reader, which does not see the symbol's shape or colour.
            meaning: view.report?.stopped ? qsTr("Stopped")
                                          : view.hasIssues ? qsTr("Finished with issues") : qsTr("Complete")
            Layout.alignment: Qt.AlignHCenter
        }
        Label {
            objectName: "reportTitle"
            text: view.title
            font.pixelSize: Theme.title
            font.bold: true
            Layout.alignment: Qt.AlignHCenter
        }
        Label {
            objectName: "reportSummary"
            text: view.summary
            color: Theme.secondary
            Layout.alignment: Qt.AlignHCenter
        }
        ScrollView {
            objectName: "reportSections"
            visible: view.sections.length > 0
            clip: true
            contentWidth: availableWidth
            Layout.fillWidth: true
            Layout.fillHeight: true

            ColumnLayout {
                width: parent.width
                spacing: 12

                Repeater {
                    model: view.sections

                    ColumnLayout {
                        required property var modelData

                        spacing: 3
                        Layout.fillWidth: true

                        Label {
                            visible: modelData.heading !== ""
                            text: modelData.heading
                            font.weight: Font.DemiBold
                            color: Theme.secondary
                            elide: Text.ElideRight
                            Layout.fillWidth: true
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
                        Label {
                            visible: modelData.text !== ""
                            text: modelData.text
                            font.pixelSize: Theme.callout
                            wrapMode: Text.WordWrap
                            Layout.fillWidth: true
                        }
                    }
                }
            }
        }
        Item {
            visible: view.sections.length === 0
            Layout.fillHeight: true
        }
        RowLayout {
            spacing: 12
            Layout.alignment: Qt.AlignHCenter

            Button {
                objectName: "openNotesButton"
                text: qsTr("Open Apple Notes")
                icon.source: "icons/arrow.up.forward.app.svg"
                Accessible.name: text
                onClicked: Qt.openUrlExternally("notes://")

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
    }
}
