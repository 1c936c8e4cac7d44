#pragma once

#include <QList>
#include <QString>
#include <QStringView>

#include <functional>
#include <memory>
#include <optional>
#include <utility>

/// A regular expression in ICU's dialect (look-behind, lazy quantifiers, "(?m)", "\w" and "\d" over
/// Unicode), compiled once when the object is made.
///
/// The compiled pattern is immutable, so one object may be used from several threads at once: every
/// search makes its own matcher. Searches read the QString's UTF-16 storage in place, without copying it.
/// A pattern that does not compile gives an invalid object whose searches find nothing and whose
/// replacements return the text unchanged.
///
///     static const Regex tasks(u"(?m)^\\s*[-*] \\[[ xX]\\]"_s);
///     for (const Regex::Match &m : tasks.matches(body)) { ... }
class Regex
{
public:
    struct Match
    {
        qsizetype start = 0;
        qsizetype end = 0;
        /// Ranges of capture groups 1 to n, as (start, end); (-1, -1) for a group that took no part.
        QList<std::pair<qsizetype, qsizetype>> groups;

        bool hasGroup(int n) const { return n >= 1 && n <= groups.size() && groups[n - 1].first >= 0; }
        /// The text of group n (1-based) within the text that was searched; empty when it took no part.
        QStringView group(QStringView text, int n) const
        {
            if (!hasGroup(n))
                return {};
            return text.sliced(groups[n - 1].first, groups[n - 1].second - groups[n - 1].first);
        }
        QStringView whole(QStringView text) const { return text.sliced(start, end - start); }
    };

    explicit Regex(const QString &pattern);
    ~Regex();
    Regex(const Regex &) = delete;
    Regex &operator=(const Regex &) = delete;

    bool isValid() const;

    /// Every non-overlapping match over the whole text, in order.
    QList<Match> matches(QStringView text) const;
    /// Whether the pattern matches anywhere in the text.
    bool contains(QStringView text) const;
    /// The first match, if any.
    std::optional<Match> firstMatch(QStringView text) const;
    /// Replaces every match with an ICU replacement template, in which "$1" stands for group 1.
    QString replaceAll(QStringView text, const QString &replacementTemplate) const;

    /// What replaceEach puts in place of one match: a text, or no result to leave the match as it is.
    using Replacement = std::function<std::optional<QString>(const Match &match)>;
    /// `text` with every match replaced by what `replacement` gives for it. All matches are found before
    /// any is replaced, so a replacement is never searched again. `replacement` sees the matches from the
    /// last to the first, as replacing them in place would (a caller may record what it sees in that
    /// order); the result is then assembled from the first to the last in one pass, which keeps long
    /// texts with many matches linear.
    QString replaceEach(const QString &text, const Replacement &replacement) const;
    /// The same over matches found by other means: in order, without overlaps, and within `text`.
    static QString replaceMatches(const QString &text, const QList<Match> &matches, const Replacement &replacement);

    /// The compiled expression for a pattern given at run time: each distinct pattern is compiled once
    /// per process and kept. Safe to call from several threads.
    static const Regex &cached(const QString &pattern);

private:
    struct Private;
    std::unique_ptr<Private> d;
};
