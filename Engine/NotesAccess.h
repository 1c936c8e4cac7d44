#pragma once

#include "Presentation.h"

#include <QMetaObject>
#include <QString>

#include <QCoro/QCoroTask>

/// The permission check: whether Velloran can reach Apple Notes at all, and if not, why and what to do.
///
/// It runs one harmless read (the numbers of folders and notes) through the read side's script runner,
/// the same way every export starts, and turns the outcome into facts: the program that runs scripts and
/// whether it exists, whether Automation for Notes is granted, and what Notes holds. velloran-cli's doctor
/// and the direction picker's permission panel show the same facts through outcomeOf().
namespace NotesAccess {

/// What one check found.
struct Check
{
    Q_GADGET
    Q_PROPERTY(QString runner MEMBER runner)
    Q_PROPERTY(bool runnerFound MEMBER runnerFound)
    Q_PROPERTY(Automation automation MEMBER automation)
    Q_PROPERTY(QString failure MEMBER failure)
    Q_PROPERTY(qint64 folders MEMBER folders)
    Q_PROPERTY(qint64 notes MEMBER notes)
    Q_PROPERTY(bool ok READ ok)

public:
    enum class Automation {
        /// Notes answered the read.
        granted,
        /// Notes refused the read: the user has not allowed Velloran to automate it (-1743).
        refused,
        /// Not known: the runner is missing, or Notes failed for another reason (see failure).
        unknown,
    };
    Q_ENUM(Automation)

    /// The program that runs the scripts, as configured: VELLORAN_OSASCRIPT, or /usr/bin/osascript.
    QString runner;
    /// Whether that program exists and could be started.
    bool runnerFound = false;
    Automation automation = Automation::unknown;
    /// Why the read failed: osascript's trimmed standard error, or the system's text when the runner could
    /// not be started. Empty when Notes answered.
    QString failure;
    /// What Notes holds: every folder of every account, and every note. Zero unless Notes answered.
    qint64 folders = 0;
    qint64 notes = 0;

    /// Everything is in place: the runner exists and Notes answered.
    bool ok() const { return runnerFound && automation == Automation::granted; }

    friend bool operator==(const Check &, const Check &) = default;
};

/// Runs the check without blocking the thread that awaits it. Never throws: every failure is part of the
/// Check.
QCoro::Task<Check> check();

/// The application's bundle identifier, which `tccutil reset AppleEvents` takes to have macOS ask again.
QString bundleIdentifier();

/// What an error number in osascript's message means for reaching Notes ("Apple Notes is not running and
/// could not be started (-600)"), or a general text for numbers without a meaning of their own.
QString meaningOf(const QString &failure);

/// The check as one screen shows it: a title saying whether Notes can be reached, the numbers of folders
/// and notes, the runner and the Automation permission, and, when something is missing, what to do about
/// it. hasIssues is set unless the check is ok().
Presentation::Outcome outcomeOf(const Check &check);

} // namespace NotesAccess
