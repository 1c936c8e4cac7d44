#pragma once

#include <QHash>
#include <QMap>
#include <QSet>
#include <QString>

#include <functional>
#include <optional>
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

/// What a conversion does beyond the plain rules. With everything left off, convert(html, options) is
/// convert(html).
struct ConvertOptions
{
    /// Notes' Title and Heading styles become headings. Notes keeps no heading tags: a paragraph that is
    /// exactly `<div><b><span style="font-size: …">…</span></b></div>` becomes "# " from 24 px up, "## "
    /// from 18 px up and "### " below; one that is bold alone as its whole line (`<div><b>…</b></div>`,
    /// which Notes makes of a third-level heading) becomes "### ". Only paragraphs outside lists and
    /// code blocks count.
    bool headings = false;
    /// Asked for the target of each link to another note (see noteLinkIdentifier): the name to write
    /// as the wiki link `[[name]]` in place of the link and its text, or nothing to keep the link as
    /// convert(html) writes it.
    std::function<std::optional<QString>(const QString &url)> noteLink;
    /// Asked for the source of each image held in the body as a `data:` URI: the destination to refer
    /// to instead (written as it is given, so already percent-encoded), or nothing to keep the image
    /// inline as convert(html) writes it.
    std::function<std::optional<QString>(const QString &source)> image;
};

/// The Markdown of one note body, converted with `options`.
QString convert(const QString &html, const ConvertOptions &options);

/// The note that a link's target names, as Notes writes links between notes:
/// `applenotes:note/IDENT` (anything from "?" on is no part of it) or
/// `notes://showNote?identifier=IDENT`, schemes in any case, IDENT percent-decoded. Nothing for any
/// other target, or an empty IDENT.
std::optional<QString> noteLinkIdentifier(const QString &url);

/// The notes that links can point at, by Notes id, each with the name it is linked by. A link names a
/// note by its whole id or by the id's last "/"-separated part (`applenotes:note/p7` and
/// `applenotes:note/x-coredata://…/ICNote/p7` both name the note `x-coredata://…/ICNote/p7`); a last part
/// that several notes share names none of them.
class NoteLinkTargets
{
public:
    /// Adds the note `id` (ignored when empty), linked as `name`.
    void add(const QString &id, const QString &name);
    /// The name of the note that `url` links to: nothing when `url` is no link to a note, or to none of
    /// the notes added.
    std::optional<QString> resolve(const QString &url) const;

private:
    QHash<QString, QString> m_byId;
    QHash<QString, QString> m_byLastPart;
    QSet<QString> m_sharedLastParts;
};

} // namespace HtmlToMarkdown
