#include "PermissionCheck.h"

#include "Errors.h"
#include "Migrator.h"

#include <QPointer>

QVariant PermissionCheck::outcomeValue() const
{
    return m_check ? QVariant::fromValue(NotesAccess::outcomeOf(*m_check)) : QVariant();
}

QCoro::QmlTask PermissionCheck::run()
{
    return checkNow();
}

QCoro::Task<> PermissionCheck::checkNow()
{
    const QPointer<PermissionCheck> self(this);
    m_isChecking = true;
    QCoro::Task<NotesAccess::Check> checking = NotesAccess::check();
    NotesAccess::Check found = co_await checking;
    if (!self)
        co_return;
    m_check = std::move(found);
    emit outcomeChanged();
    m_isChecking = false;
}

bool PermissionCheck::isRefusal(const QVariant &errorMessage)
{
    return errorMessage.typeId() == QMetaType::QString && errorMessage.toString() == automationPermissionText();
}

bool PermissionCheck::refusedMigration(const QVariant &report)
{
    if (report.metaType() != QMetaType::fromType<MigrationReport>())
        return false;
    for (const std::pair<QString, QString> &failure : report.value<MigrationReport>().notesFailed) {
        if (failure.second == automationPermissionText())
            return true;
    }
    return false;
}
