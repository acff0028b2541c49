#pragma once

#include "qany.h"
#include "warnings.h"

#include "jsonparser.h"
#include "knetrpc/rpccontroller.h"
#include "knetrpc/rpcprotocol.h"

#include <QList>
#include <QObject>
#include <QStringList>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <functional>
#include <memory>

/// The same JSON text with its members sorted and without whitespace, written by another writer than the one under
/// test. Empty for what is no JSON.
QByteArray canonical(const QByteArray &json);
/// The same of any value.
QByteArray text(const QAny &value);

QByteArray callText(const QByteArray &method, const QByteArray &params, const QByteArray &id = "\"1\"");
/// What a service answered, with the id as it must come back.
QByteArray resultText(const QByteArray &result, const QByteArray &id = "\"1\"");
QByteArray errorText(int code, const QByteArray &message, const QByteArray &id = "\"1\"");
const QByteArray kPing = R"({"knetrpc":"1.0","id":"<PING>"})";
const QByteArray kPong = R"({"knetrpc":"1.0","id":"<PONG>"})";

/// Sockets and files that this process has open; 0 where the platform does not tell.
int openDescriptors();
/// Lets the event loop deliver what lies ready.
void settle();
/// Runs the event loop until the condition holds, without pauses between the events.
bool waitFor(const std::function<bool()> &holds, int timeoutMs = 5000);

/// The far end of a connection: writes the bytes that it is told to and cuts what comes into messages.
class RpcPeer
{
public:
    /// Connects, waiting until it is.
    explicit RpcPeer(quint16 port);
    /// Takes over a socket that a server of the test accepted.
    explicit RpcPeer(QTcpSocket *accepted);

    /// In pieces of that length that arrive one after the other, or at once. The bytes have left when it returns.
    void write(const QByteArray &bytes, int piece = 0);
    /// The oldest message not yet taken, canonical; empty when the connection closes or none comes.
    QByteArray next(int timeoutMs = 5000);
    QByteArray ask(const QByteArray &bytes);
    /// Whether the other side closes, behind whatever it still sends.
    bool waitClosed(int timeoutMs = 5000);
    bool isClosed() const { return socket->state() == QAbstractSocket::UnconnectedState; }
    /// Reads nothing from now on.
    void stopReading();
    /// Reads that many bytes every 5 ms from now on.
    void readSlowly(int bytes);

    QString connectionId;       // the server's
    QList<QByteArray> messages; // but for calls that onCall takes, and pings
    int pings = 0;
    QByteArray raw;                   // everything that came
    std::function<void(QAny)> onCall; // takes the calls that come
    std::unique_ptr<QTcpSocket> socket;

private:
    void read();

    Json::Parser m_parser;
    QByteArray m_text;
    QTimer m_pace;
};

/// Notes the answers to calls of the server's, their members sorted, and then does what the test says.
class AnswerList : public QObject
{
    Q_OBJECT
public:
    QList<QByteArray> answers;
    QStringList from;
    std::function<void()> then; // this object may end in it

public Q_SLOTS:
    void onAnswer(QString connectionId, QAny response);
};

class RpcTestBase : public QObject
{
    Q_OBJECT
public Q_SLOTS:
    QAny inherited(QString, QAny) { return 1; }
    virtual QAny redeclared(QString, QAny) { return 2; }
};

/// Slots of every kind, callable and not.
class RpcTestService : public RpcTestBase
{
    Q_OBJECT
public:
    std::function<QAny(const QString &, const QAny &)> action; // of run()
    QList<QAny> calls;                                         // the parameters of echo(), in order
    QStringList callers;

    Q_INVOKABLE QAny invokable(QString, QAny) { return 3; }

public Q_SLOTS:
    QAny echo(const QString &connectionId, const QAny &params);
    /// Does what the test says; this object may end in it.
    QAny run(const QString &connectionId, const QAny &params);
    QAny redeclared(QString, QAny) override { return 4; }
    QAny overloaded(QString, QAny) { return 5; }
    QAny overloaded(QString) { return 6; }
    QAny overloaded(QAny, QString) { return 7; }
    QAny byReference(const QString &, const QAny &) { return 8; }
    QAny withDefault(QString, QAny = QAny()) { return 9; }
    QString text(QString, QAny) { return QStringLiteral("text"); }
    void nothing(QString, QAny) {}
    QAny threeParameters(QString, QAny, int) { return 10; }

Q_SIGNALS:
    QAny signal(QString, QAny);

protected Q_SLOTS:
    QAny hidden(QString, QAny) { return 11; }
private Q_SLOTS:
    QAny secret(QString, QAny) { return 12; }
};

/// A controller that listens on this machine, with the service "test", and what its signals told.
class RpcSite
{
public:
    explicit RpcSite(const KNet::RpcLimits &limits = {});

    /// A peer that the server has accepted.
    std::unique_ptr<RpcPeer> peer();
    /// A peer that the server opened a connection to.
    std::unique_ptr<RpcPeer> dial();
    bool isServing();

    std::unique_ptr<RpcTestService> service;
    std::unique_ptr<KNet::RpcController> controller;
    QStringList incoming;
    QStringList connected;
    QStringList gone;   // disconnected
    QStringList events; // all of them with their names, in order

private:
    QTcpServer m_far;
};
