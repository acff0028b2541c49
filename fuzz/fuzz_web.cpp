// Whatever text a web client sends, logged in or not: it gets one answer, a hash with "data"; and who has not logged in
// leaves nothing behind.

#include "server/web/echoserver.h"
#include "sitefile.h"

#include <QWebSocket>

namespace {

class Client
{
public:
    explicit Client(quint16 port)
    {
        QObject::connect(&m_socket, &QWebSocket::textMessageReceived, &m_socket,
                         [this](const QString &answer) { m_answers += answer; });
        m_socket.open(QUrl(QStringLiteral("ws://127.0.0.1:%1").arg(port)));
        runUntil([this] { return m_socket.state() == QAbstractSocket::ConnectedState; }, "no connection");
    }

    QAny ask(const QString &text)
    {
        m_answers.clear();
        m_socket.sendTextMessage(text);
        runUntil([this] { return !m_answers.isEmpty(); }, "no answer");
        require(m_answers.size() == 1, "more than one answer");
        const QAny answer = QAny::fromJson(m_answers.first());
        require(answer.isHash() && answer.contains(QStringLiteral("data")), "an answer without data");
        return answer;
    }

private:
    QWebSocket m_socket;
    QStringList m_answers;
};

class Site
{
public:
    void check(const QString &text)
    {
        // Either may have become the other with the message before.
        m_stranger.ask(QStringLiteral(R"({"type":"logOut","tag":"none"})"));
        m_stranger.ask(text);
        require(m_file.count("metalog") == 0, "a stranger's event");
        m_member.ask(QStringLiteral(R"({"type":"getUser","tag":"t","data":{"user":"ana","pass":"geslo"}})"));
        m_member.ask(text);
        m_file.empty("metalog");
    }

private:
    SiteFile m_file{twoDays()};
    EchoServer m_server{0};
    Client m_member{m_server.serverPort()};
    Client m_stranger{m_server.serverPort()};
};

} // namespace

void check(const QByteArray &input)
{
    static Site site;
    site.check(QString::fromUtf8(input));
}
