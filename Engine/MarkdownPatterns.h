#pragma once

#include "Regex.h"

#include <QList>
#include <QStringView>

/// Linear-time finders for the bracketed Markdown forms: wiki embeds, wiki links (plain and aliased),
/// Markdown images and Markdown links.
///
/// Each finder gives exactly the matches (ranges and capture groups) that a leftmost search with its
/// ICU pattern, named beside it, would give, in order and without overlaps. The patterns backtrack over
/// the rest of the text from every "[" that does not close: a line of 40,000 "[" took most of a minute.
/// Here every candidate start is decided from three tables of "the next ']' / ']' or '|' / ')' at or
/// after this position", built once per text, so the cost is proportional to the text's length.
///
/// Only ASCII delimiters decide a match, and no surrogate or combining mark equals one, so scanning
/// UTF-16 code units gives the same result as the regular-expression engine's code points.
namespace MarkdownPatterns {

/// `!\[\[([^\]|]+?)(?:\|[^\]]*)?\]\]`; group 1 is the target.
QList<Regex::Match> wikiEmbeds(QStringView text);
/// `(?<!\!)\[\[([^\]|]+?)(?:\|[^\]]*)?\]\]`; group 1 is the target. An embed is not a link.
QList<Regex::Match> wikiLinkTargets(QStringView text);
/// `\[\[([^\]|]+?)\|([^\]]+?)\]\]`; groups: target, alias.
QList<Regex::Match> aliasedWikiLinks(QStringView text);
/// `\[\[([^\]|]+?)\]\]`; group 1 is the target.
QList<Regex::Match> plainWikiLinks(QStringView text);
/// `!\[[^\]]*\]\(([^)]+)\)`; group 1 is everything between the parentheses.
QList<Regex::Match> markdownImages(QStringView text);
/// `\[([^\]]+)\]\(([^)]+)\)`; groups: label, target.
QList<Regex::Match> markdownLinks(QStringView text);

/// Whether `(?m)^\s*[-*] \[[ xX]\]` matches anywhere in the text: a "- [ ]", "* [x]" or "- [X]" item
/// after nothing but white space at the start of a line.
bool hasTaskItem(QStringView text);

} // namespace MarkdownPatterns
