#pragma once

#include "knetrpc/rpccontroller.h"
#include "rpcpeer.h"
#include "server/logger/logger.h"
#include "server/sessions/adminterminalservice.h"
#include "server/sessions/mainterminalservice.h"
#include "storage/database.h"

#include <QObject>
#include <QStringList>
#include <QTemporaryDir>

#include <functional>
#include <memory>

/// What terminals offer the server: notes each request as "method params" and answers as the test says, at first with
/// empty lists.
class TerminalSide : public QObject
{
    Q_OBJECT
public:
    /// Gets the terminal's own id of its connection, the method and its parameters.
    std::function<QAny(const QString &connectionId, const QString &method, const QAny &params)> answer;
    QStringList requests;

public Q_SLOTS:
    QAny getLogs(QString id, QAny params) { return take(id, QStringLiteral("getLogs"), params); }
    QAny getEvents(QString id, QAny params) { return take(id, QStringLiteral("getEvents"), params); }
    QAny getPictures(QString id, QAny params) { return take(id, QStringLiteral("getPictures"), params); }
    QAny ulkaCsvEvent(QString id, QAny params) { return take(id, QStringLiteral("ulkaCsvEvent"), params); }
    QAny zukCmd(QString id, QAny params) { return take(id, QStringLiteral("zukCmd"), params); }

private:
    QAny take(const QString &id, const QString &method, const QAny &params);
};

/// Another program's connection to the file.
class FileLock
{
public:
    explicit FileLock(const QString &path);
    ~FileLock();
    void release();
};

/// A server with storage, sessions and logger, as at a site, and the controller that all terminals share.
class TerminalSite
{
public:
    TerminalSite();
    ~TerminalSite();

    /// The terminal's own id of a new connection that the server knows.
    QString connection();
    /// A new connection, logged in.
    QString terminal(int number, const char *service = "mainterminal");
    QAny call(const QString &connectionId, const char *method, const QAny &params = QAny());
    /// An answer as JSON text.
    QString ask(const QString &connectionId, const char *method, const char *params);
    /// One that is logged in, and answers the server nothing.
    std::unique_ptr<RpcPeer> silentPeer(int number, const char *service = "mainterminal");
    /// Ends the connection and waits until the server knows.
    void leave(const QString &connectionId);
    bool waitForCatchUps(int left = 0);
    /// The rows of a query, their values joined by "|".
    QStringList rows(const char *sql);
    /// A lock fails at once instead of after the busy time-out.
    std::unique_ptr<FileLock> lock();

    QTemporaryDir folder;
    std::unique_ptr<DataBase> database;
    KNet::RpcController server;
    TerminalSide side;
    KNet::RpcController client;
    std::unique_ptr<Logger> journal;
    std::unique_ptr<MainTerminalService> main;
    std::unique_ptr<AdminTerminalService> admin;
};
