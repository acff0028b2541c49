#include "page/server/asks.h"

#include "calc/crew.h"

#include <memory>
#include <utility>

using server::workers::ReadPool;
using server::workers::Text;

namespace page {

namespace {

const QString kId = QStringLiteral("id");
const QString kAsk = QStringLiteral("ask");
const QString kAuto = QStringLiteral("auto");

QAny refusal(const char *error)
{
    return {{QStringLiteral("ok"), false}, {QStringLiteral("error"), QString::fromLatin1(error)}};
}

QByteArray textOf(QAny answer, const QAny &id)
{
    answer.insert(kId, id);
    return answer.toJsonUtf8();
}

} // namespace

Asks::Asks(const Services &services, Sessions::Key session, Client client)
    : m_services(services), m_session(std::move(session)), m_client(std::move(client))
{
}

Asks::~Asks()
{
    m_services.pool.cancel(ReadPool::ownerOf(this));
}

void Asks::take(const QString &message)
{
    const QAny ask = QAny::fromJson(message);
    if (!m_services.sessions.person(m_session))
        return m_client.signOut();
    if (!ask.isHash() || !ask.lookup(kId).isInteger() || !ask.lookup(kAsk).isString())
        return refuse(ask, "badRequest");
    // What the page asks because it was told of a change is nothing that its user did.
    if (!ask.lookup(kAuto).toBool())
        m_services.sessions.use(m_session);
    if (m_waiting.size() >= kMaxWaiting)
        return refuse(ask, "busy");
    m_waiting.enqueue(ask);
    goOn();
}

void Asks::refuse(const QAny &ask, const char *error)
{
    const bool hasId = ask.isHash() && ask.lookup(kId).isInteger();
    m_client.answer(textOf(refusal(error), hasId ? ask.lookup(kId) : QAny::sharedNull()));
}

void Asks::goOn()
{
    while (m_running < kMaxRunning && !m_waiting.isEmpty()) {
        const QAny ask = m_waiting.dequeue();
        if (begin(ask))
            ++m_running;
        else
            refuse(ask, "busy");
    }
}

/// False when the pool has no room for it.
bool Asks::begin(const QAny &ask)
{
    const OfficeDoor::Person *person = m_services.sessions.person(m_session);
    if (!person) {
        m_client.signOut();
        return true; // and so nothing more runs
    }
    return m_services.office.isWriting(ask) ? beginWriting(*person, ask) : beginReading(*person, ask);
}

bool Asks::beginReading(const OfficeDoor::Person &person, const QAny &ask)
{
    const ReadPool::Size size = m_services.office.isLarge(ask) ? ReadPool::Size::Large : ReadPool::Size::Small;
    return m_services.pool.submit(
        size, ReadPool::ownerOf(this),
        [&office = m_services.office, person, now = m_services.now(), own = ask.deepCopy()](calc::Crew &crew) {
            bool isFault = false;
            const auto known = office.lookAgain(crew.reader(), person, &isFault);
            if (!known && !isFault)
                return Text();
            return Text{textOf(isFault ? refusal("database") : office.read(crew, *known, own, now), own.lookup(kId))};
        },
        [this](const Text &text) {
            --m_running;
            if (text.empty())
                return m_client.signOut();
            m_client.answer(text.front());
            goOn();
        });
}

/// Who asks is looked at by the pool; the main thread has no reader.
bool Asks::beginWriting(const OfficeDoor::Person &person, const QAny &ask)
{
    struct Found {
        std::optional<OfficeDoor::Person> person;
        bool isFault = false;
    };
    const auto found = std::make_shared<Found>();
    return m_services.pool.submit(
        ReadPool::Size::Small, ReadPool::ownerOf(this),
        [&office = m_services.office, person, found](calc::Crew &crew) {
            found->person = office.lookAgain(crew.reader(), person, &found->isFault);
            return Text();
        },
        [this, found, ask](const Text &) {
            --m_running;
            if (!found->person && !found->isFault)
                return m_client.signOut();
            if (found->isFault)
                refuse(ask, "database");
            else
                m_client.answer(
                    textOf(m_services.office.write(*found->person, ask, m_services.now()), ask.lookup(kId)));
            m_client.written();
            goOn();
        });
}

} // namespace page
