// Tests of `velloran-cli to-markdown`: the built tool, run as a separate process.

#include "HtmlToMarkdown.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

struct Run
{
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

Run runCli(const QStringList &arguments, const QByteArray &input = {}, bool closeInput = true)
{
    QProcess process;
    process.start(QStringLiteral(VELLORAN_CLI), arguments);
    Run run;
    if (!process.waitForStarted())
        return run;
    process.write(input);
    if (closeInput)
        process.closeWriteChannel();
    if (!process.waitForFinished(60000))
        process.kill();
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = process.readAllStandardOutput();
    run.err = process.readAllStandardError();
    return run;
}

const QString fixtureDir = QStringLiteral(VELLORAN_SOURCE_DIR "/Tests/data/notes-html");

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class tst_ExportCli : public QObject
{
    Q_OBJECT

private slots:
    void fromFile()
    {
        const Run run = runCli({ u"to-markdown"_s, fixtureDir + u"/links-and-styles.html"_s });
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.err, QByteArray());
        // Byte for byte, with no line feed added.
        QCOMPARE(run.out, readFile(fixtureDir + u"/links-and-styles.md"_s));
    }

    void everyFixture_data()
    {
        QTest::addColumn<QString>("name");
        const QStringList names = QDir(fixtureDir).entryList({ u"*.html"_s }, QDir::Files, QDir::Name);
        QVERIFY(!names.isEmpty());
        for (const QString &name : names)
            QTest::addRow("%s", qPrintable(name)) << name.chopped(5);
    }

    void everyFixture()
    {
        QFETCH(QString, name);
        const Run run = runCli({ u"to-markdown"_s }, readFile(fixtureDir + u'/' + name + u".html"_s));
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.out, readFile(fixtureDir + u'/' + name + u".md"_s));
    }

    void fromStandardInput_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addRow("no file") << QStringList { u"to-markdown"_s };
        QTest::addRow("dash") << QStringList { u"to-markdown"_s, u"-"_s };
    }

    void fromStandardInput()
    {
        QFETCH(QStringList, arguments);
        const QByteArray html = "<h1>Caf\xc3\xa9</h1><div>a_b</div>\r\n<div>\xe2\x80\x99</div>";
        const Run run = runCli(arguments, html);
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.out, QByteArray("# Caf\xc3\xa9\n\na\\_b\n\xe2\x80\x99"));
        QCOMPARE(run.out, HtmlToMarkdown::convert(QString::fromUtf8(html)).toUtf8());
    }

    void emptyInputPrintsNothing()
    {
        const Run run = runCli({ u"to-markdown"_s }, QByteArray());
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.out, QByteArray());
    }

    void invalidUtf8DoesNotFail()
    {
        const Run run = runCli({ u"to-markdown"_s },
            QByteArray("<div>a\xff"
                       "b</div>"));
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.out,
            QByteArray("a\xef\xbf\xbd"
                       "b"));
    }

    void missingFile()
    {
        QTemporaryDir dir;
        const QString path = dir.path() + u"/missing.html"_s;
        const Run run = runCli({ u"to-markdown"_s, path });
        QCOMPARE(run.exitCode, 1);
        QCOMPARE(run.out, QByteArray());
        QCOMPARE(QString::fromUtf8(run.err), u"velloran-cli: "_s + path + u": no such file\n"_s);
    }

    void folderInsteadOfFile()
    {
        QTemporaryDir dir;
        const Run run = runCli({ u"to-markdown"_s, dir.path() });
        QCOMPARE(run.exitCode, 1);
        QCOMPARE(run.err, (u"velloran-cli: "_s + dir.path() + u": is a folder, not a file\n"_s).toUtf8());
    }
};

QTEST_GUILESS_MAIN(tst_ExportCli)
#include "tst_ExportCli.moc"
