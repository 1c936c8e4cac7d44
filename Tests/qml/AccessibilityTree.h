#pragma once

#include <QObject>
#include <QStringList>
#include <QVariantList>

class QQuickItem;

/// What a screen reader is told about a window, for the screen tests (the context property
/// `accessibility`): the desktop's accessibility tree of the window that holds an item, walked through
/// QAccessible from the window down, as VoiceOver walks it. Hidden nodes and their children are left out.
///
/// No screen reader runs where the tests do, and Qt then gives a control only the role of its kind, not the
/// name it would take from its text: a control is named here only by its Accessible.name, which the
/// screens set on every control.
class AccessibilityTree : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// Every shown node of the window that holds `item`, in tree order, each a map of `role` (the name of
    /// its QAccessible::Role, as "Button"), `name`, `description` and `objectName`.
    Q_INVOKABLE QVariantList nodes(QQuickItem *item) const;
    /// The shown nodes that a screen reader announces by name but that have none: controls (buttons,
    /// toggles, text fields, list items, sliders, progress bars) and pictures. Each as "Role objectName".
    Q_INVOKABLE QStringList unnamed(QQuickItem *item) const;
};
