#pragma once

#include <QString>

#include <exception>

/// The base of every exception the engine throws. Each carries the text that reports show the user.
class VelloranError : public std::exception
{
public:
    /// The user-facing description, as report and result screens show it.
    virtual QString errorDescription() const = 0;
    const char *what() const noexcept override;

private:
    mutable QByteArray m_what;
};

/// A failure described by the system's own text.
class SystemError : public VelloranError
{
public:
    explicit SystemError(QString systemText)
        : m_text(std::move(systemText))
    { }
    QString errorDescription() const override { return m_text; }

private:
    QString m_text;
};

/// A file-system operation failed (a temporary file could not be written, say).
class FileSystemError : public SystemError
{
public:
    using SystemError::SystemError;
};

/// A program could not be started.
class LaunchError : public SystemError
{
public:
    using SystemError::SystemError;
};

/// osascript ended with a non-zero status. Each script runner throws its own subclass
/// (NotesBridge::BridgeError, NotesExporter::ExportError), so that callers can tell the sides apart.
class ScriptError : public VelloranError
{
public:
    enum class Kind { scriptFailed };

    Kind kind() const { return Kind::scriptFailed; }
    /// osascript's trimmed standard error.
    QString message() const { return m_message; }
    /// The Automation permission text when the message holds "-1743" anywhere, otherwise
    /// "Apple Notes error: " and the message.
    QString errorDescription() const override;

protected:
    explicit ScriptError(QString message)
        : m_message(std::move(message))
    { }

private:
    QString m_message;
};

/// What a refusal of Automation (-1743) is shown as: where in System Settings to grant it.
QString automationPermissionText();

/// The user-facing text of any exception: an engine error's own description, otherwise the exception's
/// what() read as UTF-8.
QString errorDescription(const std::exception &error);

/// A script run was stopped at the user's request before it ended.
class RunStopped : public VelloranError
{
public:
    QString errorDescription() const override;
};
