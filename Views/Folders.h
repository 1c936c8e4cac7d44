#pragma once

#include <QObject>
#include <QString>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

/// Questions the screens ask about folder locations (urls of local folders).
class Folders : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    using QObject::QObject;

    /// Whether a file or a folder exists at the url's path.
    Q_INVOKABLE static bool exists(const QUrl &location);
    /// The last path component, as the user sees it ("vault" for file:///Users/me/vault/).
    Q_INVOKABLE static QString name(const QUrl &location);
    /// The local path, as the user sees it.
    Q_INVOKABLE static QString path(const QUrl &location);
    /// Whether both urls name the same path (a trailing slash or a "." component makes no difference).
    Q_INVOKABLE static bool same(const QUrl &a, const QUrl &b);
    /// Puts `message` on the folder-choice panel that is open, as the line above its files: macOS's open
    /// panel shows no title, so this is how its message is seen there. Elsewhere the panel's title
    /// carries the message and this does nothing. Returns whether a panel took the message.
    Q_INVOKABLE static bool showPanelMessage(const QString &message);
};
