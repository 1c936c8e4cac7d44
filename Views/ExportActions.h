#pragma once

#include <QObject>
#include <QStringList>
#include <QUrl>
#include <QVariant>
#include <QtQml/qqmlregistration.h>

/// Starts the export controller's operations from the screens. Exporter's loadFolders and exportNotes are
/// coroutines, which QML cannot await: these calls start them and return at once, and the screens follow
/// the Exporter's published state. Each call does nothing when `exporter` is not an Exporter.
class ExportActions : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    using QObject::QObject;

    /// Starts Exporter::loadFolders.
    Q_INVOKABLE void loadFolders(QObject *exporter);
    /// Starts Exporter::exportNotes with `folders` (every folder when empty) into `destination`.
    Q_INVOKABLE void exportNotes(QObject *exporter, const QStringList &folders, const QUrl &destination);
    /// Stores `folder` (a url) as the favourite output folder, or forgets the favourite when it is undefined.
    Q_INVOKABLE void setFavourite(QObject *exporter, const QVariant &folder);
};
