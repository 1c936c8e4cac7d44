#pragma once

#include <QString>
#include <QStringList>
#include <QUrl>

// Helpers of the vault scan, declared here so that tests can reach them.
namespace VaultScanner {

/// The folder components of `file` below `vault`; only the component counts are compared.
QStringList relativeFolders(const QUrl &file, const QUrl &vault);

/// The text of capture group 1 of each match of `pattern` (ICU dialect) in `text`.
QStringList matches(const QString &text, const QString &pattern);

} // namespace VaultScanner
