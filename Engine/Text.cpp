#include "Text.h"

#include <QChar>
#include <QCollator>
#include <QLocale>
#include <QStringDecoder>
#include <QTextBoundaryFinder>

#include <algorithm>

namespace Text {

bool isHorizontalSpace(char16_t c)
{
    return c == u'\t' || QChar::category(c) == QChar::Separator_Space;
}

bool isWhitespaceOrNewline(char16_t c)
{
    if (c == u'\t' || (c >= 0x0A && c <= 0x0D) || c == 0x85)
        return true;
    switch (QChar::category(c)) {
    case QChar::Separator_Space:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        return false;
    }
}

namespace {

template<typename Pred> QStringView trimWith(QStringView text, Pred isTrimmed)
{
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && isTrimmed(text[begin].unicode()))
        ++begin;
    while (end > begin && isTrimmed(text[end - 1].unicode()))
        --end;
    return text.sliced(begin, end - begin);
}

int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

/// Calls `visit(start, end)` for each grapheme cluster of `text`.
template<typename Visit> void forEachGrapheme(QStringView text, Visit visit)
{
    if (text.isEmpty())
        return;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.data(), text.size());
    qsizetype start = 0;
    for (qsizetype next = finder.toNextBoundary(); next != -1; next = finder.toNextBoundary()) {
        if (!visit(start, next))
            return;
        start = next;
    }
}

QCollator makeCollator()
{
    QLocale locale = QLocale::system();
    if (locale.language() == QLocale::C)
        locale = QLocale(QLocale::English, QLocale::UnitedStates);
    QCollator collator(locale);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    collator.setNumericMode(false);
    collator.setIgnorePunctuation(false);
    return collator;
}

} // namespace

QStringView trimHorizontal(QStringView text)
{
    return trimWith(text, isHorizontalSpace);
}

QStringView trimWhitespaceAndNewlines(QStringView text)
{
    return trimWith(text, isWhitespaceOrNewline);
}

QStringView trimSpacesAndTabs(QStringView text)
{
    return trimWith(text, [](char16_t c) { return c == u' ' || c == u'\t'; });
}

QList<QStringView> graphemeClusters(QStringView text)
{
    QList<QStringView> clusters;
    clusters.reserve(text.size());
    forEachGrapheme(text, [&](qsizetype start, qsizetype end) {
        clusters.append(text.sliced(start, end - start));
        return true;
    });
    return clusters;
}

qsizetype graphemeCount(QStringView text)
{
    qsizetype count = 0;
    forEachGrapheme(text, [&](qsizetype, qsizetype) {
        ++count;
        return true;
    });
    return count;
}

QStringView leftGraphemes(QStringView text, qsizetype count)
{
    qsizetype seen = 0;
    qsizetype cut = text.size();
    if (count <= 0)
        return text.first(0);
    forEachGrapheme(text, [&](qsizetype, qsizetype end) {
        if (++seen == count) {
            cut = end;
            return false;
        }
        return true;
    });
    return text.first(cut);
}

std::optional<QString> percentDecodeStrict(QStringView text)
{
    if (!text.contains(u'%'))
        return text.toString();
    const QByteArray utf8 = text.toUtf8();
    QByteArray bytes;
    bytes.reserve(utf8.size());
    for (qsizetype i = 0; i < utf8.size(); ++i) {
        if (utf8[i] != '%') {
            bytes.append(utf8[i]);
            continue;
        }
        const int high = i + 1 < utf8.size() ? hexValue(utf8[i + 1]) : -1;
        const int low = i + 2 < utf8.size() ? hexValue(utf8[i + 2]) : -1;
        if (high < 0 || low < 0)
            return std::nullopt;
        bytes.append(char(high * 16 + low));
        i += 2;
    }
    // A decoded byte-order mark is text like any other: keep it.
    return decodeUtf8Strict(bytes, ByteOrderMark::keep);
}

std::optional<QString> decodeUtf8Strict(QByteArrayView bytes, ByteOrderMark byteOrderMark)
{
    QStringDecoder::Flags flags = QStringDecoder::Flag::Stateless;
    if (byteOrderMark == ByteOrderMark::keep)
        flags |= QStringDecoder::Flag::ConvertInitialBom;
    QStringDecoder decoder(QStringDecoder::Utf8, flags);
    QString decoded = decoder.decode(bytes);
    if (decoder.hasError())
        return std::nullopt;
    return decoded;
}

bool localizedCaseInsensitiveLess(QStringView a, QStringView b)
{
    // A collator per thread: scans and folder listings sort on background threads.
    thread_local const QCollator collator = makeCollator();
    return collator.compare(a, b) < 0;
}

QString replaceCharacters(QStringView text, std::initializer_list<CharacterReplacement> replacements)
{
    QString out;
    out.reserve(text.size() + text.size() / 8);
    for (const QChar c : text) {
        const auto found = std::find_if(replacements.begin(), replacements.end(),
            [c](const CharacterReplacement &replacement) { return replacement.from == c.unicode(); });
        if (found == replacements.end())
            out += c;
        else
            out += found->to;
    }
    return out;
}

} // namespace Text
