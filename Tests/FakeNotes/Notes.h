#pragma once

#include "Programs.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

/// What fake-osascript does with one of Velloran's programs: the part of Apple Notes it stands in for.
namespace FakeNotes {

/// The environment switches that make the stand-in misbehave as Notes can (see README.md).
struct Switches
{
    /// VELLORAN_FAKE_NOTES_DENY: Notes refuses Automation (-1743).
    bool refuseAutomation = false;
    /// VELLORAN_FAKE_NOTES_TIMEOUT: Notes does not answer in time (-1712).
    bool timeOut = false;
    /// VELLORAN_FAKE_NOTES_FAIL_FOLDER: folder names, one per line, that fail when a program addresses
    /// them by name (-10000).
    QStringList failingFolders;
    /// VELLORAN_FAKE_NOTES_FAIL_NOTE: note names, one per line. Creating such a note fails (-10000), and
    /// reading its body fails inside the read program's error handler.
    QStringList failingNotes;
    /// VELLORAN_FAKE_NOTES_DELAY_MS: milliseconds to wait before answering.
    int delayMs = 0;
    /// VELLORAN_FAKE_NOTES_OLD_NOTES: Notes as an older system has it, without the terms the folder
    /// details and read-by-id programs use: they fail to compile (-2741).
    bool oldNotes = false;
    /// VELLORAN_FAKE_NOTES_NO_DATES: a Notes that does not give the notes' ids and dates: the program that
    /// reads them fails to compile (-2741), while the other programs run.
    bool noDates = false;

    static Switches fromEnvironment();
};

/// What osascript would print and return.
struct Outcome
{
    QByteArray standardOutput;
    QByteArray standardError;
    int exitCode = 0;
};

/// Runs `program`, read from the script file `scriptPath`, with the arguments `args`, against the library
/// of the file `libraryPath`, and keeps what the program changed in the library's store (see Store.h).
Outcome perform(FakePrograms::Program program, const QString &scriptPath, const QStringList &args,
    const QString &libraryPath, const Switches &switches);

/// The body that Notes keeps for a note made with the name `name` and the HTML `html`: the name as the
/// first line, "h1" and "h2" headings as bold 24 px and 18 px spans, "h3" as plain bold, and images whose
/// source is a data URI dropped.
QString bodyAsStored(const QString &name, const QString &html);

} // namespace FakeNotes
