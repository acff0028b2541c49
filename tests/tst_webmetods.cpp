#include "attendancefile.h"
#include "logger.h"
#include "webmetods.h"

#include <QTemporaryDir>
#include <QTest>

#include <memory>

/// The web methods against a small attendance file, without sockets.
class TestWebMetods : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();

    void refusals_data();
    void refusals();
    void loginAnswersEmployee();
    void loginIsOfSocketAndTag();
    void loginStatementIsUnescaped();
    void unknownTypeHasNoReason();
    void presence_data();
    void presence();
    void saldoRows();
    void addMetaStoresEvent();
    void workTimeOfOneDay();
    void workTimeWithoutParts_data();
    void workTimeWithoutParts();

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
    m_logger = std::make_unique<Logger>([] { return QList<QHostAddress>(); });
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
    const QString request = QStringLiteral(R"({"type":"getUser","tag":"t","data":{"user":"ana","pass":"geslo"}})");
    return ask(request, peer).lookup(QStringLiteral("data")).contains(QStringLiteral("idp"));
}

void TestWebMetods::refusals_data()
{
    QTest::addColumn<QString>("request");
    QTest::addColumn<QString>("reason");
    const struct {
        const char *name, *request, *reason;
    } rows[] = {
        {"no JSON", "{\"tag\":", "Not tag!"},
        {"array", "[\"tag\",\"t\"]", "Not tag!"},
        {"empty array", "[]", "Not tag!"},
        {"no tag", R"({"type":"getUser","data":{"user":"ana","pass":"geslo"}})", "Not tag!"},
        {"empty tag", R"({"type":"logOut","tag":""})", "Not tag!"},
        {"null tag", R"({"type":"logOut","tag":null})", "Not tag!"},
        {"list as tag", R"({"type":"logOut","tag":["t"]})", "Not tag!"},
        {"number as tag", R"({"type":"getPresence","tag":5})", "Not logged in!"},
        {"other tag", R"({"type":"getPresence","tag":"u"})", "Not logged in!"},
        {"user: no data", R"({"type":"getUser","tag":"t"})", "No Data"},
        {"user: null data", R"({"type":"getUser","tag":"t","data":null})", "No user!"},
        {"user: text data", R"({"type":"getUser","tag":"t","data":"user"})", "No user!"},
        {"user: list data", R"({"type":"getUser","tag":"t","data":["user"]})", "No user!"},
        {"no password", R"({"type":"getUser","tag":"t","data":{"user":"ana"}})", "No password!"},
        {"wrong password", R"({"type":"getUser","tag":"t","data":{"user":"ana","pass":"Geslo"}})", "User unknown!"},
        {"lists as user and password", R"({"type":"getUser","tag":"t","data":{"user":["ana"],"pass":{}}})",
         "User unknown!"},
        {"access switched off", R"({"type":"getUser","tag":"t","data":{"user":"bor","pass":"geslo"}})",
         "User unknown!"},
        {"employee who left", R"({"type":"getUser","tag":"t","data":{"user":"cene","pass":"geslo"}})", "User unknown!"},
        {"time: no data", R"({"type":"getWTime","tag":"t"})", "No Data"},
        {"time: text data", R"({"type":"getWTime","tag":"t","data":"STARTDATE"})", "No Start date!"},
        {"time: no end", R"({"type":"getWTime","tag":"t","data":{"STARTDATE":"3.3.2025"}})", "No End date!"},
        {"time: no user", R"({"type":"getWTime","tag":"t","data":{"STARTDATE":"3.3.2025","ENDDATE":"3.3.2025"}})",
         "No User!"},
        {"time: nobody",
         R"({"type":"getWTime","tag":"t","data":{"STARTDATE":"3.3.2025","ENDDATE":"3.3.2025","USER":99}})",
         "WTime Error!"},
        {"time: several users",
         R"({"type":"getWTime","tag":"t","data":{"STARTDATE":"3.3.2025","ENDDATE":"3.3.2025","USER":[5,6]}})",
         "WTime Error!"},
        {"time: object as user",
         R"({"type":"getWTime","tag":"t","data":{"STARTDATE":"3.3.2025","ENDDATE":"3.3.2025","USER":{"5":5}}})",
         "WTime Error!"},
        {"time: number as date", R"({"type":"getWTime","tag":"t","data":{"STARTDATE":3,"ENDDATE":[],"USER":5}})",
         "WTime Error!"},
    };
    for (const auto &row : rows)
        QTest::newRow(row.name) << row.request << row.reason;
}

void TestWebMetods::refusals()
{
    QFETCH(QString, request);
    QFETCH(QString, reason);
    const bool isLogin = request.contains(QLatin1String("getUser"));
    if (!isLogin)
        QVERIFY(logIn() && run(*m_database, twoDays()));

    const QAny answer = ask(request);
    const QAny data = answer.lookup("data");
    QCOMPARE(data, (QAny{{"reason", reason}, {"result", "false"}}));
    QVERIFY(data.lookup("result").isString());
    const QAny named = QAny::fromJson(request).lookup("type");
    const bool isNamed = !reason.startsWith(QLatin1String("Not ")); // those come before any method
    QCOMPARE(answer.lookup("type"), isNamed ? named : QAny());
    QCOMPARE(answer.contains("tag"), isLogin && isNamed);
    if (isLogin)
        QCOMPARE(ask(R"({"type":"getPresence","tag":"t"})").lookup("data").lookup("reason").toString(),
                 QStringLiteral("Not logged in!"));
}

void TestWebMetods::loginAnswersEmployee()
{
    const QAny answer = ask(R"({"type":"getUser","tag":"moja","data":{"user":"ana","pass":"geslo"}})");
    QCOMPARE(answer.lookup("type").toString(), QStringLiteral("getUser"));
    QCOMPARE(answer.lookup("tag").toString(), QStringLiteral("moja"));
    const QAny expected{{"idp", 5}, {"firstname", "Ana"}, {"lastname", "Žagar"}, {"result", true}};
    QCOMPARE(answer.lookup("data"), expected);
    QVERIFY(answer.lookup("data").lookup("result").isBool());

    const QAny log = row("select LLEVEL as V,LGROUP as G,FMESSAGE as M from logs");
    QCOMPARE(log, (QAny{{"V", 0}, {"G", 0}, {"M", "Logger::Webser NewUser:ana geslo"}}));
}

void TestWebMetods::loginIsOfSocketAndTag()
{
    const QString presence = QStringLiteral(R"({"type":"getPresence","tag":"t"})");
    QObject other;
    const auto isServed = [&](const QObject *peer) { return ask(presence, peer).lookup("data").contains("presence"); };
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

/// Deliberate: what the user types stands in the statement as it is.
void TestWebMetods::loginStatementIsUnescaped()
{
    const QAny answer = ask(R"({"type":"getUser","tag":"t","data":{"user":"ana' --","pass":"x"}})");
    QCOMPARE(answer.lookup("data").lookup("idp").toInt(), 5);
    QCOMPARE(data(R"({"type":"getUser","tag":"t","data":{"user":"d'Este","pass":"x"}})").lookup("reason").toString(),
             QStringLiteral("User unknown!"));
    // Filled in one step: a name that holds a place marker stays as it is.
    ask(R"({"type":"getUser","tag":"t","data":{"user":"%2","pass":"skrivnost"}})");
    QCOMPARE(row("select FMESSAGE as M from logs order by IDX desc").lookup("M").toString(),
             QStringLiteral("Logger::Webser NewUser:%2 skrivnost"));
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
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("remark");
    QTest::addColumn<int>("minutes"); // of the event, from midnight
    QTest::addColumn<bool>("isListed");

    const auto add = [](const char *name, const char *code, const char *type, const char *remark, bool isListed) {
        QTest::newRow(name) << code << type << remark << 1 << isListed;
    };
    add("departure", "102:Odhod", "EV", "", true);
    add("lunch", "103:Malica", "EV", "", true);
    add("arrival", "101:Prihod", "EV", "", false);
    add("hand-entered leave", "101:Prihod", "MP", "dopust do petka", true);
    add("hand-entered leave by number", "101:Prihod", "MP", "1:Dopust", true);
    add("hand-entered sickness", "102", "MP", "bolniška", true);
    add("hand-entered sickness by number", "102", "MP", "2:", true);
    add("hand-entered other", "102:Odhod", "MP", "po dopustu", false);
    add("remark of a terminal event", "101:Prihod", "EV", "DOPUST", false);
    QTest::newRow("yesterday") << "102:Odhod"
                               << "EV"
                               << "" << -1 << false;
    QTest::newRow("at midnight") << "102:Odhod"
                                 << "EV"
                                 << "" << 0 << false;
}

void TestWebMetods::presence()
{
    QFETCH(QString, code);
    QFETCH(QString, type);
    QFETCH(QString, remark);
    QFETCH(int, minutes);
    QFETCH(bool, isListed);

    const qint64 midnight = QDate::currentDate().startOfDay().toSecsSinceEpoch();
    const auto insert = [&](int user, qint64 time, const QString &ac, const QString &kind, const QString &rem) {
        return m_database->insert(
            "allevents",
            QAny{{"USER", user}, {"TIMESTAMP", time}, {"ACCESS_CODE", ac}, {"TYPE", kind}, {"REMARK", rem}});
    };
    // Only the last event of the day counts.
    QVERIFY(insert(5, midnight + minutes * 60 - 30, isListed ? "101:Prihod" : "102:Odhod", "EV", QString()));
    QVERIFY(insert(5, midnight + minutes * 60, code, type, remark));
    QVERIFY(logIn());
    const QString request = QStringLiteral(R"({"type":"getPresence","tag":"t"})");
    // Deliberate: the very last row is not examined, one employee alone is never listed.
    QCOMPARE(data(request).toJson(), QStringLiteral(R"({"result":true,"presence":[]})"));

    QVERIFY(insert(6, midnight + 60, "102:Odhod", "EV", QString()));
    const QAny list = data(request).lookup("presence");
    QVERIFY(list.isList());
    QCOMPARE(list.count(), isListed ? 1 : 0);
    if (isListed)
        QCOMPARE(list.at(0), (QAny{{"NAME", "Žagar Ana"}, {"CODE", code}, {"REMARK", remark}}));
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
    const auto saldo = [this](const char *data) {
        return this->data(QStringLiteral(R"({"type":"getSaldo","tag":"t","data":%1})").arg(data));
    };
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
    const QString request = QStringLiteral(R"({"type":"addMeta","tag":"t","data":{"ID":%1,"AC":"102:1:Dopust",)"
                                           R"("TYPE":"MP","REM":"%2"}})");
    QCOMPARE(data(request.arg(QStringLiteral("6"), QStringLiteral("ves dan"))).toJson(),
             QStringLiteral(R"({"result":true})"));
    const QString stored = QStringLiteral("select IDLOG as L,USER as U,TIMESTAMP as T,ACCESS_CODE as C,TYPE as Y,"
                                          "REMARK as R from metalog");
    QAny event = row(stored);
    const qint64 time = event.lookup("T").toInteger();
    QVERIFY(before <= time && time <= QDateTime::currentSecsSinceEpoch());
    QVERIFY(event.remove("T"));
    QCOMPARE(event, (QAny{{"L", 6}, {"U", 6}, {"C", "102:1:Dopust"}, {"Y", "MP"}, {"R", "ves dan"}}));

    // A text that breaks the statement, and requests that name nobody, store nothing.
    for (const QString &bad : {request.arg(QStringLiteral("5"), QStringLiteral("a'b")),
                               request.arg(QStringLiteral("null"), QStringLiteral("x")),
                               QStringLiteral(R"({"type":"addMeta","tag":"t","data":[6]})")})
        QCOMPARE(data(bad).toJson(), QStringLiteral(R"({"result":false})"));
    QCOMPARE(m_database->select(stored).count(), 1);
}

namespace {

QString workTime(const QString &more = QString())
{
    return QStringLiteral(R"({"type":"getWTime","tag":"t","data":{"STARTDATE":"3.3.2025","ENDDATE":"4.3.2025",)"
                          R"("USER":[5]%1}})")
        .arg(more);
}

} // namespace

void TestWebMetods::workTimeOfOneDay()
{
    QVERIFY(run(*m_database, twoDays()));
    QVERIFY(logIn());
    const QAny answer = ask(workTime());
    QCOMPARE(answer.lookup("type").toString(), QStringLiteral("getWTime"));
    const QAny result = answer.lookup("data");
    QVERIFY(result.lookup("result").isString());
    QCOMPARE(result.lookup("result").toString(), QStringLiteral("true"));
    QVERIFY(result.lookup("ERR").isList());

    const QAny pairs = result.lookup("PAIRS");
    QCOMPARE(pairs.count(), 2);
    const auto show = [](const QAny &pair) {
        QStringList texts;
        for (const char *key : {"TIMESTAMP", "TIMESTAMP2", "DATESTAMP", "PTIME"})
            texts.append(pair.lookup(key).toJson());
        return texts;
    };
    const QString quoted = QStringLiteral("\"%1 %2.3.2025\"");
    const QLocale names = QLocale::system();
    QCOMPARE(show(pairs.at(0)), (QStringList{"\"08:00\"", "\"16:01\"",
                                             quoted.arg(names.dayName(1, QLocale::ShortFormat)).arg(3), "\"08:01\""}));
    QCOMPARE(show(pairs.at(1)),
             (QStringList{"\"08:30\"", "\"\"", quoted.arg(names.dayName(2, QLocale::ShortFormat)).arg(4), "0"}));

    // The tables still show what they packed before the pairs were made readable.
    const QAny days = result.lookup("DAYS").lookup("TABLE");
    const auto cell = [](const QAny &value) { return (value.isHash() ? value.lookup("UWVS") : value).toString(); };
    QCOMPARE(days.count(), 3);
    QCOMPARE(cell(days.at(0).lookup("INORG")), QStringLiteral("08:00"));
    QCOMPARE(cell(days.at(0).lookup("DELO")), QStringLiteral("08:01"));
    const QAny sums = result.lookup("SUM").lookup("TABLE");
    QCOMPARE(sums.count(), 2); // the employee, and the total that the shipped settings ask for
    QCOMPARE(cell(sums.at(0).lookup("DELO")), QStringLiteral("08:01"));
}

void TestWebMetods::workTimeWithoutParts_data()
{
    QTest::addColumn<QString>("more");
    QTest::addColumn<bool>("hasPairs");
    QTest::addColumn<bool>("hasSums");
    QTest::newRow("all") << R"(,"PAIRS":true,"CALC":"true")" << true << true;
    QTest::newRow("no pairs") << R"(,"PAIRS":false)" << false << true;
    QTest::newRow("no pairs, as text") << R"(,"PAIRS":"FALSE")" << false << true;
    QTest::newRow("no sums") << R"(,"CALC":false)" << true << false;
    QTest::newRow("neither") << R"(,"PAIRS":"false","CALC":"false")" << false << false;
    QTest::newRow("no switches") << R"(,"PAIRS":"abc","CALC":null)" << true << true;
    QTest::newRow("settings of the client") << R"(,"SETT":{"ISSEC":true})" << true << true;
}

void TestWebMetods::workTimeWithoutParts()
{
    QFETCH(QString, more);
    QFETCH(bool, hasPairs);
    QFETCH(bool, hasSums);
    QVERIFY(run(*m_database, twoDays()));
    QVERIFY(logIn());
    const QAny result = data(workTime(more));
    QCOMPARE(result.lookup("result").toString(), QStringLiteral("true"));
    QVERIFY(result.contains("ERR"));
    QCOMPARE(result.contains("PAIRS"), hasPairs);
    QCOMPARE(result.contains("SUM"), hasSums);
    QCOMPARE(result.contains("DAYS"), hasSums);
    if (hasSums) {
        const QAny delo = result.lookup("SUM").lookup("TABLE").value(0).lookup("DELO");
        QCOMPARE((delo.isHash() ? delo.lookup("UWVS") : delo).toString(), QStringLiteral("08:01"));
    }
}

QTEST_GUILESS_MAIN(TestWebMetods)
#include "tst_webmetods.moc"
