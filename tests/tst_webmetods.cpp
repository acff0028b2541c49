#include "attendancefile.h"
#include "rows.h"
#include "server/logger/logger.h"
#include "server/web/literaltext.h"
#include "server/web/webmetods.h"
#include "storage/readconnection.h"

#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <thread>

namespace {

/// With the tag of the tests.
QString request(const char *type, const QString &data)
{
    return QStringLiteral(R"({"type":"%1","tag":"t","data":%2})").arg(type, data);
}

const QString kPresence = request("getPresence", "null");

QString workTime(const QString &more = {})
{
    return request("getWTime", R"({"STARTDATE":"3.3.2025","ENDDATE":"4.3.2025","USER":[5])" + more + '}');
}

/// What a row or its cells show under the keys, as JSON with single quotes.
QString shown(const QAny &row, const QString &keys)
{
    QStringList texts;
    for (const QString &key : keys.split(' '))
        texts += (row.lookup(key).isHash() ? row.lookup(key).lookup("UWVS") : row.lookup(key)).toJson();
    return texts.join(' ').replace('"', '\'');
}

} // namespace

/// The web methods against a small attendance file, without sockets.
class TestWebMetods : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();

    void literalTexts();
    void refusals_data();
    void refusals();
    void loginAnswersEmployee();
    void loginIsOfSocketAndTag();
    void unknownTypeHasNoReason();
    void presence_data();
    void presence();
    void saldoRows();
    void addMetaStoresEvent();
    void workTimeOfOneDay();
    void workTimeWithoutParts();
    void readingsOnAnotherThread();

private:
    QAny ask(const QString &json, const QObject *peer = nullptr);
    QAny data(const QString &json) { return ask(json).lookup(QStringLiteral("data")); }
    bool logIn(const QObject *peer = nullptr);
    QAny row(const QString &sql) { return m_database->select(sql).value(0); }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<DataBase> m_database;
    std::unique_ptr<Logger> m_logger;
    std::unique_ptr<webMetods> m_web;
    QObject m_peer;
};

void TestWebMetods::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_database = std::make_unique<DataBase>(m_folder->filePath(QStringLiteral("web.db")));
    m_logger = std::make_unique<Logger>(server::logger::LoggedInPeers(), [] { return QList<QHostAddress>(); });
    m_web = std::make_unique<webMetods>();
    setDb(m_database.get());
    setLogger(m_logger.get());
    QVERIFY(fillAttendance(*m_database, threeEmployees()));
}

void TestWebMetods::cleanup()
{
    setLogger(nullptr);
    setDb(nullptr);
    m_web.reset();
    m_database.reset();
}

QAny TestWebMetods::ask(const QString &json, const QObject *peer)
{
    return m_web->request(QAny::fromJson(json), peer ? peer : &m_peer);
}

bool TestWebMetods::logIn(const QObject *peer)
{
    return ask(request("getUser", R"({"user":"ana","pass":"geslo"})"), peer).lookup("data").contains("idp");
}

void TestWebMetods::literalTexts()
{
    const QString half(QChar(0xd83d));
    const QString otherHalf(QChar(0xde00));
    const QString longest(server::web::kMaxLiteral, 'x');
    for (const QString &text : {QString(), QString("ana"), QString("''"), QString("o''neil ''''"), QString("\" --;"),
                                half + otherHalf, longest})
        QVERIFY2(server::web::isLiteral(text), qPrintable(text.left(20)));
    for (const QString &text :
         {QString("'"), QString("'x''"), QString("''x'"), QString("x'''"), QString("'x'"), half, otherHalf, half + "x",
          half + half + otherHalf, otherHalf + half, half + "'", "x" + QString(QChar(0)), longest + "x"})
        QVERIFY2(!server::web::isLiteral(text), qPrintable(text.left(20)));

    // SQLite would take the quote behind it for the other half, and the password for SQL.
    const QAny login{{"user", half}, {"pass", " or 1=1 --"}};
    const QAny answer = m_web->request(QAny{{"type", "getUser"}, {"tag", "t"}, {"data", login}}, &m_peer);
    QCOMPARE(answer.lookup("data").lookup("reason"), QAny("User unknown!"));
}

void TestWebMetods::refusals_data()
{
    const auto row = columns<QString, QString>({"request", "reason"});
    row("no JSON", "{\"tag\":", "Not tag!");
    row("no tag", R"({"type":"getUser","data":{"user":"ana","pass":"geslo"}})", "Not tag!");
    row("empty tag", R"({"type":"logOut","tag":""})", "Not tag!");
    row("long tag", R"({"type":"logOut","tag":")" + QString(257, 'x') + "\"}", "Not tag!");
    row("longest tag", R"({"type":"getPresence","tag":")" + QString(256, 'x') + "\"}", "Not logged in!");
    row("list as tag", R"({"type":"logOut","tag":["t"]})", "Not tag!");
    const auto user = [](const QString &data) { return request("getUser", data); };
    row("user: no data", R"({"type":"getUser","tag":"t"})", "No Data");
    row("user: null data", user("null"), "No user!");
    row("no password", user(R"({"user":"ana"})"), "No password!");
    row("wrong password", user(R"({"user":"ana","pass":"Geslo"})"), "User unknown!");
    row("lists as user and password", user(R"({"user":["ana"],"pass":{}})"), "User unknown!");
    row("quote ends the name", user(R"({"user":"ana' --","pass":"x"})"), "User unknown!");
    row("quote ends the password", user(R"({"user":"ana","pass":"x' or 'a'='a"})"), "User unknown!");
    row("quote in a name", user(R"({"user":"d'Este","pass":"x"})"), "User unknown!");
    row("access switched off", user(R"({"user":"bor","pass":"geslo"})"), "User unknown!");
    row("employee who left", user(R"({"user":"cene","pass":"geslo"})"), "User unknown!");
    const auto time = [](const QString &data) { return request("getWTime", data); };
    const auto timeOf = [&](const QString &who) {
        return time(R"({"STARTDATE":"3.3.2025","ENDDATE":"3.3.2025","USER":)" + who + '}');
    };
    row("time: no data", R"({"type":"getWTime","tag":"t"})", "No Data");
    row("time: no end", time(R"({"STARTDATE":"3.3.2025"})"), "No End date!");
    row("time: no user", time(R"({"STARTDATE":"3.3.2025","ENDDATE":"3.3.2025"})"), "No User!");
    row("time: nobody", timeOf("99"), "WTime Error!");
    row("time: object as user", timeOf(R"({"5":5})"), "WTime Error!");
    row("time: number as date", time(R"({"STARTDATE":3,"ENDDATE":[],"USER":5})"), "WTime Error!");
}

void TestWebMetods::refusals()
{
    QFETCH(QString, request);
    QFETCH(QString, reason);
    const bool isLogin = request.contains(QLatin1String("getUser"));
    if (!isLogin)
        QVERIFY(logIn() && run(*m_database, twoDays()));

    const QAny answer = ask(request);
    QCOMPARE(answer.lookup("data"), (QAny{{"reason", reason}, {"result", "false"}}));
    QVERIFY(answer.lookup("data").lookup("result").isString());
    const QAny named = QAny::fromJson(request).lookup("type");
    const bool isNamed = !reason.startsWith(QLatin1String("Not ")); // those come before any method
    QCOMPARE(answer.lookup("type"), isNamed ? named : QAny());
    QCOMPARE(answer.contains("tag"), isLogin && isNamed);
    if (isLogin)
        QCOMPARE(data(kPresence).lookup("reason"), QAny("Not logged in!"));
}

void TestWebMetods::loginAnswersEmployee()
{
    const QAny answer = ask(R"({"type":"getUser","tag":"moja","data":{"user":"ana","pass":"geslo"}})");
    const QAny employee{{"idp", 5}, {"firstname", "Ana"}, {"lastname", "Žagar"}, {"result", true}};
    QCOMPARE(answer, (QAny{{"type", "getUser"}, {"tag", "moja"}, {"data", employee}}));
    QVERIFY(answer.lookup("data").lookup("result").isBool());

    logger()->keptEvents().finishTurn();
    const QAny log = row("select LLEVEL as V,LGROUP as G,FMESSAGE as M from logs");
    QCOMPARE(log, (QAny{{"V", 0}, {"G", 0}, {"M", "Logger::Webser NewUser:ana geslo"}}));

    // Deliberate: what the user types stands in the statement as it is.
    QVERIFY(run(*m_database, {"insert into USER_ACCESS (IDP,NAME,PASSWORD,ACTIVE) values (5,'d''Este','x',1)"}));
    QCOMPARE(data(request("getUser", R"({"user":"d''Este","pass":"x"})")).lookup("idp"), QAny(5));
    // Filled in one step: a name that holds a place marker stays as it is.
    ask(request("getUser", R"({"user":"%2","pass":"skrivnost"})"));
    logger()->keptEvents().finishTurn();
    QCOMPARE(row("select FMESSAGE as M from logs order by IDX desc").lookup("M"),
             QAny("Logger::Webser NewUser:%2 skrivnost"));
}

void TestWebMetods::loginIsOfSocketAndTag()
{
    QObject other;
    const auto isServed = [&](const QObject *peer) { return ask(kPresence, peer).lookup("data").contains("presence"); };
    QVERIFY(!isServed(&m_peer));
    QVERIFY(logIn());
    QVERIFY(isServed(&m_peer));
    QVERIFY(!isServed(&other)); // knows the tag, did not log in

    QVERIFY(logIn(&other));
    m_web->removePeer(&m_peer);
    QVERIFY(!isServed(&m_peer));
    QVERIFY(isServed(&other)); // the tag stays known when a socket goes

    QVERIFY(logIn());
    const QAny answer = ask(R"({"type":"logOut","tag":"t"})");
    QCOMPARE(answer.toJson(), QStringLiteral(R"({"data":{"result":"true"}})"));
    QVERIFY(!isServed(&m_peer));
    QVERIFY(!isServed(&other)); // the logOut took the tag away from everyone
    QCOMPARE(ask(R"({"type":"logOut","tag":"never seen"})").toJson(), answer.toJson());
}

void TestWebMetods::unknownTypeHasNoReason()
{
    QVERIFY(logIn());
    for (const char *type : {R"("getwtime")", R"("GetPresence")", "{}", "null"}) {
        const QAny answer = ask(QStringLiteral(R"({"type":%1,"tag":"t"})").arg(type));
        QCOMPARE(answer.toJson(), QStringLiteral(R"({"data":{"result":"false"}})"));
    }
}

void TestWebMetods::presence_data()
{
    // The event's minutes are from midnight.
    const auto row = columns<QString, QString, QString, bool, int>({"code", "type", "remark", "isListed", "minutes"});
    row("departure", "102:Odhod", "EV", "", true, 1);
    row("lunch", "103:Malica", "EV", "", true, 1);
    row("arrival", "101:Prihod", "EV", "", false, 1);
    row("hand-entered leave", "101:Prihod", "MP", "dopust do petka", true, 1);
    row("hand-entered leave by number", "101:Prihod", "MP", "1:Dopust", true, 1);
    row("hand-entered sickness", "102", "MP", "bolniška", true, 1);
    row("hand-entered sickness by number", "102", "MP", "2:", true, 1);
    row("hand-entered other", "102:Odhod", "MP", "po dopustu", false, 1);
    row("remark of a terminal event", "101:Prihod", "EV", "DOPUST", false, 1);
    row("yesterday", "102:Odhod", "EV", "", false, -1);
    row("at midnight", "102:Odhod", "EV", "", false, 0);
}

void TestWebMetods::presence()
{
    QFETCH(QString, code);
    QFETCH(QString, type);
    QFETCH(QString, remark);
    QFETCH(int, minutes);
    QFETCH(bool, isListed);

    const qint64 midnight = QDate::currentDate().startOfDay().toSecsSinceEpoch();
    const auto insert = [&](int user, qint64 second, const QString &ac, const QString &kind, const QString &rem) {
        const QAny time = midnight + second;
        m_database->insert("allevents",
                           {{"USER", user}, {"TIMESTAMP", time}, {"ACCESS_CODE", ac}, {"TYPE", kind}, {"REMARK", rem}});
    };
    // Only the last event of the day counts.
    insert(5, minutes * 60 - 30, isListed ? "101:Prihod" : "102:Odhod", "EV", "");
    insert(5, minutes * 60, code, type, remark);
    QVERIFY(logIn());
    // Deliberate: the very last row is not examined, one employee alone is never listed.
    QCOMPARE(data(kPresence).toJson(), QStringLiteral(R"({"result":true,"presence":[]})"));

    insert(6, 60, "102:Odhod", "EV", "");
    const QAny entry{{"NAME", "Žagar Ana"}, {"CODE", code}, {"REMARK", remark}};
    QCOMPARE(data(kPresence).lookup("presence"), isListed ? QAny::list({entry}) : QAny::list());
}

void TestWebMetods::saldoRows()
{
    const QString insert = QStringLiteral("insert into freehour (ID,IDU,STATUS,HDLAST,HDLDATE,LUPDATE,CHGDATE,REMARK) "
                                          "values (%1)");
    QVERIFY(run(*m_database,
                {insert.arg(QStringLiteral("31,5,2,4,%1,%2,%3,'letni'"))
                     .arg(unixTime("2024-12-31 12:00"))
                     .arg(unixTime("2025-03-05 00:00"))
                     .arg(unixTime("2025-07-01 09:07")),
                 insert.arg(QStringLiteral("32,5,1,0,0,0,0,''")), insert.arg(QStringLiteral("33,5,3,0,0,0,0,''")),
                 insert.arg(QStringLiteral("34,6,2,null,null,null,null,null"))}));
    // The administration's file may declare its columns in any case.
    QVERIFY(m_database->exec(QStringLiteral("alter table freehour rename column HDLDATE to hdldate")));
    QVERIFY(m_database->exec(QStringLiteral("alter table freehour rename column STATUS to status")));
    QVERIFY(logIn());
    const auto saldo = [this](const char *data) { return this->data(request("getSaldo", data)); };
    QCOMPARE(saldo(R"({"ID":"5"})"), QAny::fromJson(QStringLiteral(R"({"result":true,"saldo":[{
        "ID":31,"IDU":5,"NAME":"Žagar Ana","DEPARTMENT":"Pisarna","HDLAST":4,"HDLSPENT":null,"HDLDATE":"31.12.2024",
        "HDTOT":null,"HDSPENT":null,"HDSUM":20,"FHOURS":null,"LUPDATE":"05.03.2025","CHGDATE":"01.07.2025 09:07",
        "STATUS":"2:Tekoče stanje","REMARK":"letni"}]})")));
    // A date that is not there shows empty.
    QCOMPARE(saldo(R"({"ID":6})").lookup("saldo").value(0).lookup("HDLDATE").toJson(), QStringLiteral("\"\""));
    for (const char *nobody : {R"({"ID":[5]})", R"("5")", "null"})
        QCOMPARE(saldo(nobody).toJson(), QStringLiteral(R"({"result":true,"saldo":[]})"));
}

void TestWebMetods::addMetaStoresEvent()
{
    QVERIFY(logIn());
    const qint64 before = QDateTime::currentSecsSinceEpoch();
    const auto addMeta = [this](const QString &id, const QString &remark) {
        const QString event = R"({"ID":%1,"AC":"102:1:Dopust","TYPE":"MP","REM":"%2"})";
        return data(request("addMeta", event.arg(id, remark))).toJson();
    };
    QCOMPARE(addMeta("6", "ves dan"), QStringLiteral(R"({"result":true})"));
    const QString stored = QStringLiteral("select IDLOG as L,USER as U,TIMESTAMP as T,ACCESS_CODE as C,TYPE as Y,"
                                          "REMARK as R from metalog");
    QAny event = row(stored);
    const qint64 time = event.lookup("T").toInteger();
    QVERIFY(before <= time && time <= QDateTime::currentSecsSinceEpoch());
    QVERIFY(event.remove("T"));
    QCOMPARE(event, (QAny{{"L", 6}, {"U", 6}, {"C", "102:1:Dopust"}, {"Y", "MP"}, {"R", "ves dan"}}));

    // A text that breaks the statement, and requests that name nobody, store nothing.
    const QString type = R"({"ID":6,"AC":"102","TYPE":"x',(select password from USER_ACCESS)) --","REM":"y"})";
    for (const QString &bad : {addMeta("5", "a'b"), addMeta("5", "x' || 'y"), addMeta("null", "x"),
                               data(request("addMeta", type)).toJson(), data(request("addMeta", "[6]")).toJson()})
        QCOMPARE(bad, QStringLiteral(R"({"result":false})"));
    QCOMPARE(m_database->select(stored).count(), 1);
}

void TestWebMetods::workTimeOfOneDay()
{
    QVERIFY(run(*m_database, twoDays()));
    QVERIFY(logIn());
    const QAny answer = ask(workTime());
    QCOMPARE(answer.lookup("type"), QAny("getWTime"));
    const QAny result = answer.lookup("data");
    QCOMPARE(result.lookup("result").toJson(), QStringLiteral("\"true\"")); // no Bool
    QVERIFY(result.lookup("ERR").isList());

    const QAny pairs = result.lookup("PAIRS");
    QCOMPARE(pairs.count(), 2);
    const QString keys = "TIMESTAMP TIMESTAMP2 DATESTAMP PTIME";
    const auto day = [](int number) { return QLocale::system().dayName(number, QLocale::ShortFormat); };
    QCOMPARE(shown(pairs.at(0), keys), QStringLiteral("'08:00' '16:01' '%1 3.3.2025' '08:01'").arg(day(1)));
    QCOMPARE(shown(pairs.at(1), keys), QStringLiteral("'08:30' '' '%1 4.3.2025' 0").arg(day(2)));

    // The tables still show what they packed before the pairs were made readable.
    const QAny days = result.lookup("DAYS").lookup("TABLE");
    QCOMPARE(days.count(), 3);
    QCOMPARE(shown(days.at(0), "INORG DELO"), QStringLiteral("'08:00' '08:01'"));
    const QAny sums = result.lookup("SUM").lookup("TABLE");
    QCOMPARE(sums.count(), 2); // the employee, and the total that the shipped settings ask for
    QCOMPARE(shown(sums.at(0), "DELO"), QStringLiteral("'08:01'"));
}

void TestWebMetods::workTimeWithoutParts()
{
    const std::pair<const char *, QString> rows[] = {{R"(,"PAIRS":true,"CALC":"true")", "PAIRS SUM DAYS"},
                                                     {R"(,"PAIRS":false)", "SUM DAYS"},
                                                     {R"(,"PAIRS":"FALSE")", "SUM DAYS"},
                                                     {R"(,"CALC":false)", "PAIRS"},
                                                     {R"(,"PAIRS":"false","CALC":"false")", ""},
                                                     {R"(,"PAIRS":"abc","CALC":null)", "PAIRS SUM DAYS"},
                                                     {R"(,"SETT":{"ISSEC":true})", "PAIRS SUM DAYS"}};
    QVERIFY(run(*m_database, twoDays()) && logIn());
    for (const auto &[more, parts] : rows) {
        const QAny result = data(workTime(more));
        QCOMPARE(result.lookup("result").toString(), QStringLiteral("true"));
        QVERIFY(result.contains("ERR"));
        for (const char *part : {"PAIRS", "SUM", "DAYS"})
            QVERIFY2(result.contains(part) == parts.contains(part), more);
        if (result.contains("SUM"))
            QCOMPARE(shown(result.lookup("SUM").lookup("TABLE").value(0), "DELO"), QStringLiteral("'08:01'"));
    }
}

void TestWebMetods::readingsOnAnotherThread()
{
    QVERIFY(run(*m_database, twoDays()) && logIn());
    const qint64 now = QDateTime::currentSecsSinceEpoch();
    for (const int user : {5, 6})
        QVERIFY(m_database->insert("allevents",
                                   {{"USER", user}, {"TIMESTAMP", now}, {"ACCESS_CODE", "102:Odhod"}, {"TYPE", "EV"}}));
    QVERIFY(run(*m_database, {"insert into freehour (ID,IDU,STATUS,LUPDATE) values (31,5,2,1741129200)"}));
    for (const QString &text : {kPresence, request("getSaldo", R"({"ID":5})"), workTime(), workTime(R"(,"CALC":false)"),
                                request("getWTime", "{}")}) {
        const QAny direct = ask(text);
        webMetods::Outcome outcome = m_web->begin(QAny::fromJson(text), &m_peer);
        QVERIFY(outcome.reading);
        QString later;
        std::thread([&, reading = std::move(outcome.reading)] {
            storage::ReadConnection connection(m_database->filePath());
            later = reading(connection).toJson();
        }).join();
        QCOMPARE(later, direct.toJson());
        QCOMPARE(outcome.answer.lookup("data").lookup("reason"), QAny("Busy!"));
    }
    QVERIFY(!m_web->begin(QAny::fromJson(request("addMeta", "{}")), &m_peer).reading);
}

QTEST_GUILESS_MAIN(TestWebMetods)
#include "tst_webmetods.moc"
