#pragma once

#include "qany.h"
#include "storage/database.h"

#include <QSignalSpy>
#include <QWebSocket>

/// The tables of the login, with the one user as whom WebClient logs in.
inline bool addWebUser(DataBase &database)
{
    bool done = true;
    for (const char *sql :
         {"create table employees (ID integer, FIRSTNAME text, LASTNAME text, ACTIVE integer)",
          "create table USER_ACCESS (IDP integer, NAME text, PASSWORD text, ACTIVE integer)",
          "insert into employees values (5,'Ana','Kos',1)", "insert into USER_ACCESS values (5,'ana','geslo',1)"})
        done = database.exec(QString::fromLatin1(sql)) && done;
    return done;
}

/// A web client of the tests: one answer per question, waiting for signals.
class WebClient
{
public:
    explicit WebClient(quint16 port)
    {
        QSignalSpy connected(&socket, &QWebSocket::connected);
        socket.open(QUrl(QStringLiteral("ws://127.0.0.1:%1").arg(port)));
        connected.wait();
    }

    /// Invalid when no answer came.
    QAny ask(const QString &request)
    {
        QSignalSpy answered(&socket, &QWebSocket::textMessageReceived);
        socket.sendTextMessage(request);
        return answered.wait() ? QAny::fromJson(answered.first().first().toString()) : QAny(QAny::Invalid);
    }

    bool logIn(const QString &tag = QStringLiteral("t"))
    {
        const QString request = QStringLiteral(R"({"type":"getUser","tag":"%1","data":{"user":"ana","pass":"geslo"}})");
        return ask(request.arg(tag)).lookup(QStringLiteral("data")).lookup(QStringLiteral("result")).toBool();
    }

    QWebSocket socket;
};
