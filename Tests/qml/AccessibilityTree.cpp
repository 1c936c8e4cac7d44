#include "AccessibilityTree.h"

#include <QAccessible>
#include <QMetaEnum>
#include <QQuickItem>
#include <QQuickWindow>
#include <QVariantMap>

#include <functional>

using namespace Qt::StringLiterals;

namespace {

// Walks the shown nodes below `node`, parents before their children.
void walk(QAccessibleInterface *node, const std::function<void(QAccessibleInterface *)> &visit)
{
    if (!node || !node->isValid() || node->state().invisible)
        return;
    visit(node);
    for (int i = 0; i < node->childCount(); ++i)
        walk(node->child(i), visit);
}

void walkWindowOf(QQuickItem *item, const std::function<void(QAccessibleInterface *)> &visit)
{
    if (!item || !item->window())
        return;
    // Tells the controls that a screen reader listens, as the desktop does when VoiceOver starts: only
    // then do they give the tree their roles and names (buttons their text).
    QAccessible::setActive(true);
    walk(QAccessible::queryAccessibleInterface(item->window()), visit);
}

QString roleName(QAccessible::Role role)
{
    return QString::fromLatin1(QMetaEnum::fromType<QAccessible::Role>().valueToKey(role));
}

// The roles that a screen reader announces by their name: what can be operated, and pictures.
bool isAnnouncedByName(QAccessible::Role role)
{
    switch (role) {
    case QAccessible::Button:
    case QAccessible::CheckBox:
    case QAccessible::RadioButton:
    case QAccessible::ButtonDropDown:
    case QAccessible::ButtonMenu:
    case QAccessible::ComboBox:
    case QAccessible::EditableText:
    case QAccessible::Link:
    case QAccessible::ListItem:
    case QAccessible::MenuItem:
    case QAccessible::PageTab:
    case QAccessible::ProgressBar:
    case QAccessible::Slider:
    case QAccessible::SpinBox:
    case QAccessible::Graphic:
        return true;
    default:
        return false;
    }
}

} // namespace

QVariantList AccessibilityTree::nodes(QQuickItem *item) const
{
    QVariantList found;
    walkWindowOf(item, [&found](QAccessibleInterface *node) {
        found.append(QVariantMap {
            { u"role"_s, roleName(node->role()) },
            { u"name"_s, node->text(QAccessible::Name) },
            { u"description"_s, node->text(QAccessible::Description) },
            { u"objectName"_s, node->object() ? node->object()->objectName() : QString() },
        });
    });
    return found;
}

QStringList AccessibilityTree::unnamed(QQuickItem *item) const
{
    QStringList found;
    walkWindowOf(item, [&found](QAccessibleInterface *node) {
        if (isAnnouncedByName(node->role()) && node->text(QAccessible::Name).trimmed().isEmpty())
            found.append(roleName(node->role()) + u' ' + (node->object() ? node->object()->objectName() : QString()));
    });
    return found;
}
