#include "page/server/sessions.h"

#include <QCryptographicHash>
#include <QRandomGenerator>

#include <array>

namespace page {

bool Sessions::isOver(const Session &session) const
{
    const qint64 now = m_clock();
    return now - session.used >= kIdleMs || now - session.begun >= kLongestMs;
}

/// Lets one more in.
template <typename Counts> void Sessions::makeRoom(int most, const Counts &counts)
{
    int count = 0;
    auto longest = m_sessions.end();
    for (auto one = m_sessions.begin(); one != m_sessions.end(); ++one) {
        if (!counts(*one))
            continue;
        ++count;
        if (longest == m_sessions.end() || one->used < longest->used)
            longest = one;
    }
    if (count >= most)
        m_sessions.erase(longest);
}

QByteArray Sessions::begin(const office::Person &person)
{
    endOld();
    makeRoom(kMaxOfUser, [&person](const Session &session) { return session.person.access == person.access; });
    makeRoom(m_maxSessions, [](const Session &) { return true; });
    std::array<quint32, kIdBytes / sizeof(quint32)> random{};
    QRandomGenerator::system()->fillRange(random.data(), static_cast<qsizetype>(random.size()));
    const QByteArray id = QByteArray(reinterpret_cast<const char *>(random.data()), kIdBytes)
                              .toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
    m_sessions.insert(keyOf(id), {person, m_clock(), m_clock()});
    return id;
}

void Sessions::endOld()
{
    for (auto one = m_sessions.begin(); one != m_sessions.end();)
        one = isOver(*one) ? m_sessions.erase(one) : ++one;
}

Sessions::Key Sessions::keyOf(const QByteArray &id)
{
    return QCryptographicHash::hash(id, QCryptographicHash::Sha256);
}

const office::Person *Sessions::person(const Key &key) const
{
    const auto found = m_sessions.constFind(key);
    return found == m_sessions.constEnd() || isOver(*found) ? nullptr : &found->person;
}

void Sessions::use(const Key &key)
{
    const auto found = m_sessions.find(key);
    if (found != m_sessions.end() && !isOver(*found))
        found->used = m_clock();
}

void Sessions::setPerson(const Key &key, const office::Person &person)
{
    const auto found = m_sessions.find(key);
    if (found != m_sessions.end())
        found->person = person;
}

} // namespace page
