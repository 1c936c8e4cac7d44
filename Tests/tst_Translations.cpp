// Tests of the translations: the catalogues hold every text of the sources, the German one translates all
// of them, the language follows the system's, and velloran-cli speaks it.

#include "TestUtil.h"
#include "Translations.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QTranslator>
#include <QXmlStreamReader>
#include <QtTest>

using namespace Qt::StringLiterals;

namespace {

const QString catalogueDir = QStringLiteral(VELLORAN_SOURCE_DIR "/translations");
const QStringList catalogues { u"velloran_de.ts"_s, u"velloran_en.ts"_s };

/// One message of a catalogue, as Linguist shows it.
struct Message
{
    QString context;
    QString source;
    bool numerus = false;
    QString type; // "unfinished", "vanished", "obsolete" or empty
    QStringList translations; // one, or one per plural form

    QString key() const { return context + u" | "_s + source; }
};

QList<Message> readCatalogue(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("cannot read %s", qPrintable(path));
    QList<Message> messages;
    QString context;
    QXmlStreamReader xml(&file);
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (xml.name() == u"name") {
            context = xml.readElementText();
        } else if (xml.name() == u"message") {
            messages.append({ context, {}, xml.attributes().value(u"numerus"_s) == u"yes", {}, {} });
        } else if (xml.name() == u"source" && !messages.isEmpty()) {
            messages.last().source = xml.readElementText();
        } else if (xml.name() == u"translation" && !messages.isEmpty()) {
            Message &message = messages.last();
            message.type = xml.attributes().value(u"type"_s).toString();
            if (!message.numerus)
                message.translations.append(xml.readElementText());
        } else if (xml.name() == u"numerusform" && !messages.isEmpty()) {
            messages.last().translations.append(xml.readElementText());
        }
    }
    if (xml.hasError())
        qFatal("%s: %s", qPrintable(path), qPrintable(xml.errorString()));
    return messages;
}

/// The keys of the messages that are in use (not left behind by a removed text).
QSet<QString> liveKeys(const QList<Message> &messages)
{
    QSet<QString> keys;
    for (const Message &message : messages) {
        if (message.type != u"vanished" && message.type != u"obsolete")
            keys.insert(message.key());
    }
    return keys;
}

/// The placeholders of a text (%1 to %99 and %n), sorted: a translation must keep every one of them.
QStringList placeholders(const QString &text)
{
    static const QRegularExpression placeholder(u"%(?:\\d{1,2}|n)"_s);
    QStringList found;
    for (const QRegularExpressionMatch &match : placeholder.globalMatch(text))
        found.append(match.captured());
    found.sort();
    return found;
}

TestUtil::CliResult runCliIn(const QString &lang, const QStringList &arguments)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"LANG"_s, lang);
    environment.remove(u"LC_ALL"_s);
    environment.remove(u"LC_MESSAGES"_s);
    environment.remove(u"LANGUAGE"_s);
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(VELLORAN_CLI), arguments);
    process.waitForFinished(60000);
    return { process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1, process.readAllStandardOutput(),
        process.readAllStandardError() };
}

} // namespace

class tst_Translations : public QObject
{
    Q_OBJECT

private slots:
    // lupdate, run as the update_translations target runs it, finds nothing that the committed catalogues
    // lack, and nothing in them is left over from a text that is gone.
    void cataloguesHoldEveryText()
    {
        QTemporaryDir scratch;
        QVERIFY(scratch.isValid());
        QStringList arguments { u"@"_s + QStringLiteral(VELLORAN_TRANSLATED_SOURCES) };
        arguments += QStringLiteral(VELLORAN_LUPDATE_OPTIONS).split(u' ', Qt::SkipEmptyParts);
        arguments += u"-ts"_s;
        for (const QString &name : catalogues) {
            QVERIFY(QFile::copy(catalogueDir + u'/' + name, scratch.filePath(name)));
            arguments += scratch.filePath(name);
        }
        QProcess lupdate;
        lupdate.start(QStringLiteral(VELLORAN_LUPDATE), arguments);
        QVERIFY(lupdate.waitForFinished(120000));
        QVERIFY2(lupdate.exitStatus() == QProcess::NormalExit && lupdate.exitCode() == 0,
            lupdate.readAllStandardError().constData());

        for (const QString &name : catalogues) {
            const QSet<QString> committed = liveKeys(readCatalogue(catalogueDir + u'/' + name));
            const QSet<QString> updated = liveKeys(readCatalogue(scratch.filePath(name)));
            QStringList missing = (updated - committed).values();
            QStringList stale = (committed - updated).values();
            missing.sort();
            stale.sort();
            QVERIFY2(missing.isEmpty(),
                qPrintable(name + u": texts missing (build update_translations and translate them):\n"_s
                    + missing.join(u'\n')));
            QVERIFY2(stale.isEmpty(),
                qPrintable(
                    name + u": texts no longer in the sources (build update_translations):\n"_s + stale.join(u'\n')));
        }
    }

    // Every German text is translated, plural forms included, and keeps the placeholders of its English.
    void germanIsComplete()
    {
        const QList<Message> messages = readCatalogue(catalogueDir + u"/velloran_de.ts"_s);
        QVERIFY(!messages.isEmpty());
        QStringList unfinished;
        for (const Message &message : messages) {
            const bool empty = message.translations.isEmpty()
                || std::any_of(message.translations.cbegin(), message.translations.cend(),
                    [](const QString &t) { return t.isEmpty(); });
            if (!message.type.isEmpty() || empty) {
                unfinished.append(message.key());
                continue;
            }
            const QStringList expected = placeholders(message.source);
            for (const QString &translation : message.translations) {
                QVERIFY2(placeholders(translation) == expected,
                    qPrintable(message.key() + u" → "_s + translation + u": placeholders differ"_s));
            }
        }
        QVERIFY2(unfinished.isEmpty(), qPrintable(u"unfinished German texts:\n"_s + unfinished.join(u'\n')));
    }

    // In the English catalogue every plural has its singular and plural form; nothing else is translated,
    // as the source texts are the English ones.
    void englishPluralsAreComplete()
    {
        const QList<Message> messages = readCatalogue(catalogueDir + u"/velloran_en.ts"_s);
        for (const Message &message : messages) {
            if (message.numerus) {
                QVERIFY2(message.type.isEmpty() && message.translations.size() == 2
                        && !message.translations.contains(QString()),
                    qPrintable(message.key()));
            } else {
                QVERIFY2(message.translations.value(0).isEmpty(), qPrintable(message.key()));
            }
        }
    }

    void installFollowsTheLocale_data()
    {
        QTest::addColumn<QLocale>("locale");
        QTest::addColumn<QString>("language");
        QTest::addRow("German, Germany") << QLocale(QLocale::German, QLocale::Germany) << u"de"_s;
        QTest::addRow("German, Austria") << QLocale(QLocale::German, QLocale::Austria) << u"de"_s;
        QTest::addRow("English, United States") << QLocale(QLocale::English, QLocale::UnitedStates) << u"en"_s;
        QTest::addRow("French: not translated, English") << QLocale(QLocale::French, QLocale::France) << u"en"_s;
        QTest::addRow("C: English") << QLocale::c() << u"en"_s;
    }

    void installFollowsTheLocale()
    {
        QFETCH(QLocale, locale);
        QFETCH(QString, language);
        QCOMPARE(Translations::install(locale), language);
    }

    // The English catalogue gives the singular; German has its own two forms.
    void pluralForms_data()
    {
        QTest::addColumn<QString>("catalogue");
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("text");
        QTest::addRow("English, one") << u"velloran_en"_s << 1 << u"Total (1 note, %1 not exported): "_s;
        QTest::addRow("English, two") << u"velloran_en"_s << 2 << u"Total (2 notes, %1 not exported): "_s;
        QTest::addRow("English, none") << u"velloran_en"_s << 0 << u"Total (0 notes, %1 not exported): "_s;
        QTest::addRow("German, one") << u"velloran_de"_s << 1 << u"Gesamt (1 Notiz, %1 nicht exportiert): "_s;
        QTest::addRow("German, two") << u"velloran_de"_s << 2 << u"Gesamt (2 Notizen, %1 nicht exportiert): "_s;
    }

    void pluralForms()
    {
        QFETCH(QString, catalogue);
        QFETCH(int, count);
        QFETCH(QString, text);
        QTranslator translator;
        QVERIFY(translator.load(catalogue, u":/i18n"_s));
        QVERIFY(QCoreApplication::installTranslator(&translator));
        const QString translated
            = QCoreApplication::translate("Velloran", "Total (%n notes, %1 not exported): ", nullptr, count);
        QCoreApplication::removeTranslator(&translator);
        QCOMPARE(translated, text);
    }

    // velloran-cli speaks the language of LANG where it is translated, English elsewhere.
    void cliSpeaksTheSystemLanguage_data()
    {
        QTest::addColumn<QString>("lang");
        QTest::addColumn<QString>("message");
        QTest::addRow("German") << u"de_DE.UTF-8"_s << u"Ordner nicht gefunden"_s;
        QTest::addRow("Swiss German") << u"de_CH.UTF-8"_s << u"Ordner nicht gefunden"_s;
        QTest::addRow("English") << u"en_US.UTF-8"_s << u"no such folder"_s;
        QTest::addRow("C") << u"C"_s << u"no such folder"_s;
        QTest::addRow("Italian, not translated") << u"it_IT.UTF-8"_s << u"no such folder"_s;
    }

    void cliSpeaksTheSystemLanguage()
    {
        QFETCH(QString, lang);
        QFETCH(QString, message);
        const QString missing = QDir::tempPath() + u"/velloran-no-such-vault"_s;
        QVERIFY(!QFileInfo::exists(missing));
        const TestUtil::CliResult run = runCliIn(lang, { u"analyze"_s, missing });
        QCOMPARE(run.exitCode, 1);
        QCOMPARE(QString::fromUtf8(run.err), u"velloran-cli: %1: %2\n"_s.arg(missing, message));
        QCOMPARE(run.out, QByteArray());
    }

    // A usage error in German, with the hint that follows it.
    void cliUsageErrorInGerman()
    {
        const TestUtil::CliResult run = runCliIn(u"de_DE.UTF-8"_s, { u"--frobnicate"_s });
        QCOMPARE(run.exitCode, 2);
        QCOMPARE(QString::fromUtf8(run.err),
            u"velloran-cli: unbekannte Option: --frobnicate\nMit --help aufrufen, um mehr zu erfahren.\n"_s);
    }

    // The help in German: CLI11's own headings too.
    void cliHelpInGerman()
    {
        const TestUtil::CliResult run = runCliIn(u"de_DE.UTF-8"_s, { u"migrate"_s, u"--help"_s });
        QCOMPARE(run.exitCode, 0);
        const QString help = QString::fromUtf8(run.out);
        QVERIFY2(help.contains(u"Aufruf: velloran-cli migrate [OPTIONEN] PATH\n"_s), qPrintable(help));
        QVERIFY2(
            help.contains(u"\nOptionen:\n  -h,--help                   Zeigt diese Hilfe und beendet das Programm\n"_s),
            qPrintable(help));
        QVERIFY2(
            help.contains(u"  PATH TEXT ERFORDERLICH      Der zu übertragende Ordner (Vault)\n"_s), qPrintable(help));
    }
};

QTEST_GUILESS_MAIN(tst_Translations)

#include "tst_Translations.moc"
