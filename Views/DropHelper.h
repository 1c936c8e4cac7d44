#pragma once

#include <QJSValue>
#include <QList>
#include <QObject>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <optional>

/// Turns what was dropped on a drop zone into one folder.
namespace DropHelper {

/// The folder that a dropped item stands for: a folder is itself; a file stands for the folder that holds
/// it (a dropped .md file selects its whole folder); anything that is not a local file, or a path that does
/// not exist, stands for nothing. Asks the file system, so it may block: call it off the interface thread.
std::optional<QUrl> folderFor(const QUrl &item);

/// Resolves the first of `items` (the others are ignored) with folderFor in a background task, then calls
/// `completion` exactly once, on the thread of `context` (the main thread, where the screens live), with the
/// folder or with nothing. An empty list also answers through the event loop, never from inside the call.
/// Nothing is called if `context` is destroyed first.
void resolveFolder(const QList<QUrl> &items, QObject *context, std::function<void(std::optional<QUrl>)> completion);

} // namespace DropHelper

/// DropHelper for the screens: `DropHelper.resolveFolder(drop.urls, folder => ...)` calls back with the
/// folder's url, or with undefined when the drop gave no folder.
class DropHelperQml : public QObject
{
    Q_OBJECT
    QML_NAMED_ELEMENT(DropHelper)
    QML_SINGLETON

public:
    using QObject::QObject;

    Q_INVOKABLE void resolveFolder(const QList<QUrl> &items, const QJSValue &completion);
};
