#include "CliIo.h"

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
            fail(u"%1: no such file"_s.arg(file));
            return std::nullopt;
        }
        if (info.isDir()) {
            fail(u"%1: is a folder, not a file"_s.arg(file));
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
        reason = u"no such folder"_s;
    else if (!info.isDir())
        reason = u"not a folder"_s;
    else if (!info.isReadable() || !info.isExecutable())
        reason = u"permission denied"_s;
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
        fail(u"%1: not a folder"_s.arg(path));
        return false;
    }
    // The destination itself is made, but not the folders above it: a mistyped parent folder is an error,
    // not a new tree of folders.
    const QString parent = QFileInfo(QDir::cleanPath(info.absoluteFilePath())).path();
    const QFileInfo parentInfo(parent);
    if (parentInfo.isDir())
        return true;
    const QString shown = QFileInfo(QDir::cleanPath(path)).path();
    fail(u"%1: %2"_s.arg(
        shown == u"."_s ? parent : shown, parentInfo.exists() ? u"not a folder"_s : u"no such folder"_s));
    return false;
}

} // namespace CliIo
