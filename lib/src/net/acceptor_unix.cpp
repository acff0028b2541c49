#include "net/acceptor.h"

#include <QDebug>
#include <QPointer>
#include <QSocketNotifier>
#include <QTcpServer>
#include <QTimer>

#include <algorithm>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Net {

namespace {

/// Whether one more may be taken. The system gives the lowest number that is free, so the highest ones stay free.
bool hasDescriptors(int any, int left)
{
    rlimit limit{};
    const int next = ::fcntl(any, F_DUPFD_CLOEXEC, 0);
    if (next < 0)
        return false;
    ::close(next);
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return true;
    const rlim_t last = limit.rlim_cur - std::min<rlim_t>(static_cast<rlim_t>(left), limit.rlim_cur / 4);
    return static_cast<rlim_t>(next) < last;
}

} // namespace

Acceptor::Acceptor(QTcpServer *server, int left, Take take)
    : QObject(server), m_server(server), m_left(left), m_take(std::move(take))
{
    server->pauseAccepting(); // for good: a socket has one notifier
    m_notifier = new QSocketNotifier(server->socketDescriptor(), QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] { acceptWaiting(); });
}

void Acceptor::acceptWaiting()
{
    const QPointer<Acceptor> self(this);
    const Take take = m_take; // may end this object
    const int listening = static_cast<int>(m_server->socketDescriptor());
    for (int i = 0; self && i < kMaxAtOnce; ++i) {
        if (!hasDescriptors(listening, m_left))
            return pause(qt_error_string(EMFILE));
        const int descriptor = ::accept4(listening, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (descriptor >= 0) {
            take(descriptor);
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            m_isTold = false;
            return;
        } else if (errno != EINTR && errno != ECONNABORTED) {
            return pause(qt_error_string(errno));
        }
    }
}

void Acceptor::pause(const QString &reason)
{
    m_notifier->setEnabled(false);
    QTimer::singleShot(kPauseMs, m_notifier, [this] { m_notifier->setEnabled(true); });
    if (!std::exchange(m_isTold, true))
        qWarning() << "Net::Acceptor accepts nothing on port" << m_server->serverPort() << "for now:" << reason;
}

} // namespace Net
