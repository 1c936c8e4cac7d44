#include "Translations.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QLibraryInfo>
#include <QTranslator>

using namespace Qt::StringLiterals;

namespace Translations {

QString install(const QLocale &locale)
{
    QCoreApplication *application = QCoreApplication::instance();
    Q_ASSERT(application);

    // Tries each of the locale's languages in order of preference ("de_AT", then "de"), then English.
    auto *own = new QTranslator(application);
    if (!own->load(locale, u"velloran"_s, u"_"_s, u":/i18n"_s) && !own->load(u"velloran_en"_s, u":/i18n"_s)) {
        delete own;
        return QString();
    }
    QCoreApplication::installTranslator(own);
    const QString language = QFileInfo(own->filePath()).completeBaseName().section(u'_', 1);

    // Qt's texts that reach the user (a file's "Permission denied", the folder panel's buttons) follow the
    // same language, where the system has Qt's catalogues. English needs none.
    if (language != u"en"_s) {
        auto *qt = new QTranslator(application);
        if (qt->load(u"qt_"_s + language, QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
            QCoreApplication::installTranslator(qt);
        else
            delete qt;
    }
    return language;
}

} // namespace Translations
