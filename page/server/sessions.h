#pragma once

#include "page/server/office/person.h"
#include "server/web/loginbrake.h"

#include <QByteArray>
#include <QHash>
#include <QVector>

namespace page {

/// Who is signed in. What a browser holds is a random id; here only its hash is kept, which is the session's key.
/// Pages that do nothing but show what is pushed do not keep their session alive.
class Sessions
{
public:
    /// In ms.
    static constexpr qint64 kIdleMs = 30 * 60 * 1000;
    static constexpr qint64 kLongestMs = 12 * 60 * 60 * 1000;
    /// Of too many the one that was used longest ago goes: of a user, and of all.
    static constexpr int kMaxOfUser = 8;
    static constexpr int kMaxSessions = 10000;
    /// From the system's generator.
    static constexpr int kIdBytes = 32;

    using Key = QByteArray;
    /// Any time in ms that never goes back.
    using Clock = server::web::LoginBrake::Clock;

    explicit Sessions(Clock clock = server::web::LoginBrake::steadyTime, int maxSessions = kMaxSessions)
        : m_clock(std::move(clock)), m_maxSessions(maxSessions)
    {
    }

    /// A new one. What the browser shall hold, letters that a cookie takes.
    QByteArray begin(const office::Person &person);
    void end(const Key &key) { m_sessions.remove(key); }
    /// Ends those whose time is over.
    void endOld();

    static Key keyOf(const QByteArray &id);
    /// Null when there is none or its time is over. Valid until the next call of another function.
    const office::Person *person(const Key &key) const;
    /// Its user has done something.
    void use(const Key &key);
    /// What is known of its person by now.
    void setPerson(const Key &key, const office::Person &person);

    int count() const { return m_sessions.size(); }

private:
    struct Session {
        office::Person person;
        qint64 begun = 0;
        qint64 used = 0;
    };

    bool isOver(const Session &session) const;
    template <typename Counts> void makeRoom(int most, const Counts &counts);

    Clock m_clock;
    int m_maxSessions;
    QHash<Key, Session> m_sessions;
};

} // namespace page
