#include "Errors.h"

#include <QCoreApplication>

const char *VelloranError::what() const noexcept
{
    m_what = errorDescription().toUtf8();
    return m_what.constData();
}

QString errorDescription(const std::exception &error)
{
    if (const auto *own = dynamic_cast<const VelloranError *>(&error))
        return own->errorDescription();
    return QString::fromUtf8(error.what());
}

QString RunStopped::errorDescription() const
{
    return QCoreApplication::translate("Velloran", "stopped before Notes answered");
}

QString automationPermissionText()
{
    return QCoreApplication::translate(
        "Velloran", "Permission needed: System Settings → Privacy & Security → Automation → Velloran → Notes");
}

QString ScriptError::errorDescription() const
{
    // Notes refuses Apple events from an app the user has not allowed under Automation with -1743.
    if (m_message.contains(u"-1743"))
        return automationPermissionText();
    return QCoreApplication::translate("Velloran", "Apple Notes error: %1").arg(m_message);
}
