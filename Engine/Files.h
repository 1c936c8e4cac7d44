#pragma once

#include <QString>

#include <optional>

namespace Files {

/// The whole file read as UTF-8 text. No result when the file cannot be read (missing, a directory,
/// no permission) or is not valid UTF-8. A leading byte-order mark is not part of the text.
std::optional<QString> readUtf8(const QString &path);

} // namespace Files
