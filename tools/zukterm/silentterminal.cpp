#include "tools/zukterm/silentterminal.h"

#include "knetrpc/rpcprotocol.h"
#include "tools/zukterm/fleetcontext.h"
#include "tools/zukterm/reconnectdelay.h"
#include "tools/zukterm/runlog.h"
#include "tools/zukterm/runtotals.h"
#include "tools/zukterm/termoptions.h"

#include <utility>

namespace tools::zukterm {

namespace {

const QString kLoginId = QStringLiteral("1"); // of the only call that is ever made

} // namespace

SilentTerminal::SilentTerminal(FleetContext &context, int number, QObject *parent)
    : QObject(parent), m_context(context), m_number(number)
{
    m_retry.setSingleShot(true);
    connect(&m_retry, &QTimer::timeout, this,
            [this] { m_socket.state() == QAbstractSocket::ConnectedState ? logIn() : open(); });
    connect(&m_socket, &QTcpSocket::connected, this, &SilentTerminal::logIn);
    connect(&m_socket, &QTcpSocket::readyRead, this, &SilentTerminal::read);
    connect(&m_socket, &QTcpSocket::stateChanged, this, [this](QAbstractSocket::SocketState state) {
        if (state == QAbstractSocket::UnconnectedState)
            onDisconnected();
    });
}

SilentTerminal::~SilentTerminal()
{
    m_socket.disconnect(this); // it still closes
}

void SilentTerminal::say(const QString &text)
{
    m_context.log.say(m_number, text + QStringLiteral(" (silent)"));
}

void SilentTerminal::open()
{
    m_reader.reset();
    m_socket.connectToHost(m_context.options.host, m_context.options.port);
}

void SilentTerminal::close()
{
    m_retry.stop();
    m_socket.disconnectFromHost();
}

void SilentTerminal::logIn()
{
    m_isConnected = true;
    const QString service = m_context.options.admin ? QStringLiteral("adminterminal") : QStringLiteral("mainterminal");
    send(QAny{{QStringLiteral("method"), service + QStringLiteral(".login")},
              {QStringLiteral("params"), QAny{{QStringLiteral("id"), m_number}}},
              {QStringLiteral("id"), kLoginId}});
}

void SilentTerminal::send(QAny message)
{
    message.insert(QStringLiteral("knetrpc"), QStringLiteral("1.0"));
    m_socket.write(message.toJsonUtf8());
}

void SilentTerminal::read()
{
    const QByteArray bytes = m_socket.readAll();
    for (qsizetype at = 0; at < bytes.size();) {
        qsizetype taken = 0;
        const Json::Parser::Feed fed = m_reader.feedUntilComplete(bytes.constData() + at, bytes.size() - at, &taken);
        at += taken;
        if (fed == Json::Parser::NeedsMore)
            return;
        if (fed == Json::Parser::Rejected || !m_reader.finish()) {
            say(QStringLiteral("the server sends no JSON"));
            m_socket.abort();
            return;
        }
        handle(m_reader.result());
    }
}

void SilentTerminal::handle(const QAny &message)
{
    const QString id = message.lookup(QStringLiteral("id")).toString();
    if (id == QLatin1String("<PING>")) {
        send(QAny{{QStringLiteral("id"), QStringLiteral("<PONG>")}});
    } else if (message.contains(QStringLiteral("method"))) {
        say(QStringLiteral("server calls ") + message.lookup(QStringLiteral("method")).toString());
    } else if (id == kLoginId) {
        const QAny &result = message.lookup(QStringLiteral("result"));
        m_isLoggedIn = result.isBool() && result.asBool();
        if (m_isLoggedIn) {
            if (!std::exchange(m_wasLoggedIn, true))
                ++m_context.totals.loggedIn;
            say(QStringLiteral("logged in"));
        } else {
            ++m_context.totals.refusedLogins;
            say(QStringLiteral("login refused: ") + KNet::rpcErrorText(result.isHash() ? result : message));
            if (m_context.options.reconnectMs > 0)
                m_retry.start(reconnectDelayMs(m_context.options.reconnectMs));
            else
                m_socket.abort();
        }
        Q_EMIT progressed();
    }
}

void SilentTerminal::onDisconnected()
{
    m_isLoggedIn = false;
    const bool wasConnected = std::exchange(m_isConnected, false);
    m_retry.stop();
    if (m_context.isEnding)
        return;
    if (wasConnected)
        ++m_context.totals.losses;
    say((wasConnected ? QStringLiteral("connection lost: ") : QStringLiteral("cannot connect: ")) +
        m_socket.errorString());
    m_hasEnded = m_context.options.reconnectMs == 0;
    if (!m_hasEnded)
        m_retry.start(reconnectDelayMs(m_context.options.reconnectMs));
    Q_EMIT progressed();
}

} // namespace tools::zukterm
