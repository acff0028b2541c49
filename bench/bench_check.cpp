// What administration clients ask for in bulk, to the last byte at a bare socket: the rows of a query against a loop
// over the driver that builds the same text with Qt's JSON document, the calculation of a company's month against the
// same calculation in process, and a large file both ways. Prints each against its target, then the usual table; ends
// with 1 when a target is missed.

#include "alternating.h"
#include "calc/dialogcalc3.h"
#include "filledcompany.h"
#include "knetrpc/rpccontroller.h"
#include "server/check/admincheckservice.h"
#include "server/logger/logger.h"
#include "server/sessions/adminterminalservice.h"
#include "server/sessions/sessionpeers.h"
#include "serverprocess.h"
#include "target.h"
#include "wireclient.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSqlRecord>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <string>
#include <string_view>

namespace {

constexpr int kRows = 100000;
constexpr int kEmployees = 1000;
constexpr double kFileMB = 100;
constexpr size_t kRounds = 7;
const QDate kMonthStart(2026, 1, 1);
const QDate kMonthEnd(2026, 1, 31);

const char kQuery[] = "select * from logs where IDX<100000";
const char kRequest[] = R"({"STARTDATE":"1.1.2026","ENDDATE":"31.1.2026"})";

/// A company's month, and a journal.
void makeFile(const QString &file)
{
    DataBase database(file);
    makeCompany(database, kEmployees, kMonthStart, kMonthEnd);
    database.exec(QStringLiteral("WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i+1 FROM n WHERE i<%1) "
                                 "INSERT INTO logs SELECT i, i%50, 0, 1600000000000+i*1000, 0, 0, 'Insert true', "
                                 "'{\"DATA\":{\"NAME\":\"calendar\",\"TABLE\":{\"NOTE\":\"Božič\"}}}' FROM n")
                      .arg(kRows - 1));
}

quint16 startServer(const QString &file)
{
    makeFile(file);
    auto *controller = new KNet::RpcController(qApp);
    setDb(new DataBase(file, qApp));
    setAdminTerminalService(new AdminTerminalService(controller, qApp));
    setLogger(new Logger(server::sessions::sessionPeers(), qApp));
    controller->registerService(QStringLiteral("adminterminal"), adminTerminalService());
    controller->registerService(QStringLiteral("admincheck"), new AdminCheckService(qApp));
    controller->addServiceRequirement(QStringLiteral("admincheck"), QStringLiteral("admincheck"));
    controller->listen(QHostAddress::LocalHost, 0);
    return controller->serverPort();
}

/// An administration client that reads no more of its answers than it must to find their ends.
class Client
{
public:
    explicit Client(quint16 port) : m_socket(connectedSocket(port))
    {
        ask(wireCall(1, "adminterminal.login", R"({"id":1})"));
    }
    ~Client() { close(m_socket); }

    /// Sends the text of a call and waits for the last byte of the answer. Tells the answer's length, with a few bytes
    /// of other messages.
    size_t ask(std::string call)
    {
        // Answers come in the order of the calls: that of a short one marks the end.
        call += wireCall(2, "adminterminal.status", "null");
        for (size_t sent = 0; sent < call.size();)
            sent += checked(::send(m_socket, call.data() + sent, call.size() - sent, MSG_NOSIGNAL));
        constexpr std::string_view kMark = "\"loggedin\":true";
        size_t length = 0;
        for (std::string tail; tail.find(kMark) == std::string::npos;) {
            constexpr size_t kTail = 200;
            const size_t got = checked(recv(m_socket, m_buffer, sizeof m_buffer, 0));
            const size_t kept = std::min(got, kTail);
            tail.append(m_buffer + got - kept, kept);
            tail.erase(0, tail.size() - std::min(tail.size(), kTail));
            length += got;
        }
        return length;
    }
    size_t ask(const std::string &method, const std::string &params) { return ask(wireCall(1, method, params)); }

private:
    Q_DISABLE_COPY(Client)

    static size_t checked(ssize_t bytes)
    {
        if (bytes <= 0)
            giveUpMeasuring("the server closed the connection");
        return static_cast<size_t>(bytes);
    }

    int m_socket;
    char m_buffer[256 * 1024];
};

/// The same rows as one JSON text; tells its length.
size_t bareQuery()
{
    QSqlQuery query;
    query.setForwardOnly(true);
    query.exec(QString::fromLatin1(kQuery));
    const QSqlRecord record = query.record();
    QJsonArray rows;
    while (query.next()) {
        QJsonObject row;
        for (int i = 0; i < record.count(); ++i)
            row.insert(record.fieldName(i), QJsonValue::fromVariant(query.value(i)));
        rows.append(row);
    }
    return static_cast<size_t>(QJsonDocument(rows).toJson(QJsonDocument::Compact).size());
}

size_t calculationInProcess()
{
    const QAny result = DialogCalc3(*db()).recalc(QAny::fromJson(QByteArray(kRequest)));
    return static_cast<size_t>(result.toJsonUtf8().size());
}

/// Whether both sides give about the same number of bytes: else they do not do the same.
bool areAlike(const char *name, size_t ours, size_t theirs)
{
    std::printf("%s: %.1f MB\n", name, static_cast<double>(ours) / 1e6);
    const double ratio = static_cast<double>(ours) / static_cast<double>(theirs);
    return ratio > 0.95 && ratio < 1.05;
}

bool compare(const char *name, const std::function<size_t()> &wire, const std::function<size_t()> &inProcess,
             double limit, const char *against)
{
    const bool alike = areAlike(name, wire(), inProcess());
    const std::vector<double> seconds = alternatingMedians({wire, inProcess}, kRounds);
    std::printf("%.3f s to the last byte, %.3f s in process\n", seconds[0], seconds[1]);
    return atMost(name, "ratio", seconds[0] / seconds[1], limit, against) && alike;
}

/// A file of random bytes that lies in the folder, and the calls that send and get it.
class Transfer
{
public:
    explicit Transfer(const QDir &folder)
    {
        QByteArray content(static_cast<int>(kFileMB * 1e6), '\0');
        quint32 random = 1;
        for (char &byte : content)
            byte = static_cast<char>((random = random * 1664525 + 1013904223) >> 24);
        QFile file(folder.filePath(QStringLiteral("file")));
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("no room for the file");
        // Files go below the program's folder.
        const QString below = QDir(QCoreApplication::applicationDirPath()).relativeFilePath(folder.path());
        m_send = call("addFile", below, R"(,"FILE":")" + content.toBase64().toStdString() + '"');
        m_get = call("loadFile", folder.path());
    }

    size_t send(Client &client) const { return client.ask(m_send); }
    size_t get(Client &client) const { return client.ask(m_get); }
    bool measure(Client &client) const
    {
        const std::vector<double> seconds = alternatingMedians({[&] { send(client); }, [&] { get(client); }}, kRounds);
        constexpr double kTarget = 50;
        const bool sent = atLeast("a file of 100 MB to the server", "MB/s", kFileMB / seconds[0], kTarget, "");
        return atLeast("a file of 100 MB from the server", "MB/s", kFileMB / seconds[1], kTarget, "") && sent;
    }

private:
    static std::string call(const std::string &method, const QString &folder, const std::string &more = {})
    {
        return wireCall(1, "admincheck." + method,
                        R"({"FNAME":"file","DIR":")" + folder.toStdString() + '"' + more + '}');
    }

    std::string m_send;
    std::string m_get;
};

void registerSide(const char *name, const std::function<size_t()> &side)
{
    const auto run = [side](benchmark::State &state) {
        for (auto _ : state)
            benchmark::DoNotOptimize(side());
    };
    benchmark::RegisterBenchmark(name, run)->UseRealTime()->Unit(benchmark::kMillisecond);
}

} // namespace

int main(int argc, char **argv)
{
    QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("site.db"));
    const ServerProcess server([&file] { return startServer(file); });

    QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
    DataBase database(file);
    setDb(&database);
    Client client(server.port());
    const Transfer transfer{QDir(folder.path())};

    const auto query = [&client] { return client.ask("admincheck.query", '"' + std::string(kQuery) + '"'); };
    const auto recalc = [&client] { return client.ask("admincheck.recalc", kRequest); };
    const bool queried = compare("time of a query of 100,000 rows, to the last byte at the socket", query, bareQuery, 3,
                                 "a loop over the driver that makes the text with QJsonDocument");
    const bool calculated =
        compare("time of a calculation of 1,000 employees x 1 month, to the last byte at the socket", recalc,
                calculationInProcess, 1.5, "the same calculation in process, by one thread");
    const bool transferred = transfer.measure(client);

    registerSide("query", query);
    registerSide("queryBare", bareQuery);
    registerSide("recalc", recalc);
    registerSide("recalcInProcess", calculationInProcess);
    registerSide("addFile", [&] { return transfer.send(client); });
    registerSide("loadFile", [&] { return transfer.get(client); });
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    setDb(nullptr);
    return queried && calculated && transferred ? 0 : 1;
}
