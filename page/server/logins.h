#pragma once

#include "page/server/officedoor.h"
#include "server/web/loginbrake.h"

#include <QObject>
#include <QPointer>
#include <QTimer>

#include <functional>
#include <list>

namespace server::workers {
class ReadPool;
}

namespace page {

/// Tries logins on the pool, one at a time, so that who sends a thousand at once cannot have more tried of a name than
/// its brake allows. A login that is braked waits, and none of another name waits for it; of one name the clients take
/// turns, so that who guesses does not keep the owner waiting behind all guesses. Main thread.
class Logins : public QObject
{
public:
    /// How often waiting ones are looked at, in ms.
    static constexpr int kLookMs = 50;

    enum class Outcome { Done, Wrong, Fault, Busy };
    /// The person is there when it is done.
    using Ended = std::function<void(Outcome outcome, const std::optional<office::Person> &person)>;
    struct Attempt {
        QString name;
        QString password;
        QString client; ///< its address
    };

    /// Nothing is owned.
    Logins(server::workers::ReadPool &pool, const OfficeDoor &office,
           server::web::LoginBrake::Clock clock = server::web::LoginBrake::steadyTime);
    ~Logins() override;

    /// One whose asker goes meanwhile is forgotten, if it has not begun.
    void attempt(const Attempt &attempt, QObject *asker, const Ended &ended);

private:
    struct Waiting {
        Attempt attempt;
        QPointer<QObject> asker;
        Ended ended;
        bool wasHeld = false;
    };
    struct Result;

    void goOn();
    bool begin(const Waiting &waiting);
    void end(const Waiting &waiting, const Result &result);
    void letOthersGoFirst(const QString &client);

    server::workers::ReadPool &m_pool;
    const OfficeDoor &m_office;
    server::web::LoginBrake m_brake;
    std::list<Waiting> m_waiting; // in the order in which they are tried
    bool m_isTrying = false;
    QTimer m_look; // while some are held
};

} // namespace page
