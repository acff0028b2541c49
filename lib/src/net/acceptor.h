#pragma once

#include <QObject>

#include <functional>

class QSocketNotifier;
class QTcpServer;

namespace Net {

/// Accepts the connections of a listening server in Qt's place, for the life of this object. Qt does not tell an accept
/// that fails once another one has found nothing, and then tries again without a pause, without end.
///
/// After an accept that fails, for want of descriptors for example, it says so once and tries again every kPauseMs. On
/// Windows, where they do not run short, Qt accepts. On the server's thread.
class Acceptor : public QObject
{
    Q_OBJECT
public:
    static constexpr int kPauseMs = 1000;
    /// Accepted in one go; what else is there has its turn then.
    static constexpr int kMaxAtOnce = 64;

    /// Gets each descriptor; has to be the server's incomingConnection(). The server and this object may end in it.
    using Take = std::function<void(qintptr)>;

    /// The server listens already, and owns this object, which must end before it closes. So many descriptors are left
    /// to others, or a quarter of what the process may have if that is less.
    Acceptor(QTcpServer *server, int left, Take take);

private:
    void acceptWaiting();
    void pause(const QString &reason);

    QTcpServer *m_server;
    int m_left;
    Take m_take;
    QSocketNotifier *m_notifier = nullptr; // ours on Unix alone
    bool m_isTold = false;                 // that it cannot accept, since it last had accepted all
};

} // namespace Net
