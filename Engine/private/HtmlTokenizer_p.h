#pragma once

#include "HtmlCharacters_p.h"
#include "HtmlToMarkdown.h"

#include <QList>
#include <QMap>
#include <QString>
#include <QStringView>

#include <functional>
#include <optional>

// The first half of HtmlToMarkdown::convert: HTML cut into a flat list of tokens, with tag names,
// attributes and character entities read. Declared here so that the renderer and the tests reach it.
namespace HtmlToMarkdown {

/// Cuts HTML into tokens one at a time, so that a caller that renders them as they come never holds the
/// whole list. Never fails; see HtmlToMarkdown.h for what becomes of bad input.
///
/// Holds a view of the HTML, which must outlive the tokenizer.
class Tokenizer
{
public:
    /// Which open tags come with their attributes: every one, or only those whose attributes the
    /// renderer reads ("a" and "img"), which spares reading the styles of every "div" and "span".
    enum class Attributes { all, renderedOnly };
    /// What becomes of an image written as a self-closing tag (`<img src="…"/>`, as Notes writes
    /// them): a self-closing token without attributes, or, when its source is a `data:` URI, the same
    /// tokens as `<img src="…">` gives.
    enum class SelfClosingImages { dropped, dataImagesRead };

    Tokenizer(const QString &html, Attributes attributes, SelfClosingImages images = SelfClosingImages::dropped);
    Tokenizer(const Tokenizer &) = delete;
    Tokenizer &operator=(const Tokenizer &) = delete;

    /// The next token, or none at the end of the input.
    std::optional<Token> next();

private:
    /// What a "<" starts.
    enum class Markup { none, comment, declaration, tag };

    Markup markupAt(qsizetype position);
    /// The text between the last markup and the current position as a token, if there is any.
    std::optional<Token> takePendingText();
    /// Steps over a comment or a declaration; without its end, the rest of the input is dropped.
    void skipComment();
    void skipDeclaration();
    /// The token of the tag that starts at the current position and ends at the ">" at `end`.
    Token readTag(qsizetype end);
    /// The first ">" at or after `from`.
    std::optional<qsizetype> findClose(qsizetype from);
    /// Moves past everything: the input ends here.
    void dropRest();

    const Characters m_chars;
    const Attributes m_attributes;
    const SelfClosingImages m_images;
    qsizetype m_position = 0;
    /// The pending text is always the characters from here up to the current position.
    qsizetype m_pending = 0;
    /// The first ">" at or after the last position looked from, the input's size when there is none.
    /// Positions only grow, so a ">" found once serves every "<" before it, and once none follows a
    /// position, none follows any later one: each character is looked at once, however many "<" are
    /// unmatched.
    qsizetype m_nextClose = -1;
    /// The closing token that follows an image, which never stays open.
    std::optional<Token> m_queued;
};

/// Splits the HTML into tokens, every open tag with its attributes.
QList<Token> tokenize(const QString &html);

/// The lower-case tag name at the start of the text between "<" and ">".
QString tagName(QStringView inner);

/// The attributes of a tag, from the trimmed text between "<" and ">". Names in lower case, values with
/// entities decoded; a later attribute replaces an earlier one of the same name. A "/" where an attribute
/// name would begin is stepped over (see AttributeScan).
QMap<QString, QString> parseAttrs(QStringView inner);

/// The loop of parseAttrs, one round at a time, over the text that follows the tag name.
///
/// Each round skips spaces, tabs and line feeds, reads a name (up to "=", space, ">" or "/"), skips
/// spaces and tabs, reads an optional "=" and value, and stores a named attribute. A round that would
/// read nothing (it starts on a "/" where a name would begin) steps over that one character instead, so
/// every round moves the scan forward and parseAttrs always ends.
class AttributeScan
{
public:
    explicit AttributeScan(QStringView attributeText);
    AttributeScan(const AttributeScan &) = delete;
    AttributeScan &operator=(const AttributeScan &) = delete;

    bool atEnd() const { return m_position >= m_chars.size(); }
    void step();
    /// The index of the character the next round starts from.
    qsizetype position() const { return m_position; }
    const QMap<QString, QString> &attributes() const { return m_attributes; }

private:
    void skipSpacesAndTabs();
    /// The value after "=", quoted or not.
    QStringView readValue();

    const QString m_text;
    const Characters m_chars;
    qsizetype m_position = 0;
    QMap<QString, QString> m_attributes;
};

/// Decodes the named entities of Notes' table ("&amp;", "&lt;", "&nbsp;", "&mdash;", ...), then
/// hexadecimal ("&#x...;", lower-case x only) and decimal ("&#...;") references that name a Unicode
/// scalar value. Anything else stays as written.
///
/// The result is always that of replacing the named entities one after another over the whole text in
/// a fixed order with "&amp;" last, then the hexadecimal references, then the decimal ones: a nested
/// form decodes once ("&amp;lt;" gives "&lt;"), except that "&amp;#65;" becomes "&#65;" and then "A".
/// Each step is one pass from left to right.
QString decodeEntities(const QString &text);

/// Replaces each match of `pattern` (ICU dialect, no options) by `transform` of its first capture group;
/// a match whose group took no part, or for which the transform gives no result, stays. An invalid
/// pattern leaves the text unchanged. The result is assembled in one pass.
QString replaceRegex(const QString &text, const QString &pattern,
    const std::function<std::optional<QString>(QStringView group)> &transform);

} // namespace HtmlToMarkdown
