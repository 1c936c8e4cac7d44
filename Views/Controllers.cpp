#include "Controllers.h"

#include "Exporter.h"
#include "Migrator.h"

#include <QColor>
#include <QGuiApplication>
#include <QPalette>
#include <QQuickStyle>
#include <QtQml/qqml.h>

void registerControllerTypes()
{
    qmlRegisterType<Migrator>("Velloran.Engine", 1, 0, "Migrator");
    qmlRegisterType<Exporter>("Velloran.Engine", 1, 0, "Exporter");
}

void useVelloranStyle()
{
#ifndef Q_OS_MACOS
    // macOS keeps its native controls; elsewhere Fusion is the neutral desktop look.
    QQuickStyle::setStyle(QStringLiteral("Fusion"));
#endif
    const QColor ink = QColor::fromRgbF(0.29f, 0.31f, 0.69f, 1.0f);
    QPalette palette = QGuiApplication::palette();
    palette.setColor(QPalette::Highlight, ink);
    palette.setColor(QPalette::Link, ink);
    QGuiApplication::setPalette(palette);
}
