#include "RunDriver.h"

#include "CliIo.h"

#include <QSocketNotifier>

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

int interruptPipe[2] = { -1, -1 };

extern "C" void onInterruptSignal(int)
{
    // Only async-signal-safe work here: one byte into the pipe, read on the event loop.
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(interruptPipe[1], &byte, 1);
}

constexpr int stopSignals[] = { SIGINT, SIGTERM, SIGHUP };

/// Ends the event loop once it runs (a quit before exec() would be lost).
void quitSoon()
{
    QMetaObject::invokeMethod(QCoreApplication::instance(), &QCoreApplication::quit, Qt::QueuedConnection);
}

} // namespace

Interrupt::Interrupt()
{
    static_assert(std::size(stopSignals) == signalCount);
    if (::pipe(interruptPipe) != 0)
        return;
    ::fcntl(interruptPipe[0], F_SETFL, O_NONBLOCK);
    ::fcntl(interruptPipe[1], F_SETFL, O_NONBLOCK);
    m_notifier = std::make_unique<QSocketNotifier>(interruptPipe[0], QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(), [this] {
        std::array<char, 16> bytes {};
        while (::read(interruptPipe[0], bytes.data(), bytes.size()) > 0) { }
        if (!m_requested)
            CliIo::err(QCoreApplication::translate("Velloran", "Stopping after the current note…") + u'\n');
        m_requested = true;
        if (m_onInterrupt)
            m_onInterrupt();
    });
    struct sigaction action = {};
    action.sa_handler = onInterruptSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (int i = 0; i < signalCount; ++i)
        ::sigaction(stopSignals[i], &action, &m_previous[i]);
}

Interrupt::~Interrupt()
{
    for (int i = 0; i < signalCount; ++i)
        ::sigaction(stopSignals[i], &m_previous[i], nullptr);
    m_notifier.reset();
    for (int &fd : interruptPipe) {
        if (fd >= 0)
            ::close(fd);
        fd = -1;
    }
}

ProgressLine::ProgressLine()
    : m_enabled(CliIo::stderrIsTerminal())
{ }

void ProgressLine::draw(double fraction, const QString &label)
{
    if (!m_enabled)
        return;
    constexpr int width = 30;
    const int filled = std::clamp(int(fraction * width), 0, width);
    QString name = label;
    if (name.size() > 40)
        name = name.left(39) + u'…';
    CliIo::err(u"\r\033[K["_s + QString(filled, u'#') + QString(width - filled, u'-') + u"] "_s
        + QString::number(int(fraction * 100)).rightJustified(3) + u"%  "_s + name);
    m_drawn = true;
}

void ProgressLine::clear()
{
    if (m_drawn)
        CliIo::err(u"\r\033[K"_s);
    m_drawn = false;
}

void runOnEventLoop(QCoro::Task<> task)
{
    QCoro::connect(std::move(task), QCoreApplication::instance(), [] { quitSoon(); });
    QCoreApplication::exec();
}
