#include "Regex.h"

#include <QMutex>
#include <QMutexLocker>

#include <unicode/regex.h>
#include <unicode/utext.h>

#include <unordered_map>

struct Regex::Private
{
    std::unique_ptr<icu::RegexPattern> compiled;
};

namespace {

/// Runs `body` with a matcher over `text`, which ICU reads in place through a UText.
template<typename Body> void withMatcher(const icu::RegexPattern &pattern, QStringView text, Body body)
{
    UErrorCode status = U_ZERO_ERROR;
    UText input = UTEXT_INITIALIZER;
    utext_openUChars(&input, reinterpret_cast<const UChar *>(text.utf16()), text.size(), &status);
    if (U_FAILURE(status))
        return;
    std::unique_ptr<icu::RegexMatcher> matcher(pattern.matcher(status));
    if (U_SUCCESS(status) && matcher) {
        matcher->reset(&input);
        body(*matcher);
    }
    utext_close(&input);
}

Regex::Match currentMatch(icu::RegexMatcher &matcher)
{
    UErrorCode status = U_ZERO_ERROR;
    Regex::Match match;
    match.start = matcher.start64(status);
    match.end = matcher.end64(status);
    const int32_t count = matcher.groupCount();
    match.groups.reserve(count);
    for (int32_t g = 1; g <= count; ++g) {
        const qsizetype start = matcher.start64(g, status);
        const qsizetype end = matcher.end64(g, status);
        match.groups.append(start < 0 ? std::pair<qsizetype, qsizetype>(-1, -1) : std::pair(start, end));
    }
    return match;
}

} // namespace

Regex::Regex(const QString &pattern)
    : d(std::make_unique<Private>())
{
    UErrorCode status = U_ZERO_ERROR;
    UParseError parseError;
    const icu::UnicodeString source(reinterpret_cast<const UChar *>(pattern.utf16()), int32_t(pattern.size()));
    d->compiled.reset(icu::RegexPattern::compile(source, 0, parseError, status));
    if (U_FAILURE(status))
        d->compiled.reset();
}

Regex::~Regex() = default;

bool Regex::isValid() const
{
    return d->compiled != nullptr;
}

QList<Regex::Match> Regex::matches(QStringView text) const
{
    QList<Match> result;
    if (!d->compiled)
        return result;
    withMatcher(*d->compiled, text, [&](icu::RegexMatcher &matcher) {
        while (matcher.find())
            result.append(currentMatch(matcher));
    });
    return result;
}

bool Regex::contains(QStringView text) const
{
    bool found = false;
    if (d->compiled)
        withMatcher(*d->compiled, text, [&](icu::RegexMatcher &matcher) { found = matcher.find(); });
    return found;
}

std::optional<Regex::Match> Regex::firstMatch(QStringView text) const
{
    std::optional<Match> result;
    if (d->compiled) {
        withMatcher(*d->compiled, text, [&](icu::RegexMatcher &matcher) {
            if (matcher.find())
                result = currentMatch(matcher);
        });
    }
    return result;
}

QString Regex::replaceAll(QStringView text, const QString &replacementTemplate) const
{
    if (!d->compiled)
        return text.toString();
    QString result;
    withMatcher(*d->compiled, text, [&](icu::RegexMatcher &matcher) {
        UErrorCode status = U_ZERO_ERROR;
        const icu::UnicodeString replacement(
            reinterpret_cast<const UChar *>(replacementTemplate.utf16()), int32_t(replacementTemplate.size()));
        const icu::UnicodeString replaced = matcher.replaceAll(replacement, status);
        if (U_SUCCESS(status))
            result = QString(reinterpret_cast<const QChar *>(replaced.getBuffer()), replaced.length());
        else
            result = text.toString();
    });
    return result;
}

QString Regex::replaceEach(const QString &text, const Replacement &replacement) const
{
    return replaceMatches(text, matches(text), replacement);
}

QString Regex::replaceMatches(const QString &text, const QList<Match> &matches, const Replacement &replacement)
{
    QList<std::optional<QString>> replacements(matches.size());
    bool replaced = false;
    for (qsizetype m = matches.size() - 1; m >= 0; --m) {
        replacements[m] = replacement(matches[m]);
        replaced = replaced || replacements[m].has_value();
    }
    if (!replaced)
        return text;
    QString result;
    result.reserve(text.size());
    qsizetype copied = 0;
    for (qsizetype m = 0; m < matches.size(); ++m) {
        if (!replacements[m])
            continue;
        result += QStringView(text).sliced(copied, matches[m].start - copied);
        result += *replacements[m];
        copied = matches[m].end;
    }
    result += QStringView(text).sliced(copied);
    return result;
}

const Regex &Regex::cached(const QString &pattern)
{
    // Patterns are few and fixed in practice, so the cache only grows to a handful of entries.
    static QMutex mutex;
    static std::unordered_map<QString, std::unique_ptr<Regex>> cache;
    QMutexLocker locker(&mutex);
    auto it = cache.find(pattern);
    if (it == cache.end())
        it = cache.emplace(pattern, std::make_unique<Regex>(pattern)).first;
    return *it->second;
}
