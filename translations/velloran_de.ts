<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>AnalysisView</name>
    <message>
        <source>Here&apos;s what Velloran found:</source>
        <translation>Das hat Velloran gefunden:</translation>
    </message>
    <message>
        <source>Migrate to Apple Notes</source>
        <translation>Nach Apple Notizen übertragen</translation>
    </message>
    <message>
        <source>Choose a different folder</source>
        <translation>Anderen Ordner auswählen</translation>
    </message>
    <message>
        <source>Hide details</source>
        <translation>Details ausblenden</translation>
    </message>
    <message>
        <source>Show details</source>
        <translation>Details zeigen</translation>
    </message>
    <message>
        <source>Checking Apple Notes…</source>
        <translation>Apple Notizen wird geprüft …</translation>
    </message>
</context>
<context>
    <name>DirectionPickerView</name>
    <message>
        <source>Apple Notes ↔ Markdown</source>
        <translation>Apple Notizen ↔ Markdown</translation>
    </message>
    <message>
        <source>Your notes, portable and ready for AI.
Pick a direction to begin.</source>
        <translation>Deine Notizen – mitnehmbar und bereit für KI.
Wähle eine Richtung, um zu beginnen.</translation>
    </message>
    <message>
        <source>Markdown → Apple Notes</source>
        <translation>Markdown → Apple Notizen</translation>
    </message>
    <message>
        <source>Import a folder of .md files
into Apple Notes</source>
        <translation>Einen Ordner mit .md-Dateien
in Apple Notizen importieren</translation>
    </message>
    <message>
        <source>Apple Notes → Markdown</source>
        <translation>Apple Notizen → Markdown</translation>
    </message>
    <message>
        <source>Export your Apple Notes
to clean .md files</source>
        <translation>Deine Notizen als saubere
.md-Dateien exportieren</translation>
    </message>
</context>
<context>
    <name>ExportFlowView</name>
    <message>
        <source>Choose</source>
        <translation>Auswählen</translation>
    </message>
    <message>
        <source>Choose where to save the exported Markdown files</source>
        <translation>Wähle, wo die exportierten Markdown-Dateien gesichert werden</translation>
    </message>
    <message>
        <source>Reading notes…</source>
        <translation>Notizen werden gelesen …</translation>
    </message>
    <message>
        <source>Writing Markdown files — your Apple Notes are not modified.</source>
        <translation>Markdown-Dateien werden geschrieben – deine Notizen in Apple Notizen bleiben unverändert.</translation>
    </message>
    <message>
        <source>Export Apple Notes to Markdown</source>
        <translation>Apple Notizen als Markdown exportieren</translation>
    </message>
    <message>
        <source>1 · What to export</source>
        <translation>1 · Was exportiert wird</translation>
    </message>
    <message>
        <source>All notes</source>
        <translation>Alle Notizen</translation>
    </message>
    <message>
        <source>Choose folders</source>
        <translation>Ordner auswählen</translation>
    </message>
    <message>
        <source>Reading Apple Notes folders…</source>
        <translation>Ordner aus Apple Notizen werden gelesen …</translation>
    </message>
    <message>
        <source>No folders found (grant Automation → Notes if first run).</source>
        <translation>Keine Ordner gefunden (beim ersten Start Automation → Notizen erlauben).</translation>
    </message>
    <message>
        <source>2 · Where to save the .md files</source>
        <translation>2 · Wo die .md-Dateien gesichert werden</translation>
    </message>
    <message>
        <source>Drop it!</source>
        <translation>Loslassen!</translation>
    </message>
    <message>
        <source>Drop a folder from Finder, or click Choose Folder below</source>
        <translation>Zieh einen Ordner aus dem Finder hierher oder klicke unten auf „Ordner auswählen …“</translation>
    </message>
    <message>
        <source>Notes can&apos;t be dragged here. Choose your notes above, then pick an output folder.</source>
        <translation>Notizen können nicht hierher gezogen werden. Wähle oben deine Notizen aus und dann einen Zielordner.</translation>
    </message>
    <message>
        <source>Your notes are picked above — this is only the output folder.</source>
        <translation>Deine Notizen wählst du oben aus – hier geht es nur um den Zielordner.</translation>
    </message>
    <message>
        <source>Choose Folder…</source>
        <translation>Ordner auswählen …</translation>
    </message>
    <message>
        <source>Remember as favourite folder</source>
        <translation>Als bevorzugten Ordner merken</translation>
    </message>
    <message>
        <source>Export to Markdown</source>
        <translation>Als Markdown exportieren</translation>
    </message>
    <message>
        <source>Warning</source>
        <translation>Warnung</translation>
    </message>
    <message>
        <source>Options</source>
        <translation>Optionen</translation>
    </message>
    <message>
        <source>Save images as files</source>
        <translation>Bilder als Dateien sichern</translation>
    </message>
    <message>
        <source>Keep dates</source>
        <translation>Daten behalten</translation>
    </message>
    <message>
        <source>Links between notes</source>
        <translation>Links zwischen Notizen</translation>
    </message>
    <message>
        <source>Headings from Notes’ styles</source>
        <translation>Überschriften aus den Stilen von Notizen</translation>
    </message>
    <message>
        <source>Update a previous export</source>
        <translation>Einen früheren Export aktualisieren</translation>
    </message>
</context>
<context>
    <name>ExportResultView</name>
    <message>
        <source>Reveal in Finder</source>
        <translation>Im Finder zeigen</translation>
    </message>
    <message>
        <source>Done</source>
        <translation>Fertig</translation>
    </message>
    <message>
        <source>Stopped</source>
        <translation>Gestoppt</translation>
    </message>
    <message>
        <source>Finished with issues</source>
        <translation>Mit Problemen beendet</translation>
    </message>
    <message>
        <source>Complete</source>
        <translation>Abgeschlossen</translation>
    </message>
</context>
<context>
    <name>PermissionPanel</name>
    <message>
        <source>Asking Apple Notes…</source>
        <translation>Frage Apple Notizen…</translation>
    </message>
    <message>
        <source>Granted</source>
        <translation>Erteilt</translation>
    </message>
    <message>
        <source>Warning</source>
        <translation>Warnung</translation>
    </message>
    <message>
        <source>Check again</source>
        <translation>Erneut prüfen</translation>
    </message>
    <message>
        <source>Continue</source>
        <translation>Weiter</translation>
    </message>
</context>
<context>
    <name>ProgressPanel</name>
    <message>
        <source>Stopping…</source>
        <translation>Wird gestoppt …</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>Stoppen</translation>
    </message>
    <message>
        <source>%1% done</source>
        <translation>%1 % erledigt</translation>
    </message>
</context>
<context>
    <name>ReportView</name>
    <message>
        <source>Open Apple Notes</source>
        <translation>Apple Notizen öffnen</translation>
    </message>
    <message>
        <source>Done</source>
        <translation>Fertig</translation>
    </message>
    <message>
        <source>Stopped</source>
        <translation>Gestoppt</translation>
    </message>
    <message>
        <source>Finished with issues</source>
        <translation>Mit Problemen beendet</translation>
    </message>
    <message>
        <source>Complete</source>
        <translation>Abgeschlossen</translation>
    </message>
</context>
<context>
    <name>Velloran</name>
    <message>
        <source>%1: no such file</source>
        <translation>%1: Datei nicht gefunden</translation>
    </message>
    <message>
        <source>%1: is a folder, not a file</source>
        <translation>%1: ist ein Ordner, keine Datei</translation>
    </message>
    <message>
        <source>no such folder</source>
        <translation>Ordner nicht gefunden</translation>
    </message>
    <message>
        <source>not a folder</source>
        <translation>kein Ordner</translation>
    </message>
    <message>
        <source>permission denied</source>
        <translation>Zugriff verweigert</translation>
    </message>
    <message>
        <source>Print the Markdown of an Apple Notes note body (HTML) read from FILE or standard input.</source>
        <translation>Gibt das Markdown eines Notiztexts aus Apple Notizen (HTML) aus, gelesen aus FILE oder von der Standardeingabe.</translation>
    </message>
    <message>
        <source>The note body; standard input when absent or &quot;-&quot;.</source>
        <translation>Der Notiztext; die Standardeingabe, wenn er fehlt oder „-“ ist.</translation>
    </message>
    <message>
        <source>%1: not valid UTF-8</source>
        <translation>%1: kein gültiges UTF-8</translation>
    </message>
    <message>
        <source>Scan a folder of Markdown files and show what a migration to Apple Notes would do with it.</source>
        <translation>Durchsucht einen Ordner mit Markdown-Dateien und zeigt, was eine Übertragung nach Apple Notizen mit ihm machen würde.</translation>
    </message>
    <message>
        <source>The folder (vault) to scan</source>
        <translation>Der zu durchsuchende Ordner (Vault)</translation>
    </message>
    <message>
        <source>Print the whole analysis as JSON (a failure as {&quot;error&quot;: MESSAGE})</source>
        <translation>Gibt die ganze Analyse als JSON aus (einen Fehler als {&quot;error&quot;: MELDUNG})</translation>
    </message>
    <message>
        <source>Render Markdown as an Apple Notes body (HTML).</source>
        <translation>Wandelt Markdown in einen Notiztext für Apple Notizen (HTML) um.</translation>
    </message>
    <message>
        <source>The Markdown file; standard input when absent or &quot;-&quot;</source>
        <translation>Die Markdown-Datei; die Standardeingabe, wenn sie fehlt oder „-“ ist</translation>
    </message>
    <message>
        <source>Remove a leading YAML frontmatter block first</source>
        <translation>Entfernt zuerst einen YAML-Frontmatter-Block am Anfang</translation>
    </message>
    <message>
        <source>Print {&quot;html&quot;: ..., &quot;images&quot;: [...]} instead (a failure as {&quot;error&quot;: MESSAGE})</source>
        <translation>Gibt stattdessen {&quot;html&quot;: ..., &quot;images&quot;: [...]} aus (einen Fehler als {&quot;error&quot;: MELDUNG})</translation>
    </message>
    <message>
        <source>List the Apple Notes folders as the export screen shows them, one per line (folders that share a name with what tells them apart); each line can be given to export --folder.</source>
        <translation>Listet die Ordner aus Apple Notizen so auf, wie der Export-Bildschirm sie zeigt, einen pro Zeile (gleichnamige Ordner mit dem, was sie unterscheidet); jede Zeile kann an export --folder übergeben werden.</translation>
    </message>
    <message>
        <source>Print them as one JSON array instead (a failure as {&quot;error&quot;: MESSAGE})</source>
        <translation>Gibt sie stattdessen als ein JSON-Array aus (einen Fehler als {&quot;error&quot;: MELDUNG})</translation>
    </message>
    <message>
        <source>Stopping after the current note…</source>
        <translation>Wird nach der aktuellen Notiz gestoppt …</translation>
    </message>
    <message>
        <source>Reading notes…</source>
        <translation>Notizen werden gelesen …</translation>
    </message>
    <message>
        <source>Interrupted before the migration began.</source>
        <translation>Unterbrochen, bevor die Übertragung begonnen hat.</translation>
    </message>
    <message>
        <source>%1: no such folder in Apple Notes</source>
        <translation>%1: Diesen Ordner gibt es in Apple Notizen nicht</translation>
    </message>
    <message>
        <source>not exported</source>
        <translation>nicht exportiert</translation>
    </message>
    <message>
        <source>Scan a folder of Markdown files and migrate it into Apple Notes, under &quot;Imported by Velloran&quot;. Exit status: 0 complete, 1 finished with issues or could not start (a path that does not exist, for one), 2 usage error, 130 stopped by Ctrl-C, SIGTERM or SIGHUP.</source>
        <translation>Durchsucht einen Ordner mit Markdown-Dateien und überträgt ihn nach Apple Notizen, in den Ordner „Imported by Velloran“. Exit-Status: 0 abgeschlossen, 1 mit Problemen beendet oder nicht gestartet (etwa bei einem Pfad, den es nicht gibt), 2 Aufruffehler, 130 gestoppt durch Ctrl-C, SIGTERM oder SIGHUP.</translation>
    </message>
    <message>
        <source>The folder (vault) to migrate</source>
        <translation>Der zu übertragende Ordner (Vault)</translation>
    </message>
    <message>
        <source>Print the report as JSON (a failure as {&quot;error&quot;: MESSAGE})</source>
        <translation>Gibt den Bericht als JSON aus (einen Fehler als {&quot;error&quot;: MELDUNG})</translation>
    </message>
    <message>
        <source>Export Apple Notes folders as Markdown files into DEST, one subfolder per Notes folder. Exit status: 0 complete, 1 finished with issues or could not start (a path that does not exist, for one), 2 usage error, 130 stopped by Ctrl-C, SIGTERM or SIGHUP.</source>
        <translation>Exportiert Ordner aus Apple Notizen als Markdown-Dateien nach DEST, einen Unterordner je Ordner in Notizen. Exit-Status: 0 abgeschlossen, 1 mit Problemen beendet oder nicht gestartet (etwa bei einem Pfad, den es nicht gibt), 2 Aufruffehler, 130 gestoppt durch Ctrl-C, SIGTERM oder SIGHUP.</translation>
    </message>
    <message>
        <source>The output folder; made when missing, inside a folder that exists</source>
        <translation>Der Zielordner; wird erstellt, wenn er fehlt, in einem vorhandenen Ordner</translation>
    </message>
    <message>
        <source>A Notes folder to export, by name (every folder of that name) or as the export screen labels it (&quot;Notes — iCloud&quot;); repeat for more (default: all). A folder that Notes does not have is an error</source>
        <translation>Ein zu exportierender Ordner aus Notizen, mit seinem Namen (alle Ordner dieses Namens) oder so, wie der Export-Bildschirm ihn bezeichnet („Notes — iCloud“); für mehrere wiederholen (Standard: alle). Ein Ordner, den es in Notizen nicht gibt, ist ein Fehler</translation>
    </message>
    <message>
        <source>Print the result as JSON (a failure as {&quot;error&quot;: MESSAGE})</source>
        <translation>Gibt das Ergebnis als JSON aus (einen Fehler als {&quot;error&quot;: MELDUNG})</translation>
    </message>
    <message>
        <source>Migrate a folder into the Notes stand-in (fake-osascript, named by VELLORAN_OSASCRIPT), export it back and print, per note, how many headings, list items, links, emphasis, tables and images each side has.</source>
        <translation>Überträgt einen Ordner in den Ersatz für Notizen (fake-osascript, angegeben in VELLORAN_OSASCRIPT), exportiert ihn zurück und zeigt je Notiz, wie viele Überschriften, Listenpunkte, Links, Hervorhebungen, Tabellen und Bilder jede Seite hat.</translation>
    </message>
    <message>
        <source>The folder (vault) to send round</source>
        <translation>Der Ordner (Vault) für Hin- und Rückweg</translation>
    </message>
    <message>
        <source>Print the counts as JSON (a failure as {&quot;error&quot;: MESSAGE})</source>
        <translation>Gibt die Zahlen als JSON aus (einen Fehler als {&quot;error&quot;: MELDUNG})</translation>
    </message>
    <message>
        <source>unknown option: %1</source>
        <translation>unbekannte Option: %1</translation>
    </message>
    <message>
        <source>unknown command: %1</source>
        <translation>unbekannter Befehl: %1</translation>
    </message>
    <message>
        <source>unexpected argument: %1</source>
        <translation>unerwartetes Argument: %1</translation>
    </message>
    <message>
        <source>a command is required</source>
        <translation>ein Befehl ist erforderlich</translation>
    </message>
    <message>
        <source>Usage</source>
        <translation>Aufruf</translation>
    </message>
    <message>
        <source>OPTIONS</source>
        <translation>OPTIONEN</translation>
    </message>
    <message>
        <source>SUBCOMMAND</source>
        <translation>BEFEHL</translation>
    </message>
    <message>
        <source>SUBCOMMANDS</source>
        <translation>BEFEHLE</translation>
    </message>
    <message>
        <source>Positionals</source>
        <translation>Argumente</translation>
    </message>
    <message>
        <source>REQUIRED</source>
        <translation>ERFORDERLICH</translation>
    </message>
    <message>
        <source>TEXT</source>
        <translation>TEXT</translation>
    </message>
    <message>
        <source>Subcommands</source>
        <translation>Befehle</translation>
    </message>
    <message>
        <source>Print this help message and exit</source>
        <translation>Zeigt diese Hilfe und beendet das Programm</translation>
    </message>
    <message>
        <source>Velloran: move notes between Apple Notes and folders of Markdown files.</source>
        <translation>Velloran: Notizen zwischen Apple Notizen und Ordnern mit Markdown-Dateien übertragen.</translation>
    </message>
    <message>
        <source>Display program version information and exit</source>
        <translation>Zeigt die Programmversion und beendet das Programm</translation>
    </message>
    <message>
        <source>Failures: one line &quot;velloran-cli: MESSAGE&quot; on standard error, naming the path, command or option at fault. With --json, each failure also prints one JSON object {&quot;error&quot;: MESSAGE} on standard output; the exit status stays the same (1: the command failed or finished with issues, 2: usage error). A path that does not exist: &quot;PATH: no such folder&quot; (&quot;no such file&quot; for a file), exit status 1.</source>
        <translation>Fehler: eine Zeile „velloran-cli: MELDUNG“ auf der Standardfehlerausgabe, die den Pfad, den Befehl oder die Option nennt, um die es geht. Mit --json gibt jeder Fehler außerdem ein JSON-Objekt {&quot;error&quot;: MELDUNG} auf der Standardausgabe aus; der Exit-Status bleibt derselbe (1: Der Befehl ist fehlgeschlagen oder mit Problemen beendet, 2: Aufruffehler). Ein Pfad, den es nicht gibt: „PFAD: Ordner nicht gefunden“ („Datei nicht gefunden“ bei einer Datei), Exit-Status 1.</translation>
    </message>
    <message>
        <source>Options</source>
        <translation>Optionen</translation>
    </message>
    <message>
        <source>Run with --help for more information.</source>
        <translation>Mit --help aufrufen, um mehr zu erfahren.</translation>
    </message>
    <message>
        <source>stopped before Notes answered</source>
        <translation>gestoppt, bevor Notizen geantwortet hat</translation>
    </message>
    <message>
        <source>in %1</source>
        <translation>in %1</translation>
    </message>
    <message>
        <source>(reading Apple Notes)</source>
        <translation>(Lesen aus Apple Notizen)</translation>
    </message>
    <message>
        <source>(folder %1)</source>
        <translation>(Ordner %1)</translation>
    </message>
    <message>
        <source>no such folder in Apple Notes</source>
        <translation>Diesen Ordner gibt es in Apple Notizen nicht</translation>
    </message>
    <message>
        <source>not exported: another folder has the same name</source>
        <translation>nicht exportiert: Ein anderer Ordner hat denselben Namen</translation>
    </message>
    <message>
        <source>couldn&apos;t read the note&apos;s body: %1</source>
        <translation>Notiztext konnte nicht gelesen werden: %1</translation>
    </message>
    <message>
        <source>not a regular file</source>
        <translation>keine normale Datei</translation>
    </message>
    <message>
        <source>path too long</source>
        <translation>Pfad zu lang</translation>
    </message>
    <message>
        <source>no such file or folder</source>
        <translation>Datei oder Ordner nicht gefunden</translation>
    </message>
    <message>
        <source>too many symbolic links</source>
        <translation>zu viele symbolische Links</translation>
    </message>
    <message>
        <source>not UTF-8 text</source>
        <translation>kein UTF-8-Text</translation>
    </message>
    <message>
        <source>(setup)</source>
        <translation>(Vorbereitung)</translation>
    </message>
    <message>
        <source>Couldn&apos;t read the file</source>
        <translation>Die Datei konnte nicht gelesen werden</translation>
    </message>
    <message>
        <source>Permission needed: System Settings → Privacy &amp; Security → Automation → Velloran → Notes</source>
        <translation>Berechtigung erforderlich: Systemeinstellungen → Datenschutz &amp; Sicherheit → Automation → Velloran → Notizen</translation>
    </message>
    <message>
        <source>Apple Notes error: %1</source>
        <translation>Fehler in Apple Notizen: %1</translation>
    </message>
    <message>
        <source>(destination)</source>
        <translation>(Zielordner)</translation>
    </message>
    <message>
        <source>not writable</source>
        <translation>nicht beschreibbar</translation>
    </message>
    <message>
        <source>couldn&apos;t create folder: %1</source>
        <translation>Ordner konnte nicht erstellt werden: %1</translation>
    </message>
    <message>
        <source>osascript ended with signal %1</source>
        <translation>osascript wurde durch Signal %1 beendet</translation>
    </message>
    <message>
        <source>osascript failed without a message (exit status %1)</source>
        <translation>osascript ist ohne Meldung fehlgeschlagen (Exit-Status %1)</translation>
    </message>
    <message>
        <source>outside the folder</source>
        <translation>außerhalb des Ordners</translation>
    </message>
    <message>
        <source>Here&apos;s what Velloran found:</source>
        <translation>Das hat Velloran gefunden:</translation>
    </message>
    <message>
        <source>%1 — %2</source>
        <translation>%1 – %2</translation>
    </message>
    <message>
        <source>%1 · %2</source>
        <translation>%1 · %2</translation>
    </message>
    <message>
        <source>Migration stopped</source>
        <translation>Übertragung gestoppt</translation>
    </message>
    <message>
        <source>Migration finished with issues</source>
        <translation>Übertragung mit Problemen beendet</translation>
    </message>
    <message>
        <source>Migration complete</source>
        <translation>Übertragung abgeschlossen</translation>
    </message>
    <message numerus="yes">
        <source>%n notes</source>
        <translation>
            <numerusform>%n Notiz</numerusform>
            <numerusform>%n Notizen</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n images attached</source>
        <translation>
            <numerusform>%n Bild angehängt</numerusform>
            <numerusform>%n Bilder angehängt</numerusform>
        </translation>
    </message>
    <message>
        <source>You stopped the migration: the notes it had not reached are not in Apple Notes. Run it again to carry on; the notes already made are skipped.</source>
        <translation>Du hast die Übertragung gestoppt: Die Notizen, die sie noch nicht erreicht hatte, sind nicht in Apple Notizen. Führe sie erneut aus, um fortzufahren; bereits erstellte Notizen werden übersprungen.</translation>
    </message>
    <message numerus="yes">
        <source>Failed (%n)</source>
        <translation>
            <numerusform>Fehlgeschlagen (%n)</numerusform>
            <numerusform>Fehlgeschlagen (%n)</numerusform>
        </translation>
    </message>
    <message>
        <source>%1 — expected in “%2”</source>
        <translation>%1 – erwartet in „%2“</translation>
    </message>
    <message numerus="yes">
        <source>Placed in root — their folder couldn’t be created (%n)</source>
        <translation>
            <numerusform>Im obersten Ordner abgelegt – ihr Ordner konnte nicht erstellt werden (%n)</numerusform>
            <numerusform>Im obersten Ordner abgelegt – ihr Ordner konnte nicht erstellt werden (%n)</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>Images not found on disk (%n)</source>
        <translation>
            <numerusform>Bilder nicht auf dem Datenträger gefunden (%n)</numerusform>
            <numerusform>Bilder nicht auf dem Datenträger gefunden (%n)</numerusform>
        </translation>
    </message>
    <message>
        <source>Deep folders flattened to “A ▸ B” (Notes nests one level)</source>
        <translation>Tiefe Ordner zu „A ▸ B“ zusammengefasst (Notizen hat nur eine Ebene)</translation>
    </message>
    <message numerus="yes">
        <source>%n notes already existed in the destination folder and were skipped (no duplicates created). Safe to re-run.</source>
        <translation>
            <numerusform>%n Notiz war im Zielordner schon vorhanden und wurde übersprungen (keine Duplikate erstellt). Erneutes Ausführen ist sicher.</numerusform>
            <numerusform>%n Notizen waren im Zielordner schon vorhanden und wurden übersprungen (keine Duplikate erstellt). Erneutes Ausführen ist sicher.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n wikilinks became underlined text references — Apple Notes has no API for creating note-to-note links.</source>
        <translation>
            <numerusform>%n Wikilink wurde zu einem unterstrichenen Textverweis – Apple Notizen hat keine Schnittstelle, um Links zwischen Notizen zu erstellen.</numerusform>
            <numerusform>%n Wikilinks wurden zu unterstrichenen Textverweisen – Apple Notizen hat keine Schnittstelle, um Links zwischen Notizen zu erstellen.</numerusform>
        </translation>
    </message>
    <message>
        <source>Export stopped</source>
        <translation>Export gestoppt</translation>
    </message>
    <message>
        <source>Export finished with issues</source>
        <translation>Export mit Problemen beendet</translation>
    </message>
    <message>
        <source>Export complete</source>
        <translation>Export abgeschlossen</translation>
    </message>
    <message numerus="yes">
        <source>%n notes written</source>
        <translation>
            <numerusform>%n Notiz geschrieben</numerusform>
            <numerusform>%n Notizen geschrieben</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n folders</source>
        <translation>
            <numerusform>%n Ordner</numerusform>
            <numerusform>%n Ordner</numerusform>
        </translation>
    </message>
    <message>
        <source>You stopped the export: the notes it had not reached were not written.</source>
        <translation>Du hast den Export gestoppt: Die Notizen, die er noch nicht erreicht hatte, wurden nicht geschrieben.</translation>
    </message>
    <message>
        <source>will be created in Apple Notes</source>
        <translation>werden in Apple Notizen erstellt</translation>
    </message>
    <message>
        <source>recreated inside “Imported by Velloran”</source>
        <translation>werden in „Imported by Velloran“ neu angelegt</translation>
    </message>
    <message numerus="yes">
        <source>%n images</source>
        <translation>
            <numerusform>%n Bild</numerusform>
            <numerusform>%n Bilder</numerusform>
        </translation>
    </message>
    <message>
        <source>attached to their notes</source>
        <translation>werden an ihre Notizen angehängt</translation>
    </message>
    <message numerus="yes">
        <source>attached · %n missing on disk (listed in the report)</source>
        <translation>
            <numerusform>werden angehängt · %n fehlt auf dem Datenträger (im Bericht aufgeführt)</numerusform>
            <numerusform>werden angehängt · %n fehlen auf dem Datenträger (im Bericht aufgeführt)</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n wikilinks</source>
        <translation>
            <numerusform>%n Wikilink</numerusform>
            <numerusform>%n Wikilinks</numerusform>
        </translation>
    </message>
    <message>
        <source>become styled text references (Notes has no API for note-to-note links)</source>
        <translation>werden zu formatierten Textverweisen (Notizen hat keine Schnittstelle für Links zwischen Notizen)</translation>
    </message>
    <message>
        <source>Tables</source>
        <translation>Tabellen</translation>
    </message>
    <message>
        <source>preserved as real Notes tables</source>
        <translation>bleiben als echte Tabellen in Notizen erhalten</translation>
    </message>
    <message>
        <source>1 title</source>
        <translation>1 Titel</translation>
    </message>
    <message numerus="yes">
        <source>%n titles</source>
        <translation>
            <numerusform>%n Titel</numerusform>
            <numerusform>%n Titel</numerusform>
        </translation>
    </message>
    <message>
        <source>get a number, as another note of that name goes to the same Notes folder</source>
        <translation>erhalten eine Nummer, weil eine andere Notiz gleichen Namens in denselben Ordner kommt</translation>
    </message>
    <message>
        <source>1 file</source>
        <translation>1 Datei</translation>
    </message>
    <message numerus="yes">
        <source>%n files</source>
        <translation>
            <numerusform>%n Datei</numerusform>
            <numerusform>%n Dateien</numerusform>
        </translation>
    </message>
    <message>
        <source>1 folder</source>
        <translation>1 Ordner</translation>
    </message>
    <message>
        <source>couldn&apos;t be read (listed in the report)</source>
        <translation>konnten nicht gelesen werden (im Bericht aufgeführt)</translation>
    </message>
    <message numerus="yes">
        <source>Total (%n notes, %1 not exported): </source>
        <translation>
            <numerusform>Gesamt (%n Notiz, %1 nicht exportiert): </numerusform>
            <numerusform>Gesamt (%n Notizen, %1 nicht exportiert): </numerusform>
        </translation>
    </message>
    <message>
        <source>round-trip runs only against the Notes stand-in: set VELLORAN_OSASCRIPT to fake-osascript</source>
        <translation>round-trip läuft nur mit dem Ersatz für Notizen: Setze VELLORAN_OSASCRIPT auf fake-osascript</translation>
    </message>
    <message>
        <source>cannot make a working folder: %1</source>
        <translation>Arbeitsordner kann nicht erstellt werden: %1</translation>
    </message>
    <message>
        <source>Check that Velloran can reach Apple Notes: whether osascript is there, whether Automation for Notes is granted (and if not, where to grant it and how to be asked again), and how many folders and notes Notes shows. Reads nothing but those numbers. Exit status: 0 all is well, 1 otherwise.</source>
        <translation>Prüft, ob Velloran Apple Notizen erreicht: ob osascript da ist, ob Automation für Notizen erlaubt ist (und wenn nicht, wo du es erlaubst und wie du erneut gefragt wirst) und wie viele Ordner und Notizen Notizen zeigt. Liest nichts außer diesen Zahlen. Exit-Status: 0 alles in Ordnung, 1 sonst.</translation>
    </message>
    <message>
        <source>Export with Notes’ heading styles turned into Markdown headings, as export --headings does</source>
        <translation>Exportiert mit den Überschriftstilen von Apple Notizen als Markdown-Überschriften, wie export --headings</translation>
    </message>
    <message>
        <source>How images held in a note are written: inline (the default), or files, each saved once into an &quot;attachments&quot; subfolder beside the note and linked by its relative path</source>
        <translation>Wie Bilder in einer Notiz geschrieben werden: inline (Standard) oder files, jedes einmal in einen Unterordner „attachments“ neben der Notiz gespeichert und über seinen relativen Pfad verlinkt</translation>
    </message>
    <message>
        <source>Keep dates: write each note&apos;s creation and modification dates as frontmatter, and give its file the note&apos;s modification time</source>
        <translation>Daten behalten: Erstellungs- und Änderungsdatum jeder Notiz als Frontmatter schreiben und der Datei die Änderungszeit der Notiz geben</translation>
    </message>
    <message>
        <source>Turn links to other notes into wiki links, [[Title]], to their exported files (also on with --images files or --dates); links to notes outside the export are kept and listed</source>
        <translation>Macht Links auf andere Notizen zu Wiki-Links, [[Titel]], auf deren exportierte Dateien (auch mit --images files oder --dates an); Links auf Notizen außerhalb des Exports bleiben erhalten und werden aufgelistet</translation>
    </message>
    <message>
        <source>Turn Notes’ Title, Heading and Subheading styles into Markdown headings (#, ##, ###)</source>
        <translation>Macht aus den Stilen Titel, Überschrift und Unterüberschrift von Apple Notizen Markdown-Überschriften (#, ##, ###)</translation>
    </message>
    <message>
        <source>Update a previous export into DEST: rewrite the files of notes that changed, unless you edited them (the new version is then written beside), and list notes gone from Notes</source>
        <translation>Einen früheren Export in DEST aktualisieren: die Dateien geänderter Notizen neu schreiben, außer du hast sie bearbeitet (dann wird die neue Version daneben geschrieben), und aus Apple Notizen verschwundene Notizen auflisten</translation>
    </message>
    <message>
        <source>Create nothing: list, note by note, the Notes folder, the final title, the images attached and not attached, the wikilinks, the tables, and whether the note is already in Apple Notes (checked when Apple Notes can be read). With --json, as JSON</source>
        <translation>Nichts erstellen: für jede Notiz den Ordner in Apple Notizen, den endgültigen Titel, die angehängten und nicht angehängten Bilder, die Wikilinks, die Tabellen und ob die Notiz schon in Apple Notizen ist (geprüft, wenn Apple Notizen gelesen werden kann) auflisten. Mit --json als JSON</translation>
    </message>
    <message>
        <source>the image data could not be decoded</source>
        <translation>die Bilddaten lassen sich nicht dekodieren</translation>
    </message>
    <message>
        <source>the image holds no data</source>
        <translation>das Bild enthält keine Daten</translation>
    </message>
    <message>
        <source>couldn&apos;t save the image: %1</source>
        <translation>Bild konnte nicht gespeichert werden: %1</translation>
    </message>
    <message>
        <source>the record of the previous export is damaged</source>
        <translation>die Aufzeichnung des früheren Exports ist beschädigt</translation>
    </message>
    <message>
        <source>This version of Notes does not give the notes’ ids, so a previous export cannot be updated. Export without “Update a previous export”.</source>
        <translation>Diese Version von Apple Notizen gibt die IDs der Notizen nicht heraus, daher kann ein früherer Export nicht aktualisiert werden. Exportiere ohne „Früheren Export aktualisieren“.</translation>
    </message>
    <message>
        <source>Velloran can reach Apple Notes</source>
        <translation>Velloran erreicht Apple Notizen</translation>
    </message>
    <message>
        <source>osascript is missing</source>
        <translation>osascript fehlt</translation>
    </message>
    <message>
        <source>Velloran may not control Apple Notes</source>
        <translation>Velloran darf Apple Notizen nicht steuern</translation>
    </message>
    <message>
        <source>Apple Notes did not answer</source>
        <translation>Apple Notizen hat nicht geantwortet</translation>
    </message>
    <message>
        <source>%1 — found</source>
        <translation>%1 — gefunden</translation>
    </message>
    <message>
        <source>%1 — not found</source>
        <translation>%1 — nicht gefunden</translation>
    </message>
    <message>
        <source>%1 — could not be started: %2</source>
        <translation>%1 — konnte nicht gestartet werden: %2</translation>
    </message>
    <message>
        <source>osascript</source>
        <translation>osascript</translation>
    </message>
    <message>
        <source>granted</source>
        <translation>erlaubt</translation>
    </message>
    <message>
        <source>refused (-1743)</source>
        <translation>verweigert (-1743)</translation>
    </message>
    <message>
        <source>not checked: asking Notes needs osascript</source>
        <translation>nicht geprüft: um Notizen zu fragen, braucht es osascript</translation>
    </message>
    <message>
        <source>not known: %1</source>
        <translation>unbekannt: %1</translation>
    </message>
    <message>
        <source>osascript said: %1</source>
        <translation>osascript meldete: %1</translation>
    </message>
    <message>
        <source>Automation for Notes</source>
        <translation>Automation für Notizen</translation>
    </message>
    <message>
        <source>unexpected answer: %1</source>
        <translation>unerwartete Antwort: %1</translation>
    </message>
    <message>
        <source>Velloran is not allowed to control Notes (-1743)</source>
        <translation>Velloran darf Notizen nicht steuern (-1743)</translation>
    </message>
    <message>
        <source>macOS would have to ask you first, and could not ask now (-1744)</source>
        <translation>macOS müsste dich erst fragen und konnte jetzt nicht fragen (-1744)</translation>
    </message>
    <message>
        <source>Apple Notes is not running and could not be started (-600)</source>
        <translation>Apple Notizen läuft nicht und konnte nicht gestartet werden (-600)</translation>
    </message>
    <message>
        <source>the connection to Apple Notes was lost (-609)</source>
        <translation>die Verbindung zu Apple Notizen ist abgerissen (-609)</translation>
    </message>
    <message>
        <source>Apple Notes did not answer in time (-1712)</source>
        <translation>Apple Notizen hat nicht rechtzeitig geantwortet (-1712)</translation>
    </message>
    <message>
        <source>this Apple Notes does not understand the check (%1)</source>
        <translation>dieses Apple Notizen versteht die Prüfung nicht (%1)</translation>
    </message>
    <message>
        <source>Apple Notes reported an error</source>
        <translation>Apple Notizen hat einen Fehler gemeldet</translation>
    </message>
    <message>
        <source>No folders or notes could be read.</source>
        <translation>Es konnten keine Ordner oder Notizen gelesen werden.</translation>
    </message>
    <message>
        <source>Velloran asks Apple Notes through osascript, which macOS keeps at /usr/bin/osascript. VELLORAN_OSASCRIPT, when set, names the program to use instead.</source>
        <translation>Velloran fragt Apple Notizen über osascript, das macOS unter /usr/bin/osascript bereithält. VELLORAN_OSASCRIPT nennt, wenn gesetzt, stattdessen das zu verwendende Programm.</translation>
    </message>
    <message>
        <source>To grant it</source>
        <translation>So erlaubst du es</translation>
    </message>
    <message>
        <source>Open System Settings → Privacy &amp; Security → Automation → Velloran → Notes and switch Notes on.</source>
        <translation>Öffne Systemeinstellungen → Datenschutz &amp; Sicherheit → Automation → Velloran → Notizen und schalte Notizen ein.</translation>
    </message>
    <message>
        <source>If Velloran is not listed there, have macOS ask again: tccutil reset AppleEvents %1</source>
        <translation>Wenn Velloran dort nicht aufgeführt ist, lass macOS erneut fragen: tccutil reset AppleEvents %1</translation>
    </message>
    <message>
        <source>Then check again.</source>
        <translation>Prüfe dann erneut.</translation>
    </message>
    <message>
        <source>couldn&apos;t read the record of the last export: %1</source>
        <translation>die Aufzeichnung des letzten Exports konnte nicht gelesen werden: %1</translation>
    </message>
    <message>
        <source>couldn&apos;t record the export: %1</source>
        <translation>der Export konnte nicht aufgezeichnet werden: %1</translation>
    </message>
    <message numerus="yes">
        <source>Updated (%n)</source>
        <translation>
            <numerusform>Aktualisiert (%n)</numerusform>
            <numerusform>Aktualisiert (%n)</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n notes had not changed since the last export and were left alone.</source>
        <translation>
            <numerusform>%n Notiz war seit dem letzten Export unverändert und blieb unangetastet.</numerusform>
            <numerusform>%n Notizen waren seit dem letzten Export unverändert und blieben unangetastet.</numerusform>
        </translation>
    </message>
    <message>
        <source>%1 — kept your edits; the new version is %2</source>
        <translation>%1 — deine Änderungen bleiben erhalten; die neue Version ist %2</translation>
    </message>
    <message numerus="yes">
        <source>Kept your edits (%n)</source>
        <translation>
            <numerusform>Deine Änderungen behalten (%n)</numerusform>
            <numerusform>Deine Änderungen behalten (%n)</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>No longer in Apple Notes — files left alone (%n)</source>
        <translation>
            <numerusform>Nicht mehr in Apple Notizen — Dateien unangetastet (%n)</numerusform>
            <numerusform>Nicht mehr in Apple Notizen — Dateien unangetastet (%n)</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n images saved as files.</source>
        <translation>
            <numerusform>%n Bild als Datei gespeichert.</numerusform>
            <numerusform>%n Bilder als Dateien gespeichert.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>Images kept inline (%n)</source>
        <translation>
            <numerusform>Im Text belassenes Bild (%n)</numerusform>
            <numerusform>Im Text belassene Bilder (%n)</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>Links to notes outside the export (%n)</source>
        <translation>
            <numerusform>Link auf eine Notiz außerhalb des Exports (%n)</numerusform>
            <numerusform>Links auf Notizen außerhalb des Exports (%n)</numerusform>
        </translation>
    </message>
    <message>
        <source>This version of Notes does not give the notes’ dates: the files were written without them.</source>
        <translation>Diese Version von Apple Notizen gibt die Daten der Notizen nicht heraus: Die Dateien wurden ohne sie geschrieben.</translation>
    </message>
    <message>
        <source>Already in Apple Notes — will be skipped</source>
        <translation>Schon in Apple Notizen – wird übersprungen</translation>
    </message>
    <message>
        <source>Will be created</source>
        <translation>Wird erstellt</translation>
    </message>
    <message>
        <source>Not checked whether it is already in Apple Notes</source>
        <translation>Nicht geprüft, ob sie schon in Apple Notizen ist</translation>
    </message>
    <message>
        <source>%1 → renamed from “%2”</source>
        <translation>%1 → umbenannt von „%2“</translation>
    </message>
    <message>
        <source>Folder: %1</source>
        <translation>Ordner: %1</translation>
    </message>
    <message>
        <source>Will fail: %1</source>
        <translation>Wird fehlschlagen: %1</translation>
    </message>
    <message>
        <source>Image attached: %1</source>
        <translation>Bild angehängt: %1</translation>
    </message>
    <message>
        <source>Image not attached: %1 — %2</source>
        <translation>Bild nicht angehängt: %1 – %2</translation>
    </message>
    <message>
        <source>Wikilink becomes underlined text: %1</source>
        <translation>Wikilink wird zu unterstrichenem Text: %1</translation>
    </message>
    <message>
        <source>Tables preserved as real Notes tables</source>
        <translation>Tabellen bleiben echte Notizen-Tabellen</translation>
    </message>
    <message>
        <source>Dry run: nothing was created</source>
        <translation>Probelauf: Es wurde nichts erstellt</translation>
    </message>
    <message numerus="yes">
        <source>%n notes to create</source>
        <translation>
            <numerusform>%n Notiz wird erstellt</numerusform>
            <numerusform>%n Notizen werden erstellt</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n already in Apple Notes (skipped)</source>
        <translation>
            <numerusform>%n schon in Apple Notizen (übersprungen)</numerusform>
            <numerusform>%n schon in Apple Notizen (übersprungen)</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n notes to migrate</source>
        <translation>
            <numerusform>%n Notiz zu übertragen</numerusform>
            <numerusform>%n Notizen zu übertragen</numerusform>
        </translation>
    </message>
    <message>
        <source>Apple Notes couldn&apos;t be read, so it is unknown which notes are already there (they would be skipped): %1</source>
        <translation>Apple Notizen konnte nicht gelesen werden, daher ist unbekannt, welche Notizen schon dort sind (sie würden übersprungen): %1</translation>
    </message>
    <message numerus="yes">
        <source>Couldn&apos;t be read — will be listed as failed (%n)</source>
        <translation>
            <numerusform>Nicht lesbar – wird als fehlgeschlagen aufgeführt (%n)</numerusform>
            <numerusform>Nicht lesbar – werden als fehlgeschlagen aufgeführt (%n)</numerusform>
        </translation>
    </message>
    <message>
        <source>web images are not downloaded</source>
        <translation>Bilder aus dem Web werden nicht heruntergeladen</translation>
    </message>
    <message>
        <source>not found on disk</source>
        <translation>nicht auf der Festplatte gefunden</translation>
    </message>
    <message>
        <source>couldn&apos;t save the image: “%1” is a symbolic link</source>
        <translation>das Bild konnte nicht gespeichert werden: „%1“ ist ein symbolischer Link</translation>
    </message>
</context>
<context>
    <name>WizardView</name>
    <message>
        <source>Analyze</source>
        <translation>Analysieren</translation>
    </message>
    <message>
        <source>Back to start</source>
        <translation>Zurück zum Anfang</translation>
    </message>
    <message>
        <source>VELLORAN</source>
        <translation>VELLORAN</translation>
    </message>
    <message>
        <source>Preparing…</source>
        <translation>Wird vorbereitet …</translation>
    </message>
    <message>
        <source>Creating notes in Apple Notes — don&apos;t quit Notes while this runs.</source>
        <translation>Notizen werden in Apple Notizen erstellt – beende Notizen nicht, solange das läuft.</translation>
    </message>
    <message>
        <source>Move your Markdown files
into Apple Notes</source>
        <translation>Bring deine Markdown-Dateien
nach Apple Notizen</translation>
    </message>
    <message>
        <source>Folders, images, tables and attachments — intact.
Your original files are never touched.</source>
        <translation>Ordner, Bilder, Tabellen und Anhänge – alles bleibt erhalten.
Deine Originaldateien werden nie verändert.</translation>
    </message>
    <message>
        <source>Drop it!</source>
        <translation>Loslassen!</translation>
    </message>
    <message>
        <source>Drop a folder of .md files (Obsidian, etc.)</source>
        <translation>Zieh einen Ordner mit .md-Dateien hierher (Obsidian usw.)</translation>
    </message>
    <message>
        <source>from Finder — not notes from the Notes app</source>
        <translation>aus dem Finder – keine Notizen aus der App „Notizen“</translation>
    </message>
    <message>
        <source>Analyzing…</source>
        <translation>Wird analysiert …</translation>
    </message>
    <message>
        <source>Choose Folder…</source>
        <translation>Ordner auswählen …</translation>
    </message>
</context>
</TS>
