#pragma once

#include "jsonparser.h"
#include "qany.h"

#include <QObject>
#include <QTcpSocket>
#include <QTimer>

namespace tools::zukterm {

struct FleetContext;

/// A terminal that logs in and answers the server's pings, but none of its calls. It speaks the protocol by itself,
/// because the RPC library answers every call.
class SilentTerminal : public QObject
{
    Q_OBJECT
public:
    SilentTerminal(FleetContext &context, int number, QObject *parent);
    ~SilentTerminal() override;

    void open();
    void close();
    bool isLoggedIn() const { return m_isLoggedIn; }
    /// The connection is lost and will not be made again.
    bool hasEnded() const { return m_hasEnded; }

Q_SIGNALS:
    void progressed();

private:
    void logIn();
    void read();
    void handle(const QAny &message);
    void onDisconnected();
    void send(QAny message);
    void say(const QString &text);

    FleetContext &m_context;
    const int m_number;
    QTcpSocket m_socket;
    Json::Parser m_reader;
    QTimer m_retry;
    bool m_isConnected = false;
    bool m_isLoggedIn = false;
    bool m_wasLoggedIn = false;
    bool m_hasEnded = false;
};

} // namespace tools::zukterm
