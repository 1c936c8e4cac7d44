// Links between notes: which note a link's target names, and the notes of an export it can point at.

#include "HtmlToMarkdown.h"

#include <QUrl>
#include <QUrlQuery>

using namespace Qt::StringLiterals;

namespace HtmlToMarkdown {

namespace {

/// The part of an id after its last "/": what a short link such as `applenotes:note/p7` names.
QString lastPart(const QString &id)
{
    return id.mid(id.lastIndexOf(u'/') + 1);
}

/// IDENT of `applenotes:note/IDENT?…`, still percent-encoded.
std::optional<QString> applenotesIdentifier(const QString &url)
{
    static const QString prefix = u"applenotes:note/"_s;
    if (!url.startsWith(prefix, Qt::CaseInsensitive))
        return std::nullopt;
    const QString rest = url.mid(prefix.size());
    return rest.left(rest.indexOf(u'?')); // the whole rest when it has no "?"
}

/// IDENT of `notes://showNote?…identifier=IDENT…`, still percent-encoded.
std::optional<QString> showNoteIdentifier(const QString &url)
{
    static const QString prefix = u"notes://shownote?"_s;
    if (!url.startsWith(prefix, Qt::CaseInsensitive))
        return std::nullopt;
    const QUrlQuery query(url.mid(prefix.size()));
    for (const auto &[key, value] : query.queryItems(QUrl::FullyEncoded)) {
        if (key.compare(u"identifier"_s, Qt::CaseInsensitive) == 0)
            return value;
    }
    return std::nullopt;
}

} // namespace

std::optional<QString> noteLinkIdentifier(const QString &url)
{
    std::optional<QString> identifier = applenotesIdentifier(url);
    if (!identifier)
        identifier = showNoteIdentifier(url);
    if (!identifier)
        return std::nullopt;
    const QString decoded = QUrl::fromPercentEncoding(identifier->toUtf8());
    if (decoded.isEmpty())
        return std::nullopt;
    return decoded;
}

void NoteLinkTargets::add(const QString &id, const QString &name)
{
    if (id.isEmpty())
        return;
    m_byId.insert(id, name);
    const QString part = lastPart(id);
    if (m_sharedLastParts.contains(part))
        return;
    if (m_byLastPart.contains(part)) {
        // Two notes end alike: a short link could mean either, so it means neither.
        m_byLastPart.remove(part);
        m_sharedLastParts.insert(part);
        return;
    }
    m_byLastPart.insert(part, name);
}

std::optional<QString> NoteLinkTargets::resolve(const QString &url) const
{
    const std::optional<QString> identifier = noteLinkIdentifier(url);
    if (!identifier)
        return std::nullopt;
    if (const auto found = m_byId.constFind(*identifier); found != m_byId.cend())
        return *found;
    if (const auto found = m_byLastPart.constFind(*identifier); found != m_byLastPart.cend())
        return *found;
    return std::nullopt;
}

} // namespace HtmlToMarkdown
