#include "officesite.h"
#include "page/server/office/requesting.h"

#include <QtTest>

/// What employees may ask for, and what becomes of it.
class TestPageRequests : public QObject
{
    Q_OBJECT
private slots:
    void init() { m_site.reset(), m_site = std::make_unique<OfficeSite>(); }

    void refusedRequests_data();
    void refusedRequests();
    void punchCountsOnceApproved();
    void absenceCountsOnceApproved();
    void kindsOfAbsence_data();
    void kindsOfAbsence();
    void daysOfAnAbsence_data();
    void daysOfAnAbsence();
    void absenceBesideEvents_data();
    void absenceBesideEvents();
    void lists();
    void decidedOnce();
    void decisionIsStoredWholeOrNot();

private:
    std::unique_ptr<OfficeSite> m_site;
};

void TestPageRequests::refusedRequests_data()
{
    // Ana's first event is on 2.2.2026; leave from 9.3. to 10.3. and a punch on 2.3. at 15:00 are asked for.
    addTable(R"(
# punch | 'kind':'punch'
allowed | 'date':'2026-03-03','time':'15:00','code':'102' | -
no code | 'date':'2026-03-03','time':'15:00' | badRequest code
code of an absence | 'date':'2026-03-03','time':'15:00','code':'102:1' | badRequest code
no time | 'date':'2026-03-03','code':'102' | badRequest time
no such time | 'date':'2026-03-03','time':'24:00','code':'102' | badRequest time
no such date | 'date':'2026-02-30','time':'15:00','code':'102' | badRequest date
later today | 'date':'2026-03-04','time':'12:01','code':'102' | badRequest future
now | 'date':'2026-03-04','time':'12:00','code':'102' | -
just early enough | 'date':'2026-01-01','time':'15:00','code':'102' | -
long before the first event | 'date':'2025-12-31','time':'15:00','code':'102' | badRequest tooEarly
asked for already | 'date':'2026-03-02','time':'15:00','code':'102' | overlap request
punched already | 'date':'2026-02-02','time':'07:00','code':'101' | overlap events
departure at an arrival's time | 'date':'2026-02-02','time':'07:00','code':'102' | -
# leave | 'kind':'leave'
allowed | 'from':'2026-03-11','to':'2026-03-13' | -
special | 'from':'2026-03-11','to':'2026-03-13','code':'102:6' | -
code of illness | 'from':'2026-03-11','to':'2026-03-13','code':'102:2' | badRequest code
end before start | 'from':'2026-03-13','to':'2026-03-11' | badRequest endBeforeStart
over a year | 'from':'2026-03-11','to':'2027-03-12' | badRequest tooLong
far future | 'from':'2027-03-04','to':'2027-03-06' | badRequest future
no calendar | 'from':'2027-01-04','to':'2027-01-05' | badRequest noCalendar
first day taken | 'from':'2026-03-10','to':'2026-03-12' | overlap request
around | 'from':'2026-03-06','to':'2026-03-12' | overlap request
weekend alone | 'from':'2026-03-07','to':'2026-03-08' | badRequest noWorkday
holiday alone | 'from':'2026-03-12','to':'2026-03-12' | badRequest noWorkday
worked on | 'from':'2026-02-02','to':'2026-02-02' | overlap events
# other
kind | 'kind':'holiday','from':'2026-03-11','to':'2026-03-13' | badRequest kind
ill afterwards | 'kind':'sickness','from':'2026-02-03','to':'2026-02-04' | -
)");
}

void TestPageRequests::refusedRequests()
{
    m_site->events(kAna, "2.2.2026 07:00-15:00");
    m_site->holiday("12.3.2026", "Praznik");
    const QString request = "{'ask':'request','why':'x',%1}";
    QVERIFY(m_site->ask(kAna, request.arg("'kind':'leave','from':'2026-03-09','to':'2026-03-10'")).contains("rid"));
    QVERIFY(m_site->ask(kAna, request.arg("'kind':'punch','date':'2026-03-02','time':'15:00','code':'102'"))
                .contains("rid"));
    QFETCH(TableRow, row);
    const QString fields = row.common.isEmpty() ? row[0] : row.common + ',' + row[0];
    QCOMPARE(m_site->errorOf(kAna, request.arg(fields)), cell(row, 1));
    QCOMPARE(m_site->rows("select RID from page_request").size(), cell(row, 1).isEmpty() ? 3 : 2);
}

void TestPageRequests::punchCountsOnceApproved()
{
    m_site->events(kAna, "3.3.2026 07:00 101");
    QCOMPARE(m_site->dayOf(kAna, "3.3.2026").value("worked"), QAny(0));
    QCOMPARE(page::office::plainText(QString(QChar(0xd83d)) + "x\n\u00e4 "), QString::fromUtf8("x \u00e4"));
    const QString request = "{'ask':'request','kind':'punch','date':'2026-03-03','time':'15:30','code':'102',"
                            "'why':'Don\\u0027t know\\u0000 \\u0027); drop table metalog; --'}";
    QCOMPARE(m_site->ask(kAna, request).value("rid"), QAny(1));
    QCOMPARE(m_site->dayOf(kAna, "3.3.2026").value("worked"), QAny(0));
    QCOMPARE(oneLine(m_site->dayOf(kAna, "3.3.2026").value("requests")), QString("[1]"));

    const QAny open = m_site->ask(kBor, "{'ask':'requests','scope':'open'}").value("requests").value(0);
    QCOMPARE(open.value("mayDecide"), QAny(true));
    QCOMPARE(open.value("time"), QAny(instant("3.3.2026 15:30")));
    QCOMPARE(m_site->errorOf(kBor, "{'ask':'decide','rid':1,'approve':true}"), QString());
    QCOMPARE(m_site->rows("select USER,IDLOG,TIMESTAMP,ACCESS_CODE,TYPE,REMARK from metalog"),
             QStringList(
                 QString("1|1|%1|102:Odhod|ME|Don't know  '); drop table metalog; --").arg(instant("3.3.2026 15:30"))));
    QCOMPARE(m_site->rows("select STATE,DECIDEDBY,DECIDEDAT,METALOG from page_request"),
             QStringList(QString("approved|2|%1|[1]").arg(instant(OfficeSite::kNoon))));
    const QAny day = m_site->dayOf(kAna, "3.3.2026");
    QCOMPARE(day.value("state"), QAny("complete"));
    QCOMPARE(day.value("worked"), QAny(seconds("8:30")));
    const QAny decided = m_site->ask(kBor, "{'ask':'requests','scope':'decided'}").value("requests").value(0);
    QCOMPARE(decided.value("decidedBy"), QAny("Kos Bor"));
}

void TestPageRequests::absenceCountsOnceApproved()
{
    // A week with a public holiday, from Thursday to Tuesday, over the change of the clock.
    m_site->events(kAna, "2.3.2026 07:00-15:00");
    m_site->holiday("27.3.2026", "1");
    m_site->ask(kAna, "{'ask':'request','kind':'leave','from':'2026-03-26','to':'2026-03-31','why':'morje'}");
    const QAny open = m_site->ask(kBor, "{'ask':'requests','scope':'open'}").value("requests").value(0);
    QCOMPARE(open.value("days"), QAny(3));
    QCOMPARE(m_site->errorOf(kBor, "{'ask':'decide','rid':1,'approve':true}"), QString());
    QStringList expected;
    int id = 0;
    for (const char *day : {"26.3.2026 ", "30.3.2026 ", "31.3.2026 "}) {
        const qint64 begin = QDateTime(date(QString(day).trimmed()), QTime(6, 0)).toSecsSinceEpoch();
        expected += QString("%1|1|1|%2|101:Prihod|MP|Dopust").arg(++id).arg(begin);
        expected += QString("%1|1|1|%2|102:1:Dopust|MP|Dopust").arg(++id).arg(begin + 8 * 3600);
    }
    QCOMPARE(m_site->rows("select ID,USER,IDLOG,TIMESTAMP,ACCESS_CODE,TYPE,REMARK from metalog order by ID"), expected);
    QCOMPARE(m_site->rows("select METALOG from page_request"), QStringList("[1,2,3,4,5,6]"));
    const QAny later = m_site->ask(kAna, "{'ask':'month','month':'2026-03'}", "1.4.2026 12:00");
    for (const int day : {26, 30, 31}) {
        const QAny told = later.value("days").value(day - 1);
        QCOMPARE(oneLine(told.value("categories")), QString("{'DOPUST':28800}"));
        QCOMPARE(told.value("balance"), QAny(0));
    }
}

void TestPageRequests::kindsOfAbsence_data()
{
    // access code | category | what the day's balance is
    addTable(R"(
'kind':'leave' | 102:1:Dopust | DOPUST | 0:00
'kind':'leave','code':'102:6' | 102:6:Izredni dopust | IZRDOPUST | 0:00
'kind':'sickness' | 102:2:Bolniška | BOLNIŠKA | 0:00
'kind':'fieldwork' | 102:4:Teren | TEREN | 0:00
'kind':'home' | 102:7:Delo od doma | ODDOMA | 0:00
'kind':'errand' | 104:Službeno | SLUŽBENO | -8:00
)");
}

void TestPageRequests::kindsOfAbsence()
{
    QFETCH(TableRow, row);
    const QString request = "{'ask':'request',%1,'from':'2026-03-11','to':'2026-03-11','why':''}";
    QCOMPARE(m_site->approve(request.arg(row.name)), QString());
    QCOMPARE(m_site->rows("select ACCESS_CODE from metalog order by ID"), QStringList({"101:Prihod", row[0]}));
    const QAny day = m_site->dayOf(kAna, "11.3.2026", "12.3.2026 12:00");
    QCOMPARE(day.value("categories"), QAny({{row[1], 8 * 3600}}));
    QCOMPARE(day.value("balance"), QAny(seconds(row[2])));
}

void TestPageRequests::daysOfAnAbsence_data()
{
    // Leave from Thursday 12.3. to Monday 16.3.: schedule | shift on Friday | days and hours of arrival and departure
    addTable(R"(
five days a week | 1-5 $day | - | 12 06-14,13 06-14,16 06-14
every day | $day | - | 12 06-14,13 06-14,14 06-14,15 06-14,16 06-14
nights | 1-5 $night | - | 12 21-05,13 21-05,16 21-05
day off | 1-5 $day | 0 | 12 06-14,16 06-14
second shift | 1-5 $day|IZM2 STARTB=14:00 ENDE=22:00 MINHOURS=7:00 | 2 | 12 06-14,13 14-21,16 06-14
no required hours | 1-4 $day|5-5 STARTB=6:00 ENDE=14:00 | - | 12 06-14,16 06-14
)");
}

void TestPageRequests::daysOfAnAbsence()
{
    QFETCH(TableRow, row);
    m_site->sql(QString("update wtimset set VALUE='%1' where KEY='K1'").arg(scheduleText(row[0])));
    m_site->sql("update employees set PRERAZDC='A' where ID=1");
    if (!cell(row, 1).isEmpty())
        m_site->assign("13.3.2026", "13.3.2026", row[1]);
    QCOMPARE(m_site->approve("{'ask':'request','kind':'leave','from':'2026-03-12','to':'2026-03-16','why':''}"),
             QString());
    QStringList days;
    for (const QString &time : m_site->rows("select TIMESTAMP from metalog order by ID")) {
        const QDateTime local = QDateTime::fromSecsSinceEpoch(time.toLongLong());
        if (days.isEmpty() || days.last().contains('-'))
            days += local.toString("d HH");
        else
            days.last() += local.toString("-HH");
    }
    QCOMPARE(days.join(','), row[2]);
}

void TestPageRequests::absenceBesideEvents_data()
{
    // Leave on Wednesday 11.3., from 6:00 to 14:00.
    addTable(R"(
night before | 10.3.2026 21:00-05:30 | -
night up to its begin | 10.3.2026 22:00-06:00 | -
work behind its end | 11.3.2026 14:00-16:00 | -
forgotten long before | 10.3.2026 07:00 101 | -
absence of the day before | 10.3.2026 06:00-14:00 102:1/MP | -
work around it | 11.3.2026 05:00-16:00 | overlap events
work within | 11.3.2026 09:00-10:00 | overlap events
arrival at its begin | 11.3.2026 06:00 101 | overlap events
still in | 10.3.2026 20:00 101 | overlap events
entered by hand | +11.3.2026 09:00-10:00 102/ME | overlap events
)");
}

void TestPageRequests::absenceBesideEvents()
{
    QFETCH(TableRow, row);
    const QString leave = "{'ask':'request','kind':'leave','from':'2026-03-10','to':'2026-03-11','why':''}";
    m_site->sql("update calendar set PRAZNIK='1' where DATE=" + QString::number(midnight("10.3.2026")));
    m_site->events(kAna, row[0]);
    QCOMPARE(m_site->errorOf(kAna, leave), cell(row, 1));
    if (!cell(row, 1).isEmpty())
        QCOMPARE(m_site->ask(kAna, leave).value("date"), QAny("2026-03-11"));
}

void TestPageRequests::lists()
{
    const QString leave = "{'ask':'request','kind':'leave','from':'2026-03-%1','to':'2026-03-%1','why':''}";
    for (const char *day : {"09", "10", "11"})
        m_site->ask(kAna, leave.arg(day));
    m_site->ask(kBor, leave.arg("09"));
    m_site->ask(kCene, leave.arg("09"));
    QCOMPARE(m_site->errorOf(kBor, "{'ask':'decide','rid':2,'approve':false,'note':'ne'}"), QString());
    const auto listed = [this](int who, const QString &scope) {
        QStringList rids;
        for (const QAny &one :
             m_site->ask(who, "{'ask':'requests','scope':'" + scope + "'}").value("requests").toList())
            rids += one.value("rid").toString() + (one.value("mayDecide").toBool() ? "!" : "");
        return rids.join(' ');
    };
    QCOMPARE(listed(kAna, "mine"), QString("3 2 1"));
    QCOMPARE(listed(kBor, "mine"), QString("4"));
    QCOMPARE(listed(kBor, "open"), QString("1! 3!"));
    QCOMPARE(listed(kDana, "open"), QString("1! 3! 4! 5!"));
    QCOMPARE(listed(kBor, "decided"), QString("2"));
    QCOMPARE(listed(kCene, "decided"), QString());
    // Who has left asks for nothing any more.
    m_site->sql("update employees set ACTIVE=0 where ID=1");
    QCOMPARE(listed(kDana, "open"), QString("4! 5!"));
    // Nobody fills the file.
    m_site->sql("with recursive n(i) as (select 1 union all select i+1 from n where i<100) insert into page_request "
                "(USER,KIND,CODE,FROMDATE,TODATE,ASKED,STATE,REVISION) select 3,'punch','102','2026-03-01',"
                "'2026-03-01',1,'open',i+100 from n");
    QCOMPARE(m_site->errorOf(kCene, leave.arg("12")), QString("badRequest tooMany"));
}

void TestPageRequests::decidedOnce()
{
    m_site->events(kAna, "2.3.2026 07:00-15:00");
    const QString leave = "{'ask':'request','kind':'leave','from':'2026-03-%1','to':'2026-03-%1','why':''}";
    const QString decide = "{'ask':'decide','rid':%1,%2}";
    QCOMPARE(m_site->approve(leave.arg("09")), QString());
    for (const char *again : {"'approve':true", "'approve':false,'note':'ne'"})
        QCOMPARE(m_site->errorOf(kDana, decide.arg(1).arg(again)), QString("state"));
    QCOMPARE(m_site->errorOf(kAna, "{'ask':'withdraw','rid':1}"), QString("state"));
    QCOMPARE(m_site->rows("select count(*) from metalog"), QStringList("2"));

    m_site->ask(kAna, leave.arg("10"));
    QCOMPARE(m_site->errorOf(kBor, decide.arg(2).arg("'approve':false")), QString("badRequest note"));
    QCOMPARE(m_site->errorOf(kBor, decide.arg(2).arg("'approve':false,'note':' '")), QString("badRequest note"));
    QCOMPARE(m_site->errorOf(kBor, decide.arg(2).arg("'approve':'maybe'")), QString("badRequest"));
    QCOMPARE(m_site->errorOf(kBor, decide.arg(2).arg("'approve':false,'note':'ne'")), QString());
    QCOMPARE(m_site->errorOf(kBor, decide.arg(2).arg("'approve':true")), QString("state"));

    // What was refused or withdrawn takes no room.
    QCOMPARE(m_site->ask(kAna, leave.arg("10")).value("rid"), QAny(3));
    QCOMPARE(m_site->errorOf(kAna, "{'ask':'withdraw','rid':3}"), QString());
    QCOMPARE(m_site->errorOf(kBor, decide.arg(3).arg("'approve':true")), QString("state"));

    // Worked on after all.
    m_site->ask(kAna, leave.arg("11"));
    m_site->events(kAna, "11.3.2026 05:00-16:00");
    QCOMPARE(m_site->errorOf(kBor, decide.arg(4).arg("'approve':true")), QString("overlap events"));
    QCOMPARE(m_site->rows("select STATE from page_request order by RID"),
             QStringList({"approved", "refused", "withdrawn", "open"}));
    QCOMPARE(m_site->rows("select count(*) from metalog"), QStringList("2"));
}

void TestPageRequests::decisionIsStoredWholeOrNot()
{
    m_site->events(kAna, "2.3.2026 07:00-15:00");
    m_site->ask(kAna, "{'ask':'request','kind':'leave','from':'2026-03-09','to':'2026-03-10','why':''}");
    const QString decide = "{'ask':'decide','rid':1,'approve':true}";
    // The third event cannot be stored.
    m_site->sql("create trigger full before insert on metalog when (select count(*) from metalog)>=2 "
                "begin select raise(abort,'full'); end");
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("full"));
    QCOMPARE(m_site->errorOf(kBor, decide), QString("database"));
    QCOMPARE(m_site->rows("select STATE from page_request"), QStringList("open"));
    QCOMPARE(m_site->rows("select ID from metalog"), QStringList());
    m_site->sql("drop trigger full");
    QCOMPARE(m_site->errorOf(kBor, decide), QString());
    QCOMPARE(m_site->rows("select count(*) from metalog"), QStringList("4"));

    // A table that is not there.
    m_site->sql("alter table metalog rename to gone");
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("no such table"));
    QCOMPARE(m_site->errorOf(kAna, "{'ask':'month','month':'2026-03'}"), QString("database"));
    m_site->sql("alter table gone rename to metalog");
    QCOMPARE(m_site->errorOf(kAna, "{'ask':'month','month':'2026-03'}"), QString());
}

QTEST_GUILESS_MAIN(TestPageRequests)
#include "tst_page_requests.moc"
