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

        function test_cardLook() {
            const card = findChild(picker, "mdToNotesCard")
            // The outline: the secondary colour at 0.18 of its own opacity, line width 1, radius 14.
            compare(card.background.radius, 14)
            compare(card.background.border.width, 1)
            verify(Screens.sameColor(card.background.border.color, Theme.secondaryAt(0.18)))
            compare(Theme.secondaryAt(0.18).a, Theme.secondary.a * 0.18)
            // The symbol: 38 points, filled with the ink gradient, lighter at the top.
            const symbol = findChild(card, "cardSymbol")
            compare(symbol.symbol, "arrow.right.doc.on.clipboard")
            compare(symbol.width, 38)
            compare(symbol.height, 38)
            verify(Screens.sameColor(symbol.bottomColor, Theme.ink))
            verify(symbol.topColor.hslLightness > Theme.ink.hslLightness)
            const ink = Screens.inkDownTheMiddle(fixture.middleColumn(symbol))
            verify(ink.top !== undefined)
            verify(ink.top.hslLightness > ink.bottom.hslLightness)
            verify(ink.bottom.b > ink.bottom.r)
        }

        function test_appearances() {
            compare(Theme.dark, false)
            verify(Screens.sameColor(Theme.ink, Qt.rgba(0.29, 0.31, 0.69, 1)))
            verify(Screens.sameColor(Theme.inkFill, Theme.ink))
            fixture.setDarkAppearance(true)
            try {
                compare(Theme.dark, true)
                // Ink that reads on the dark window, as text does (4.5:1), and a fill under the white label
                // that does too.
                verify(Screens.contrast(Theme.ink, Theme.palette.window) >= 4.5)
                verify(Screens.contrast(Theme.textOnInk, Theme.inkFill) >= 4.5)
                verify(Theme.primary.hslLightness > 0.8)
            } finally {
                fixture.setDarkAppearance(false)
            }
            compare(Theme.dark, false)
            verify(Screens.contrast(Theme.textOnInk, Theme.inkFill) >= 4.5)
            verify(Screens.contrast(Theme.ink, Theme.palette.window) >= 4.5)
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
