<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="en">
<context>
    <name>AnalysisView</name>
    <message>
        <source>Here&apos;s what Velloran found:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Migrate to Apple Notes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Choose a different folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Hide details</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show details</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Checking Apple Notes…</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>DirectionPickerView</name>
    <message>
        <source>Apple Notes ↔ Markdown</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Your notes, portable and ready for AI.
Pick a direction to begin.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Markdown → Apple Notes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Import a folder of .md files
into Apple Notes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Apple Notes → Markdown</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Export your Apple Notes
to clean .md files</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ExportFlowView</name>
    <message>
        <source>Choose</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Choose where to save the exported Markdown files</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reading notes…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Writing Markdown files — your Apple Notes are not modified.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Export Apple Notes to Markdown</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>1 · What to export</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>All notes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Choose folders</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reading Apple Notes folders…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No folders found (grant Automation → Notes if first run).</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>2 · Where to save the .md files</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Drop it!</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Drop a folder from Finder, or click Choose Folder below</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Notes can&apos;t be dragged here. Choose your notes above, then pick an output folder.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Your notes are picked above — this is only the output folder.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Choose Folder…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remember as favourite folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Export to Markdown</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Warning</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Options</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Save images as files</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keep dates</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Links between notes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Headings from Notes’ styles</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Update a previous export</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ExportResultView</name>
    <message>
        <source>Reveal in Finder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Done</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Stopped</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Finished with issues</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Complete</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>PermissionPanel</name>
    <message>
        <source>Asking Apple Notes…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Granted</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Warning</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Check again</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Continue</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ProgressPanel</name>
    <message>
        <source>Stopping…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Stop</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1% done</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ReportView</name>
    <message>
        <source>Open Apple Notes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Done</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Stopped</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Finished with issues</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Complete</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Velloran</name>
    <message>
        <source>%1: no such file</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1: is a folder, not a file</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>no such folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>not a folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>permission denied</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Print the Markdown of an Apple Notes note body (HTML) read from FILE or standard input.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The note body; standard input when absent or &quot;-&quot;.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1: not valid UTF-8</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Scan a folder of Markdown files and show what a migration to Apple Notes would do with it.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The folder (vault) to scan</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Print the whole analysis as JSON (a failure as {&quot;error&quot;: MESSAGE})</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Render Markdown as an Apple Notes body (HTML).</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The Markdown file; standard input when absent or &quot;-&quot;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remove a leading YAML frontmatter block first</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Print {&quot;html&quot;: ..., &quot;images&quot;: [...]} instead (a failure as {&quot;error&quot;: MESSAGE})</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>List the Apple Notes folders as the export screen shows them, one per line (folders that share a name with what tells them apart); each line can be given to export --folder.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Print them as one JSON array instead (a failure as {&quot;error&quot;: MESSAGE})</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Stopping after the current note…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reading notes…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Interrupted before the migration began.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1: no such folder in Apple Notes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>not exported</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Scan a folder of Markdown files and migrate it into Apple Notes, under &quot;Imported by Velloran&quot;. Exit status: 0 complete, 1 finished with issues or could not start (a path that does not exist, for one), 2 usage error, 130 stopped by Ctrl-C, SIGTERM or SIGHUP.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The folder (vault) to migrate</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Print the report as JSON (a failure as {&quot;error&quot;: MESSAGE})</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Export Apple Notes folders as Markdown files into DEST, one subfolder per Notes folder. Exit status: 0 complete, 1 finished with issues or could not start (a path that does not exist, for one), 2 usage error, 130 stopped by Ctrl-C, SIGTERM or SIGHUP.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The output folder; made when missing, inside a folder that exists</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A Notes folder to export, by name (every folder of that name) or as the export screen labels it (&quot;Notes — iCloud&quot;); repeat for more (default: all). A folder that Notes does not have is an error</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Print the result as JSON (a failure as {&quot;error&quot;: MESSAGE})</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Migrate a folder into the Notes stand-in (fake-osascript, named by VELLORAN_OSASCRIPT), export it back and print, per note, how many headings, list items, links, emphasis, tables and images each side has.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The folder (vault) to send round</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Print the counts as JSON (a failure as {&quot;error&quot;: MESSAGE})</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>unknown option: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>unknown command: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>unexpected argument: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>a command is required</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Usage</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>OPTIONS</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>SUBCOMMAND</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>SUBCOMMANDS</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Positionals</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>REQUIRED</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>TEXT</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Subcommands</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Print this help message and exit</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Velloran: move notes between Apple Notes and folders of Markdown files.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Display program version information and exit</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Failures: one line &quot;velloran-cli: MESSAGE&quot; on standard error, naming the path, command or option at fault. With --json, each failure also prints one JSON object {&quot;error&quot;: MESSAGE} on standard output; the exit status stays the same (1: the command failed or finished with issues, 2: usage error). A path that does not exist: &quot;PATH: no such folder&quot; (&quot;no such file&quot; for a file), exit status 1.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Options</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Run with --help for more information.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>stopped before Notes answered</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>in %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>(reading Apple Notes)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>(folder %1)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>no such folder in Apple Notes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>not exported: another folder has the same name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>couldn&apos;t read the note&apos;s body: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>not a regular file</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>path too long</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>no such file or folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>too many symbolic links</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>not UTF-8 text</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>(setup)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Couldn&apos;t read the file</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Permission needed: System Settings → Privacy &amp; Security → Automation → Velloran → Notes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Apple Notes error: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>(destination)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>not writable</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>couldn&apos;t create folder: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>osascript ended with signal %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>osascript failed without a message (exit status %1)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>outside the folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Here&apos;s what Velloran found:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 — %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 · %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Migration stopped</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Migration finished with issues</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Migration complete</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>%n notes</source>
        <translation>
            <numerusform>%n note</numerusform>
            <numerusform>%n notes</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n images attached</source>
        <translation>
            <numerusform>%n image attached</numerusform>
            <numerusform>%n images attached</numerusform>
        </translation>
    </message>
    <message>
        <source>You stopped the migration: the notes it had not reached are not in Apple Notes. Run it again to carry on; the notes already made are skipped.</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>Failed (%n)</source>
        <translation>
            <numerusform>Failed (%n)</numerusform>
            <numerusform>Failed (%n)</numerusform>
        </translation>
    </message>
    <message>
        <source>%1 — expected in “%2”</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>Placed in root — their folder couldn’t be created (%n)</source>
        <translation>
            <numerusform>Placed in root — their folder couldn’t be created (%n)</numerusform>
            <numerusform>Placed in root — their folder couldn’t be created (%n)</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>Images not found on disk (%n)</source>
        <translation>
            <numerusform>Images not found on disk (%n)</numerusform>
            <numerusform>Images not found on disk (%n)</numerusform>
        </translation>
    </message>
    <message>
        <source>Deep folders flattened to “A ▸ B” (Notes nests one level)</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>%n notes already existed in the destination folder and were skipped (no duplicates created). Safe to re-run.</source>
        <translation>
            <numerusform>%n note already existed in the destination folder and was skipped (no duplicates created). Safe to re-run.</numerusform>
            <numerusform>%n notes already existed in the destination folder and were skipped (no duplicates created). Safe to re-run.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n wikilinks became underlined text references — Apple Notes has no API for creating note-to-note links.</source>
        <translation>
            <numerusform>%n wikilink became an underlined text reference — Apple Notes has no API for creating note-to-note links.</numerusform>
            <numerusform>%n wikilinks became underlined text references — Apple Notes has no API for creating note-to-note links.</numerusform>
        </translation>
    </message>
    <message>
        <source>Export stopped</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Export finished with issues</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Export complete</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>%n notes written</source>
        <translation>
            <numerusform>%n note written</numerusform>
            <numerusform>%n notes written</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n folders</source>
        <translation>
            <numerusform>%n folder</numerusform>
            <numerusform>%n folders</numerusform>
        </translation>
    </message>
    <message>
        <source>You stopped the export: the notes it had not reached were not written.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>will be created in Apple Notes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>recreated inside “Imported by Velloran”</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>%n images</source>
        <translation>
            <numerusform>%n image</numerusform>
            <numerusform>%n images</numerusform>
        </translation>
    </message>
    <message>
        <source>attached to their notes</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>attached · %n missing on disk (listed in the report)</source>
        <translation>
            <numerusform>attached · %n missing on disk (listed in the report)</numerusform>
            <numerusform>attached · %n missing on disk (listed in the report)</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n wikilinks</source>
        <translation>
            <numerusform>%n wikilink</numerusform>
            <numerusform>%n wikilinks</numerusform>
        </translation>
    </message>
    <message>
        <source>become styled text references (Notes has no API for note-to-note links)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tables</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>preserved as real Notes tables</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>1 title</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>%n titles</source>
        <translation>
            <numerusform>%n title</numerusform>
            <numerusform>%n titles</numerusform>
        </translation>
    </message>
    <message>
        <source>get a number, as another note of that name goes to the same Notes folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>1 file</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>%n files</source>
        <translation>
            <numerusform>%n file</numerusform>
            <numerusform>%n files</numerusform>
        </translation>
    </message>
    <message>
        <source>1 folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>couldn&apos;t be read (listed in the report)</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>Total (%n notes, %1 not exported): </source>
        <translation>
            <numerusform>Total (%n note, %1 not exported): </numerusform>
            <numerusform>Total (%n notes, %1 not exported): </numerusform>
        </translation>
    </message>
    <message>
        <source>round-trip runs only against the Notes stand-in: set VELLORAN_OSASCRIPT to fake-osascript</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>cannot make a working folder: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Check that Velloran can reach Apple Notes: whether osascript is there, whether Automation for Notes is granted (and if not, where to grant it and how to be asked again), and how many folders and notes Notes shows. Reads nothing but those numbers. Exit status: 0 all is well, 1 otherwise.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Export with Notes’ heading styles turned into Markdown headings, as export --headings does</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>How images held in a note are written: inline (the default), or files, each saved once into an &quot;attachments&quot; subfolder beside the note and linked by its relative path</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keep dates: write each note&apos;s creation and modification dates as frontmatter, and give its file the note&apos;s modification time</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Turn links to other notes into wiki links, [[Title]], to their exported files (also on with --images files or --dates); links to notes outside the export are kept and listed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Turn Notes’ Title, Heading and Subheading styles into Markdown headings (#, ##, ###)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Update a previous export into DEST: rewrite the files of notes that changed, unless you edited them (the new version is then written beside), and list notes gone from Notes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Create nothing: list, note by note, the Notes folder, the final title, the images attached and not attached, the wikilinks, the tables, and whether the note is already in Apple Notes (checked when Apple Notes can be read). With --json, as JSON</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the image data could not be decoded</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the image holds no data</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>couldn&apos;t save the image: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the record of the previous export is damaged</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This version of Notes does not give the notes’ ids, so a previous export cannot be updated. Export without “Update a previous export”.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Velloran can reach Apple Notes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>osascript is missing</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Velloran may not control Apple Notes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Apple Notes did not answer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 — found</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 — not found</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 — could not be started: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>osascript</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>granted</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>refused (-1743)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>not checked: asking Notes needs osascript</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>not known: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>osascript said: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Automation for Notes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>unexpected answer: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Velloran is not allowed to control Notes (-1743)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>macOS would have to ask you first, and could not ask now (-1744)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Apple Notes is not running and could not be started (-600)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the connection to Apple Notes was lost (-609)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Apple Notes did not answer in time (-1712)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>this Apple Notes does not understand the check (%1)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Apple Notes reported an error</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No folders or notes could be read.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Velloran asks Apple Notes through osascript, which macOS keeps at /usr/bin/osascript. VELLORAN_OSASCRIPT, when set, names the program to use instead.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>To grant it</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open System Settings → Privacy &amp; Security → Automation → Velloran → Notes and switch Notes on.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>If Velloran is not listed there, have macOS ask again: tccutil reset AppleEvents %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Then check again.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>couldn&apos;t read the record of the last export: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>couldn&apos;t record the export: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>Updated (%n)</source>
        <translation>
            <numerusform>Updated (%n)</numerusform>
            <numerusform>Updated (%n)</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n notes had not changed since the last export and were left alone.</source>
        <translation>
            <numerusform>%n note had not changed since the last export and was left alone.</numerusform>
            <numerusform>%n notes had not changed since the last export and were left alone.</numerusform>
        </translation>
    </message>
    <message>
        <source>%1 — kept your edits; the new version is %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>Kept your edits (%n)</source>
        <translation>
            <numerusform>Kept your edits (%n)</numerusform>
            <numerusform>Kept your edits (%n)</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>No longer in Apple Notes — files left alone (%n)</source>
        <translation>
            <numerusform>No longer in Apple Notes — files left alone (%n)</numerusform>
            <numerusform>No longer in Apple Notes — files left alone (%n)</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n images saved as files.</source>
        <translation>
            <numerusform>%n image saved as a file.</numerusform>
            <numerusform>%n images saved as files.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>Images kept inline (%n)</source>
        <translation>
            <numerusform>Image kept inline (%n)</numerusform>
            <numerusform>Images kept inline (%n)</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>Links to notes outside the export (%n)</source>
        <translation>
            <numerusform>Link to a note outside the export (%n)</numerusform>
            <numerusform>Links to notes outside the export (%n)</numerusform>
        </translation>
    </message>
    <message>
        <source>This version of Notes does not give the notes’ dates: the files were written without them.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Already in Apple Notes — will be skipped</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Will be created</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Not checked whether it is already in Apple Notes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 → renamed from “%2”</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Folder: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Will fail: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Image attached: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Image not attached: %1 — %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wikilink becomes underlined text: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tables preserved as real Notes tables</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Dry run: nothing was created</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>%n notes to create</source>
        <translation>
            <numerusform>%n note to create</numerusform>
            <numerusform>%n notes to create</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n already in Apple Notes (skipped)</source>
        <translation>
            <numerusform>%n already in Apple Notes (skipped)</numerusform>
            <numerusform>%n already in Apple Notes (skipped)</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n notes to migrate</source>
        <translation>
            <numerusform>%n note to migrate</numerusform>
            <numerusform>%n notes to migrate</numerusform>
        </translation>
    </message>
    <message>
        <source>Apple Notes couldn&apos;t be read, so it is unknown which notes are already there (they would be skipped): %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message numerus="yes">
        <source>Couldn&apos;t be read — will be listed as failed (%n)</source>
        <translation>
            <numerusform>Couldn&apos;t be read — will be listed as failed (%n)</numerusform>
            <numerusform>Couldn&apos;t be read — will be listed as failed (%n)</numerusform>
        </translation>
    </message>
    <message>
        <source>web images are not downloaded</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>not found on disk</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>couldn&apos;t save the image: “%1” is a symbolic link</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>WizardView</name>
    <message>
        <source>Analyze</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Back to start</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>VELLORAN</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Preparing…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Creating notes in Apple Notes — don&apos;t quit Notes while this runs.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Move your Markdown files
into Apple Notes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Folders, images, tables and attachments — intact.
Your original files are never touched.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Drop it!</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Drop a folder of .md files (Obsidian, etc.)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>from Finder — not notes from the Notes app</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Analyzing…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Choose Folder…</source>
        <translation type="unfinished"></translation>
    </message>
</context>
</TS>
