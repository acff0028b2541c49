#include "knetrpc/rpcserver.h"

#include "knetrpc/rpccontroller.h"
#include "net/acceptor.h"

#include <utility>

namespace KNet {

RpcServer::RpcServer(RpcController *controller) : m_controller(controller) {}

bool RpcServer::listen(const QHostAddress &address, quint16 port)
{
    if (!QTcpServer::listen(address, port))
        return false;
    // QTcpServer has set its own, which is too small for a site that comes back from a power cut.
    setListenBacklog(socketDescriptor(), kBacklog);
    m_acceptor =
        new Net::Acceptor(this, kLeftDescriptors, [this](qintptr descriptor) { incomingConnection(descriptor); });
    return true;
}

void RpcServer::retire()
{
    m_controller = nullptr;
    delete std::exchange(m_acceptor, nullptr);
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
    // Not before: a receiver of the signal may run the event loop, and the accepting may go on behind us.
    if (--m_accepting == 0 && !m_controller)
        deleteLater();
}

} // namespace KNet
