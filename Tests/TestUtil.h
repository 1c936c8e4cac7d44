#pragma once

// Small helpers shared by the tests: building folders of files, hashing trees, running the CLI.

#include <QByteArray>
#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QProcess>
#include <QString>
#include <QTest>

#include <unistd.h>

namespace TestUtil {

/// Writes `bytes` to `root`/`relativePath`, creating folders as needed.
inline void writeFile(const QString &root, const QString &relativePath, const QByteArray &bytes)
{
    const QString path = root + u'/' + relativePath;
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY2(file.open(QIODevice::WriteOnly), qPrintable(path));
    QCOMPARE(file.write(bytes), bytes.size());
}

inline void makeDir(const QString &root, const QString &relativePath)
{
    QVERIFY(QDir().mkpath(root + u'/' + relativePath));
}

/// Every regular file below `root` (hidden ones included) by relative path, with its SHA-256.
inline QMap<QString, QByteArray> hashTree(const QString &root)
{
    QMap<QString, QByteArray> hashes;
    QDirIterator it(root, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            continue;
        hashes.insert(
            QDir(root).relativeFilePath(path), QCryptographicHash::hash(file.readAll(), QCryptographicHash::Sha256));
    }
    return hashes;
}

/// While alive, the process acts as an unprivileged user, so that permissions hold even when the tests
/// run as root (as in containers). The saved user id stays root, which allows the way back.
class Unprivileged
{
public:
    Unprivileged()
    {
        if (::geteuid() != 0)
            return;
        m_active = ::setresgid(65534, 65534, 0) == 0 && ::setresuid(65534, 65534, 0) == 0;
    }
    ~Unprivileged()
    {
        if (m_active) {
            [[maybe_unused]] const int user = ::setresuid(0, 0, 0);
            [[maybe_unused]] const int group = ::setresgid(0, 0, 0);
        }
    }
    Unprivileged(const Unprivileged &) = delete;
    Unprivileged &operator=(const Unprivileged &) = delete;

    /// Whether permissions are enforced now.
    bool enforced() const { return m_active || ::geteuid() != 0; }

private:
    bool m_active = false;
};

struct CliResult
{
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

/// Runs the built velloran-cli with `arguments`, feeding `input` on standard input.
inline CliResult runCli(const QStringList &arguments, const QByteArray &input = {})
{
    QProcess process;
    process.start(QStringLiteral(VELLORAN_CLI), arguments);
    if (!process.waitForStarted())
        return {};
    process.write(input);
    process.closeWriteChannel();
    process.waitForFinished(300000);
    return { process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1, process.readAllStandardOutput(),
        process.readAllStandardError() };
}

} // namespace TestUtil
