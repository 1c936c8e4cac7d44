#include "DropHelper.h"

#include <QFileInfo>
#include <QFutureWatcher>
#include <QJSEngine>
#include <QMetaObject>
#include <QtConcurrent/QtConcurrentRun>

namespace DropHelper {

std::optional<QUrl> folderFor(const QUrl &item)
{
    if (!item.isValid() || !item.isLocalFile())
        return std::nullopt;
    const QString path = item.toLocalFile();
    if (path.isEmpty())
        return std::nullopt;
    const QFileInfo info(path);
    if (!info.exists())
        return std::nullopt;
    if (info.isDir())
        return item;
    return QUrl::fromLocalFile(info.absolutePath());
}

void resolveFolder(const QList<QUrl> &items, QObject *context, std::function<void(std::optional<QUrl>)> completion)
{
    if (items.isEmpty()) {
        // Through the event loop like every other answer, never from inside the call.
        QMetaObject::invokeMethod(
            context, [completion = std::move(completion)] { completion(std::nullopt); }, Qt::QueuedConnection);
        return;
    }
    // The completion stays on the context's thread: only the url goes to the worker and only the
    // result comes back, so nothing that belongs to the caller (a QJSValue, say) is touched elsewhere.
    auto *watcher = new QFutureWatcher<std::optional<QUrl>>(context);
    QObject::connect(watcher, &QFutureWatcherBase::finished, context, [watcher, completion = std::move(completion)] {
        const std::optional<QUrl> folder = watcher->result();
        watcher->deleteLater();
        completion(folder);
    });
    watcher->setFuture(QtConcurrent::run(&folderFor, items.first()));
}

} // namespace DropHelper

void DropHelperQml::resolveFolder(const QList<QUrl> &items, const QJSValue &completion)
{
    DropHelper::resolveFolder(items, this, [this, completion](const std::optional<QUrl> &folder) {
        if (!completion.isCallable())
            return;
        QJSEngine *engine = qjsEngine(this);
        const QJSValue argument
            = folder && engine ? engine->toScriptValue(*folder) : QJSValue(QJSValue::UndefinedValue);
        QJSValue(completion).call({ argument });
    });
}
