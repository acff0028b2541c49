#include "tools/zukweb/websession.h"

#include <QEventLoop>
#include <QTimer>
#include <QUuid>

namespace tools::zukweb {

WebSession::WebSession(int timeoutMs)
    : m_tag(QUuid::createUuid().toString(QUuid::WithoutBraces)), m_timeoutMs(timeoutMs)
{
    QObject::connect(&m_socket, &QWebSocket::textMessageReceived, &m_socket,
                     [this](const QString &text) { m_received = text; });
}

template <typename Signal> bool WebSession::waitFor(Signal signal)
{
    enum End { Happened, Ended, TimedOut };
    QEventLoop loop;
    QTimer::singleShot(m_timeoutMs, &loop, [&loop] { loop.exit(TimedOut); });
    QObject::connect(&m_socket, signal, &loop, [&loop] { loop.exit(Happened); });
    QObject::connect(&m_socket, &QWebSocket::disconnected, &loop, [&loop] { loop.exit(Ended); });
    QObject::connect(&m_socket, QOverload<QAbstractSocket::SocketError>::of(&QWebSocket::error), &loop,
                     [&loop] { loop.exit(Ended); });
    switch (loop.exec()) {
    case Happened:
        return true;
    case Ended:
        m_error = m_socket.error() == QAbstractSocket::UnknownSocketError
                      ? QStringLiteral("the server closed the connection: ") + m_socket.closeReason()
                      : m_socket.errorString();
        return false;
    default:
        m_error = QStringLiteral("no answer within %1 s").arg(m_timeoutMs / 1000.0);
        return false;
    }
}

WebSession::Outcome WebSession::open(const QUrl &url)
{
    m_socket.open(url);
    return waitFor(&QWebSocket::connected) ? Answered : Failed;
}

WebSession::Outcome WebSession::logIn(const QString &user, const QString &password)
{
    return ask(QStringLiteral("getUser"), QAny{{QStringLiteral("user"), user}, {QStringLiteral("pass"), password}});
}

WebSession::Outcome WebSession::ask(const QString &type, const QAny &data)
{
    const QAny request{{QStringLiteral("type"), type}, {QStringLiteral("tag"), m_tag}, {QStringLiteral("data"), data}};
    m_data.clear();
    m_socket.sendTextMessage(request.toJson());
    if (!waitFor(&QWebSocket::textMessageReceived))
        return Failed;
    const QAny answer = QAny::fromJson(m_received);
    if (!answer.isHash()) {
        m_error = QStringLiteral("the server's answer is no valid JSON");
        return Failed;
    }
    m_data = answer.lookup(QStringLiteral("data"));
    // Some methods answer a Bool, others a text.
    if (m_data.lookup(QStringLiteral("result")).toBool())
        return Answered;
    m_error = m_data.lookup(QStringLiteral("reason")).toString();
    if (m_error.isEmpty())
        m_error = QStringLiteral("refused without a reason");
    return Refused;
}

void WebSession::logOut()
{
    ask(QStringLiteral("logOut"), QAny(QAny::Hash));
    m_socket.close();
}

} // namespace tools::zukweb
