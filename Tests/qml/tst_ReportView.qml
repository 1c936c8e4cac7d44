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

        ReportView {
            anchors.fill: parent
        }
    }

    Component {
        id: spyComponent

        SignalSpy {}
    }

    function report(fields) {
        const base = {
            "notesCreated": 0,
            "notesSkipped": 0,
            "notesFailed": [],
            "notesMisfiled": [],
            "imagesAttached": 0,
            "imagesMissing": [],
            "foldersFlattened": [],
            "wikilinksDegraded": 0
        }
        for (const key in fields)
            base[key] = fields[key]
        return fixture.migrationReport(base)
    }

    TestCase {
        id: test

        name: "ReportView"
        when: windowShown

        function show(report) {
            return createTemporaryObject(viewComponent, root, { "report": report })
        }

        function test_complete() {
            const view = show(root.report({ "notesCreated": 12, "imagesAttached": 4 }))
            compare(findChild(view, "reportSymbol").symbol, "checkmark.seal.fill")
            verify(Screens.sameColor(findChild(view, "reportSymbol").color, Theme.ink))
            compare(Screens.visibleTexts(view), [
                "Migration complete",
                "12 notes · 4 images attached",
                "Open Apple Notes",
                "Done"
            ])
            compare(view.sections, [])
            fixture.screenshot(view, "report-complete")
        }

        // A stopped run is never complete: the title says so, and the stop leads the sections.
        function test_stopped() {
            const view = show(root.report({ "notesCreated": 3, "stopped": true,
                                            "notesFailed": [["Next", "stopped before Notes answered"]] }))
            compare(view.title, "Migration stopped")
            compare(findChild(view, "reportSymbol").symbol, "exclamationmark.triangle.fill")
            compare(Screens.visibleTexts(view), [
                "Migration stopped",
                "3 notes · 0 images attached",
                "You stopped the migration: the notes it had not reached are not in Apple Notes. Run it again to carry on; the notes already made are skipped.",
                "Failed (1)",
                "Next — stopped before Notes answered",
                "Open Apple Notes",
                "Done"
            ])
            fixture.screenshot(view, "report-stopped")
        }

        function test_issues_data() {
            return [
                { tag: "a failed note", fields: { "notesFailed": [["Plan", "Couldn't read the file"]] } },
                { tag: "a misfiled note", fields: { "notesMisfiled": [["Plan", "Work/2024"]] } }
            ]
        }

        function test_issues(data) {
            const view = show(root.report(data.fields))
            compare(view.title, "Migration finished with issues")
            compare(findChild(view, "reportTitle").text, "Migration finished with issues")
            compare(findChild(view, "reportSymbol").symbol, "exclamationmark.triangle.fill")
            verify(Screens.sameColor(findChild(view, "reportSymbol").color, Theme.orange))
        }

        // Missing images, skipped notes, flattened folders and degraded wikilinks alone are no issue.
        function test_notIssues_data() {
            return [
                { tag: "missing images", fields: { "imagesMissing": ["Plan: x.png"] } },
                { tag: "skipped notes", fields: { "notesSkipped": 3 } },
                { tag: "flattened folders", fields: { "foldersFlattened": ["A/B"] } },
                { tag: "degraded wikilinks", fields: { "wikilinksDegraded": 2 } }
            ]
        }

        function test_notIssues(data) {
            const view = show(root.report(data.fields))
            compare(findChild(view, "reportTitle").text, "Migration complete")
            compare(findChild(view, "reportSymbol").symbol, "checkmark.seal.fill")
        }

        function test_everySection() {
            const view = show(root.report({
                "notesCreated": 5,
                "imagesAttached": 2,
                "notesSkipped": 4,
                "notesFailed": [["(setup)", "Apple Notes error: boom"], ["Plan", "Couldn't read the file"]],
                "notesMisfiled": [["Retro", "Projects/2024/Q1"]],
                "imagesMissing": ["Plan: https://example.com/a.png", "Retro: gone.png", "Retro: also.png"],
                "foldersFlattened": ["Projects/2024", "Projects/2024/Q1"],
                "wikilinksDegraded": 7
            }))
            compare(Screens.visibleTexts(view), [
                "Migration finished with issues",
                "5 notes · 2 images attached",
                "Failed (2)",
                "(setup) — Apple Notes error: boom",
                "Plan — Couldn't read the file",
                "Placed in root — their folder couldn’t be created (1)",
                "Retro — expected in “Projects/2024/Q1”",
                "Images not found on disk (3)",
                "Plan: https://example.com/a.png",
                "Retro: gone.png",
                "Retro: also.png",
                "Deep folders flattened to “A ▸ B” (Notes nests one level)",
                "Projects/2024",
                "Projects/2024/Q1",
                "4 notes already existed in the destination folder and were skipped (no duplicates created). Safe to re-run.",
                "7 wikilinks became underlined text references — Apple Notes has no API for creating note-to-note links.",
                "Open Apple Notes",
                "Done"
            ])
            fixture.screenshot(view, "report-issues")
        }

        function test_rerunReportsOnlySkipped() {
            const view = show(root.report({ "notesSkipped": 9 }))
            compare(Screens.visibleTexts(view), [
                "Migration complete",
                "0 notes · 0 images attached",
                "9 notes already existed in the destination folder and were skipped (no duplicates created). Safe to re-run.",
                "Open Apple Notes",
                "Done"
            ])
        }

        function test_missingImagesOnly() {
            const view = show(root.report({ "notesCreated": 1, "imagesMissing": ["Plan: x.png"] }))
            compare(Screens.visibleTexts(view), [
                "Migration complete",
                "1 note · 0 images attached",
                "Images not found on disk (1)",
                "Plan: x.png",
                "Open Apple Notes",
                "Done"
            ])
        }

        function test_openAppleNotes() {
            fixture.clearOpenedUrls()
            const view = show(root.report({}))
            const button = findChild(view, "openNotesButton")
            verify(button.icon.source.toString().endsWith("icons/arrow.up.forward.app.svg"))
            mouseClick(button)
            compare(fixture.openedUrls(), ["notes://"])
        }

        function test_done() {
            const view = show(root.report({}))
            const done = createTemporaryObject(spyComponent, test, { "target": view, "signalName": "done" })
            compare(findChild(view, "doneButton").highlighted, true)
            verify(Screens.filledWith(findChild(view, "doneButton"), Theme.inkFill, Theme.textOnInk))
            mouseClick(findChild(view, "doneButton"))
            compare(done.count, 1)
        }
    }
}
