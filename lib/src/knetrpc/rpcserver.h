#pragma once

#include <QTcpServer>

namespace Net {
class Acceptor;
}

namespace KNet {

class RpcController;

/// Listens for the controller and passes every accepted descriptor on to it. Takes a whole site's terminals that
/// connect at the same moment, and goes on accepting after the process ran out of descriptors.
class RpcServer : public QTcpServer
{
    Q_OBJECT
public:
    /// Connections that the system may hold ready until they are accepted.
    static constexpr int kBacklog = 4096;
    /// Descriptors that are left to files: what is logged in has to be served.
    static constexpr int kLeftDescriptors = 32;

    explicit RpcServer(RpcController *controller);

    /// Like QTcpServer's, with room for kBacklog waiting connections where the platform lets us say so.
    bool listen(const QHostAddress &address, quint16 port);
    /// Closes, and forgets the controller. The object deletes itself: it may be accepting just now.
    void retire();

protected:
    void incomingConnection(qintptr socketDescriptor) override;

private:
    RpcController *m_controller;
    Net::Acceptor *m_acceptor = nullptr; // while it listens
    int m_accepting = 0;                 // calls of incomingConnection() on the stack
};

/// Sets the backlog of a socket that listens already; does nothing where the platform has no way.
void setListenBacklog(qintptr socketDescriptor, int backlog);

} // namespace KNet
