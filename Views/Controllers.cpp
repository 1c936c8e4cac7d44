#include "Controllers.h"

#include <QColor>
#include <QGuiApplication>
#include <QPalette>
#include <QQuickStyle>
#include <QStyleHints>
#include <QtQml/qqmlextensionplugin.h>

#include <QCoro/QCoroQml>

// The engine's types (module Velloran.Engine), linked in with the screens.
Q_IMPORT_QML_PLUGIN(Velloran_EnginePlugin)

void registerControllerTypes()
{
    QCoro::Qml::registerTypes();
}

void useVelloranStyle()
{
    // Tab reaches every button and toggle, not only text fields and lists, whatever the desktop's
    // keyboard-navigation setting: each screen has to be usable without a mouse.
    QGuiApplication::styleHints()->setTabFocusBehavior(Qt::TabFocusAllControls);
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
