#pragma once

#include "qany.h"
#include "server/process/clock.h"
#include "server/web/knowntags.h"
#include "server/web/loginbrake.h"

#include <QSet>
#include <QString>

#include <functional>
#include <optional>

class QObject;

namespace storage {
class Reader;
}

/// Answers the requests of the employees' web page and remembers who is logged in. Knows no sockets beyond their
/// identity. Called on the main thread.
class webMetods
{
public:
    /// Works out an answer from what a file holds. May be called and released on any thread: it shares nothing with
    /// this object.
    using Reading = std::function<QAny(storage::Reader &reader)>;

    /// The answer, or what gives it.
    struct Outcome {
        QAny answer;     ///< beside a reading the one to be given where too much else is read
        Reading reading; ///< empty where the answer is there
        std::optional<QAny> held =
            {}; ///< a login that may not be tried yet; nothing was done: begin this a little later
    };

    /// The clock tells which day today is, and when a hand-entered event was made.
    explicit webMetods(server::process::Clock clock = server::process::machineTime);

    /// Answers one request. Always a Hash with "data" / "result"; a request of any shape gets an answer.
    /// The peer is only an identity, kept until logOut or removePeer. A login is tried at once, however many have
    /// failed.
    QAny request(const QAny &req, const QObject *peer);
    /// The same, but a work time, presence list or balance is still to be read, and a login may have to wait.
    Outcome begin(const QAny &req, const QObject *peer);

    /// The peer's socket is gone. Its tag stays known.
    void removePeer(const QObject *peer);
    /// With any tag.
    bool hasLoggedIn(const QObject *peer) const { return m_peers.contains(peer); }

private:
    Outcome answer(const QAny &req, const QObject *peer, bool mayHold);
    bool isLoggedIn(const QObject *peer, const QString &tag) const;

    QAny getUser(const QAny &req, const QObject *peer, const QString &tag);
    QAny logOut(const QObject *peer, const QString &tag);
    Outcome workTime(const QAny &req) const;
    Outcome presence() const;
    static Outcome saldo(const QAny &req);
    QAny addMeta(const QAny &req) const;

    QDate today() const { return QDateTime::fromMSecsSinceEpoch(m_clock()).date(); }

    server::process::Clock m_clock;
    QSet<const QObject *> m_peers;
    server::web::KnownTags m_tags;
    server::web::LoginBrake m_brake;
};
