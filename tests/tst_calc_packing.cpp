#include "calcsite.h"

namespace {

const QString kEight = " 07:00 101; 15:00 102";

/// The columns that a table lacks.
QString missing(const QAny &table, const QString &columns)
{
    QStringList lacked = columns.split(' ');
    const QList<QAny> header = table.value("HEADER").toList();
    for (const QAny &column : header)
        lacked.removeAll(column.value("KEY").toString());
    return lacked.join(' ');
}

QString longDate(const QString &day)
{
    return date(day).toString("ddd dd.MM.yyyy");
}

/// Background and text colour of a row or a cell.
QString colouring(const QAny &cell)
{
    return cell.value("COLOR").toString() + ' ' + cell.value("TXTCOLOR").toString();
}

} // namespace

/// The tables that a client shows: texts, colours, totals.
class TestCalcPacking : public QObject
{
    Q_OBJECT
private slots:
    void pairTable();
    void pairRowsAreColouredByDay_data();
    void pairRowsAreColouredByDay();
    void eventKindsAreColoured_data();
    void eventKindsAreColoured();
    void emptyDaysAreShownWhereAskedFor();
    void dayTable();
    void durations_data();
    void durations();
    void correctedTimesAreMarked();
    void dayRowsAreColouredByCategory_data();
    void dayRowsAreColouredByCategory();
    void dayColumnsAreConfigured();
    void sumTable();
    void errorTable();
    void fatalErrorsLeaveEmptyTables();
    void packedFormIsGivenOnRequest();
};

void TestCalcPacking::pairTable()
{
    CalcSite site("2.3.2026 07:00:10 101; 15:00:30 102:1; 3.3.2026 22:00 101; 4.3.2026 06:00 102; 07:00 101");
    QAny request = CalcSite::request("2.3.2026", "4.3.2026");
    const QAny table = site.pack(request).value("PACK").value("PAIRS");
    QCOMPARE(table.value("TABLE").count(), 3);
    QCOMPARE(missing(table, "NAME USER DATESTAMP TIMESTAMP TIMESTAMP2 PTIME TYPE TYPE2 REMARK REMARK2"), QString());
    QCOMPARE(values(table["TABLE"][0], "NAME USER DATESTAMP TIMESTAMP TIMESTAMP2 PTIME REMARK2 DAYNUM"),
             QString("'Novak Ana',1,'%1','07:00','15:00','08:00','opomba',1").arg(longDate("2.3.2026")));
    QCOMPARE(values(table["TABLE"][2], "TIMESTAMP TIMESTAMP2 PTIME"), QString("'07:00','','00:00'"));

    request["SETT"]["ISSEC"] = true;
    QCOMPARE(values(site.pack(request)["PACK"]["PAIRS"]["TABLE"][0], "TIMESTAMP TIMESTAMP2 PTIME"),
             QString("'07:00:10','15:00:30','08:00:20'"));
}

void TestCalcPacking::pairRowsAreColouredByDay_data()
{
    columns<QString, QStringList>("from", "colours"); // of the pairs in their order
    const QString grey = "#c0c0c0 #615952", cyan = "#00ffff #111010", weekend = "#00ff00 #006000";
    const QString holiday = "#17c0ee #008000";
    // Two pairs on the first day, one on each of the next two.
    addRow("alternating days", "2.3.2026", QStringList{grey, grey, cyan, grey});
    addRow("weekend", "7.3.2026", QStringList{weekend, weekend, weekend});
    addRow("holiday", "11.3.2026", QStringList{holiday, holiday});
}

void TestCalcPacking::pairRowsAreColouredByDay()
{
    QFETCH(QString, from);
    QFETCH(QStringList, colours);
    const auto on = [&](int day) { return date(from).addDays(day).toString("d.M.yyyy"); };
    CalcSite site(on(0) + " 07:00 101; 10:00 102; 11:00 101; 15:00 102; " + on(1) + kEight + "; " + on(2) + kEight);
    site.holiday("11.3.2026", "Dan upora");
    const QAny table = site.pack(CalcSite::request(from, on(2))).value("PACK").value("PAIRS");
    QCOMPARE(table.value("TABLE").count(), 4);
    for (int i = 0; i < colours.count(); ++i)
        QCOMPARE(colouring(table["TABLE"][i]), colours.at(i));
}

void TestCalcPacking::eventKindsAreColoured_data()
{
    columns<QString, QString, QString>("kind", "table", "colour");
    addRow("MP", "MP", "allevents", "#5ab9d3");
    addRow("ME", "ME", "allevents", "#5a9cd3");
    addRow("EV", "EV", "allevents", "#abe7f8");
    addRow("hand-entered, another text", "roka", "metalog", "#5a9cd3");
}

void TestCalcPacking::eventKindsAreColoured()
{
    QFETCH(QString, kind);
    QFETCH(QString, table);
    QFETCH(QString, colour);
    CalcSite site("07:00 101; 15:00 102; 17:00 105");
    site.events(1, "16:00 101/" + kind + "; 16:30 102/" + kind, table);
    const QAny tables = site.pack(CalcSite::request("2.3.2026", "2.3.2026", "AUTOEVENTS=1")).value("PACK");
    const QAny row = tables["PAIRS"]["TABLE"][1];
    QCOMPARE(colouring(row["TYPE"]), colour + " #000000");
    QCOMPARE(colouring(row["TYPE2"]), colour + " #000000");
    const QAny generated = tables["PAIRS"]["TABLE"][2].value("TYPE");
    QCOMPARE(generated, QAny({{"UWVS", "AE"}, {"COLOR", "#fdae7a"}, {"TXTCOLOR", "#000000"}}));
}

void TestCalcPacking::emptyDaysAreShownWhereAskedFor()
{
    CalcSite site("2.3.2026" + kEight, kDay, "HOURS/SHOWEMPTYDAYS=1");
    site.employee(2, "Zupan Bine");
    site.events(2, "2.3.2026" + kEight);
    const QAny table = site.pack(CalcSite::request("2.3.2026", "3.3.2026")).value("PACK").value("PAIRS");
    QCOMPARE(table.value("TABLE").count(), 3);
    const QAny row = table["TABLE"][1];
    QCOMPARE(values(row, "NAME DATESTAMP"), QString("'Novak Ana','%1'").arg(longDate("3.3.2026")));
    QCOMPARE(colouring(row), QString("#ee3117 #00b000"));
    QVERIFY2(row.toJson().contains("Ni delovnih ur"), qPrintable(row.toJson()));
}

void TestCalcPacking::dayTable()
{
    CalcSite site("2.3.2026 07:00 101; 13:30 102; 3.3.2026 06:00 101; 16:00 102; 4.3.2026 06:00 101; 16:00 102; "
                  "7.3.2026 07:00 101; 12:00 102",
                  kDay, "HOURS/LOWSALDO=1", "PRERAZDC=A");
    site.employee(2, "Zupan Bine");
    site.assign("1.3.2026", "31.3.2026", "2");
    site.events(2, "2.3.2026" + kEight);
    const QAny table = site.pack(CalcSite::request("2.3.2026", "7.3.2026")).value("PACK").value("DAYS");
    QCOMPARE(table.value("TABLE").count(), 2 * (6 + 1));
    QCOMPARE(missing(table,
                     "NAME USER DATE INORG OUTORG IZMENA PRISOTNOST DELDAN DELO DOPUST IZRDOPUST BOLNIŠKA DRUGO "
                     "SALDOURE PLUSMINUS SLUŽBENO ZASEBNO MALICA ODDOMA TEREN NOČNO SALDO PRAZNIK PRERAZ OPOMBA"),
             QString());
    const QAny monday = table["TABLE"][0];
    QCOMPARE(
        values(monday, "DATE USER INORG OUTORG IZMENA PRERAZ DELDAN DELO DOPUST PLUSMINUS SALDO"),
        QString("'%1',1,'07:00','13:30','IZM2','2',1,'06:30','00:00','-01:30','-01:30'").arg(longDate("2.3.2026")));
    QVERIFY(values(monday, "OPOMBA").contains("Premalo delovnih ur!"));
    QCOMPARE(values(table["TABLE"][1], "SALDO"), QString("'02:00'"));
    QCOMPARE(values(table["TABLE"][3], "INORG SALDO"), QString("'','-08:00'"));
    QCOMPARE(values(table["TABLE"][5], "SALDO"), QString("''")); // Saturday
    // 6:30 + 10:00 + 10:00 + 5:00; hours do not wrap at 24.
    QCOMPARE(values(table["TABLE"][6], "DATE DELO"), QString("'SKUPAJ','31:30'"));
    QCOMPARE(values(table["TABLE"][13], "DATE DELO"), QString("'SKUPAJ','08:00'"));
    // A balance of nothing is no negative one.
    QCOMPARE(values(table["TABLE"][7], "SALDO"), QString("'00:00'"));
    for (const auto &[row, colour] : {std::pair(0, "#ea6e79"), std::pair(1, "#33990d"), std::pair(7, "#33990d")})
        QCOMPARE(table["TABLE"][row]["SALDO"].value("TXTCOLOR"), QAny(colour));
}

void TestCalcPacking::durations_data()
{
    columns<QString, QString, QString>("minHours", "text", "precise");
    addRow("below zero", "9:30", "-01:30", "-01:30:00");
    addRow("less than an hour below zero", "8:30", "-00:30", "-00:30:00");
    addRow("above", "6:30", "01:30", "01:30:00");
    addRow("nothing", "8:00", "00:00", "00:00:00");
    addRow("beyond 99 hours", "128:00", "-120:00", "-120:00:00");
    addRow("schedule in minutes alone", "45", "07:15", "07:15:00");
    addRow("schedule below zero", "-0:30", "08:30", "08:30:00");
}

void TestCalcPacking::durations()
{
    QFETCH(QString, minHours);
    QFETCH(QString, text);
    QFETCH(QString, precise);
    CalcSite site("2.3.2026" + kEight, "STARTB=6:00 ENDE=16:00 MINHOURS=" + minHours);
    QAny request = CalcSite::request("2.3.2026", "2.3.2026");
    QCOMPARE(values(site.pack(request)["PACK"]["DAYS"]["TABLE"][0], "SALDO"), '\'' + text + '\'');
    request["SETT"]["ISSEC"] = 1;
    const QAny tables = site.pack(request).value("PACK");
    QCOMPARE(values(tables["DAYS"]["TABLE"][0], "INORG SALDO"), QString("'07:00:00','%1'").arg(precise));
    QCOMPARE(values(tables["SUM"]["TABLE"][0], "PLUSMINUS"), '\'' + precise + '\'');
}

void TestCalcPacking::correctedTimesAreMarked()
{
    const auto times = [](const QString &events) {
        const QAny row = CalcSite(events).pack(CalcSite::request("2.3.2026", "2.3.2026"))["PACK"]["DAYS"]["TABLE"][0];
        return QAny::list({row.value("INORG"), row.value("OUTORG")});
    };
    const auto marked = [](const char *time, const char *tip) {
        return QAny{{"UWVS", time}, {"TXTCOLOR", "#fa9112"}, {"TOOLTIP", tip}};
    };
    QCOMPARE(times("05:30 101; 15:00 102"), QAny::list({marked("05:30", "Spremenjen prihod po urniku"), "15:00"}));
    QCOMPARE(times("07:00 101; 16:30 102"), QAny::list({"07:00", marked("16:30", "Spremenjen odhod po urniku")}));
}

void TestCalcPacking::dayRowsAreColouredByCategory_data()
{
    columns<QString, QString>("code", "colour");
    addRow("work", "102", "#abdcf8");
    addRow("leave", "102:1", "#abbbf8");
    addRow("sickness", "102:2", "#f8d7ab");
    addRow("from home", "102:7", "#28f1bd");
    addRow("field", "102:4", "#acf3e1");
    addRow("holiday", "", "#f1d528");
}

void TestCalcPacking::dayRowsAreColouredByCategory()
{
    QFETCH(QString, code);
    QFETCH(QString, colour);
    CalcSite site(code.isEmpty() ? QString() : "07:00 101; 15:00 " + code);
    site.employee(2, "Zupan Bine");
    site.events(2, "2.3.2026" + kEight);
    if (code.isEmpty())
        site.holiday("2.3.2026", "Dan upora");
    const QAny row = site.pack(CalcSite::request("2.3.2026", "2.3.2026"))["PACK"]["DAYS"]["TABLE"][0];
    QVERIFY2(colouring(row).contains(colour), qPrintable(row.toJson()));
}

void TestCalcPacking::dayColumnsAreConfigured()
{
    CalcSite site("2.3.2026" + kEight);
    const QAny request = CalcSite::request("2.3.2026", "2.3.2026");
    const QAny plain = site.pack(request)["PACK"]["DAYS"]["HEADER"];
    QVERIFY(plain.count() > 20);
    for (int i = 0; i < plain.count(); ++i)
        QCOMPARE(plain[i].value("TXT"), plain[i].value("KEY"));
    const QString columns = "[{\"KEY\":\"NAME\",\"TXT\":\"Ime\"},{\"KEY\":\"DELO\",\"TXT\":\"Delo\"}]";
    site.storeConfig("CALCDAYHDR", columns);
    const QAny table = site.pack(request)["PACK"]["DAYS"];
    QCOMPARE(table.value("HEADER"), QAny::fromJson(columns));
    QCOMPARE(values(table["TABLE"][0], "DELO"), QString("'08:00'"));
    site.storeConfig("CALCDAYHDR", "[{");
    QCOMPARE(site.pack(request)["PACK"]["DAYS"]["HEADER"], plain);
}

void TestCalcPacking::sumTable()
{
    CalcSite site("2.3.2026 06:00 101; 16:00 102; 3.3.2026 06:00 101; 16:00 102; 4.3.2026 06:00 101; 16:00 102");
    site.employee(2, "Zupan Bine");
    site.events(2, "2.3.2026" + kEight);
    QAny request = CalcSite::request("2.3.2026", "4.3.2026", "ISSUMSUM=0");
    QCOMPARE(site.pack(request)["PACK"]["SUM"]["TABLE"].count(), 2);
    request["SETT"]["ISSUMSUM"] = 1;
    const QAny table = site.pack(request)["PACK"]["SUM"];
    QCOMPARE(missing(table, "NAME USER SDATE EDATE DELO NOČNO DELDAN IZM1 IZM2 IZM3 DELSOB DELNED DELPRA SALDO SKUPAJ "
                            "PLUSMINUS ACSLIST"),
             QString());
    QCOMPARE(table.value("TABLE").count(), 3);
    const QAny row = table["TABLE"][0];
    QCOMPARE(
        values(row, "NAME SDATE EDATE DELO DELDAN IZM1 SKUPAJ PLUSMINUS"),
        QString("'Novak Ana','%1','%2','30:00',3,3,'30:00','06:00'").arg(longDate("2.3.2026"), longDate("4.3.2026")));
    QCOMPARE(row["SKUPAJ"].value("ICON").toString(), QString("SLD_SKU"));
    QCOMPARE(row["PLUSMINUS"].value("ICON").toString(), QString("SLD+"));
    // Of all: 30 and 8 hours, 6 too many and two days of 8 too few.
    QCOMPARE(values(table["TABLE"][2], "DELO PLUSMINUS IZM1"), QString("'38:00','-10:00',4"));
}

void TestCalcPacking::errorTable()
{
    CalcSite site("2.3.2026 22:00 101; 3.3.2026 06:00 102", kDay, "");
    site.employee(2, "Zupan Bine");
    site.employee(3, "Kos Cene");
    site.employee(4, "Vidmar Dane");
    site.events(2, "2.3.2026 07:00 101");
    site.events(4, "2.3.2026 15:00 102");
    const QAny table = site.pack(CalcSite::request("2.3.2026", "3.3.2026", "CALCREM=1")).value("PACK").value("ERR");
    QCOMPARE(missing(table, "NAME NAPAKA"), QString());
    QStringList found;
    for (int i = 0; i < table.value("TABLE").count(); ++i)
        found += values(table["TABLE"][i], "NAME NAPAKA") + colouring(table["TABLE"][i]);
    const QString all = found.join('\n');
    for (const char *row :
         {"'Novak Ana','Ni nastavitev!' #fa2712", "'Novak Ana','Dvodnevni par' #fa8012",
          "'Zupan Bine','Zadnji dogodek ni izhod!' #fad012", "'Kos Cene','Ni dogodkov za izbrano obdobje!' #55ff00"})
        QVERIFY2(all.contains(row), qPrintable(all));
    QVERIFY(all.contains(QRegularExpression("'Vidmar Dane','Ni Prihoda!' (#fad012|#55ff00)")));
}

void TestCalcPacking::fatalErrorsLeaveEmptyTables()
{
    CalcSite site;
    const QAny answer = site.pack(CalcSite::request("3.3.2026", "2.3.2026"));
    QVERIFY(answer.value("TIME").isInteger());
    QCOMPARE(answer.value("CALC").keys(), QStringList("ERR"));
    for (const char *name : {"PAIRS", "DAYS", "SUM"}) {
        const QAny table = answer["PACK"].value(name);
        QVERIFY2(table.value("TABLE").isList() && table.value("HEADER").isList(), name);
        QCOMPARE(table.value("TABLE").count(), 0);
    }
    const QAny errors = answer["PACK"]["ERR"];
    QCOMPARE(errors.value("TABLE").count(), 1);
    QCOMPARE(values(errors["TABLE"][0], "NAPAKA"), QString("'Napačen datum za obdobje obračuna!'"));
    QCOMPARE(colouring(errors["TABLE"][0]), QString(" #fa2712"));
}

void TestCalcPacking::packedFormIsGivenOnRequest()
{
    CalcSite site("2.3.2026" + kEight);
    QAny request = CalcSite::request("2.3.2026", "2.3.2026");
    QVERIFY(!site.pack(request).contains("CALC21"));
    request["CALC21"] = true;
    const QAny packed = site.pack(request).value("CALC21");
    for (const char *key : {"PAIRS", "EMPLO", "DATA", "PRERAZ"})
        QVERIFY2(packed.contains(key), key);
    QCOMPARE(packed.value("EMPLO").count(), 1);
    QCOMPARE(packed.value("PAIRS").count(), 1);
}

QTEST_GUILESS_MAIN(TestCalcPacking)
#include "tst_calc_packing.moc"
