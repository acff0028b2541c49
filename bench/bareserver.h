#pragma once

#include "jsonparser.h"
#include "wireclient.h"

#include <QCoreApplication>
#include <QTcpServer>
#include <QTcpSocket>

#include <functional>
#include <memory>

// TCP servers that do no more than they must, to measure a server against.

/// What a connection of a bare server does with the bytes that arrive.
using Input = std::function<void(QTcpSocket *, const QByteArray &)>;

/// Gives its port. It lives as long as the application object.
inline quint16 startBare(const std::function<Input()> &makeInput)
{
    auto *server = new QTcpServer(qApp);
    QObject::connect(server, &QTcpServer::newConnection, server, [server, makeInput] {
        while (QTcpSocket *socket = server->nextPendingConnection()) {
            socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
            QObject::connect(socket, &QTcpSocket::readyRead, socket,
                             [socket, input = makeInput()] { input(socket, socket->readAll()); });
        }
    });
    server->listen(QHostAddress::LocalHost, 0);
    return server->serverPort();
}

/// Reads each call and answers it; what is to be done before the answer gets the call.
inline Input reading(const std::function<void(const QAny &)> &work = {})
{
    return [reader = std::make_shared<Json::Parser>(), work](QTcpSocket *socket, const QByteArray &bytes) {
        for (qsizetype at = 0, taken = 0; at < bytes.size(); at += taken) {
            if (reader->feedUntilComplete(bytes.constData() + at, bytes.size() - at, &taken) != Json::Parser::Complete)
                return;
            reader->finish();
            const QAny message = reader->result();
            reader->reset();
            if (work)
                work(message);
            const QAny answer = {{QStringLiteral("knetrpc"), QStringLiteral("1.0")},
                                 {QStringLiteral("id"), message.lookup(QStringLiteral("id"))},
                                 {QStringLiteral("result"), true}};
            socket->write(answer.toJsonUtf8());
        }
    };
}

/// Sends each message back unread.
inline Input echoing()
{
    struct State {
        MessageCutter cutter;
        QByteArray begun;
    };
    return [state = std::make_shared<State>()](QTcpSocket *socket, const QByteArray &bytes) {
        qsizetype at = 0;
        while (const size_t length =
                   state->cutter.cut(bytes.constData() + at, static_cast<size_t>(bytes.size() - at))) {
            state->begun.append(bytes.constData() + at, static_cast<int>(length));
            socket->write(state->begun);
            state->begun.clear();
            at += static_cast<qsizetype>(length);
        }
        state->begun.append(bytes.constData() + at, static_cast<int>(bytes.size() - at));
    };
}
