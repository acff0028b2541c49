#include "server/process/terminationwatch.h"

#include <QCoreApplication>
#include <QDebug>
#include <QSocketNotifier>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace server::process {

namespace {

// The last one comes when the terminal of a console run closes.
constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

// A handler may do little more than write(); the event loop reads the other end.
volatile sig_atomic_t writeEnd = -1;

void noteSignal(int)
{
    const int saved = errno;
    const char byte = 0;
    // A full pipe already holds what ends the loop.
    [[maybe_unused]] const ssize_t written = write(writeEnd, &byte, 1);
    errno = saved;
}

} // namespace

class TerminationWatch::Private
{
public:
    explicit Private(std::function<void()> onTermination) : m_onTermination(std::move(onTermination))
    {
        if (pipe(m_ends) != 0) {
            qWarning() << "TerminationWatch::TerminationWatch no pipe:" << qt_error_string(errno);
            return;
        }
        for (const int end : m_ends) {
            fcntl(end, F_SETFD, FD_CLOEXEC);
            fcntl(end, F_SETFL, O_NONBLOCK);
        }
        writeEnd = m_ends[1];
        m_notifier = std::make_unique<QSocketNotifier>(m_ends[0], QSocketNotifier::Read);
        QObject::connect(m_notifier.get(), &QSocketNotifier::activated, qApp, [this] {
            m_notifier->setEnabled(false);
            m_onTermination();
        });
        struct sigaction action = {};
        action.sa_handler = noteSignal;
        action.sa_flags = SA_RESTART;
        sigemptyset(&action.sa_mask);
        for (size_t i = 0; i < std::size(kSignals); ++i) {
            sigaction(kSignals[i], nullptr, &m_previous[i]);
            if (m_previous[i].sa_handler != SIG_IGN) // as nohup has it
                sigaction(kSignals[i], &action, nullptr);
        }
    }

    ~Private()
    {
        if (!m_notifier)
            return;
        for (size_t i = 0; i < std::size(kSignals); ++i)
            sigaction(kSignals[i], &m_previous[i], nullptr);
        m_notifier.reset();
        writeEnd = -1;
        for (const int end : m_ends)
            close(end);
    }

private:
    Q_DISABLE_COPY(Private)
    std::function<void()> m_onTermination;
    int m_ends[2] = {-1, -1};
    std::unique_ptr<QSocketNotifier> m_notifier;
    struct sigaction m_previous[std::size(kSignals)] = {};
};

TerminationWatch::TerminationWatch() : TerminationWatch(QCoreApplication::quit) {}

TerminationWatch::TerminationWatch(std::function<void()> onTermination)
    : d(std::make_unique<Private>(std::move(onTermination)))
{
}

TerminationWatch::~TerminationWatch() = default;

} // namespace server::process
