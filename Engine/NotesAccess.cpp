#include "NotesAccess_p.h"

#include "Errors.h"
#include "NotesBridge_p.h"
#include "ScriptRunner.h"
#include "Text.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStandardPaths>

#include <algorithm>
#include <limits>

using namespace Qt::StringLiterals;

namespace NotesAccess {

namespace {

/// The error number at the end of osascript's message ("… (-1712)"), or nothing.
std::optional<int> errorNumber(const QString &failure)
{
    static const QRegularExpression number(u"\\((-\\d+)\\)\\s*$"_s);
    const QRegularExpressionMatch match = number.match(failure);
    if (!match.hasMatch())
        return std::nullopt;
    bool ok = false;
    const int value = match.captured(1).toInt(&ok);
    return ok ? std::optional<int>(value) : std::nullopt;
}

/// A count as the plural forms take it; a count beyond int's range reads as the largest.
int pluralCount(qint64 n)
{
    return int(std::min<qint64>(n, std::numeric_limits<int>::max()));
}

/// Whether macOS stands between Velloran and Notes: Automation refused, or not yet decided and not askable.
bool permissionMissing(const Check &check)
{
    return check.automation == Check::Automation::refused
        || (check.automation == Check::Automation::unknown && errorNumber(check.failure) == -1744);
}

QString titleOf(const Check &check)
{
    if (check.ok())
        return QCoreApplication::translate("Velloran", "Velloran can reach Apple Notes");
    if (!check.runnerFound)
        return QCoreApplication::translate("Velloran", "osascript is missing");
    if (permissionMissing(check))
        return QCoreApplication::translate("Velloran", "Velloran may not control Apple Notes");
    return QCoreApplication::translate("Velloran", "Apple Notes did not answer");
}

Presentation::Section runnerSection(const Check &check)
{
    QString state;
    if (check.runnerFound)
        state = QCoreApplication::translate("Velloran", "%1 — found").arg(check.runner);
    else if (check.failure.isEmpty())
        state = QCoreApplication::translate("Velloran", "%1 — not found").arg(check.runner);
    else
        state
            = QCoreApplication::translate("Velloran", "%1 — could not be started: %2").arg(check.runner, check.failure);
    return { QCoreApplication::translate("Velloran", "osascript"), { state }, QString() };
}

Presentation::Section automationSection(const Check &check)
{
    QStringList entries;
    switch (check.automation) {
    case Check::Automation::granted:
        entries.append(QCoreApplication::translate("Velloran", "granted"));
        break;
    case Check::Automation::refused:
        entries.append(QCoreApplication::translate("Velloran", "refused (-1743)"));
        break;
    case Check::Automation::unknown:
        if (!check.runnerFound) {
            entries.append(QCoreApplication::translate("Velloran", "not checked: asking Notes needs osascript"));
        } else {
            entries.append(QCoreApplication::translate("Velloran", "not known: %1").arg(meaningOf(check.failure)));
            entries.append(QCoreApplication::translate("Velloran", "osascript said: %1").arg(check.failure));
        }
        break;
    }
    return { QCoreApplication::translate("Velloran", "Automation for Notes"), entries, QString() };
}

} // namespace

std::optional<std::pair<qint64, qint64>> parseCounts(const QString &output)
{
    static const QRegularExpression counts(u"^(\\d+) (\\d+)$"_s);
    const QRegularExpressionMatch match = counts.match(Text::trimWhitespaceAndNewlines(output));
    if (!match.hasMatch())
        return std::nullopt;
    bool foldersOk = false;
    bool notesOk = false;
    const qint64 folders = match.captured(1).toLongLong(&foldersOk);
    const qint64 notes = match.captured(2).toLongLong(&notesOk);
    if (!foldersOk || !notesOk)
        return std::nullopt;
    return std::pair { folders, notes };
}

std::optional<QString> findRunner(const QString &runner)
{
    if (!runner.contains(u'/')) {
        const QString found = QStandardPaths::findExecutable(runner);
        return found.isEmpty() ? std::nullopt : std::optional<QString>(found);
    }
    // A file that is there but cannot be run is found: starting it then says why it cannot run.
    const QFileInfo file(runner);
    return file.exists() && !file.isDir() ? std::optional<QString>(runner) : std::nullopt;
}

QCoro::Task<Check> check()
{
    Check result;
    result.runner = NotesBridge::scriptRunnerProgram();
    if (!findRunner(result.runner))
        co_return result;
    result.runnerFound = true;
    try {
        QCoro::Task<QString> running
            = ScriptRunner::run(ScriptRunner::Side::read, countProgram.toString(), QStringList());
        const QString output = co_await running;
        if (const std::optional<std::pair<qint64, qint64>> counts = parseCounts(output)) {
            result.automation = Check::Automation::granted;
            result.folders = counts->first;
            result.notes = counts->second;
        } else {
            result.failure = QCoreApplication::translate("Velloran", "unexpected answer: %1")
                                 .arg(Text::trimWhitespaceAndNewlines(output));
        }
    } catch (const LaunchError &error) {
        result.runnerFound = false;
        result.failure = error.errorDescription();
    } catch (const ScriptError &error) {
        // The same plain test as the permission text of every other script failure.
        result.failure = error.message();
        if (error.message().contains(u"-1743"))
            result.automation = Check::Automation::refused;
    } catch (const std::exception &error) {
        result.failure = errorDescription(error);
    }
    co_return result;
}

QString bundleIdentifier()
{
    return QStringLiteral(VELLORAN_BUNDLE_ID);
}

QString meaningOf(const QString &failure)
{
    switch (errorNumber(failure).value_or(0)) {
    case -1743:
        return QCoreApplication::translate("Velloran", "Velloran is not allowed to control Notes (-1743)");
    case -1744:
        return QCoreApplication::translate(
            "Velloran", "macOS would have to ask you first, and could not ask now (-1744)");
    case -600:
        return QCoreApplication::translate("Velloran", "Apple Notes is not running and could not be started (-600)");
    case -609:
        return QCoreApplication::translate("Velloran", "the connection to Apple Notes was lost (-609)");
    case -1712:
        return QCoreApplication::translate("Velloran", "Apple Notes did not answer in time (-1712)");
    case -2740:
    case -2741:
        return QCoreApplication::translate("Velloran", "this Apple Notes does not understand the check (%1)")
            .arg(*errorNumber(failure));
    default:
        return QCoreApplication::translate("Velloran", "Apple Notes reported an error");
    }
}

Presentation::Outcome outcomeOf(const Check &check)
{
    Presentation::Outcome outcome;
    outcome.title = titleOf(check);
    outcome.hasIssues = !check.ok();
    outcome.summary = check.automation == Check::Automation::granted
        ? QCoreApplication::translate("Velloran", "%1 · %2")
              .arg(QCoreApplication::translate("Velloran", "%n folders", nullptr, pluralCount(check.folders)),
                  QCoreApplication::translate("Velloran", "%n notes", nullptr, pluralCount(check.notes)))
        : QCoreApplication::translate("Velloran", "No folders or notes could be read.");
    outcome.sections = { runnerSection(check), automationSection(check) };
    if (!check.runnerFound) {
        outcome.sections.append({ QString(), {},
            QCoreApplication::translate("Velloran",
                "Velloran asks Apple Notes through osascript, which macOS keeps at /usr/bin/osascript. "
                "VELLORAN_OSASCRIPT, when set, names the program to use instead.") });
    }
    if (permissionMissing(check)) {
        outcome.sections.append({ QCoreApplication::translate("Velloran", "To grant it"),
            { QCoreApplication::translate("Velloran",
                  "Open System Settings → Privacy & Security → Automation → Velloran → Notes and switch Notes on."),
                QCoreApplication::translate(
                    "Velloran", "If Velloran is not listed there, have macOS ask again: tccutil reset AppleEvents %1")
                    .arg(bundleIdentifier()),
                QCoreApplication::translate("Velloran", "Then check again.") },
            QString() });
    }
    return outcome;
}

} // namespace NotesAccess
