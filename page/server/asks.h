#pragma once

#include "page/server/services.h"
#include "qany.h"

#include <QObject>
#include <QQueue>

#include <functional>

namespace page {

/// The asks of one web socket, and who asks. Reading is done by the pool, with the rights that the person has at that
/// moment; what writes is done on the main thread. Answers come in any order and bear the ask's id.
class Asks : public QObject
{
public:
    /// That wait for their turn; one more is answered "busy".
    static constexpr int kMaxWaiting = 32;
    /// A long one must not hold up the short ones behind it, and no client have the pool for itself.
    static constexpr int kMaxRunning = 2;

    struct Client {
        std::function<void(const QByteArray &text)> answer;
        std::function<void()> signOut; ///< the person is no longer known; this object may be deleted later, not in it
        std::function<void()> written; ///< the file has changed
    };

    Asks(const Services &services, Sessions::Key session, Client client);
    /// What runs is given up.
    ~Asks() override;

    /// One message, of whatever form.
    void take(const QString &message);

private:
    void goOn();
    bool begin(const QAny &ask);
    bool beginReading(const OfficeDoor::Person &person, const QAny &ask);
    bool beginWriting(const OfficeDoor::Person &person, const QAny &ask);
    void refuse(const QAny &ask, const char *error);

    const Services &m_services;
    const Sessions::Key m_session;
    const Client m_client;
    QQueue<QAny> m_waiting;
    int m_running = 0;
};

} // namespace page
