#include "AppIdentity.h"

#include <QGuiApplication>
#include <QString>

using namespace Qt::StringLiterals;

namespace AppIdentity {

void apply()
{
    QGuiApplication::setOrganizationName(u"Velloran"_s);
    // Derived from the bundle identifier at configure time (App/CMakeLists.txt).
    QGuiApplication::setOrganizationDomain(QStringLiteral(VELLORAN_ORGANIZATION_DOMAIN));
    QGuiApplication::setApplicationName(QStringLiteral(VELLORAN_APPLICATION_NAME));
}

QIcon icon()
{
    QIcon icon;
    for (const int size : { 16, 32, 64, 128, 256, 512, 1024 })
        icon.addFile(u":/icons/velloran-%1.png"_s.arg(size), QSize(size, size));
    return icon;
}

} // namespace AppIdentity
