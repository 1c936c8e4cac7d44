import QtQuick
import QtTest
import Velloran
import "Screens.js" as Screens

Item {
    id: root

    width: 640
    height: 560

    DirectionPickerView {
        id: picker

        anchors.fill: parent
    }

    SignalSpy {
        id: pickSpy

        target: picker
        signalName: "pick"
    }

    TestCase {
        name: "DirectionPickerView"
        when: windowShown

        function init() {
            pickSpy.clear()
        }

        function test_texts() {
            compare(Screens.visibleTexts(picker), [
                "Apple Notes ↔ Markdown",
                "Your notes, portable and ready for AI.\nPick a direction to begin.",
                "Markdown → Apple Notes",
                "Import a folder of .md files\ninto Apple Notes",
                "Apple Notes → Markdown",
                "Export your Apple Notes\nto clean .md files"
            ])
            fixture.screenshot(picker, "picker")
        }

        function test_cards() {
            const md = findChild(picker, "mdToNotesCard")
            const notes = findChild(picker, "notesToMdCard")
            compare(md.symbol, "arrow.right.doc.on.clipboard")
            compare(notes.symbol, "arrow.up.doc.on.clipboard")
            // Left to right: the import first.
            verify(md.mapToItem(picker, 0, 0).x < notes.mapToItem(picker, 0, 0).x)
            compare(md.width, 220)
            compare(md.height, 180)
            compare(notes.width, 220)
            compare(notes.height, 180)
        }

        function test_pick_data() {
            return [
                { tag: "Markdown → Apple Notes", card: "mdToNotesCard", direction: MigrationDirection.MdToNotes },
                { tag: "Apple Notes → Markdown", card: "notesToMdCard", direction: MigrationDirection.NotesToMd }
            ]
        }

        function test_pick(data) {
            mouseClick(findChild(picker, data.card))
            compare(pickSpy.count, 1)
            compare(pickSpy.signalArguments[0][0], data.direction)
        }
    }
}
