// Fuzzes the parser of the folder-read program's output (records and fields split by U+001E, U+001F).

#include "NotesExporter_p.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString output = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    const QList<NotesExporter::NoteRecord> records = NotesExporter::parseRecords(output);
    for (const NotesExporter::NoteRecord &record : records) {
        // Names never hold a separator, and a record never spans a record separator.
        if (record.folder.contains(QChar(0x1E)) || record.folder.contains(QChar(0x1F))
            || record.name.contains(QChar(0x1E)) || record.name.contains(QChar(0x1F))
            || record.html.contains(QChar(0x1E)))
            std::abort();
    }
    return 0;
}
