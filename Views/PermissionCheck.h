#pragma once

#include "NotesAccess.h"

#include <QObject>
#include <QProperty>
#include <QVariant>
#include <QtQml/qqmlregistration.h>

#include <QCoro/QCoroQmlTask>
#include <QCoro/QCoroTask>

#include <optional>

/// The permission check for the screens: runs NotesAccess::check without blocking and publishes what it
/// found as the outcome that velloran-cli doctor prints. Also tells the wizard whether a controller's
/// failure was Notes refusing Automation, which is when the check is offered.
class PermissionCheck : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(bool isChecking READ isChecking NOTIFY isCheckingChanged BINDABLE bindableIsChecking)
    /// What the last check found, as a Presentation::Outcome, or undefined before the first has ended.
    Q_PROPERTY(QVariant outcome READ outcomeValue NOTIFY outcomeChanged)
    /// The last check found everything in place.
    Q_PROPERTY(bool ok READ ok NOTIFY outcomeChanged)

public:
    using QObject::QObject;

    bool isChecking() const { return m_isChecking; }
    QBindable<bool> bindableIsChecking() { return &m_isChecking; }
    QVariant outcomeValue() const;
    bool ok() const { return m_check && m_check->ok(); }

    /// Runs the check (a harmless read of the numbers of folders and notes); QML can wait for it with
    /// `.then()`. Checks may overlap: the one that ends last is shown.
    Q_INVOKABLE QCoro::QmlTask run();

    /// Whether `errorMessage` (the export controller's, a string or undefined) says that Notes refused
    /// Automation.
    Q_INVOKABLE static bool isRefusal(const QVariant &errorMessage);
    /// Whether a migration report (Migrator.report) ended because Notes refused Automation.
    Q_INVOKABLE static bool refusedMigration(const QVariant &report);

signals:
    void isCheckingChanged();
    void outcomeChanged();

private:
    QCoro::Task<> checkNow();

    Q_OBJECT_BINDABLE_PROPERTY_WITH_ARGS(
        PermissionCheck, bool, m_isChecking, false, &PermissionCheck::isCheckingChanged)
    std::optional<NotesAccess::Check> m_check;
};
