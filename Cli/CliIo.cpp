#include "CliIo.h"

#include <QFile>
#include <QFileInfo>

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

bool stderrIsTerminal()
{
    return ::isatty(STDERR_FILENO) == 1;
}

std::optional<QByteArray> readInput(const QString &file)
{
    QFile input;
    bool opened = false;
    if (file.isEmpty() || file == u"-"_s) {
        opened = input.open(stdin, QIODevice::ReadOnly);
    } else {
        input.setFileName(file);
        if (QFileInfo(file).isDir()) {
            err(u"velloran-cli: %1: is a folder, not a file\n"_s.arg(file));
            return std::nullopt;
        }
        opened = input.open(QIODevice::ReadOnly);
    }
    if (!opened) {
        err(u"velloran-cli: %1: %2\n"_s.arg(file.isEmpty() ? u"-"_s : file, input.errorString()));
        return std::nullopt;
    }
    QByteArray bytes = input.readAll();
    if (input.error() != QFileDevice::NoError) {
        err(u"velloran-cli: %1: %2\n"_s.arg(file.isEmpty() ? u"-"_s : file, input.errorString()));
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
    err(u"velloran-cli: %1: %2\n"_s.arg(path, reason));
    return false;
}

} // namespace CliIo
