#include "server/process/acceptloop.h"

#include <QDebug>
#include <QPointer>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>

namespace server::process {

namespace {

int acceptOne(int listening)
{
    int descriptor = -1;
    do {
        descriptor = accept(listening, nullptr, nullptr);
    } while (descriptor < 0 && errno == EINTR);
    if (descriptor >= 0)
        fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    return descriptor;
}

bool isShortage(int error)
{
    return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

} // namespace

bool AcceptLoop::isNeeded()
{
    return true;
}

AcceptLoop::AcceptLoop(qintptr listening, const char *name, Take take)
    : m_name(name), m_take(std::move(take)), m_notifier(listening, QSocketNotifier::Read)
{
    QObject::connect(&m_notifier, &QSocketNotifier::activated, &m_notifier, [this] { acceptSome(); });
    m_pause.setSingleShot(true);
    m_pause.setInterval(kPauseMs);
    QObject::connect(&m_pause, &QTimer::timeout, &m_pause, [this] { m_notifier.setEnabled(true); });
}

void AcceptLoop::acceptSome()
{
    const QPointer<QSocketNotifier> self(&m_notifier);
    for (int i = 0; i < kMaxAtOnce && self && m_notifier.isEnabled(); ++i) {
        const int descriptor = acceptOne(int(m_notifier.socket()));
        if (descriptor >= 0)
            m_take(descriptor);
        else if (isShortage(errno))
            pause();
        else if (errno != ECONNABORTED) // else the next one may be there still
            return;
    }
}

void AcceptLoop::pause()
{
    if (!m_shortage.isValid() || m_shortage.hasExpired(kQuietMs))
        qWarning("%s can't accept: %s; waiting until there is room again", m_name, std::strerror(errno));
    m_shortage.start();
    m_notifier.setEnabled(false);
    m_pause.start();
}

} // namespace server::process
