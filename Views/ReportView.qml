import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Velloran

// The outcome of a migration run (Migrator.report).
Item {
    id: view

    // The report: the eight fields by name, each failure or misfiled pair as [first, second].
    property var report

    readonly property var failed: report ? report.notesFailed : []
    readonly property var misfiled: report ? report.notesMisfiled : []
    readonly property var imagesMissing: report ? report.imagesMissing : []
    readonly property var foldersFlattened: report ? report.foldersFlattened : []
    readonly property int notesSkipped: report ? report.notesSkipped : 0
    readonly property int wikilinksDegraded: report ? report.wikilinksDegraded : 0
    // Missing images, skipped notes, flattened folders and degraded wikilinks alone are no issue.
    // A stopped run is never complete, whatever it did before the stop.
    readonly property bool stopped: report ? report.stopped === true : false
    readonly property bool hasIssues: failed.length > 0 || misfiled.length > 0 || stopped
    readonly property string title: stopped ? qsTr("Migration stopped")
                                            : hasIssues ? qsTr("Migration finished with issues") : qsTr("Migration complete")
    readonly property string summary: report ? qsTr("%1 notes · %2 images attached").arg(report.notesCreated)
                                               .arg(report.imagesAttached) : ""

    // The sections present, in order: {header, lines} or {text}.
    readonly property var sections: {
        const list = []
        if (stopped)
            list.push({
                "text": qsTr("You stopped the migration: the notes it had not reached are not in Apple Notes. Run it again to carry on; the notes already made are skipped.")
            })
        if (failed.length > 0)
            list.push({
                "header": qsTr("Failed (%1)").arg(failed.length),
                "lines": failed.map(pair => pair[0] + qsTr(" — ") + pair[1])
            })
        if (misfiled.length > 0)
            list.push({
                "header": qsTr("Placed in root — their folder couldn’t be created (%1)").arg(misfiled.length),
                "lines": misfiled.map(pair => pair[0] + qsTr(" — expected in “") + pair[1] + qsTr("”"))
            })
        if (imagesMissing.length > 0)
            list.push({
                "header": qsTr("Images not found on disk (%1)").arg(imagesMissing.length),
                "lines": imagesMissing
            })
        if (foldersFlattened.length > 0)
            list.push({
                "header": qsTr("Deep folders flattened to “A ▸ B” (Notes nests one level)"),
                "lines": foldersFlattened
            })
        if (notesSkipped >= 1)
            list.push({
                "text": qsTr("%1 notes already existed in the destination folder and were skipped (no duplicates created). Safe to re-run.").arg(notesSkipped)
            })
        if (wikilinksDegraded >= 1)
            list.push({
                "text": qsTr("%1 wikilinks became underlined text references — Apple Notes has no API for creating note-to-note links.").arg(wikilinksDegraded)
            })
        return list
    }

    signal done()

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 20
        spacing: 10

        Symbol {
            objectName: "reportSymbol"
            symbol: view.hasIssues ? "exclamationmark.triangle.fill" : "checkmark.seal.fill"
            color: view.hasIssues ? Theme.orange : Theme.ink
            size: 48
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
                            visible: modelData.header !== undefined
                            text: modelData.header !== undefined ? modelData.header : ""
                            font.weight: Font.DemiBold
                            color: Theme.secondary
                            elide: Text.ElideRight
                            Layout.fillWidth: true
                        }
                        Repeater {
                            model: modelData.lines !== undefined ? modelData.lines : []

                            Label {
                                required property string modelData

                                text: modelData
                                font.pixelSize: Theme.caption
                                wrapMode: Text.WordWrap
                                Layout.fillWidth: true
                            }
                        }
                        Label {
                            visible: modelData.text !== undefined
                            text: modelData.text !== undefined ? modelData.text : ""
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
                onClicked: Qt.openUrlExternally("notes://")
            }
            Button {
                objectName: "doneButton"
                text: qsTr("Done")
                highlighted: true
                onClicked: view.done()
            }
        }
    }
}
