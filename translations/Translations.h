#pragma once

#include <QLocale>
#include <QString>

/// The catalogues of Velloran's texts, built into the program (see translations/CMakeLists.txt).
namespace Translations {

/// Installs, on the running QCoreApplication, the catalogue of the first of `locale`'s languages that
/// Velloran is translated into (the system's preferred languages by default), and Qt's own catalogue of
/// that language where Qt's translations are installed. English is the fallback: its catalogue gives the
/// English plural forms ("1 note"). Call once, after the application object exists and before any text is
/// made. Returns the language of the catalogue installed ("de", "en").
QString install(const QLocale &locale = QLocale());

} // namespace Translations
