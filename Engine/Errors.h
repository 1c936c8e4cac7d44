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

/// A file-system operation failed (a temporary file could not be written, say). Carries the system's text.
class FileSystemError : public VelloranError
{
public:
    explicit FileSystemError(QString systemText)
        : m_text(std::move(systemText))
    { }
    QString errorDescription() const override { return m_text; }

private:
    QString m_text;
};

/// A program could not be started. Carries the system's text.
class LaunchError : public VelloranError
{
public:
    explicit LaunchError(QString systemText)
        : m_text(std::move(systemText))
    { }
    QString errorDescription() const override { return m_text; }

private:
    QString m_text;
};

/// The user-facing text of any exception: an engine error's own description, otherwise the exception's
/// what() read as UTF-8.
QString errorDescription(const std::exception &error);

/// A script run was stopped at the user's request before it ended.
class RunStopped : public VelloranError
{
public:
    QString errorDescription() const override;
};
