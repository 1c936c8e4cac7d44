import QtQuick
import QtTest
import Velloran
import "Screens.js" as Screens

// The report screen on a German system (LANG=de_DE.UTF-8): every text of the screen in German. The failure
// reasons are given as the engine gives them in German.
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

    TestCase {
        name: "ReportViewGerman"
        when: windowShown

        function test_everySection() {
            const view = createTemporaryObject(viewComponent, root, { "report": fixture.migrationReport({
                "notesCreated": 5,
                "notesSkipped": 4,
                "notesFailed": [["(Vorbereitung)", "Fehler in Apple Notizen: boom"],
                                ["Plan", "Die Datei konnte nicht gelesen werden"]],
                "notesMisfiled": [["Retro", "Projekte/2024/Q1"]],
                "imagesAttached": 2,
                "imagesMissing": ["Plan: https://example.com/a.png", "Retro: weg.png (außerhalb des Ordners)"],
                "foldersFlattened": ["Projekte ▸ 2024"],
                "wikilinksDegraded": 7
            }) })
            compare(Screens.visibleTexts(view), [
                "Übertragung mit Problemen beendet",
                "5 Notizen · 2 Bilder angehängt",
                "Fehlgeschlagen (2)",
                "(Vorbereitung) – Fehler in Apple Notizen: boom",
                "Plan – Die Datei konnte nicht gelesen werden",
                "Im obersten Ordner abgelegt – ihr Ordner konnte nicht erstellt werden (1)",
                "Retro – erwartet in „Projekte/2024/Q1“",
                "Bilder nicht auf dem Datenträger gefunden (2)",
                "Plan: https://example.com/a.png",
                "Retro: weg.png (außerhalb des Ordners)",
                "Tiefe Ordner zu „A ▸ B“ zusammengefasst (Notizen hat nur eine Ebene)",
                "Projekte ▸ 2024",
                "4 Notizen waren im Zielordner schon vorhanden und wurden übersprungen (keine Duplikate erstellt). Erneutes Ausführen ist sicher.",
                "7 Wikilinks wurden zu unterstrichenen Textverweisen – Apple Notizen hat keine Schnittstelle, um Links zwischen Notizen zu erstellen.",
                "Apple Notizen öffnen",
                "Fertig"
            ])
            verify(fixture.screenshot(view, "report-de") !== "")
        }

        function test_stopped() {
            const view = createTemporaryObject(viewComponent, root, { "report": fixture.migrationReport({
                "notesCreated": 3, "notesSkipped": 0, "notesFailed": [], "notesMisfiled": [], "imagesAttached": 0,
                "imagesMissing": [], "foldersFlattened": [], "wikilinksDegraded": 0, "stopped": true
            }) })
            compare(findChild(view, "reportTitle").text, "Übertragung gestoppt")
        }
    }
}
