// Fuzzes the Markdown side: frontmatter stripping, then rendering to a Notes body.

#include "MarkdownLite.h"
#include "VaultScanner.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    const auto [body, stripped] = VaultScanner::stripFrontmatter(text);
    if (!stripped && body != text)
        std::abort(); // a text without frontmatter comes back whole
    const MarkdownLite::Output output = MarkdownLite::convert(body);
    if (output.html.isEmpty())
        std::abort(); // even an empty note renders as one blank line
    return 0;
}
