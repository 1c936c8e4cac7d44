#include "Folders.h"

#include <QDir>
#include <QFileInfo>

bool Folders::exists(const QUrl &location)
{
    return location.isLocalFile() && !location.toLocalFile().isEmpty() && QFileInfo::exists(location.toLocalFile());
}

QString Folders::name(const QUrl &location)
{
    return QFileInfo(path(location)).fileName();
}

QString Folders::path(const QUrl &location)
{
    return location.isLocalFile() ? QDir::cleanPath(location.toLocalFile()) : location.toString();
}

bool Folders::same(const QUrl &a, const QUrl &b)
{
    return a.isLocalFile() && b.isLocalFile() && path(a) == path(b);
}

#ifndef Q_OS_MACOS
// The panel's own title shows its message here (FolderPanelMessage.mm does the macOS part).
bool Folders::showPanelMessage(const QString &)
{
    return false;
}
#endif
