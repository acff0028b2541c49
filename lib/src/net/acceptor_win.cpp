#include "net/acceptor.h"

#include <QDebug>
#include <QTcpServer>
#include <QTimer>

#include <utility>

namespace Net {

/// Qt, which stops accepting for good after such an error, hands over what comes.
Acceptor::Acceptor(QTcpServer *server, int left, Take take)
    : QObject(server), m_server(server), m_left(left), m_take(std::move(take))
{
    connect(server, &QTcpServer::acceptError, this, [this] { pause(m_server->errorString()); });
    connect(server, &QTcpServer::newConnection, this, [this] { m_isTold = false; });
}

void Acceptor::acceptWaiting()
{
    m_server->resumeAccepting();
}

void Acceptor::pause(const QString &reason)
{
    if (!std::exchange(m_isTold, true))
        qWarning() << "Net::Acceptor accepts nothing on port" << m_server->serverPort() << "for now:" << reason;
    QTimer::singleShot(kPauseMs, this, &Acceptor::acceptWaiting);
}

} // namespace Net
