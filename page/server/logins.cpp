#include "page/server/logins.h"

#include "calc/crew.h"
#include "server/workers/readpool.h"

#include <QDebug>

#include <iterator>
#include <memory>

using server::workers::ReadPool;

namespace page {

/// Written by the worker, read when it has ended.
struct Logins::Result {
    std::optional<office::Person> person;
    bool isFault = false;
};

Logins::Logins(ReadPool &pool, const OfficeDoor &office, server::web::LoginBrake::Clock clock)
    : m_pool(pool), m_office(office), m_brake(std::move(clock))
{
    m_look.setInterval(kLookMs);
    connect(&m_look, &QTimer::timeout, this, [this] { goOn(); });
}

Logins::~Logins()
{
    m_pool.cancel(ReadPool::ownerOf(this));
}

void Logins::attempt(const Attempt &attempt, QObject *asker, const Ended &ended)
{
    m_waiting.push_back({attempt, asker, ended});
    goOn();
}

void Logins::goOn()
{
    for (auto one = m_waiting.begin(); one != m_waiting.end() && !m_isTrying;) {
        if (!one->asker) {
            one = m_waiting.erase(one);
        } else if (!m_brake.allows(one->attempt.name)) {
            one->wasHeld = true;
            ++one;
        } else {
            const Waiting waiting = *one;
            m_waiting.erase(one);
            m_isTrying = begin(waiting);
            if (!m_isTrying)
                waiting.ended(Outcome::Busy, {});
            one = m_waiting.begin(); // whoever was told may have added some
        }
    }
    if (m_waiting.empty() || m_isTrying)
        m_look.stop();
    else if (!m_look.isActive())
        m_look.start();
}

bool Logins::begin(const Waiting &waiting)
{
    const auto result = std::make_shared<Result>();
    const Attempt attempt = waiting.attempt;
    return m_pool.submit(
        ReadPool::Size::Small, ReadPool::ownerOf(this),
        [result, attempt, &office = m_office](calc::Crew &crew) {
            result->person = office.signIn(crew.reader(), attempt.name, attempt.password, &result->isFault);
            return server::workers::Text();
        },
        [this, result, waiting](const server::workers::Text &) { end(waiting, *result); });
}

void Logins::end(const Waiting &waiting, const Result &result)
{
    m_isTrying = false;
    letOthersGoFirst(waiting.attempt.client);
    Outcome outcome = Outcome::Done;
    if (result.isFault) {
        outcome = Outcome::Fault;
    } else if (!result.person) {
        outcome = Outcome::Wrong;
        m_brake.failed(waiting.attempt.name);
        if (waiting.wasHeld) // so no more often than one is tried
            qWarning() << "Logins::end many failed logins of" << waiting.attempt.name << "now from"
                       << waiting.attempt.client;
    }
    if (waiting.asker)
        waiting.ended(outcome, result.person);
    goOn();
}

void Logins::letOthersGoFirst(const QString &client)
{
    std::list<Waiting> others;
    for (auto one = m_waiting.begin(); one != m_waiting.end();) {
        const auto next = std::next(one);
        if (one->attempt.client != client)
            others.splice(others.end(), m_waiting, one);
        one = next;
    }
    m_waiting.splice(m_waiting.begin(), others);
}

} // namespace page
