#include "MarkdownLite.h"
#include "MarkdownLite_p.h"

#include "MarkdownPatterns.h"
#include "Regex.h"
#include "Text.h"

#include <functional>

using namespace Qt::StringLiterals;

namespace MarkdownLite {

namespace {

// The fixed HTML of a note body. Notes keeps only inline styling, so every size and face is spelled out.
const QString horizontalRule = u"<div>━━━━━━━━━━</div>"_s;
const QString headingStart = u"<div><b><span style=\"font-size:"_s;
const QString headingEnd = u"</span></b></div>"_s;
const QString tableStart = u"<table cellspacing=\"0\" style=\"border-collapse:collapse\">"_s;
const QString cellStyle = u" style=\"border:1px solid #ccc;padding:3px 6px\">"_s;
const QString codeBlockStart = u"<pre style=\"font-family:Menlo,monospace\">"_s;
const QString codeBlockEnd = u"</pre>"_s;
const QString quoteStart = u"<div>┃ <i>"_s;
const QString quoteEnd = u"</i></div>"_s;
const QString blankLine = u"<div><br></div>"_s;
const QString openTaskBox = u"☐ "_s;
const QString doneTaskBox = u"☑ "_s;
const QString imagePlaceholderStart = u"📎 <i>[image: "_s;
const QString imagePlaceholderEnd = u"]</i>"_s;

const QString codeFence = u"```"_s;

/// Escapes the five HTML-special characters in one pass. Replacing "&" first and then the others in
/// turn gives the same text, in whatever order the others come.
QString escapeHtml(QStringView text)
{
    return Text::replaceCharacters(
        text, { { u'&', u"&amp;" }, { u'<', u"&lt;" }, { u'>', u"&gt;" }, { u'"', u"&quot;" }, { u'\'', u"&#39;" } });
}

QString lastPathComponentOf(const QString &target)
{
    return target.mid(target.lastIndexOf(u'/') + 1);
}

} // namespace

namespace {

using Transform = std::function<QString(const QStringList &groups)>;

/// Replaces each match by `transform` of its capture groups 1 to `groups`; a match where fewer groups
/// took part stays as it is.
QString replaceGroups(const QString &text, const QList<Regex::Match> &found, int groups, const Transform &transform)
{
    return Regex::replaceMatches(text, found, [&](const Regex::Match &match) -> std::optional<QString> {
        QStringList collected;
        for (int g = 1; g <= groups; ++g) {
            if (match.hasGroup(g))
                collected.append(match.group(text, g).toString());
        }
        if (collected.size() != groups)
            return std::nullopt;
        return transform(collected);
    });
}

} // namespace

QString sanitizeHref(const QString &url)
{
    const QStringView t = Text::trimHorizontal(url);
    const QString lower = t.toString().toLower();
    if (!lower.startsWith(u"http://") && !lower.startsWith(u"https://") && !lower.startsWith(u"mailto:"))
        return {};
    // The target comes from text that is already escaped: escaping it again would put "&amp;amp;" into
    // the note, and the link would open another page.
    return t.toString();
}

QString unescape(QStringView escaped)
{
    static constexpr std::pair<QStringView, QChar> entities[] = {
        { u"&amp;", u'&' },
        { u"&lt;", u'<' },
        { u"&gt;", u'>' },
        { u"&quot;", u'"' },
        { u"&#39;", u'\'' },
    };
    QString out;
    out.reserve(escaped.size());
    qsizetype i = 0;
    while (i < escaped.size()) {
        const qsizetype amp = escaped.indexOf(u'&', i);
        if (amp < 0)
            break;
        out += escaped.sliced(i, amp - i);
        i = amp + 1;
        const QStringView rest = escaped.sliced(amp);
        bool decoded = false;
        for (const auto &[entity, character] : entities) {
            if (rest.startsWith(entity)) {
                out += character;
                i = amp + entity.size();
                decoded = true;
                break;
            }
        }
        if (!decoded)
            out += u'&';
    }
    out += escaped.sliced(i);
    return out;
}

QString inlineHtml(const QString &text, QStringList &images)
{
    // The substitutions, in their order. The bracketed forms are found by linear scans that give the
    // same matches as their patterns; the others are compiled once. A step whose pattern needs a
    // character the text does not hold is skipped, which changes nothing but the time taken.
    static const Regex boldItalic(uR"(\*\*\*(.+?)\*\*\*)"_s);
    static const Regex bold(uR"(\*\*(.+?)\*\*)"_s);
    static const Regex italic(uR"((?<![\w*])\*([^*\n]+?)\*(?![\w*]))"_s);
    static const Regex strikethrough(uR"(~~(.+?)~~)"_s);
    static const Regex inlineCode(uR"(`([^`]+)`)"_s);

    QString s = escapeHtml(text);

    if (s.contains(u'[')) {
        // Image targets are collected as written in the file, so that they name the files on disk; the
        // placeholder shows them escaped.
        s = replaceGroups(s, MarkdownPatterns::wikiEmbeds(s), 1, [&images](const QStringList &g) {
            images.append(unescape(g[0]));
            return imagePlaceholderStart + g[0] + imagePlaceholderEnd;
        });
        s = replaceGroups(s, MarkdownPatterns::markdownImages(s), 1, [&images](const QStringList &g) {
            images.append(unescape(g[0]));
            return imagePlaceholderStart + lastPathComponentOf(g[0]) + imagePlaceholderEnd;
        });
        s = replaceGroups(s, MarkdownPatterns::aliasedWikiLinks(s), 2,
            [](const QStringList &g) { return u"<u>"_s + g[1] + u"</u>"_s; });
        s = replaceGroups(s, MarkdownPatterns::plainWikiLinks(s), 1,
            [](const QStringList &g) { return u"<u>"_s + g[0] + u"</u>"_s; });
        s = replaceGroups(s, MarkdownPatterns::markdownLinks(s), 2, [](const QStringList &g) {
            const QString href = sanitizeHref(g[1]);
            if (href.isEmpty())
                return g[0];
            return u"<a href=\""_s + href + u"\">"_s + g[0] + u"</a>"_s;
        });
    }
    if (s.contains(u'*')) {
        s = boldItalic.replaceAll(s, u"<b><i>$1</i></b>"_s);
        s = bold.replaceAll(s, u"<b>$1</b>"_s);
        s = italic.replaceAll(s, u"<i>$1</i>"_s);
    }
    if (s.contains(u"~~"))
        s = strikethrough.replaceAll(s, u"<strike>$1</strike>"_s);
    if (s.contains(u'`'))
        s = inlineCode.replaceAll(s, u"<font face=\"Menlo\">$1</font>"_s);
    return s;
}

std::optional<int> headingLevel(QStringView t)
{
    if (!t.startsWith(u'#'))
        return std::nullopt;
    qsizetype n = 0;
    while (n < t.size() && t[n] == u'#')
        ++n;
    if (n <= 6 && t.size() > n && t[n] == u' ')
        return int(n);
    return std::nullopt;
}

int leadingIndent(QStringView line)
{
    int indent = 0;
    for (const QChar c : line) {
        if (c == u' ')
            indent += 1;
        else if (c == u'\t')
            indent += 4;
        else
            break;
    }
    return indent;
}

QStringList splitTableRow(QStringView row)
{
    QStringList cells;
    QString current;
    bool escaped = false;
    for (const QChar c : row) {
        if (escaped) {
            if (c != u'|')
                current += u'\\';
            current += c;
            escaped = false;
        } else if (c == u'\\') {
            escaped = true;
        } else if (c == u'|') {
            cells.append(current);
            current.clear();
        } else {
            current += c;
        }
    }
    if (escaped)
        current += u'\\';
    cells.append(current);
    return cells;
}

bool isTableSeparator(const QStringList &cells)
{
    for (const QString &cell : cells) {
        if (cell.isEmpty() || !cell.contains(u'-'))
            return false;
        for (const QChar c : cell) {
            if (c != u'-' && c != u':' && c != u' ')
                return false;
        }
    }
    return true;
}

std::pair<QString, QString> splitTaskMarker(const QString &text)
{
    QStringView s(text);
    while (s.startsWith(u' '))
        s = s.sliced(1);
    const auto rest = [&s] { return Text::trimHorizontal(s.sliced(3)).toString(); };
    if (s.startsWith(u"[ ] ") || s == u"[ ]")
        return { openTaskBox, rest() };
    if (s.startsWith(u"[x] ") || s.startsWith(u"[X] ") || s == u"[x]" || s == u"[X]")
        return { doneTaskBox, rest() };
    return { QString(), text };
}

std::optional<std::pair<QString, QString>> listItem(const QString &t)
{
    if (t.startsWith(u"- ") || t.startsWith(u"* ") || t.startsWith(u"+ "))
        return std::pair(u"ul"_s, t.mid(2));
    static const Regex numbered(uR"(^\d+\. )"_s);
    if (const std::optional<Regex::Match> match = numbered.firstMatch(t))
        return std::pair(u"ol"_s, t.mid(match->end));
    return std::nullopt;
}

void closeLists(QList<std::pair<QString, int>> &stack, QStringList &fragments)
{
    while (!stack.isEmpty())
        fragments.append(u"</"_s + stack.takeLast().first + u'>');
}

namespace {

/// One conversion: the note's lines, the fragments made so far, the open lists and the images met.
/// Each block reader starts at line `i`, emits its fragments and gives the line after the block.
struct BlockRenderer
{
    QStringList lines;
    QStringList fragments;
    QList<std::pair<QString, int>> lists;
    QStringList images;

    qsizetype block(qsizetype i);
    qsizetype codeBlock(qsizetype i);
    qsizetype table(qsizetype i);
    void heading(const QString &t, int level);
    void listItem(const QString &line, const QString &tag, const QString &itemText);
    void singleLine(const QString &t);
};

qsizetype BlockRenderer::block(qsizetype i)
{
    const QString &line = lines[i];
    const QString t = Text::trimHorizontal(line).toString();
    if (t.startsWith(codeFence))
        return codeBlock(i);
    if (t.startsWith(u'|') && t.endsWith(u'|'))
        return table(i);
    if (const std::optional<int> level = headingLevel(t)) {
        heading(t, *level);
    } else if (const auto item = MarkdownLite::listItem(t)) {
        listItem(line, item->first, item->second);
    } else {
        singleLine(t);
    }
    return i + 1;
}

/// Lines up to the closing fence (or the end), escaped and otherwise as written; the opening line's
/// language name is ignored.
qsizetype BlockRenderer::codeBlock(qsizetype i)
{
    closeLists(lists, fragments);
    QStringList code;
    qsizetype j = i + 1;
    while (j < lines.size() && !Text::trimHorizontal(lines[j]).startsWith(codeFence))
        code.append(escapeHtml(lines[j++]));
    fragments.append(codeBlockStart + code.join(u'\n') + codeBlockEnd);
    return j + 1; // after the closing fence, or past the end
}

/// This line and the following ones that start with "|". The first row is the header, and only the
/// second line can be the separator row.
qsizetype BlockRenderer::table(qsizetype i)
{
    closeLists(lists, fragments);
    QList<QStringList> rows;
    qsizetype j = i;
    for (qsizetype k = 0; j < lines.size(); ++j, ++k) {
        const QStringView row = Text::trimHorizontal(lines[j]);
        if (k > 0 && !row.startsWith(u'|'))
            break;
        // The first and the last character go, whatever the last one is.
        QStringList cells = splitTableRow(row.size() >= 2 ? row.sliced(1, row.size() - 2) : QStringView());
        for (QString &cell : cells)
            cell = Text::trimHorizontal(cell).toString();
        if (k == 1 && !cells.isEmpty() && isTableSeparator(cells))
            continue;
        rows.append(cells);
    }
    QString html = tableStart;
    for (qsizetype r = 0; r < rows.size(); ++r) {
        const QString cellTag = r == 0 ? u"th"_s : u"td"_s;
        html += u"<tr>";
        for (const QString &cell : std::as_const(rows[r]))
            html += u'<' + cellTag + cellStyle + inlineHtml(cell, images) + u"</"_s + cellTag + u'>';
        html += u"</tr>";
    }
    html += u"</table>";
    fragments.append(html);
    return j;
}

void BlockRenderer::heading(const QString &t, int level)
{
    closeLists(lists, fragments);
    int size = 24 - 4 * (level - 1); // 24, 20, 16, then 14 for every smaller heading
    if (size < 15)
        size = 14;
    fragments.append(
        headingStart + QString::number(size) + u"px\">"_s + inlineHtml(t.mid(level + 1), images) + headingEnd);
}

/// Opens and closes lists by the item's indent, then emits the item.
void BlockRenderer::listItem(const QString &line, const QString &tag, const QString &itemText)
{
    const int indent = leadingIndent(line);
    while (!lists.isEmpty() && lists.last().second > indent)
        fragments.append(u"</"_s + lists.takeLast().first + u'>');
    if (lists.isEmpty() || lists.last().second < indent) {
        lists.append({ tag, indent });
        fragments.append(u'<' + tag + u'>');
    } else if (lists.last().first != tag) {
        // A bullet list followed by a numbered one at the same depth, or the other way round.
        fragments.append(u"</"_s + lists.takeLast().first + u'>');
        lists.append({ tag, indent });
        fragments.append(u'<' + tag + u'>');
    }
    const auto [checkbox, rest] = splitTaskMarker(itemText);
    fragments.append(u"<li>"_s + checkbox + inlineHtml(rest, images) + u"</li>"_s);
}

/// A quote line, a rule, a blank line or a paragraph: each source line is a block of its own.
void BlockRenderer::singleLine(const QString &t)
{
    closeLists(lists, fragments);
    if (t.startsWith(u'>')) {
        // Nested quote markers flatten to one level.
        QStringView quoted(t);
        while (quoted.startsWith(u'>') || quoted.startsWith(u' '))
            quoted = quoted.sliced(1);
        fragments.append(quoteStart + inlineHtml(quoted.toString(), images) + quoteEnd);
    } else if (t == u"---" || t == u"***") {
        fragments.append(horizontalRule);
    } else if (t.isEmpty()) {
        fragments.append(blankLine);
    } else {
        fragments.append(u"<div>"_s + inlineHtml(t, images) + u"</div>"_s);
    }
}

} // namespace

Output convert(const QString &markdown)
{
    BlockRenderer renderer;
    renderer.lines = markdown.split(u'\n');
    for (qsizetype i = 0; i < renderer.lines.size();)
        i = renderer.block(i);
    closeLists(renderer.lists, renderer.fragments);
    return { renderer.fragments.join(u'\n'), renderer.images };
}

} // namespace MarkdownLite
