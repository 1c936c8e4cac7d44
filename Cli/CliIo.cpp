#include "CliIo.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace CliIo {

void out(const QByteArray &bytes)
{
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
    std::fflush(stdout);
}

void out(const QString &text)
{
    out(text.toUtf8());
}

void err(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
    std::fflush(stderr);
}

namespace {
bool jsonMode = false;
}

void setJsonFailures(bool json)
{
    jsonMode = json;
}

bool jsonFailures()
{
    return jsonMode;
}

void fail(const QString &message, const QString &line)
{
    err(line + u'\n');
    if (jsonMode)
        out(QJsonDocument(QJsonObject { { u"error"_s, message } }).toJson(QJsonDocument::Compact) + '\n');
}

void fail(const QString &message)
{
    fail(message, u"velloran-cli: "_s + message);
}

std::string helpText(const char *text)
{
    return QCoreApplication::translate("Velloran", text).toStdString();
}

bool stderrIsTerminal()
{
    return ::isatty(STDERR_FILENO) == 1;
}

std::optional<QByteArray> readInput(const QString &file)
{
    const QString name = file.isEmpty() ? u"-"_s : file;
    QFile input;
    bool opened = false;
    if (file.isEmpty() || file == u"-"_s) {
        opened = input.open(stdin, QIODevice::ReadOnly);
    } else {
        input.setFileName(file);
        const QFileInfo info(file);
        if (!info.exists() && !info.isSymLink()) {
            fail(QCoreApplication::translate("Velloran", "%1: no such file").arg(file));
            return std::nullopt;
        }
        if (info.isDir()) {
            fail(QCoreApplication::translate("Velloran", "%1: is a folder, not a file").arg(file));
            return std::nullopt;
        }
        opened = input.open(QIODevice::ReadOnly);
    }
    if (!opened) {
        fail(u"%1: %2"_s.arg(name, input.errorString()));
        return std::nullopt;
    }
    QByteArray bytes = input.readAll();
    if (input.error() != QFileDevice::NoError) {
        fail(u"%1: %2"_s.arg(name, input.errorString()));
        return std::nullopt;
    }
    return bytes;
}

bool checkFolder(const QString &path)
{
    const QFileInfo info(path);
    QString reason;
    if (!info.exists())
        reason = QCoreApplication::translate("Velloran", "no such folder");
    else if (!info.isDir())
        reason = QCoreApplication::translate("Velloran", "not a folder");
    else if (!info.isReadable() || !info.isExecutable())
        reason = QCoreApplication::translate("Velloran", "permission denied");
    if (reason.isEmpty())
        return true;
    fail(u"%1: %2"_s.arg(path, reason));
    return false;
}

bool checkDestination(const QString &path)
{
    const QFileInfo info(path);
    if (info.exists()) {
        if (info.isDir())
            return true;
        fail(u"%1: %2"_s.arg(path, QCoreApplication::translate("Velloran", "not a folder")));
        return false;
    }
    // The destination itself is made, but not the folders above it: a mistyped parent folder is an error,
    // not a new tree of folders.
    const QString parent = QFileInfo(QDir::cleanPath(info.absoluteFilePath())).path();
    const QFileInfo parentInfo(parent);
    if (parentInfo.isDir())
        return true;
    const QString shown = QFileInfo(QDir::cleanPath(path)).path();
    fail(u"%1: %2"_s.arg(shown == u"."_s ? parent : shown,
        parentInfo.exists() ? QCoreApplication::translate("Velloran", "not a folder")
                            : QCoreApplication::translate("Velloran", "no such folder")));
    return false;
}

} // namespace CliIo
