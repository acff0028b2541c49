#include "knetrpc/rpcserver.h"

#include "knetrpc/rpccontroller.h"

#include <QDebug>
#include <QTimer>

namespace KNet {

RpcServer::RpcServer(RpcController *controller) : m_controller(controller)
{
    connect(this, &QTcpServer::acceptError, this, &RpcServer::pauseAfter);
}

bool RpcServer::listen(const QHostAddress &address, quint16 port)
{
    if (!QTcpServer::listen(address, port))
        return false;
    // QTcpServer has set its own, which is too small for a site that comes back from a power cut.
    setListenBacklog(socketDescriptor(), kBacklog);
    return true;
}

void RpcServer::retire()
{
    m_controller = nullptr;
    QTcpServer::close();
    if (m_accepting == 0)
        deleteLater();
}

void RpcServer::incomingConnection(qintptr socketDescriptor)
{
    if (!m_controller)
        return;
    ++m_accepting;
    m_controller->incomingConnection(socketDescriptor);
    // Not before: a receiver of the signal may run the event loop, and QTcpServer goes on accepting behind us.
    if (--m_accepting == 0 && !m_controller)
        deleteLater();
}

/// QTcpServer stops accepting for good after such an error.
void RpcServer::pauseAfter(QAbstractSocket::SocketError error)
{
    qWarning() << "KNet::RpcServer::pauseAfter()" << error << errorString();
    QTimer::singleShot(kAcceptPauseMs, this, &QTcpServer::resumeAccepting);
}

} // namespace KNet
