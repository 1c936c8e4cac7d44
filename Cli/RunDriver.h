#pragma once

// What a whole run from the terminal needs around the controller that does it: Ctrl-C (and SIGTERM,
// SIGHUP) turned into a stop request, a progress line on standard error, and the event loop that the
// controller's coroutines run on.

#include <QCoreApplication>
#include <QObject>
#include <QString>

#include <QCoro/QCoroTask>

#include <csignal>
#include <functional>
#include <memory>

class QSocketNotifier;

/// The exit status of a run that Ctrl-C (or SIGTERM, or SIGHUP) cut short: 128 + SIGINT, as shells report
/// it for Ctrl-C.
constexpr int interruptedStatus = 130;

/// Turns SIGINT, SIGTERM and SIGHUP into a call on the event loop (the self-pipe pattern): a terminal
/// closing and a polite kill must not leave a run's temporary folder behind either. Lives as long as the
/// command; the signals' earlier handlers come back when it goes.
class Interrupt
{
public:
    Q_DISABLE_COPY(Interrupt)
    Interrupt();
    ~Interrupt();

    bool requested() const { return m_requested; }
    /// What a Ctrl-C does from now on, besides being remembered.
    void onInterrupt(std::function<void()> action) { m_onInterrupt = std::move(action); }

private:
    static constexpr int signalCount = 3;
    std::unique_ptr<QSocketNotifier> m_notifier;
    struct sigaction m_previous[signalCount] = {};
    bool m_requested = false;
    std::function<void()> m_onInterrupt;
};

/// One line on standard error, redrawn in place: a bar, the percentage and the note being worked on.
/// Drawn only when standard error is a terminal.
class ProgressLine
{
public:
    ProgressLine();
    void draw(double fraction, const QString &label);
    void clear();

private:
    bool m_enabled;
    bool m_drawn = false;
};

/// Runs `task` on the application's event loop until it ends.
void runOnEventLoop(QCoro::Task<> task);

/// Runs what `start` starts on `controller` (a Migrator or an Exporter), drawing its progress and current
/// note (or `placeholder` while there is none, drawn at once when not empty), and turning Ctrl-C into the
/// controller's stop request.
template<typename Controller>
QCoro::Task<> withProgress(
    Controller &controller, Interrupt &interrupt, QString placeholder, std::function<QCoro::Task<>()> start)
{
    ProgressLine progress;
    const auto redraw = [&] {
        progress.draw(
            controller.progress(), controller.currentNote().isEmpty() ? placeholder : controller.currentNote());
    };
    QObject::connect(&controller, &Controller::progressChanged, &controller, redraw);
    QObject::connect(&controller, &Controller::currentNoteChanged, &controller, redraw);
    interrupt.onInterrupt([&controller] { controller.requestStop(); });
    if (!placeholder.isEmpty())
        redraw();
    QCoro::Task<> run = start();
    co_await run;
    interrupt.onInterrupt({});
    QObject::disconnect(&controller, nullptr, &controller, nullptr);
    progress.clear();
}
