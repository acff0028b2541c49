#include "server/process/acceptloop.h"

namespace server::process {

bool AcceptLoop::isNeeded()
{
    return false;
}

AcceptLoop::AcceptLoop(qintptr listening, const char *name, Take take)
    : m_name(name), m_take(std::move(take)), m_notifier(listening, QSocketNotifier::Exception)
{
    m_notifier.setEnabled(false);
}

void AcceptLoop::acceptSome() {}

void AcceptLoop::pause() {}

} // namespace server::process
