// Tests of velloran-cli's analyze and render commands: output, JSON shape and exit statuses.

#include "TestUtil.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using TestUtil::runCli;

namespace {
const QString exampleVault = QStringLiteral(VELLORAN_SOURCE_DIR "/examples/vault");
}

class tst_MigrationCli : public QObject
{
    Q_OBJECT

private slots:
    void analyzePlain()
    {
        const TestUtil::CliResult r = runCli({ u"analyze"_s, exampleVault });
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(QString::fromUtf8(r.out),
            u"vault\n"
            "Here's what Velloran found:\n"
            "12 notes     will be created in Apple Notes\n"
            "4 folders    recreated inside “Imported by Velloran”\n"
            "4 images     attached · 3 missing on disk (listed in the report)\n"
            "7 wikilinks  become styled text references (Notes has no API for note-to-note links)\n"
            "Tables       preserved as real Notes tables\n"_s);
        QVERIFY(r.err.isEmpty());
    }

    void analyzePlainWithoutTablesOrMissingImages()
    {
        QTemporaryDir dir;
        TestUtil::writeFile(dir.path(), u"only.md"_s, "![[a.png]]");
        TestUtil::writeFile(dir.path(), u"a.png"_s, "png");
        const TestUtil::CliResult r = runCli({ u"analyze"_s, dir.path() });
        QCOMPARE(r.exitCode, 0);
        const QStringList lines = QString::fromUtf8(r.out).split(u'\n');
        QCOMPARE(lines.size(), 7); // name, heading, four rows, and the empty piece after the last newline
        QCOMPARE(lines[4], u"1 image      attached to their notes"_s);
        QCOMPARE(lines[5], u"0 wikilinks  become styled text references (Notes has no API for note-to-note links)"_s);
    }

    void analyzeJson()
    {
        const TestUtil::CliResult r = runCli({ u"analyze"_s, u"--json"_s, exampleVault });
        QCOMPARE(r.exitCode, 0);
        QJsonParseError error;
        const QJsonObject root = QJsonDocument::fromJson(r.out, &error).object();
        QCOMPARE(error.error, QJsonParseError::NoError);
        QCOMPARE(root.keys(),
            (QStringList { u"attachmentsMissing"_s, u"attachmentsResolved"_s, u"folders"_s, u"notes"_s,
                u"titlesRenamed"_s, u"unreadable"_s }));
        QCOMPARE(root[u"titlesRenamed"_s].toInteger(), 0);
        QCOMPARE(root[u"unreadable"_s].toArray(), QJsonArray());
        QCOMPARE(root[u"attachmentsResolved"_s].toInteger(), 4);
        QCOMPARE(root[u"attachmentsMissing"_s].toInteger(), 3);
        QCOMPARE(root[u"folders"_s].toArray(),
            QJsonArray({ u"Journal"_s, u"Projects"_s, u"Projects/2024/Q1"_s, u"Reference"_s }));
        const QJsonArray notes = root[u"notes"_s].toArray();
        QCOMPARE(notes.size(), 12);
        QStringList titles;
        for (const QJsonValue &note : notes)
            titles.append(note[u"title"_s].toString());
        QCOMPARE(titles,
            (QStringList { u"2024-01-15"_s, u"2024-01-16"_s, u"Ideas"_s, u"Inbox"_s, u"Launch plan"_s,
                u"Markdown cheatsheet"_s, u"Projects Overview"_s, u"Reading list"_s, u"Recipes"_s, u"Retro"_s,
                u"Roadmap"_s, u"Welcome"_s }));
        const QJsonObject launch = notes[4].toObject();
        QCOMPARE(launch[u"path"_s].toString(), u"Projects/2024/Q1/Launch plan.md"_s);
        QCOMPARE(launch[u"relativeFolder"_s].toArray(), QJsonArray({ u"Projects"_s, u"2024"_s, u"Q1"_s }));
        QCOMPARE(launch[u"imageRefs"_s].toArray(), QJsonArray({ u"missing-chart.png"_s }));
        QCOMPARE(launch[u"wikilinks"_s].toArray(), QJsonArray());
        QCOMPARE(launch[u"hasTables"_s].toBool(), true);
        QCOMPARE(launch[u"hasTasks"_s].toBool(), false);
        QCOMPARE(launch[u"frontmatterStripped"_s].toBool(), false);
        const QJsonObject welcome = notes[11].toObject();
        QCOMPARE(welcome[u"path"_s].toString(), u"Welcome.md"_s);
        QCOMPARE(welcome[u"relativeFolder"_s].toArray(), QJsonArray());
        QCOMPARE(welcome[u"wikilinks"_s].toArray(), QJsonArray({ u"Projects Overview"_s, u"Reading list"_s }));
        QCOMPARE(welcome[u"frontmatterStripped"_s].toBool(), true);
    }

    // Files that cannot be read and titles that get a number are counted, not lost.
    void analyzeCountsUnreadableFilesAndNumberedTitles()
    {
        QTemporaryDir dir;
        TestUtil::writeFile(dir.path(), u"x.md"_s, "one");
        TestUtil::writeFile(dir.path(), u"x.markdown"_s, "two");
        TestUtil::writeFile(dir.path(), u"latin1.md"_s, QByteArray("caf\xe9", 4));
        QVERIFY(QFile::link(u"/dev/zero"_s, dir.path() + u"/zero.md"_s));
        const TestUtil::CliResult plain = runCli({ u"analyze"_s, dir.path() });
        QCOMPARE(plain.exitCode, 0);
        const QStringList lines = QString::fromUtf8(plain.out).split(u'\n');
        QCOMPARE(lines.size(), 9);
        QCOMPARE(lines[6], u"1 title      get a number, as another note of that name goes to the same Notes folder"_s);
        QCOMPARE(lines[7], u"2 files      couldn't be read (listed in the report)"_s);

        const TestUtil::CliResult json = runCli({ u"analyze"_s, u"--json"_s, dir.path() });
        QCOMPARE(json.exitCode, 0);
        const QJsonObject root = QJsonDocument::fromJson(json.out).object();
        QCOMPARE(root[u"titlesRenamed"_s].toInteger(), 1);
        QCOMPARE(root[u"unreadable"_s].toArray(),
            QJsonArray({ QJsonObject { { u"path"_s, u"latin1.md"_s }, { u"reason"_s, u"not UTF-8 text"_s } },
                QJsonObject { { u"path"_s, u"zero.md"_s }, { u"reason"_s, u"not a regular file"_s } } }));
        const QJsonArray notes = root[u"notes"_s].toArray();
        QCOMPARE(notes.size(), 2);
        QCOMPARE(notes[1].toObject()[u"title"_s].toString(), u"x (2)"_s);
        QCOMPARE(notes[1].toObject()[u"path"_s].toString(), u"x.md"_s);
        QCOMPARE(notes[1].toObject()[u"titleRenamed"_s].toBool(), true);
    }

    void analyzeBadPaths_data()
    {
        QTest::addColumn<QString>("relative");
        QTest::addColumn<QString>("reason");
        QTest::addRow("missing") << u"nowhere"_s << u"no such folder"_s;
        QTest::addRow("a file") << u"file.md"_s << u"not a folder"_s;
    }
    void analyzeBadPaths()
    {
        QFETCH(QString, relative);
        QFETCH(QString, reason);
        QTemporaryDir dir;
        TestUtil::writeFile(dir.path(), u"file.md"_s, "x");
        const QString path = dir.path() + u'/' + relative;
        const TestUtil::CliResult r = runCli({ u"analyze"_s, path });
        QCOMPARE(r.exitCode, 1);
        QCOMPARE(QString::fromUtf8(r.err), u"velloran-cli: "_s + path + u": "_s + reason + u'\n');
        QVERIFY(r.out.isEmpty());

        const TestUtil::CliResult json = runCli({ u"analyze"_s, u"--json"_s, path });
        QCOMPARE(json.exitCode, 1);
        QCOMPARE(QString::fromUtf8(json.out), u"{\"error\":\""_s + path + u": "_s + reason + u"\"}\n"_s);
        QCOMPARE(json.err, r.err);
    }

    void usageErrors_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("message");
        QTest::addRow("no command") << QStringList() << u"a command is required"_s;
        QTest::addRow("unknown command") << QStringList { u"nosuchcmd"_s } << u"unknown command: nosuchcmd"_s;
        QTest::addRow("unknown command before a path")
            << QStringList { u"frobnicate"_s, exampleVault } << u"unknown command: frobnicate"_s;
        QTest::addRow("unknown option without a command") << QStringList { u"--nope"_s } << u"unknown option: --nope"_s;
        QTest::addRow("analyze without path") << QStringList { u"analyze"_s } << u"PATH is required"_s;
        QTest::addRow("unknown option") << QStringList { u"render"_s, u"--nope"_s } << u"unknown option: --nope"_s;
        QTest::addRow("unknown short option") << QStringList { u"render"_s, u"-x"_s } << u"unknown option: -x"_s;
        QTest::addRow("unknown option before a missing path")
            << QStringList { u"analyze"_s, u"--fast"_s } << u"unknown option: --fast"_s;
        QTest::addRow("one path too many")
            << QStringList { u"analyze"_s, exampleVault, u"extra"_s } << u"unexpected argument: extra"_s;
        QTest::addRow("to-markdown with a flag of render")
            << QStringList { u"to-markdown"_s, u"--strip-frontmatter"_s } << u"unknown option: --strip-frontmatter"_s;
    }
    void usageErrors()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, message);
        const TestUtil::CliResult r = runCli(arguments);
        QCOMPARE(r.exitCode, 2);
        QCOMPARE(
            QString::fromUtf8(r.err), u"velloran-cli: "_s + message + u"\nRun with --help for more information.\n"_s);
        QCOMPARE(r.out, QByteArray());

        // With --json anywhere, the same failure is one JSON object on standard output as well.
        const TestUtil::CliResult json = runCli(arguments + QStringList { u"--json"_s });
        QCOMPARE(json.exitCode, 2);
        QCOMPARE(json.err, r.err);
        QCOMPARE(QString::fromUtf8(json.out), u"{\"error\":\""_s + message + u"\"}\n"_s);
    }

    void helpAndVersion()
    {
        const TestUtil::CliResult version = runCli({ u"--version"_s });
        QCOMPARE(version.exitCode, 0);
        QCOMPARE(version.out, QByteArray("velloran-cli " VELLORAN_VERSION "\n"));
        for (const QString &command : { u"analyze"_s, u"render"_s }) {
            const TestUtil::CliResult help = runCli({ command, u"--help"_s });
            QCOMPARE(help.exitCode, 0);
            QVERIFY2(help.out.contains("--json"), help.out.constData());
        }
        const TestUtil::CliResult help = runCli({ u"--help"_s });
        QCOMPARE(help.exitCode, 0);
        QVERIFY2(help.out.contains("With --json, each failure also prints one JSON object {\"error\": MESSAGE} on "
                                   "standard output"),
            help.out.constData());
        QVERIFY(help.out.contains("analyze"));
        QVERIFY(help.out.contains("render"));
    }

    void renderFromStdin()
    {
        const TestUtil::CliResult r = runCli({ u"render"_s }, "# Title\n- a & b");
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(QString::fromUtf8(r.out),
            u"<div><b><span style=\"font-size:24px\">Title</span></b></div>\n"
            "<ul>\n<li>a &amp; b</li>\n</ul>"_s);
        QCOMPARE(runCli({ u"render"_s, u"-"_s }, "x").out, QByteArray("<div>x</div>"));
    }

    void renderFileWithFrontmatter()
    {
        QTemporaryDir dir;
        TestUtil::writeFile(dir.path(), u"n.md"_s, "---\na: 1\n---\n![[p.png]]");
        const QString file = dir.path() + u"/n.md"_s;
        QCOMPARE(QString::fromUtf8(runCli({ u"render"_s, file }).out),
            u"<div>━━━━━━━━━━</div>\n<div>a: 1</div>\n<div>━━━━━━━━━━</div>\n<div>📎 <i>[image: p.png]</i></div>"_s);
        QCOMPARE(QString::fromUtf8(runCli({ u"render"_s, u"--strip-frontmatter"_s, file }).out),
            u"<div>📎 <i>[image: p.png]</i></div>"_s);
    }

    void renderJson()
    {
        const TestUtil::CliResult r = runCli({ u"render"_s, u"--json"_s }, "![[a.png]] ![b](b.png)");
        QCOMPARE(r.exitCode, 0);
        const QJsonObject root = QJsonDocument::fromJson(r.out).object();
        QCOMPARE(root.keys(), (QStringList { u"html"_s, u"images"_s }));
        QCOMPARE(root[u"html"_s].toString(), u"<div>📎 <i>[image: a.png]</i> 📎 <i>[image: b.png]</i></div>"_s);
        QCOMPARE(root[u"images"_s].toArray(), QJsonArray({ u"a.png"_s, u"b.png"_s }));
    }

    void renderBadInput()
    {
        QTemporaryDir dir;
        const QString missing = dir.path() + u"/missing.md"_s;
        TestUtil::CliResult r = runCli({ u"render"_s, missing });
        QCOMPARE(r.exitCode, 1);
        QCOMPARE(QString::fromUtf8(r.err), u"velloran-cli: "_s + missing + u": no such file\n"_s);
        QVERIFY(r.out.isEmpty());
        r = runCli({ u"render"_s, u"--json"_s, missing });
        QCOMPARE(r.exitCode, 1);
        QCOMPARE(QString::fromUtf8(r.out), u"{\"error\":\""_s + missing + u": no such file\"}\n"_s);

        r = runCli({ u"render"_s, dir.path() });
        QCOMPARE(r.exitCode, 1);
        QCOMPARE(QString::fromUtf8(r.err), u"velloran-cli: "_s + dir.path() + u": is a folder, not a file\n"_s);

        TestUtil::writeFile(dir.path(), u"latin1.md"_s, QByteArray("caf\xe9", 4));
        r = runCli({ u"render"_s, dir.path() + u"/latin1.md"_s });
        QCOMPARE(r.exitCode, 1);
        QCOMPARE(QString::fromUtf8(r.err), u"velloran-cli: "_s + dir.path() + u"/latin1.md: not valid UTF-8\n"_s);
        QVERIFY(r.out.isEmpty());
        r = runCli({ u"render"_s, u"--json"_s, dir.path() + u"/latin1.md"_s });
        QCOMPARE(r.exitCode, 1);
        QCOMPARE(QString::fromUtf8(r.out), u"{\"error\":\""_s + dir.path() + u"/latin1.md: not valid UTF-8\"}\n"_s);
        r = runCli({ u"render"_s, u"--json"_s, dir.path() });
        QCOMPARE(r.exitCode, 1);
        QCOMPARE(QString::fromUtf8(r.out), u"{\"error\":\""_s + dir.path() + u": is a folder, not a file\"}\n"_s);
    }
};

QTEST_GUILESS_MAIN(tst_MigrationCli)
#include "tst_MigrationCli.moc"
