import QtQuick
import QtTest
import Velloran
import "Screens.js" as Screens

Item {
    id: root

    width: 640
    height: 560

    Component {
        id: viewComponent

        ExportResultView {
            anchors.fill: parent
        }
    }

    Component {
        id: spyComponent

        SignalSpy {}
    }

    TestCase {
        id: test

        name: "ExportResultView"
        when: windowShown

        function show(result, destination) {
            return createTemporaryObject(viewComponent, root, { "result": fixture.exportResult(result),
                                                                "destination": destination })
        }

        function test_complete() {
            const view = show({ "written": 5, "failed": [], "folders": ["Home", "Work"] }, "file:///tmp/out")
            compare(findChild(view, "resultSymbol").symbol, "checkmark.seal.fill")
            verify(Screens.sameColor(findChild(view, "resultSymbol").color, Theme.ink))
            compare(Screens.visibleTexts(view), ["Export complete", "5 notes written · 2 folders", "Reveal in Finder", "Done"])
            verify(!findChild(view, "failedList").visible)
            fixture.screenshot(view, "export-result")
        }

        function test_issues() {
            const view = show({
                "written": 1,
                "failed": [["(reading Apple Notes)", "Apple Notes error: boom"], ["Work/Plan.md", "Disk full"]],
                "folders": ["Work"]
            }, "file:///tmp/out")
            compare(findChild(view, "resultSymbol").symbol, "exclamationmark.triangle.fill")
            verify(Screens.sameColor(findChild(view, "resultSymbol").color, Theme.orange))
            compare(Screens.visibleTexts(view), [
                "Export finished with issues",
                "1 note written · 1 folder",
                "Failed (2)",
                "(reading Apple Notes) — Apple Notes error: boom",
                "Work/Plan.md — Disk full",
                "Reveal in Finder",
                "Done"
            ])
            fixture.screenshot(view, "export-result-issues")
        }

        // A stopped export is never complete, even with nothing failed.
        function test_stopped() {
            const view = show({ "written": 2, "failed": [], "folders": ["Work"], "stopped": true }, "file:///tmp/out")
            compare(view.title, "Export stopped")
            compare(findChild(view, "resultSymbol").symbol, "exclamationmark.triangle.fill")
            compare(Screens.visibleTexts(view), [
                "Export stopped",
                "2 notes written · 1 folder",
                "You stopped the export: the notes it had not reached were not written.",
                "Reveal in Finder",
                "Done"
            ])
            fixture.screenshot(view, "export-result-stopped")
        }

        function test_noDestinationNoReveal() {
            const view = show({ "written": 0, "failed": [], "folders": [] }, undefined)
            compare(Screens.visibleTexts(view), ["Export complete", "0 notes written · 0 folders", "Done"])
        }

        function test_revealInFinder() {
            fixture.clearOpenedUrls()
            const out = fixture.makeDir()
            const view = show({ "written": 0, "failed": [], "folders": [] }, fixture.url(out))
            const reveal = findChild(view, "revealButton")
            verify(reveal.icon.source.toString().endsWith("icons/arrow.up.forward.app.svg"))
            mouseClick(reveal)
            compare(fixture.openedUrls(), [fixture.url(out).toString()])
        }

        function test_done() {
            const view = show({ "written": 0, "failed": [], "folders": [] }, undefined)
            const done = createTemporaryObject(spyComponent, test, { "target": view, "signalName": "done" })
            compare(findChild(view, "doneButton").highlighted, true)
            verify(Screens.filledWith(findChild(view, "doneButton"), Theme.inkFill, Theme.textOnInk))
            mouseClick(findChild(view, "doneButton"))
            compare(done.count, 1)
        }
    }
}
