// Fuzzes the Notes side: HTML of a note body to Markdown. Every input must end, slashes between
// attributes included.

#include "HtmlToMarkdown.h"

#include <QString>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString html = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    const QString markdown = HtmlToMarkdown::convert(html);
    (void)markdown;
    return 0;
}
