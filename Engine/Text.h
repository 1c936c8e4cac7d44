#pragma once

#include <QByteArrayView>
#include <QList>
#include <QString>
#include <QStringView>

#include <algorithm>
#include <initializer_list>
#include <optional>

/// Small text helpers shared by every engine unit.
///
/// Three white-space sets are in use, each with its own trimming helper; QString::trimmed() is none of
/// them. All of them only remove characters from the ends and return a view into the argument.
namespace Text {

/// Horizontal white space: the Unicode space separators (category Zs) and the tab. No line breaks.
bool isHorizontalSpace(char16_t c);
/// White space and line breaks: the Unicode separators (Zs, Zl, Zp), tab, U+000A to U+000D and U+0085.
bool isWhitespaceOrNewline(char16_t c);

QStringView trimHorizontal(QStringView text);
QStringView trimWhitespaceAndNewlines(QStringView text);
/// Only " " and "\t".
QStringView trimSpacesAndTabs(QStringView text);

/// The user-perceived characters (extended grapheme clusters) of `text`, each a view into it.
/// "\r\n" is one character, and so is a letter with its combining marks.
QList<QStringView> graphemeClusters(QStringView text);
/// The number of user-perceived characters of `text`.
qsizetype graphemeCount(QStringView text);
/// The first `count` user-perceived characters of `text` (all of it when it has fewer).
QStringView leftGraphemes(QStringView text, qsizetype count);

/// What a strict UTF-8 decoding does with a byte-order mark at the start of the bytes.
enum class ByteOrderMark : quint8 {
    /// Not part of the text: the contents of a file.
    drop,
    /// Text like any other: a decoded percent escape.
    keep,
};
/// `bytes` decoded as UTF-8, or no result when they are not valid UTF-8 (a malformed or truncated
/// sequence, an encoded surrogate, an overlong form).
std::optional<QString> decodeUtf8Strict(QByteArrayView bytes, ByteOrderMark byteOrderMark = ByteOrderMark::drop);

/// Decodes percent escapes strictly: a "%" not followed by two hexadecimal digits, or bytes that do not
/// form valid UTF-8 once decoded, give no result. Text without escapes comes back unchanged.
std::optional<QString> percentDecodeStrict(QStringView text);

/// One character's replacement, for replaceCharacters.
struct CharacterReplacement
{
    char16_t from;
    QStringView to;
};

/// `text` with every code unit listed in `replacements` replaced by its text, in one pass; the rest is
/// copied as it is.
QString replaceCharacters(QStringView text, std::initializer_list<CharacterReplacement> replacements);

/// Locale-aware, case-insensitive ordering of two texts in the user's locale. Under the C locale, which
/// orders by code point, English collation is used instead.
bool localizedCaseInsensitiveLess(QStringView a, QStringView b);

/// Sorts `list` stably by the locale-aware, case-insensitive order of `key(item)`: items whose keys
/// compare equal keep their order.
template<typename T, typename KeyFn> void stableSortLocalized(QList<T> &list, KeyFn key)
{
    std::stable_sort(
        list.begin(), list.end(), [&](const T &a, const T &b) { return localizedCaseInsensitiveLess(key(a), key(b)); });
}

} // namespace Text
