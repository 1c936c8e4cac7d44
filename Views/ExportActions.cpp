#include "ExportActions.h"

#include "Exporter.h"

#include <optional>

void ExportActions::loadFolders(QObject *exporter)
{
    if (auto *target = qobject_cast<Exporter *>(exporter))
        (void)target->loadFolders(); // the exporter outlives every screen and runs the task to its end
}

void ExportActions::exportNotes(QObject *exporter, const QStringList &folders, const QUrl &destination)
{
    if (auto *target = qobject_cast<Exporter *>(exporter))
        (void)target->exportNotes(folders, destination);
}

void ExportActions::setFavourite(QObject *exporter, const QVariant &folder)
{
    auto *target = qobject_cast<Exporter *>(exporter);
    if (!target)
        return;
    const QUrl url = folder.toUrl();
    target->setFavourite(folder.isValid() && !url.isEmpty() ? std::optional<QUrl>(url) : std::nullopt);
}
