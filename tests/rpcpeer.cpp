#include "rpcpeer.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QJsonDocument>
#include <QTimer>

QByteArray canonical(const QByteArray &json)
{
    return QJsonDocument::fromJson(json).toJson(QJsonDocument::Compact);
}

QByteArray text(const QAny &value)
{
    const QByteArray json = value.toJsonUtf8();
    return value.isHash() || value.isList() ? canonical(json) : json;
}

QByteArray callText(const QByteArray &method, const QByteArray &params, const QByteArray &id)
{
    return R"({"knetrpc":"1.0","method":")" + method + R"(","params":)" + params + R"(,"id":)" + id + '}';
}

QByteArray resultText(const QByteArray &result, const QByteArray &id)
{
    return canonical(R"({"knetrpc":"1.0","result":)" + result + R"(,"id":)" + id + '}');
}

QByteArray errorText(int code, const QByteArray &message, const QByteArray &id)
{
    return canonical(R"({"knetrpc":"1.0","error":{"code":)" + QByteArray::number(code) + R"(,"message":")" + message +
                     R"("},"id":)" + id + '}');
}

int openDescriptors()
{
    return QDir(QStringLiteral("/proc/self/fd"))
        .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)
        .size();
}

void settle()
{
    for (int i = 0; i < 3; ++i)
        QCoreApplication::processEvents();
}

bool waitFor(const std::function<bool()> &holds, int timeoutMs)
{
    QTimer wake;
    wake.start(timeoutMs);
    const QDeadlineTimer deadline(timeoutMs);
    while (!holds() && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    return holds();
}

RpcPeer::RpcPeer(quint16 port) : RpcPeer(new QTcpSocket)
{
    socket->connectToHost(QHostAddress::LocalHost, port);
    socket->waitForConnected();
    socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
}

RpcPeer::RpcPeer(QTcpSocket *accepted) : socket(accepted)
{
    QObject::connect(socket.get(), &QTcpSocket::readyRead, socket.get(), [this] { read(); });
    QTimer::singleShot(0, socket.get(), [this] { read(); }); // what came before
}

void RpcPeer::write(const QByteArray &bytes, int piece)
{
    for (int at = 0; at < bytes.size(); at += piece) {
        if (piece < 1)
            piece = bytes.size();
        socket->write(bytes.mid(at, piece));
        while (socket->bytesToWrite() > 0 && socket->waitForBytesWritten())
            continue;
        if (piece < bytes.size())
            settle();
    }
}

void RpcPeer::read()
{
    const QByteArray bytes = socket->readAll();
    raw += bytes;
    for (qsizetype at = 0, taken = 0; at < bytes.size(); at += taken) {
        const Json::Parser::Feed fed = m_parser.feedUntilComplete(bytes.constData() + at, bytes.size() - at, &taken);
        if (fed == Json::Parser::Rejected)
            qFatal("the server wrote no JSON");
        m_text += bytes.mid(static_cast<int>(at), static_cast<int>(taken));
        if (fed != Json::Parser::Complete)
            continue;
        m_parser.finish();
        const QAny message = m_parser.result();
        const QByteArray text = canonical(m_text);
        m_text.clear();
        if (text == canonical(kPing))
            ++pings;
        else if (onCall && message.lookup(QStringLiteral("method")).isString())
            onCall(message);
        else
            messages.append(text);
    }
}

QByteArray RpcPeer::next(int timeoutMs)
{
    waitFor([this] { return !messages.isEmpty() || isClosed(); }, timeoutMs);
    return messages.isEmpty() ? QByteArray() : messages.takeFirst();
}

QByteArray RpcPeer::ask(const QByteArray &bytes)
{
    write(bytes);
    return next();
}

bool RpcPeer::waitClosed(int timeoutMs)
{
    return waitFor([this] { return isClosed(); }, timeoutMs);
}

void RpcPeer::stopReading()
{
    socket->disconnect(SIGNAL(readyRead()));
    socket->setReadBufferSize(1);
}

void RpcPeer::readSlowly(int bytes)
{
    stopReading();
    socket->setReadBufferSize(bytes);
    socket->setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption, bytes);
    QObject::connect(&m_pace, &QTimer::timeout, socket.get(), [this] { read(); });
    m_pace.start(5);
}

void AnswerList::onAnswer(QString connectionId, QAny response)
{
    from.append(connectionId);
    answers.append(text(response));
    const auto deed = then;
    if (deed)
        deed();
}

QAny RpcTestService::echo(const QString &connectionId, const QAny &params)
{
    calls.append(params);
    callers.append(connectionId);
    return params;
}

QAny RpcTestService::run(const QString &connectionId, const QAny &params)
{
    const auto deed = action;
    return deed(connectionId, params);
}

RpcSite::RpcSite(const KNet::RpcLimits &limits)
    : service(std::make_unique<RpcTestService>()), controller(std::make_unique<KNet::RpcController>())
{
    controller->setLimits(limits);
    controller->registerService(QStringLiteral("test"), service.get());
    const auto note = [this](const char *name, QStringList *ids) {
        return [=](const QString &id) {
            ids->append(id);
            events.append(QLatin1String(name) + id);
        };
    };
    using KNet::RpcController;
    QObject::connect(controller.get(), &RpcController::incoming, note("incoming ", &incoming));
    QObject::connect(controller.get(), &RpcController::connected, note("connected ", &connected));
    QObject::connect(controller.get(), &RpcController::disconnected, note("disconnected ", &gone));
    QObject::connect(controller.get(), &RpcController::error,
                     [this](const QString &id) { events.append(QStringLiteral("error ") + id); });
    if (!controller->listen(QHostAddress::LocalHost, 0) || !m_far.listen(QHostAddress::LocalHost, 0))
        qFatal("no port");
}

std::unique_ptr<RpcPeer> RpcSite::peer()
{
    const int before = incoming.size();
    auto peer = std::make_unique<RpcPeer>(controller->serverPort());
    if (waitFor([&] { return incoming.size() > before; }))
        peer->connectionId = incoming.last();
    return peer;
}

std::unique_ptr<RpcPeer> RpcSite::dial()
{
    QString id;
    if (!controller->connectToHost(QStringLiteral("127.0.0.1"), m_far.serverPort(), id, 3000) ||
        !waitFor([&] { return m_far.hasPendingConnections() && connected.contains(id); }))
        qFatal("no connection");
    auto peer = std::make_unique<RpcPeer>(m_far.nextPendingConnection());
    peer->socket->setParent(nullptr);
    peer->connectionId = id;
    return peer;
}

bool RpcSite::isServing()
{
    const auto guest = peer();
    return guest->ask(callText("test.echo", "[1]")) == resultText("[1]");
}
