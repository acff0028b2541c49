#pragma once

#include "knetrpc/rpccontroller.h"
#include "qany.h"
#include "tools/zukadmin/adminlogger.h"

#include <QString>

/// One connection of an administration client. Every call runs the event loop until the server has answered.
class AdminSession
{
public:
    /// How long the connection may take.
    static constexpr int kConnectTimeoutMs = 10000;

    /// How long the server may take for each answer.
    explicit AdminSession(int timeoutMs);

    /// Connects and logs in; the reason when that fails, else empty.
    QString open(const QString &host, quint16 port, int number);
    /// The result, or an error of the RPC layer. The method reads "service.method". While it waits it shows that.
    QAny call(const QString &method, const QAny &params = QAny());
    /// The same for a caller that shows itself how far it is.
    QAny callSilently(const QString &method, const QAny &params);

    /// How far a message is that takes long, in bytes: what has not left yet of the last call, and what has come of its
    /// answer.
    qint64 bytesToWrite() const { return m_controller.bytesToWrite(m_connectionId); }
    qint64 bytesReceived() const { return m_controller.bytesOfMessageInProgress(m_connectionId); }

private:
    const int m_timeoutMs;
    AdminLogger m_logger;
    KNet::RpcController m_controller;
    QString m_connectionId;
    QString m_networkError;
};
