#include "server/web/readingturn.h"

#include "server/web/clientsocket.h"

namespace server::web {

ReadingTurn::ReadingTurn(QObject *parent) : QObject(parent)
{
    m_breath.setSingleShot(true);
    m_breath.setInterval(kBreathMs);
    connect(&m_breath, &QTimer::timeout, this, &ReadingTurn::goOn);
}

bool ReadingTurn::isOver()
{
    if (!m_breath.isActive()) {
        m_turn.start();
        m_breath.start();
    }
    return m_turn.nsecsElapsed() >= kMaxNs;
}

void ReadingTurn::wait(ClientLine *line, bool hasRead)
{
    (hasRead ? m_others : m_hungry).enqueue({&line->socket(), line});
    if (!m_breath.isActive())
        m_breath.start();
}

void ReadingTurn::goOn()
{
    for (int i = 0; i < kMaxLines && !(m_hungry.isEmpty() && m_others.isEmpty()); ++i) {
        const Waiting next = (m_hungry.isEmpty() ? m_others : m_hungry).dequeue();
        if (next.socket)
            next.line->turnComes();
    }
    if (!m_hungry.isEmpty() || !m_others.isEmpty())
        isOver(); // begins a turn, behind which the others come
}

} // namespace server::web
