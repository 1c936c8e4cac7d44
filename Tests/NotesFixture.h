#pragma once

// Per-test surroundings for the Notes bridge tests: a temporary folder holding the stand-in's library, its
// run log and a private temporary directory, and the environment that points the real script runners at
// them. Throwaway shell scripts can take the stand-in's place where a test needs exact output and status.

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QList>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>

#include <cstdlib>

class NotesFixture
{
public:
    NotesFixture()
        : m_oldTmpDir(qgetenv("TMPDIR"))
    {
        using namespace Qt::StringLiterals;
        if (!m_dir.isValid() || !QDir(m_dir.path()).mkpath(u"tmp"_s))
            qFatal("NotesFixture: cannot make a temporary folder");
        // Every script file a runner writes lands here, where a test can look for leftovers.
        qputenv("TMPDIR", tempDir().toUtf8());
        qputenv("VELLORAN_OSASCRIPT", VELLORAN_FAKE_OSASCRIPT);
        qputenv("VELLORAN_FAKE_NOTES", libraryPath().toUtf8());
        qputenv("VELLORAN_FAKE_NOTES_LOG", path(u"runs.jsonl"_s).toUtf8());
        for (const char *name : switches)
            qunsetenv(name);
    }

    ~NotesFixture()
    {
        if (m_oldTmpDir.isNull())
            qunsetenv("TMPDIR");
        else
            qputenv("TMPDIR", m_oldTmpDir);
        for (const char *name : { "VELLORAN_OSASCRIPT", "VELLORAN_FAKE_NOTES", "VELLORAN_FAKE_NOTES_LOG" })
            qunsetenv(name);
        for (const char *name : switches)
            qunsetenv(name);
    }

    NotesFixture(const NotesFixture &) = delete;
    NotesFixture &operator=(const NotesFixture &) = delete;

    static constexpr const char *switches[] = { "VELLORAN_FAKE_NOTES_DENY", "VELLORAN_FAKE_NOTES_TIMEOUT",
        "VELLORAN_FAKE_NOTES_FAIL_FOLDER", "VELLORAN_FAKE_NOTES_FAIL_NOTE", "VELLORAN_FAKE_NOTES_DELAY_MS",
        "VELLORAN_FAKE_NOTES_OLD_NOTES", "VELLORAN_FAKE_NOTES_NO_DATES", "VELLORAN_FAKE_NOTES_HANG",
        "VELLORAN_FAKE_NOTES_CRASH", "VELLORAN_FAKE_NOTES_SILENT" };

    QString path(const QString &name) const { return m_dir.filePath(name); }
    /// What QDir::tempPath() gives while the fixture lives.
    QString tempDir() const { return QDir(path(QStringLiteral("tmp"))).canonicalPath(); }
    QString libraryPath() const { return path(QStringLiteral("library.json")); }

    /// Writes `bytes` to the file `name` in the fixture's folder and returns its absolute path.
    QString writeFile(const QString &name, const QByteArray &bytes) const
    {
        QFile file(path(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("NotesFixture: cannot write a file");
        return file.fileName();
    }

    /// Stores `json` as the stand-in's library.
    void seed(const QByteArray &json) const { writeFile(QStringLiteral("library.json"), json); }

    /// The stand-in's library as it is now.
    QJsonObject library() const { return readLibrary(libraryPath()); }

    /// The stand-in's library in the file `path` as it is now. The stand-in keeps what its runs change
    /// beside the file until asked to write it there, which this does first.
    static QJsonObject readLibrary(const QString &path)
    {
        QProcess::execute(
            QStringLiteral(VELLORAN_FAKE_OSASCRIPT), { QStringLiteral("--library"), path, QStringLiteral("--sync") });
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return {};
        return QJsonDocument::fromJson(file.readAll()).object();
    }

    /// The top-level folders of the library.
    QJsonArray folders() const { return library().value(QStringLiteral("folders")).toArray(); }

    /// One object per run of the stand-in, in order: {"program": ..., "argv": [script file, arguments...]}.
    QList<QJsonObject> runs() const
    {
        QList<QJsonObject> runs;
        QFile file(path(QStringLiteral("runs.jsonl")));
        if (!file.open(QIODevice::ReadOnly))
            return runs;
        for (const QByteArray &line : file.readAll().split('\n')) {
            if (!line.isEmpty())
                runs.append(QJsonDocument::fromJson(line).object());
        }
        return runs;
    }

    /// The argv of the last run, script file first.
    QStringList lastArgv() const
    {
        const QList<QJsonObject> all = runs();
        if (all.isEmpty())
            return {};
        QStringList argv;
        for (const QJsonValue value : all.last().value(QStringLiteral("argv")).toArray())
            argv.append(value.toString());
        return argv;
    }

    /// Files and folders in the temporary directory whose names start with "velloran-".
    QStringList leftovers() const
    {
        return QDir(tempDir()).entryList({ QStringLiteral("velloran-*") },
            QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System);
    }

    /// Installs a shell script as the program the runners start, in place of the stand-in. The script gets
    /// the script file's path as $1 and the runner's arguments after it.
    QString installScript(const QByteArray &body) const
    {
        const QString script = writeFile(QStringLiteral("stand-in.sh"), "#!/bin/sh\n" + body + '\n');
        QFile::setPermissions(script, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("VELLORAN_OSASCRIPT", script.toUtf8());
        return script;
    }

private:
    QByteArray m_oldTmpDir;
    QTemporaryDir m_dir;
};

/// Texts that must reach a script byte for byte: quotes, backslashes, line breaks, the record and field
/// separators, non-Latin scripts and AppleScript code.
inline QStringList awkwardArguments()
{
    using namespace Qt::StringLiterals;
    return {
        u"He said \"hi\" and 'bye'"_s,
        u"C:\\path\\to\\file \\\" \\n"_s,
        u"line one\nline two\r\nline three\n"_s,
        u"rec\u001Esep and unit\u001Fsep"_s,
        u"日本語のメモ — Ελληνικά — עברית — 🙂"_s,
        u"\" & (do shell script \"echo pwned\") & \""_s,
        u"end run\non run argv\nreturn item 1 of argv"_s,
        u"-e"_s,
        u"  padded  "_s,
        u"$HOME `id` $(id) * ?"_s,
        QString(),
    };
}

/// The Automation permission text that a refusal (-1743) turns into.
inline QString permissionText()
{
    return QStringLiteral("Permission needed: System Settings → Privacy & Security → Automation → Velloran → Notes");
}

/// Rows of throwaway scripts that fail: the shell text, the error message the runner must carry, and that
/// message's user-facing description.
inline void addRunFailureRows()
{
    using namespace Qt::StringLiterals;
    QTest::addColumn<QByteArray>("shell");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("description");

    QTest::addRow("Automation refused")
        << QByteArray("echo '/t/x.applescript:91:134: execution error: Not authorized to send Apple events to "
                      "Notes. (-1743)' >&2; exit 1")
        << u"/t/x.applescript:91:134: execution error: Not authorized to send Apple events to Notes. (-1743)"_s
        << permissionText();
    QTest::addRow("-1743 anywhere in the text") << QByteArray("printf 'error -1743 happened\\nand more\\n' >&2; exit 1")
                                                << u"error -1743 happened\nand more"_s << permissionText();
    QTest::addRow("1743 without the minus sign") << QByteArray("printf 'number (1743)' >&2; exit 1")
                                                 << u"number (1743)"_s << u"Apple Notes error: number (1743)"_s;
    QTest::addRow("two spaces, a word and a newline")
        << QByteArray("printf '  word\\n' >&2; exit 1") << u"word"_s << u"Apple Notes error: word"_s;
    QTest::addRow("white space and line breaks on both ends")
        << QByteArray("printf '\\n\\t \\r\\nboth ends\\r\\n\\t\\n' >&2; exit 2") << u"both ends"_s
        << u"Apple Notes error: both ends"_s;
    // A failure with nothing to say still says how osascript ended, never an empty reason.
    QTest::addRow("empty standard error")
        << QByteArray("exit 1") << u"osascript failed without a message (exit status 1)"_s
        << u"Apple Notes error: osascript failed without a message (exit status 1)"_s;
    QTest::addRow("crash without a message") << QByteArray("kill -SEGV $$") << u"osascript ended with signal 11"_s
                                             << u"Apple Notes error: osascript ended with signal 11"_s;
    QTest::addRow("standard output is dropped")
        << QByteArray("printf 'created\\n'; printf 'bad\\n' >&2; exit 1") << u"bad"_s << u"Apple Notes error: bad"_s;
    QTest::addRow("exit status 255") << QByteArray("printf 'x' >&2; exit 255") << u"x"_s << u"Apple Notes error: x"_s;
    QTest::addRow("killed by a signal") << QByteArray("printf 'dying\\n' >&2; kill -9 $$") << u"dying"_s
                                        << u"Apple Notes error: dying"_s;
    QTest::addRow("invalid UTF-8 on standard error")
        << QByteArray("printf 'bad \\377 byte' >&2; exit 1") << u"osascript failed without a message (exit status 1)"_s
        << u"Apple Notes error: osascript failed without a message (exit status 1)"_s;
    QTest::addRow("non-Latin standard error")
        << QByteArray("printf ' \\316\\261\\316\\262 \\n' >&2; exit 1") << u"αβ"_s << u"Apple Notes error: αβ"_s;
}
