#include "Notes.h"

#include "Store.h"

#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <algorithm>

using namespace Qt::StringLiterals;
using FakeLibrary::Note;
using FakeLibrary::Store;
using FakeLibrary::StoredFolder;
using FakePrograms::Program;

namespace FakeNotes {

namespace {

constexpr QChar recordSep(0x1E);
constexpr QChar fieldSep(0x1F);

/// An AppleScript execution error: the message, its number, and the piece of the script that raised it
/// (osascript reports its character range).
struct ScriptError
{
    QString message;
    int number;
    QString source;
};

bool switchIsOn(const char *variable)
{
    const QByteArray value = qgetenv(variable);
    return !value.isEmpty() && value != "0";
}

QStringList namesFrom(const char *variable)
{
    QStringList names = qEnvironmentVariable(variable).split(u'\n');
    names.removeAll(QString());
    return names;
}

/// A text as AppleScript shows it inside an error message: in quotation marks, with quotation marks and
/// backslashes escaped.
QString quoted(const QString &text)
{
    QString escaped = text;
    escaped.replace(u"\\"_s, u"\\\\"_s);
    escaped.replace(u"\""_s, u"\\\""_s);
    return u"\""_s + escaped + u"\""_s;
}

QString stripSeps(QString name)
{
    name.remove(recordSep);
    name.remove(fieldSep);
    return name;
}

QString escapeHtmlText(const QString &text)
{
    QString escaped;
    for (const QChar c : text) {
        if (c == u'&')
            escaped += u"&amp;"_s;
        else if (c == u'<')
            escaped += u"&lt;"_s;
        else if (c == u'>')
            escaped += u"&gt;"_s;
        else
            escaped += c;
    }
    return escaped;
}

/// Whether the tag (from "<" to ">", lower-cased) has a src attribute whose value starts with "data:".
bool hasDataSource(const QString &tag)
{
    for (qsizetype at = tag.indexOf(u"src"_s); at >= 0; at = tag.indexOf(u"src"_s, at + 3)) {
        if (at == 0 || !tag.at(at - 1).isSpace())
            continue;
        qsizetype i = at + 3;
        while (i < tag.size() && tag.at(i).isSpace())
            ++i;
        if (i >= tag.size() || tag.at(i) != u'=')
            continue;
        ++i;
        while (i < tag.size() && tag.at(i).isSpace())
            ++i;
        if (i < tag.size() && (tag.at(i) == u'"' || tag.at(i) == u'\''))
            ++i;
        if (QStringView(tag).sliced(i).startsWith(u"data:"))
            return true;
    }
    return false;
}

/// The tag as Notes keeps it: headings rewritten, data-URI images gone, everything else as it was.
QString storedTag(QStringView tag)
{
    const QString lower = tag.toString().toLower();
    qsizetype i = 1;
    const bool closing = i < lower.size() && lower.at(i) == u'/';
    if (closing)
        ++i;
    qsizetype end = i;
    while (end < lower.size() && lower.at(end).isLetterOrNumber())
        ++end;
    const QString name = lower.sliced(i, end - i);

    if (name == u"img" && hasDataSource(lower))
        return QString();
    if (name == u"h1")
        return closing ? u"</span></b></div>"_s : u"<div><b><span style=\"font-size: 24px\">"_s;
    if (name == u"h2")
        return closing ? u"</span></b></div>"_s : u"<div><b><span style=\"font-size: 18px\">"_s;
    if (name == u"h3")
        return closing ? u"</b></div>"_s : u"<div><b>"_s;
    return tag.toString();
}

/// Runs one program against the library. Throws ScriptError.
class Session
{
public:
    Session(Program program, const QStringList &args, Store &store, const Switches &switches)
        : m_program(program)
        , m_args(args)
        , m_store(store)
        , m_switches(switches)
    { }

    /// The run handler's result, when it has one.
    std::optional<QString> run()
    {
        switch (m_program) {
        case Program::ensureFolder:
            ensureFolder();
            return std::nullopt;
        case Program::ensureSubfolder:
            ensureSubfolder();
            return std::nullopt;
        case Program::createNote:
            return createNote();
        case Program::listFolders:
            return listFolders();
        case Program::readFolder:
            return readFolder();
        case Program::listFolderDetails:
            return listFolderDetails();
        case Program::readFolderById:
            return readFolderById();
        case Program::readFolderWithDates:
            return readFolderWithDates();
        case Program::countFoldersAndNotes:
            return countFoldersAndNotes();
        }
        return std::nullopt;
    }

private:
    Program m_program;
    QStringList m_args;
    Store &m_store;
    const Switches &m_switches;

    QString item(qsizetype number, const QString &source)
    {
        if (number > m_args.size()) {
            QStringList shown;
            for (const QString &arg : m_args)
                shown.append(quoted(arg));
            throw ScriptError { u"Can’t get item %1 of {%2}."_s.arg(number).arg(shown.join(u", "_s)), -1728, source };
        }
        return m_args.at(number - 1);
    }

    /// Every Apple event to Notes passes here first.
    void tellNotes(const QString &source)
    {
        if (m_switches.refuseAutomation)
            throw ScriptError { u"Not authorized to send Apple events to Notes."_s, -1743, source };
        if (m_switches.timeOut)
            throw ScriptError { u"Notes got an error: AppleEvent timed out."_s, -1712, source };
    }

    void failIfSwitched(const QStringList &names, const QString &name, const QString &source)
    {
        if (names.contains(name))
            throw ScriptError { u"Notes got an error: AppleEvent handler failed."_s, -10000, source };
    }

    StoredFolder folderNamed(const QString &name, const QString &source)
    {
        tellNotes(source);
        failIfSwitched(m_switches.failingFolders, name, source);
        std::optional<StoredFolder> folder = m_store.firstFolderNamed(name);
        if (!folder)
            throw ScriptError { u"Notes got an error: Can’t get folder %1."_s.arg(quoted(name)), -1728, source };
        return *folder;
    }

    void ensureFolder()
    {
        const QString source = u"exists folder (item 1 of argv)"_s;
        tellNotes(source);
        const QString name = item(1, source);
        failIfSwitched(m_switches.failingFolders, name, source);
        if (m_store.firstFolderNamed(name))
            return;
        m_store.addFolder(name);
    }

    void ensureSubfolder()
    {
        const QString rootName = item(1, u"item 1 of argv"_s);
        const QString subName = item(2, u"item 2 of argv"_s);
        const StoredFolder root = folderNamed(rootName, u"folder rootName"_s);
        failIfSwitched(m_switches.failingFolders, subName, u"exists folder subName of rootFolder"_s);
        if (m_store.subfolderNamed(root, subName))
            return;
        m_store.addSubfolder(root, subName);
    }

    QString createNote()
    {
        const QString rootName = item(1, u"item 1 of argv"_s);
        const QString subName = item(2, u"item 2 of argv"_s);
        const QString noteName = item(3, u"item 3 of argv"_s);
        const QString htmlPath = item(4, u"item 4 of argv"_s);

        const QString readSource = u"read POSIX file htmlPath as «class utf8»"_s;
        QFile bodyFile(htmlPath);
        if (!QFileInfo(htmlPath).isFile() || !bodyFile.open(QIODevice::ReadOnly))
            throw ScriptError { u"File %1 wasn’t found."_s.arg(htmlPath), -43, readSource };
        const QString bodyHtml = QString::fromUtf8(bodyFile.readAll());

        std::optional<StoredFolder> target = folderNamed(rootName, u"folder rootName"_s);
        if (!subName.isEmpty()) {
            const QString source = u"folder subName of (folder rootName)"_s;
            failIfSwitched(m_switches.failingFolders, subName, source);
            target = m_store.subfolderNamed(*target, subName);
            if (!target)
                throw ScriptError { u"Notes got an error: Can’t get folder %1 of folder %2."_s.arg(
                                        quoted(subName), quoted(rootName)),
                    -1728, source };
        }
        if (m_store.hasNoteNamed(*target, noteName))
            return u"skipped"_s;

        failIfSwitched(m_switches.failingNotes, noteName,
            u"make new note at targetFolder with properties {name:noteName, body:bodyHTML}"_s);
        Note note { noteName, bodyAsStored(noteName, bodyHtml), {} };
        // An attachment that fails leaves the note in place with the attachments made so far.
        for (qsizetype i = 4; i < m_args.size(); ++i) {
            const QString path = m_args.at(i);
            if (!QFileInfo(path).isFile()) {
                m_store.addNote(*target, note);
                throw ScriptError { u"Notes got an error: File %1 wasn’t found."_s.arg(path), -43,
                    u"make new attachment with data (POSIX file (item i of argv))"_s };
            }
            note.attachments.append(QFileInfo(path).fileName());
        }
        m_store.addNote(*target, note);
        return u"created"_s;
    }

    QString listFolders()
    {
        tellNotes(u"folders"_s);
        QString out;
        for (const QString &name : m_store.folderNames())
            out += stripSeps(name) + recordSep;
        return out;
    }

    QString listFolderDetails()
    {
        tellNotes(u"folders"_s);
        QString out;
        for (const FakeLibrary::FolderDetails &folder : m_store.folderDetails()) {
            out += stripSeps(folder.id) + fieldSep + stripSeps(folder.name) + fieldSep + stripSeps(folder.account)
                + fieldSep + stripSeps(folder.parent) + recordSep;
        }
        return out;
    }

    /// The folder read by its id, with each note's id and dates between its name and its body.
    QString readFolderWithDates() { return readFolderById(true); }

    /// Every folder of every account at every depth, as the folder lists name them, and every note.
    QString countFoldersAndNotes()
    {
        tellNotes(u"count of folders"_s);
        return u"%1 %2"_s.arg(m_store.folderNames().size()).arg(m_store.noteCount());
    }

    /// The folder read by its id: an error when there is none, bodies without separators.
    QString readFolderById(bool withDates = false)
    {
        const QString id = item(1, u"item 1 of argv"_s);
        const QString source = u"folder id fId"_s;
        tellNotes(source);
        const std::optional<StoredFolder> folder = m_store.folderWithId(id);
        if (!folder)
            throw ScriptError { u"Notes got an error: Can’t get folder id %1."_s.arg(quoted(id)), -1728, source };
        failIfSwitched(m_switches.failingFolders, folder->name, source);
        const QString folderClean = stripSeps(folder->name);
        QString out;
        for (const Note &note : m_store.notes(*folder)) {
            const QString noteName = note.name ? stripSeps(*note.name) : u"(untitled)"_s;
            QString body = stripSeps(note.body);
            if (note.name && m_switches.failingNotes.contains(*note.name))
                body = u"<div>[Velloran: could not read this note's body — "_s
                    + u"Notes got an error: AppleEvent handler failed."_s + u"]</div>"_s;
            const QString dates = withDates ? stripSeps(note.id.value_or(QString())) + fieldSep
                    + note.created.value_or(QString()) + fieldSep + note.modified.value_or(QString()) + fieldSep
                                            : QString();
            out += folderClean + fieldSep + noteName + fieldSep + dates + body + recordSep;
        }
        return out;
    }

    QString readFolder()
    {
        const QString name = item(1, u"item 1 of argv"_s);
        const QString source = u"exists folder fName"_s;
        tellNotes(source);
        failIfSwitched(m_switches.failingFolders, name, source);
        const std::optional<StoredFolder> folder = m_store.firstFolderNamed(name);
        if (!folder)
            return QString();
        const QString folderClean = stripSeps(folder->name);
        QString out;
        for (const Note &note : m_store.notes(*folder)) {
            const QString noteName = note.name ? stripSeps(*note.name) : u"(untitled)"_s;
            QString body = note.body;
            if (note.name && m_switches.failingNotes.contains(*note.name))
                body = u"<div>[Velloran: could not read this note's body — "_s
                    + u"Notes got an error: AppleEvent handler failed."_s + u"]</div>"_s;
            out += folderClean + fieldSep + noteName + fieldSep + body + recordSep;
        }
        return out;
    }
};

/// osascript's form of an execution error: "PATH:START:END: execution error: MESSAGE (NUMBER)".
QByteArray executionError(const QString &scriptPath, const QString &scriptText, const ScriptError &error)
{
    qsizetype start = scriptText.indexOf(error.source);
    if (start < 0)
        start = 0;
    const qsizetype end = start + error.source.size();
    return u"%1:%2:%3: execution error: %4 (%5)\n"_s.arg(scriptPath)
        .arg(start)
        .arg(end)
        .arg(error.message)
        .arg(error.number)
        .toUtf8();
}

/// osascript's form of a compile error: "PATH:START:END: syntax error: MESSAGE (-2741)", the range being
/// that of the first term that an older Notes does not know.
QByteArray notCompiled(const QString &scriptPath, Program program)
{
    const QString text = FakePrograms::text(program);
    const QString term = program == Program::listFolderDetails ? u"container"_s
        : program == Program::readFolderWithDates              ? u"«class isot»"_s
                                                               : u"id fId"_s;
    const qsizetype start = std::max<qsizetype>(0, text.indexOf(term));
    return u"%1:%2:%3: syntax error: Expected end of line, etc. but found identifier. (-2741)\n"_s.arg(scriptPath)
        .arg(start)
        .arg(start + term.size())
        .toUtf8();
}

bool changesLibrary(Program program)
{
    return program == Program::ensureFolder || program == Program::ensureSubfolder || program == Program::createNote;
}

} // namespace

Switches Switches::fromEnvironment()
{
    Switches switches;
    switches.refuseAutomation = switchIsOn("VELLORAN_FAKE_NOTES_DENY");
    switches.timeOut = switchIsOn("VELLORAN_FAKE_NOTES_TIMEOUT");
    switches.failingFolders = namesFrom("VELLORAN_FAKE_NOTES_FAIL_FOLDER");
    switches.failingNotes = namesFrom("VELLORAN_FAKE_NOTES_FAIL_NOTE");
    switches.delayMs = qEnvironmentVariableIntValue("VELLORAN_FAKE_NOTES_DELAY_MS");
    switches.oldNotes = switchIsOn("VELLORAN_FAKE_NOTES_OLD_NOTES");
    switches.noDates = switchIsOn("VELLORAN_FAKE_NOTES_NO_DATES");
    return switches;
}

QString bodyAsStored(const QString &name, const QString &html)
{
    QString stored = u"<div>"_s + escapeHtmlText(name) + u"</div>"_s;
    qsizetype i = 0;
    while (i < html.size()) {
        const qsizetype open = html.indexOf(u'<', i);
        const qsizetype close = open < 0 ? -1 : html.indexOf(u'>', open);
        if (close < 0) {
            stored += QStringView(html).sliced(i);
            break;
        }
        stored += QStringView(html).sliced(i, open - i);
        stored += storedTag(QStringView(html).sliced(open, close - open + 1));
        i = close + 1;
    }
    return stored;
}

Outcome perform(Program program, const QString &scriptPath, const QStringList &args, const QString &libraryPath,
    const Switches &switches)
{
    if ((switches.oldNotes && FakePrograms::isNewer(program))
        || (switches.noDates && program == Program::readFolderWithDates))
        return { {}, notCompiled(scriptPath, program), 1 };
    if (switches.delayMs > 0)
        QThread::msleep(ulong(switches.delayMs));

    try {
        // Waits for any other run, so that two runs at once do not lose each other's changes.
        Store store(libraryPath, changesLibrary(program) ? Store::Use::changing : Store::Use::reading);
        Session session(program, args, store, switches);
        Outcome outcome;
        try {
            if (const std::optional<QString> result = session.run())
                outcome.standardOutput = (*result + u'\n').toUtf8();
        } catch (const ScriptError &error) {
            // What the program did before the error stays done, as in Notes.
            outcome = { {}, executionError(scriptPath, FakePrograms::text(program), error), 1 };
        }
        store.commit();
        return outcome;
    } catch (const FakeLibrary::StoreError &error) {
        return { {}, u"fake-osascript: %1\n"_s.arg(error.message).toUtf8(), 1 };
    }
}

} // namespace FakeNotes
