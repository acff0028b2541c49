#include "officesite.h"
#include "storage/readconnection.h"

#include <QtTest>

using page::office::Watch;

/// What the page is answered, against a company in a file.
class TestPageOffice : public QObject
{
    Q_OBJECT
private slots:
    void init() { m_site.reset(), m_site = std::make_unique<OfficeSite>(); }

    void signsIn_data();
    void signsIn();
    void onlyWhoMay_data();
    void onlyWhoMay();
    void whoIsSwitchedOffMayNothing();
    void daysOfAMonth_data();
    void daysOfAMonth();
    void sumsOfAMonth();
    void whatADayLacks_data();
    void whatADayLacks();
    void onlyRequiredHoursCanBeMissing();
    void holidaysHaveTheirName();
    void whereSomebodyIs_data();
    void whereSomebodyIs();
    void reasonsAreNotForAll();
    void balance();
    void departmentTellsExceptions();
    void exports();
    void papers_data();
    void papers();
    void watches();
    void newerTablesAreLeftAlone();
    void fileComesLater();

private:
    std::unique_ptr<OfficeSite> m_site;
};

void TestPageOffice::signsIn_data()
{
    columns<QString, QString, QString>("name", "password", "who");
    addRow("right", QString("a"), QString("geslo'a"), QString("Novak Ana, Razvoj, 0"));
    addRow("with roles", QString("c"), QString("geslo'c"), QString("Turk Cene, Prodaja, 2"));
    addRow("wrong password", QString("a"), QString("geslo'b"), QString());
    addRow("another case", QString("A"), QString("geslo'a"), QString());
    addRow("quotes let nobody in", QString("a' or '1'='1"), QString("' or ''='"), QString());
    addRow("who left", QString("e"), QString("geslo'e"), QString());
    addRow("user switched off", QString("f"), QString("geslo'f"), QString());
    addRow("no name", QString(), QString(), QString());
}

void TestPageOffice::signsIn()
{
    QFETCH(QString, name);
    QFETCH(QString, password);
    QFETCH(QString, who);
    bool fault = true;
    const auto found = page::office::signIn(m_site->database(), name, password, &fault);
    QVERIFY(!fault);
    QCOMPARE(found ? QString("%1, %2, %3").arg(found->name, found->department).arg(found->roles.size()) : QString(),
             who);
}

void TestPageOffice::onlyWhoMay_data()
{
    // Request 1 is Ana's, 2 Bor's, 3 Cene's.
    columns<int, QString, QString>("who", "ask", "error");
    const auto row = [](const char *name, int who, const QString &ask, const char *error) {
        addRow(name, who, ask, QString(error));
    };
    const QString month = "{'ask':'month','month':'2026-02','user':%1}";
    const QString decide = "{'ask':'decide','rid':%1,'approve':false,'note':'ne'}";
    row("own month", kAna, "{'ask':'month','month':'2026-02'}", "");
    row("own month by id", kAna, month.arg(kAna), "");
    row("month of a colleague", kAna, month.arg(kBor), "notAllowed");
    row("month in another department", kAna, month.arg(kCene), "notAllowed");
    row("month of nobody", kAna, month.arg(99), "notAllowed");
    row("supervisor, month of the department", kBor, month.arg(kAna), "");
    row("supervisor, month of another department", kBor, month.arg(kCene), "notAllowed");
    row("supervisor, month of who left", kBor, month.arg(kEva), "notAllowed");
    row("empty department of a role opens nobody", kCene, month.arg(kFilip), "notAllowed");
    row("hr, month of all", kDana, month.arg(kFilip), "");
    row("hr, month of nobody", kDana, month.arg(99), "notFound");
    row("id as a text", kDana, month.arg("'1'"), "badRequest");
    row("id below 1", kDana, month.arg(-1), "badRequest");
    row("day of a colleague", kAna, "{'ask':'day','date':'2026-02-02','user':2}", "notAllowed");
    row("day by the supervisor", kBor, "{'ask':'day','date':'2026-02-02','user':1}", "");
    row("balance of a colleague", kAna, "{'ask':'balance','user':2}", "notAllowed");
    row("balance by hr", kDana, "{'ask':'balance','user':2}", "");
    row("presence is for all", kAna, "{'ask':'presence'}", "");
    row("own requests", kAna, "{'ask':'requests','scope':'mine'}", "");
    row("open requests", kAna, "{'ask':'requests','scope':'open'}", "notAllowed");
    row("open requests by the supervisor", kBor, "{'ask':'requests','scope':'open'}", "");
    row("decided requests", kAna, "{'ask':'requests','scope':'decided'}", "notAllowed");
    row("department", kAna, "{'ask':'department','month':'2026-02'}", "notAllowed");
    row("department of another supervisor", kBor, "{'ask':'department','department':'Prodaja','month':'2026-02'}",
        "notAllowed");
    row("department by hr", kDana, "{'ask':'department','department':'Prodaja','month':'2026-02'}", "");
    row("request for somebody else", kDana,
        "{'ask':'request','user':1,'kind':'leave','from':'2026-04-01',"
        "'to':'2026-04-01','why':''}",
        "notAllowed");
    row("withdraw", kAna, "{'ask':'withdraw','rid':1}", "");
    row("withdraw another's", kBor, "{'ask':'withdraw','rid':1}", "notAllowed");
    row("withdraw none", kAna, "{'ask':'withdraw','rid':99}", "notAllowed");
    row("decide by the supervisor", kBor, decide.arg(1), "");
    row("decide by hr", kDana, decide.arg(1), "");
    row("decide one's own", kBor, decide.arg(2), "notAllowed");
    row("decide one's own without a role", kAna, decide.arg(1), "notAllowed");
    row("decide in another department", kBor, decide.arg(3), "notAllowed");
    row("decide none", kDana, decide.arg(99), "notFound");
    row("no such ask", kDana, "{'ask':'drop'}", "badRequest");
    row("no such scope", kDana, "{'ask':'requests','scope':'all'}", "badRequest");
    row("no ask at all", kDana, "[]", "badRequest");
}

void TestPageOffice::onlyWhoMay()
{
    for (const int who : {kAna, kBor, kCene})
        QVERIFY(m_site->ask(who, "{'ask':'request','kind':'leave','from':'2026-03-09','to':'2026-03-10','why':''}")
                    .contains("rid"));
    const QStringList before = m_site->rows("select * from page_request");
    QFETCH(int, who);
    QFETCH(QString, ask);
    QFETCH(QString, error);
    QCOMPARE(m_site->ask(who, ask).value("error").toString(), error);
    if (!error.isEmpty())
        QCOMPARE(m_site->rows("select * from page_request"), before);
}

void TestPageOffice::whoIsSwitchedOffMayNothing()
{
    const QString presence = "{'ask':'presence'}";
    QCOMPARE(m_site->errorOf(kDana, presence), QString());
    QCOMPARE(m_site->errorOf(kEva, presence), QString("notAllowed"));
    QCOMPARE(m_site->errorOf(kFilip, presence), QString("notAllowed"));
    m_site->sql("delete from page_role where IDP=4");
    QCOMPARE(m_site->errorOf(kDana, "{'ask':'month','month':'2026-02','user':1}"), QString("notAllowed"));
    m_site->sql("update USER_ACCESS set ACTIVE=0 where IDP=4");
    QCOMPARE(m_site->errorOf(kDana, presence), QString("notAllowed"));
    // Somebody else has the user now.
    m_site->sql("update USER_ACCESS set IDP=2 where IDP=1");
    QCOMPARE(m_site->errorOf(kAna, presence), QString("notAllowed"));
}

void TestPageOffice::daysOfAMonth_data()
{
    // The schedule asks for 8 hours from Monday to Friday. Today is Wednesday 4.3., 12:00.
    // events | day | state | required | worked | balance | entered
    addTable(R"(
as the schedule asks | 2.3.2026 07:00-15:00 | 2.3.2026 | complete | 8:00 | 8:00 | 0:00 | false
an hour less | 3.3.2026 07:00-14:00 | 3.3.2026 | complete | 8:00 | 7:00 | -1:00 | false
nothing yesterday | 2.3.2026 07:00-15:00 | 3.3.2026 | missing | 8:00 | 0:00 | -8:00 | false
no departure | 3.3.2026 07:00 101 | 3.3.2026 | half | 8:00 | 0:00 | -8:00 | false
no arrival | 3.3.2026 15:00 102 | 3.3.2026 | half | 8:00 | 0:00 | -8:00 | false
in since seven | 4.3.2026 07:00 101 | 4.3.2026 | now | 8:00 | 5:00 | -3:00 | false
in again | 4.3.2026 07:00-09:00;10:00 101 | 4.3.2026 | now | 8:00 | 4:00 | -4:00 | false
not come yet | 3.3.2026 07:00-15:00 | 4.3.2026 | now | 8:00 | 0:00 | -8:00 | false
gone again | 4.3.2026 07:00-09:00 | 4.3.2026 | complete | 8:00 | 2:00 | -6:00 | false
in since last night | 3.3.2026 21:00 101 | 3.3.2026 | now | 8:00 | 15:00 | 7:00 | false
in and on leave tomorrow | 4.3.2026 07:00 101;5.3.2026 06:00-14:00 102:1/MP | 4.3.2026 | now | 8:00 | 5:00 | -3:00 | false
tomorrow | 2.3.2026 07:00-15:00 | 5.3.2026 | future | 8:00 | 0:00 | 0:00 | false
leave tomorrow | 5.3.2026 06:00-14:00 102:1/MP | 5.3.2026 | future | 8:00 | 8:00 | 0:00 | true
Sunday | 2.3.2026 07:00-15:00 | 1.3.2026 | free | 0:00 | 0:00 | 0:00 | false
work on Sunday | 1.3.2026 08:00-10:00 | 1.3.2026 | complete | 0:00 | 2:00 | 2:00 | false
entered by hand | +2.3.2026 07:00-15:00 102/ME | 2.3.2026 | complete | 8:00 | 8:00 | 0:00 | true
no event ever | - | 3.3.2026 | missing | 8:00 | 0:00 | -8:00 | false
)");
}

void TestPageOffice::daysOfAMonth()
{
    QFETCH(TableRow, row);
    m_site->events(kAna, cell(row, 0));
    const QAny day = m_site->dayOf(kAna, row[1]);
    QCOMPARE(day.value("date").toString(), date(row[1]).toString("yyyy-MM-dd"));
    QCOMPARE(day.value("state").toString(), row[2]);
    QCOMPARE(day.value("required").toInteger(), seconds(row[3]));
    QCOMPARE(day.value("worked").toInteger(), seconds(row[4]));
    QCOMPARE(day.value("balance").toInteger(), seconds(row[5]));
    QCOMPARE(day.value("entered"), QAny(row[6] == "true"));
    // Who is in has no fault.
    QCOMPARE(day.value("warnings").count() > 0, row[2] == "half");
    QCOMPARE(day.contains("live"), row[2] == "now" && row[4] != "0:00");
}

void TestPageOffice::sumsOfAMonth()
{
    m_site->holiday("2.3.2026", "1");
    m_site->events(kAna, "3.3.2026 07:00-14:00;4.3.2026 07:00 101;5.3.2026 06:00-14:00 102:1/MP");
    m_site->insert("freehour", {{"IDU", kAna}, {"STATUS", 1}, {"FHOURS", -3}, {"CHGDATE", instant("1.3.2026 06:00")}});
    const QAny month = m_site->ask(kAna, "{'ask':'month','month':'2026-03'}");
    // The holiday credits 8 hours; 7 on Tuesday; 5 today until now; leave to come counts when it is there.
    QCOMPARE(oneLine(month.value("sums")), QString("{'worked':72000,'required':86400,'balance':-14400,"
                                                   "'categories':{'DELO':25200,'PRAZNIK':28800}}"));
    QCOMPARE(month.value("carried"), QAny(-3 * 3600));
    QCOMPARE(month.value("asOf"), QAny(instant(OfficeSite::kNoon)));
    QCOMPARE(month.value("days").count(), 31);
    const QAny holiday = month.value("days").value(1);
    QCOMPARE(holiday.value("kind"), QAny("holiday"));
    QVERIFY(holiday.value("holiday").isNull()); // it has no name
    QCOMPARE(month.value("days").value(2).value("running"), QAny(-3600));
    QCOMPARE(month.value("days").value(30).value("running"), QAny(-14400));
    QCOMPARE(m_site->errorOf(kAna, "{'ask':'month','month':'2026-13'}"), QString("badRequest"));
    QCOMPARE(m_site->errorOf(kAna, "{'ask':'month','month':'March'}"), QString("badRequest"));
}

void TestPageOffice::whatADayLacks_data()
{
    // what is missing, with the number of the event that it belongs to
    addTable(R"(
nothing | 3.3.2026 07:00-15:00 | -
departure | 3.3.2026 07:00 101 | departure 1
arrival | 3.3.2026 15:00 102 | arrival 1
all | 2.3.2026 07:00-15:00 | day null
two | 3.3.2026 06:00 102;07:00 101 | arrival 1, departure 2
end of lunch | 3.3.2026 07:00-12:00;12:00 101;12:30-15:00 | lunchEnd 3
departure after a break | 3.3.2026 07:00-12:00;12:10 101;12:30-15:00 | departure 3
)");
}

void TestPageOffice::whatADayLacks()
{
    QFETCH(TableRow, row);
    m_site->events(kAna, cell(row, 0));
    const QAny answer = m_site->ask(kAna, "{'ask':'day','date':'2026-03-03'}");
    QStringList missing;
    for (const QAny &entry : answer.value("missing").toList())
        missing += entry.value("what").toString() + ' ' + entry.value("event").toJson();
    QCOMPARE(missing.join(", "), cell(row, 1));
    QCOMPARE(answer.value("explanation").value("DATE"), QAny(midnight("3.3.2026")));
}

void TestPageOffice::onlyRequiredHoursCanBeMissing()
{
    // Ana may come on any day and has to on none.
    const QString schedule = scheduleText("1-7 STARTB=6:00 ENDE=16:00");
    m_site->sql("update wtimset set VALUE='" + schedule + "' where KEY='K1'");
    m_site->events(kAna, "2.3.2026 07:00-15:00");
    QCOMPARE(m_site->dayOf(kAna, "2.3.2026").value("state"), QAny("complete"));
    QCOMPARE(m_site->dayOf(kAna, "3.3.2026").value("state"), QAny("free"));
    QCOMPARE(m_site->dayOf(kAna, "4.3.2026").value("state"), QAny("now"));
    QCOMPARE(m_site->ask(kAna, "{'ask':'day','date':'2026-03-03'}").value("missing").count(), 0);
}

void TestPageOffice::holidaysHaveTheirName()
{
    m_site->holiday("2.3.2026", "1");
    m_site->holiday("3.3.2026", "praznik dela");
    QVERIFY(m_site->ask(kAna, "{'ask':'day','date':'2026-03-02'}").value("holiday").isNull());
    QCOMPARE(m_site->ask(kAna, "{'ask':'day','date':'2026-03-03'}").value("holiday"), QAny("praznik dela"));
}

void TestPageOffice::whereSomebodyIs_data()
{
    // state, since and code at noon
    addTable(R"(
no event | - | out - -
in | 4.3.2026 07:00 101 | in 07:00 -
gone | 4.3.2026 07:00-11:00 | out 11:00 102
back | 4.3.2026 07:00-11:00;11:30 101 | in 11:30 -
out to lunch | 4.3.2026 07:00-11:50;11:50 101 | away 11:50 -
back from lunch | 4.3.2026 07:00-11:00;11:00-11:30 103;11:30 101 | in 11:30 -
errand | 4.3.2026 07:00-11:00 104 | away 11:00 104
field work | 4.3.2026 06:00-14:00 102:4/MP | away 06:00 102:4
leave is over | 4.3.2026 00:00-08:00 102:1/MP | away 08:00 -
leave later | 4.3.2026 13:00-20:00 102:1/MP | away 13:00 -
yesterday | 3.3.2026 07:00-15:00 | out - -
forgotten yesterday | 3.3.2026 07:00 101 | out - -
shift later, planned | 4.3.2026 13:00-20:00 102/MP | out - -
entered by hand | +4.3.2026 09:00 101/ME | in 09:00 -
)");
}

void TestPageOffice::whereSomebodyIs()
{
    QFETCH(TableRow, row);
    m_site->events(kAna, cell(row, 0));
    const QAny people = m_site->ask(kAna, "{'ask':'presence'}").value("people");
    QCOMPARE(people.count(), 5);
    const auto shown = [](const QAny &value) { return value.isNull() ? QString("-") : value.toString(); };
    for (const QAny &entry : people.toList()) {
        if (entry.value("id") != QAny(kAna))
            continue;
        const QAny since = entry.value("since");
        const QString time = since.isNull() ? "-" : QDateTime::fromSecsSinceEpoch(since.toInteger()).toString("HH:mm");
        QCOMPARE(QStringList({entry.value("state").toString(), time, shown(entry.value("code"))}).join(' '), row[1]);
    }
}

void TestPageOffice::reasonsAreNotForAll()
{
    m_site->events(kAna, "4.3.2026 06:00-14:00 =102:2:Bolniška/MP");
    m_site->events(kCene, "4.3.2026 06:00-14:00 =102:4:Teren/MP");
    const auto told = [this](int who) {
        QStringList reasons;
        for (const QAny &entry : m_site->ask(who, "{'ask':'presence'}").value("people").toList()) {
            if (entry.value("state") == QAny("away"))
                reasons += entry.value("code").toJson() + entry.value("text").toJson();
        }
        return reasons.join(' ').remove('"');
    };
    for (const int who : {kAna, kBor, kCene, kDana})
        QCOMPARE(told(who), QString("nullnull 102:4Teren"));
}

void TestPageOffice::balance()
{
    QCOMPARE(oneLine(m_site->ask(kAna, "{'ask':'balance'}").value("leave")),
             QString("{'total':25,'taken':null,'left':null}"));
    m_site->events(kAna, "16.2.2026 07:00-16:00;2.3.2026 07:00-15:00;3.3.2026 07:00-15:00");
    m_site->insert("freehour", {{"ID", 1},
                                {"IDU", kAna},
                                {"STATUS", 2},
                                {"FHOURS", 5},
                                {"HDLAST", 4},
                                {"HDLSPENT", 1},
                                {"HDLDATE", midnight("4.3.2026")},
                                {"HDTOT", 22},
                                {"HDSPENT", 6}});
    QAny answer = m_site->ask(kAna, "{'ask':'balance'}");
    QCOMPARE(oneLine(answer.value("leave")), QString("{'total':26,'taken':7,'left':19}"));
    // A day later what was left of last year is gone.
    QCOMPARE(oneLine(m_site->ask(kAna, "{'ask':'balance'}", "5.3.2026 12:00").value("leave")),
             QString("{'total':23,'taken':7,'left':16}"));
    const QAny hours = answer.value("hours").value(0);
    QCOMPARE(hours.value("left"), QAny(5 * 3600));
    QCOMPARE(hours.value("STATUS"), QAny("2:Tekoče stanje"));
    QCOMPARE(hours.value("HDLDATE"), QAny("04.03.2026"));
    // February 2026 has 20 working days; of March three are there with today. Before the first event there is nothing.
    QCOMPARE(oneLine(answer.value("months")),
             QString("[{'month':'2026-02','worked':32400,'required':576000,'balance':-543600},"
                     "{'month':'2026-03','worked':57600,'required':86400,'balance':-28800}]"));
    m_site->events(kAna, "3.3.2024 07:00 101");
    answer = m_site->ask(kAna, "{'ask':'balance'}");
    QCOMPARE(answer.value("months").count(), 12);
    QCOMPARE(answer.value("months").value(0).value("month"), QAny("2025-04"));
}

void TestPageOffice::departmentTellsExceptions()
{
    m_site->sql("update calcset set VALUE='{\"WAR\":{\"LATEARRWAR\":1}}' where KEY='K1'");
    m_site->events(kAna, "2.3.2026 09:00-17:00;3.3.2026 07:00 101;4.3.2026 07:00 101");
    m_site->events(kBor, "2.3.2026 07:00-15:00");
    m_site->ask(kAna, "{'ask':'request','kind':'leave','from':'2026-03-09','to':'2026-03-10','why':''}");
    const QAny answer = m_site->ask(kBor, "{'ask':'department','department':null,'month':'2026-03'}");
    QCOMPARE(oneLine(answer.value("departments")), QString("['Razvoj']"));
    QStringList told;
    for (const QAny &entry : answer.value("people").toList()) {
        QStringList what;
        for (const QAny &exception : entry.value("exceptions").toList())
            what += exception.value("date").toString().right(2) + exception.value("what").toString();
        told += QString("%1 %2/%3/%4/%5 %6")
                    .arg(entry.value("name").toString())
                    .arg(entry.value("half").toInt())
                    .arg(entry.value("missing").toInt())
                    .arg(entry.value("faults").toInt())
                    .arg(entry.value("openRequests").toInt())
                    .arg(what.join(' '));
    }
    QCOMPARE(told, QStringList({"Kos Bor 0/1/0/0 03missing", "Novak Ana 1/0/1/1 02warning 03half"}));
    QCOMPARE(m_site->ask(kDana, "{'ask':'department','month':'2026-03'}").value("people").count(), 5);
}

void TestPageOffice::exports()
{
    m_site->sql("update employees set LASTNAME='=cmd(\"x\"),' where ID=1");
    m_site->events(kAna, "2.3.2026 07:00-14:30");
    const auto exported = [this](int who, const QString &path, const QString &query) {
        calc::CrewOfOne crew(m_site->database());
        bool fault = false;
        return page::office::exported(crew, OfficeSite::person(who), path, QUrlQuery(query), OfficeSite::now(), &fault);
    };
    const auto month = exported(kAna, "month.csv", "month=2026-03&lang=en");
    QVERIFY(month);
    QCOMPARE(month->fileName, QString("month-2026-03-=cmd(\"x\"), Ana.csv"));
    const QList<QByteArray> lines = month->content.split('\n');
    QCOMPARE(lines.size(), 33);
    QCOMPARE(lines[0], QByteArray("\xef\xbb\xbf"
                                  "Date,Holiday,State,Arrival,Departure,Required,Worked,Balance,"
                                  "Running balance,Remarks,Warnings\r"));
    QCOMPARE(lines[2], QByteArray("2026-03-02,,complete,07:00,14:30,8:00,7:30,-0:30,-0:30,,\r"));
    const auto presence = exported(kBor, "presence.csv", "lang=sl");
    QVERIFY(presence);
    QVERIFY2(presence->content.contains("\r\n\"'=cmd(\"\"x\"\"), Ana\";Razvoj;ni tu;;\r\n"), presence->content);
    QVERIFY(exported(kBor, "month.csv", "month=2026-03&user=1"));
    QVERIFY(exported(kBor, "department.csv", "month=2026-03&department=Razvoj"));
    QVERIFY(!exported(kBor, "department.csv", "month=2026-03&department=Prodaja"));
    QVERIFY(!exported(kAna, "month.csv", "month=2026-03&user=2"));
    QVERIFY(!exported(kAna, "month.csv", "month=2026-03&user=x"));
    QVERIFY(!exported(kAna, "requests.csv", "scope=open"));
    QVERIFY(exported(kAna, "requests.csv", "") && exported(kAna, "balance.csv", ""));
    QVERIFY(!exported(kAna, "page_role.csv", ""));
}

void TestPageOffice::papers_data()
{
    // Of whom: the numbers or names in the order of departments and names.
    columns<int, QString, QString, QString>("who", "path", "query", "people");
    addRow("one's own", kAna, "statement.csv", "", "1");
    addRow("of one's department", kBor, "register.csv", "user=1", "1");
    addRow("a department, with who has left", kBor, "register.csv", "department=Razvoj", "2,5,1");
    addRow("all whom a supervisor oversees", kBor, "statement.csv", "department=", "2,5,1");
    addRow("everybody", kDana, "register.csv", "department=", "6,3,2,5,1,4");
    addRow("what must be looked at", kBor, "exceptions.csv", "department=Razvoj", "Kos Bor,Mrak Eva,Novak Ana");
    addRow("somebody else's", kAna, "statement.csv", "user=2", "");
    addRow("of another department", kCene, "statement.csv", "user=1", "");
    addRow("another department", kCene, "register.csv", "department=Razvoj", "");
    addRow("a department without a role", kAna, "statement.csv", "department=Razvoj", "");
    addRow("all without a role", kAna, "exceptions.csv", "", "");
    addRow("no number", kDana, "statement.csv", "user=x", "");
    addRow("who is none", kDana, "statement.csv", "user=99", "");
    addRow("a month without a calendar", kAna, "statement.csv", "month=2031-01", "");
    addRow("a department of nobody", kDana, "statement.csv", "department=Nikjer", "");
}

void TestPageOffice::papers()
{
    QFETCH(int, who);
    QFETCH(QString, path);
    QFETCH(QString, query);
    QFETCH(QString, people);
    m_site->events(kAna, "2.3.2026 07:00-14:30");
    m_site->events(kEva, "2.3.2026 07:00-14:30");
    m_site->sql("insert into page_role (IDP,ROLE,DEPARTMENT) values (1,'supervisor','')"); // opens nothing
    calc::CrewOfOne crew(m_site->database());
    bool fault = false;
    const auto made = page::office::exported(crew, OfficeSite::person(who), path, QUrlQuery(query + "&month=2026-03"),
                                             OfficeSite::now(), &fault);
    QVERIFY(!fault);
    QCOMPARE(made.has_value(), !people.isEmpty());
    if (!made)
        return;
    QVERIFY2(made->fileName.startsWith(path.section('.', 0, 0) + "-2026-03"), qPrintable(made->fileName));
    QStringList told;
    const QList<QByteArray> lines = made->content.split('\n').mid(1);
    for (const QByteArray &line : lines) {
        const QString person = QString::fromUtf8(line.split(';').value(1));
        if (!person.isEmpty() && !told.contains(person))
            told += person;
    }
    QCOMPARE(told.join(','), people);
}

void TestPageOffice::watches()
{
    storage::ReadConnection reader(m_site->database().filePath());
    Watch watch(reader, 0);
    m_site->events(kAna, "2.3.2026 07:00 101");
    const auto look = [&watch] {
        Watch::Change change = watch.look();
        std::sort(change.employees.begin(), change.employees.end());
        QStringList seen;
        for (const qint64 id : qAsConst(change.employees))
            seen += QString::number(id);
        seen += QString(change.requests ? "requests" : "") + (change.all ? "all" : "") + (change.fault ? "fault" : "");
        return seen.join(' ').trimmed();
    };
    QCOMPARE(look(), QString());
    QCOMPARE(look(), QString());
    m_site->events(kAna, "3.3.2026 07:00 101");
    m_site->events(kBor, "3.3.2026 07:00 101 + 3.3.2026 15:00 102");
    QCOMPARE(look(), QString("1 2"));
    QCOMPARE(look(), QString());
    QVERIFY(m_site->ask(kAna, "{'ask':'request','kind':'leave','from':'2026-03-09','to':'2026-03-10','why':''}")
                .contains("rid"));
    QCOMPARE(look(), QString("1 requests"));
    QCOMPARE(m_site->errorOf(kAna, "{'ask':'withdraw','rid':1}"), QString());
    QCOMPARE(look(), QString("1 requests"));
    m_site->database().insertLog(1, 0, 0, 0, 1, "a line", {}); // the server does so all the time
    QCOMPARE(look(), QString());
    m_site->holiday("9.3.2026", "1");
    QCOMPARE(look(), QString("all"));
    m_site->sql("update allevents set TIMESTAMP=TIMESTAMP+60 where USER=1");
    QCOMPARE(look(), QString("all"));
    QCOMPARE(look(), QString());
    m_site->sql("alter table allevents rename to gone");
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("no such table"));
    QCOMPARE(look(), QString("fault"));
    m_site->sql("alter table gone rename to allevents");
    m_site->events(kAna, "4.3.2026 07:00 101");
    QCOMPARE(look(), QString("1"));
}

void TestPageOffice::newerTablesAreLeftAlone()
{
    QCOMPARE(m_site->rows("select NAME,VERSION from zuk_schema"), QStringList("page|1"));
    m_site->sql("update zuk_schema set VERSION=2");
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("version 2"));
    page::office::Storage storage(m_site->database());
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("version 2"));
    QVERIFY(!storage.ready());
    m_site->sql("update zuk_schema set VERSION=1");
    QVERIFY(storage.ready());
}

void TestPageOffice::fileComesLater()
{
    m_site.reset();
    QTemporaryDir folder;
    const QString path = folder.filePath("later.db");
    page::office::Storage storage(path);
    const QAny request = QAny{{"ask", "withdraw"}, {"rid", 1}};
    QCOMPARE(page::office::write(storage, OfficeSite::person(kAna), request, OfficeSite::now()).value("error"),
             QAny("database"));
    QVERIFY(!QFile::exists(path)); // the page is no reason for a file
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    QVERIFY(storage.ready());
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("no such table"));
    bool fault = false;
    QVERIFY(!page::office::signIn(*storage.ready(), "a", "geslo'a", &fault) && fault);
}

QTEST_GUILESS_MAIN(TestPageOffice)
#include "tst_page_office.moc"
