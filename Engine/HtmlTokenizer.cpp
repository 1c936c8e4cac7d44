// The HTML tokenizer: tags, attributes and character entities of a note body.

#include "HtmlTokenizer_p.h"

#include "Regex.h"
#include "Text.h"

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace HtmlToMarkdown {

Tokenizer::Tokenizer(const QString &html, Attributes attributes, SelfClosingImages images)
    : m_chars(html)
    , m_attributes(attributes)
    , m_images(images)
{ }

std::optional<Token> Tokenizer::next()
{
    if (m_queued)
        return std::exchange(m_queued, std::nullopt);
    const qsizetype n = m_chars.size();
    while (m_position < n) {
        if (!m_chars.is(m_position, u'<')) {
            // Every character up to the next "<" goes to the pending text.
            m_position = indexOf(m_chars, m_position, u'<').value_or(n);
            continue;
        }
        const Markup markup = markupAt(m_position);
        if (markup == Markup::none) {
            ++m_position; // an unmatched "<" is text
            continue;
        }
        // The text before the markup comes first, even when the markup never ends.
        if (std::optional<Token> text = takePendingText())
            return text;
        switch (markup) {
        case Markup::comment:
            skipComment();
            break;
        case Markup::declaration:
            skipDeclaration();
            break;
        case Markup::tag:
            return readTag(*findClose(m_position));
        case Markup::none:
            break;
        }
    }
    return takePendingText();
}

Tokenizer::Markup Tokenizer::markupAt(qsizetype position)
{
    if (matchAhead(m_chars, position, u"<!--"))
        return Markup::comment;
    if (position + 1 < m_chars.size() && m_chars.is(position + 1, u'!'))
        return Markup::declaration;
    return findClose(position) ? Markup::tag : Markup::none;
}

std::optional<Token> Tokenizer::takePendingText()
{
    if (m_pending >= m_position)
        return std::nullopt;
    Token text = Token::text(m_chars.slice(m_pending, m_position).toString());
    m_pending = m_position;
    return text;
}

void Tokenizer::skipComment()
{
    const std::optional<qsizetype> end = findSubstring(m_chars, m_position, u"-->");
    if (!end)
        return dropRest();
    m_position = m_pending = *end + 3; // so "<!-->" is a whole comment
}

void Tokenizer::skipDeclaration()
{
    // "<!DOCTYPE ...>" and the like make no token.
    const std::optional<qsizetype> end = findClose(m_position);
    if (!end)
        return dropRest();
    m_position = m_pending = *end + 1;
}

void Tokenizer::dropRest()
{
    m_position = m_pending = m_chars.size();
}

Token Tokenizer::readTag(qsizetype end)
{
    const QStringView inner = Text::trimWhitespaceAndNewlines(m_chars.slice(m_position + 1, end));
    m_position = m_pending = end + 1;
    if (startsWithCharacter(inner, u'/'))
        return Token::close(tagName(inner.sliced(1)));
    if (endsWithCharacters(inner, u"/")) {
        QString name = tagName(inner.chopped(1));
        if (m_images == SelfClosingImages::dataImagesRead && name == u"img"_s) {
            QMap<QString, QString> attributes = parseAttrs(inner.chopped(1));
            if (attributes.value(u"src"_s).startsWith(u"data:"_s, Qt::CaseInsensitive)) {
                m_queued = Token::close(name);
                return Token::open(std::move(name), std::move(attributes));
            }
        }
        return Token::selfClosing(std::move(name)); // its attributes are not read
    }
    QString name = tagName(inner);
    if (name == u"br"_s || name == u"hr"_s)
        return Token::selfClosing(std::move(name));
    if (name == u"img"_s) {
        // An image never stays open.
        m_queued = Token::close(name);
        return Token::open(std::move(name), parseAttrs(inner));
    }
    const bool readAttributes = m_attributes == Attributes::all || name == u"a"_s;
    return Token::open(std::move(name), readAttributes ? parseAttrs(inner) : QMap<QString, QString>());
}

std::optional<qsizetype> Tokenizer::findClose(qsizetype from)
{
    const qsizetype n = m_chars.size();
    if (m_nextClose < from)
        m_nextClose = indexOf(m_chars, from, u'>').value_or(n);
    if (m_nextClose >= n)
        return std::nullopt;
    return m_nextClose;
}

QList<Token> tokenize(const QString &html)
{
    QList<Token> tokens;
    Tokenizer tokenizer(html, Tokenizer::Attributes::all);
    while (std::optional<Token> token = tokenizer.next())
        tokens.append(*std::move(token));
    return tokens;
}

QString tagName(QStringView inner)
{
    const QStringView trimmed = Text::trimSpacesAndTabs(inner);
    const qsizetype end = firstCharacterIn(trimmed, u" \t\n/");
    return (end < 0 ? trimmed : trimmed.first(end)).toString().toLower();
}

QMap<QString, QString> parseAttrs(QStringView inner)
{
    const qsizetype nameEnd = firstCharacterIn(inner, u" \t\n");
    if (nameEnd < 0)
        return {};
    AttributeScan scan(inner.sliced(nameEnd + 1));
    // Every round moves the scan forward by at least one character (see AttributeScan).
    while (!scan.atEnd())
        scan.step();
    return scan.attributes();
}

AttributeScan::AttributeScan(QStringView attributeText)
    : m_text(attributeText.toString())
    , m_chars(m_text)
{ }

void AttributeScan::step()
{
    const Characters &c = m_chars;
    const qsizetype n = c.size();
    qsizetype &p = m_position;
    const qsizetype roundStart = p;

    while (p < n && (c.is(p, u' ') || c.is(p, u'\t') || c.is(p, u'\n')))
        ++p;
    // Tabs and line feeds do not end a name.
    const qsizetype nameStart = p;
    while (p < n && !(c.is(p, u'=') || c.is(p, u' ') || c.is(p, u'>') || c.is(p, u'/')))
        ++p;
    const QStringView name = c.slice(nameStart, p);
    skipSpacesAndTabs();
    const QStringView value = readValue();

    if (p == roundStart) {
        // Nothing was read: the scan stands on a "/" where a name would begin. Step over it, so that
        // every round moves on and the scan ends.
        ++p;
        return;
    }
    if (name.isEmpty())
        return;
    const QString stored = value.contains(u'&') ? decodeEntities(value.toString()) : value.toString();
    m_attributes.insert(name.toString().toLower(), stored);
}

void AttributeScan::skipSpacesAndTabs()
{
    while (m_position < m_chars.size() && (m_chars.is(m_position, u' ') || m_chars.is(m_position, u'\t')))
        ++m_position;
}

QStringView AttributeScan::readValue()
{
    const Characters &c = m_chars;
    const qsizetype n = c.size();
    qsizetype &p = m_position;
    if (p >= n || !c.is(p, u'='))
        return {}; // a name alone has the empty value
    ++p;
    skipSpacesAndTabs();
    if (p < n && (c.is(p, u'"') || c.is(p, u'\''))) {
        // Up to the same quotation mark, or to the end when it is missing.
        const QChar quote = c.at(p).front();
        const qsizetype valueStart = p + 1;
        const qsizetype valueEnd = indexOf(c, valueStart, quote).value_or(n);
        p = std::min(valueEnd + 1, n);
        return c.slice(valueStart, valueEnd);
    }
    const qsizetype valueStart = p;
    while (p < n && !(c.is(p, u' ') || c.is(p, u'>')))
        ++p;
    return c.slice(valueStart, p);
}

namespace {

struct NamedEntity
{
    QStringView name;
    QStringView replacement;
};

/// The named entities, in the order they are applied: "&amp;" comes last, so that a nested form such as
/// "&amp;lt;" decodes once, to "&lt;".
constexpr NamedEntity namedEntities[] = {
    { u"&lt;", u"<" },
    { u"&gt;", u">" },
    { u"&quot;", u"\"" },
    { u"&apos;", u"'" },
    { u"&#39;", u"'" },
    { u"&nbsp;", u" " },
    { u"&hellip;", u"\u2026" },
    { u"&mdash;", u"\u2014" },
    { u"&ndash;", u"\u2013" },
    { u"&copy;", u"\u00A9" },
    { u"&reg;", u"\u00AE" },
    { u"&trade;", u"\u2122" },
    { u"&rsquo;", u"\u2019" },
    { u"&lsquo;", u"\u2018" },
    { u"&rdquo;", u"\u201D" },
    { u"&ldquo;", u"\u201C" },
    { u"&middot;", u"\u00B7" },
    { u"&amp;", u"&" },
};

/// The named entities of the table decoded in one pass from left to right.
///
/// Each entity is "&", a name without "&" or ";", and ";", so two occurrences never overlap, and no
/// replacement holds "&", ";" or a letter of a name: replacing the rows one after another over the whole
/// text, in the order of the table, decodes exactly the occurrences that stand in the original text, each
/// once. This pass does the same without scanning any output again: "&amp;lt;" gives "&lt;",
/// "&amp;amp;" gives "&amp;", and "&&lt;" gives "&<".
QString decodeNamedEntities(QStringView text)
{
    QString result;
    result.reserve(text.size());
    qsizetype copied = 0;
    for (qsizetype i = text.indexOf(u'&'); i >= 0; i = text.indexOf(u'&', i)) {
        // An entity runs from the "&" to the first ";", at most eight characters in all.
        const QStringView head = text.sliced(i, std::min<qsizetype>(8, text.size() - i));
        const qsizetype semicolon = head.indexOf(u';');
        const QStringView candidate = head.first(semicolon + 1);
        const auto entity = semicolon < 0 ? std::cend(namedEntities)
                                          : std::find_if(std::cbegin(namedEntities), std::cend(namedEntities),
                                              [&](const NamedEntity &row) { return row.name == candidate; });
        if (entity == std::cend(namedEntities)) {
            ++i;
            continue;
        }
        result += text.sliced(copied, i - copied);
        result += entity->replacement;
        i += entity->name.size();
        copied = i;
    }
    if (copied == 0)
        return text.toString();
    result += text.sliced(copied);
    return result;
}

/// `digits` read as an unsigned 32-bit number in `base`, made into a character when it is a Unicode
/// scalar value. A number too large for 32 bits gives no result.
std::optional<QString> scalarFromDigits(QStringView digits, int base)
{
    bool ok = false;
    const char32_t value = digits.toUInt(&ok, base);
    if (!ok || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF))
        return std::nullopt;
    return QString::fromUcs4(&value, 1);
}

} // namespace

QString decodeEntities(const QString &text)
{
    if (!text.contains(u'&'))
        return text;
    QString result = decodeNamedEntities(text);
    if (!result.contains(u"&#"))
        return result; // no numeric reference can match
    // The digit classes are ASCII ranges: other scripts' digits are no part of a reference.
    static const Regex hexadecimal(u"&#x([0-9A-Fa-f]+);"_s);
    static const Regex decimal(u"&#([0-9]+);"_s);
    result = hexadecimal.replaceEach(
        result, [&](const Regex::Match &match) { return scalarFromDigits(match.group(result, 1), 16); });
    return decimal.replaceEach(
        result, [&](const Regex::Match &match) { return scalarFromDigits(match.group(result, 1), 10); });
}

QString replaceRegex(const QString &text, const QString &pattern,
    const std::function<std::optional<QString>(QStringView group)> &transform)
{
    return Regex::cached(pattern).replaceEach(text, [&](const Regex::Match &match) -> std::optional<QString> {
        if (!match.hasGroup(1))
            return std::nullopt;
        return transform(match.group(text, 1));
    });
}

} // namespace HtmlToMarkdown
