#pragma once

#include "qany.h"
#include "server/process/clock.h"

#include <QSet>
#include <QString>

class QObject;

/// Answers the requests of the employees' web page and remembers who is logged in. Knows no sockets beyond their
/// identity. Called on the main thread; a work-time request blocks it for the length of one calculation.
class webMetods
{
public:
    /// The clock tells which day today is, and when a hand-entered event was made.
    explicit webMetods(server::process::Clock clock = server::process::machineTime) : m_clock(std::move(clock)) {}

    /// Answers one request. Always a Hash with "data" / "result"; a request of any shape gets an answer.
    /// The peer is only an identity, kept until logOut or removePeer.
    QAny request(const QAny &req, const QObject *peer);

    /// The peer's socket is gone. Its tag stays known.
    void removePeer(const QObject *peer);

private:
    bool isLoggedIn(const QObject *peer, const QString &tag) const;

    QAny getUser(const QAny &req, const QObject *peer, const QString &tag);
    QAny logOut(const QObject *peer, const QString &tag);
    QAny getWTime(const QAny &req);
    QAny recalc(const QAny &data, bool withPairs, bool withSums);
    QAny getPresence();
    QAny getSaldo(const QAny &req);
    QAny addMeta(const QAny &req);

    QDate today() const { return QDateTime::fromMSecsSinceEpoch(m_clock()).date(); }

    server::process::Clock m_clock;
    QSet<const QObject *> m_peers;
    QSet<QString> m_tags;
};
