#pragma once

#include <QMap>
#include <QString>

#include <utility>

/// Turns the HTML body of an Apple Notes note into Markdown.
///
/// Two small steps: the HTML is cut into a flat list of tokens (no tree, no positions, entities decoded
/// later), then one walk over the tokens writes Markdown with a handful of stacks. Only the tag shapes
/// that Notes produces are known; any other tag is dropped and its text kept. Never fails: an unmatched
/// "<" is text, an unterminated comment or declaration ends the input, an unknown entity stays as
/// written.
///
/// Characters are user-perceived characters (extended grapheme clusters) throughout: "<" followed by a
/// combining mark is text, and "\r\n" is one character.
///
/// Every input ends: a "/" standing where an attribute name would begin (as in
/// `<img src="a.png" / alt="b">`) is stepped over and the attributes after it are read. The cost stays
/// near-linear in the input's length whatever its shape (unmatched "<", nested lists, anchors or inline
/// tags, numeric references); lists nested deeper than 32 levels are indented as the 32nd level.
namespace HtmlToMarkdown {

/// One piece of the HTML: a run of text, an opening tag, a closing tag or a self-closing tag.
struct Token
{
    /// The four cases, in this order.
    enum class Kind { text, open, close, selfClosing };

    Kind kind = Kind::text;
    /// For `text`, the raw text with entities not yet decoded; for the tags, the name in lower case.
    QString value;
    /// Only `open` tokens carry attributes: lower-case names, values with entities decoded.
    QMap<QString, QString> attributes;

    static Token text(QString raw) { return { Kind::text, std::move(raw), {} }; }
    static Token open(QString name, QMap<QString, QString> attributes = {})
    {
        return { Kind::open, std::move(name), std::move(attributes) };
    }
    static Token close(QString name) { return { Kind::close, std::move(name), {} }; }
    static Token selfClosing(QString name) { return { Kind::selfClosing, std::move(name), {} }; }

    friend bool operator==(const Token &, const Token &) = default;
};

/// The Markdown of one note body: tokenized, rendered, runs of three or more line feeds cut to two,
/// and trimmed of white space and line breaks at both ends.
QString convert(const QString &html);

} // namespace HtmlToMarkdown
