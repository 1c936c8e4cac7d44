#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

/// The two ways through the wizard. The wizard keeps one as an optional: undefined until the user picks.
namespace MigrationDirection {
Q_NAMESPACE
QML_ELEMENT

enum Value {
    /// A folder of Markdown files into Apple Notes.
    MdToNotes,
    /// Apple Notes into Markdown files.
    NotesToMd,
};
Q_ENUM_NS(Value)

} // namespace MigrationDirection
