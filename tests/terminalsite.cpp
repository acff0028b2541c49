#include "terminalsite.h"

#include "attendancefile.h"
#include "knetrpc/rpccall.h"
#include "server/sessions/sessionpeers.h"
#include "server/sessions/terminalcatchup.h"

#include <QSignalSpy>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTest>

static const QString kLocker = QStringLiteral("locker");

QAny TerminalSide::take(const QString &id, const QString &method, const QAny &params)
{
    requests += method + QLatin1Char(' ') + QString::fromUtf8(canonical(params.toJsonUtf8()));
    return answer ? answer(id, method, params) : QAny::list();
}

FileLock::FileLock(const QString &path)
{
    QSqlDatabase connection = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), kLocker);
    connection.setDatabaseName(path);
    connection.open();
    QSqlQuery(connection).exec(QStringLiteral("BEGIN IMMEDIATE"));
}

FileLock::~FileLock()
{
    release();
    QSqlDatabase::removeDatabase(kLocker);
}

void FileLock::release()
{
    QSqlDatabase::database(kLocker).close();
}

TerminalSite::TerminalSite() : database(std::make_unique<DataBase>(folder.filePath("site.db")))
{
    fillAttendance(*database, {});
    setDb(database.get());
    setRpcController(&server);
    journal = std::make_unique<Logger>(server::sessions::sessionPeers());
    main = std::make_unique<MainTerminalService>(&server);
    admin = std::make_unique<AdminTerminalService>(&server);
    setMainTerminalService(main.get());
    setAdminTerminalService(admin.get());
    server.registerService("logger", journal.get());
    server.registerService("mainterminal", main.get());
    server.registerService("adminterminal", admin.get());
    server.addServiceRequirement("logger", "logger");
    server.listen(QHostAddress::LocalHost, 0);
    client.registerService("logger", &side);
}

TerminalSite::~TerminalSite()
{
    setMainTerminalService(nullptr);
    setAdminTerminalService(nullptr);
    main.reset();
    admin.reset();
    journal.reset();
    setRpcController(nullptr);
    setDb(nullptr);
}

QString TerminalSite::connection()
{
    QString id;
    const QSignalSpy accepted(&server, &KNet::RpcController::incoming);
    const bool isOpen = client.connectToHost("127.0.0.1", server.serverPort(), id, 5000) &&
                        waitFor([&accepted] { return !accepted.isEmpty(); });
    return isOpen ? id : QString();
}

QString TerminalSite::terminal(int number, const char *service)
{
    const QString id = connection();
    const QAny answer = call(id, QByteArray(service) + ".login", {{"id", number}});
    return answer == QAny(true) ? id : QString();
}

QAny TerminalSite::call(const QString &connectionId, const char *method, const QAny &params)
{
    return KNet::RpcCall(&client).call(connectionId, QString::fromLatin1(method), params, 10000);
}

QString TerminalSite::ask(const QString &connectionId, const char *method, const char *params)
{
    return QString::fromUtf8(text(call(connectionId, method, QAny::fromJson(QByteArray(params)))));
}

std::unique_ptr<RpcPeer> TerminalSite::silentPeer(int number, const char *service)
{
    auto peer = std::make_unique<RpcPeer>(server.serverPort());
    peer->onCall = [](const QAny &) {};
    const QByteArray login = QByteArray(service) + ".login";
    if (peer->ask(callText(login, "{\"id\":" + QByteArray::number(number) + '}')) != resultText("true"))
        qFatal("no login");
    return peer;
}

void TerminalSite::leave(const QString &connectionId)
{
    const QSignalSpy gone(&server, &KNet::RpcController::disconnected);
    client.abortConnection(connectionId);
    waitFor([&gone] { return !gone.isEmpty(); });
}

bool TerminalSite::waitForCatchUps(int left)
{
    return waitFor([this, left] {
        return main->findChildren<server::sessions::TerminalCatchUp *>().size() +
                   admin->findChildren<server::sessions::TerminalCatchUp *>().size() ==
               left;
    });
}

QStringList TerminalSite::rows(const char *sql)
{
    QStringList rows;
    database->forEachRow(QString::fromUtf8(sql), {}, [&rows](const QSqlQuery &row) {
        QStringList values;
        for (int i = 0; i < row.record().count(); ++i)
            values += row.value(i).toString();
        rows += values.join(QLatin1Char('|'));
    });
    return rows;
}

std::unique_ptr<FileLock> TerminalSite::lock()
{
    database->exec("PRAGMA busy_timeout=0");
    return std::make_unique<FileLock>(database->filePath());
}
