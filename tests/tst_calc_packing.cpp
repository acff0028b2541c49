#include "calc/output/records.h"
#include "calc/output/tables.h"
#include "calcsite.h"

using namespace calc;

namespace {

const QString kMonday = "2.3.2026";
const QString kEight = " 07:00 101; 15:00 102";

/// The packed tables of a period.
QAny packed(const CalcRows &rows, const QString &from, const QString &to, const QString &settings = {})
{
    const CalcRun run = rows.run(from, to, settings);
    output::PackedCells cells = output::cellsOf(run.result);
    return {{"PAIRS", output::pairTable(run.result, cells)},
            {"DAYS", output::dayTable(run.result, {}, cells)},
            {"SUM", output::sumTable(run.result, cells)},
            {"ERR", output::errorTable(run.result.errors)}};
}

QAny packedMonday(const CalcRows &rows, const QString &settings = {})
{
    return packed(rows, kMonday, kMonday, settings);
}

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
    void emptyDaysAreShownWhereAskedFor_data();
    void emptyDaysAreShownWhereAskedFor();
    void dayTable();
    void durations_data();
    void durations();
    void correctedTimesAreMarked_data();
    void correctedTimesAreMarked();
    void dayRowsAreColouredByCategory_data();
    void dayRowsAreColouredByCategory();
    void sumTable();
    void codesAreListed();
    void errorTable();
    void theDialogPacksWhatItCalculates();
    void fatalErrorsLeaveEmptyTables();

private:
    static QAny withoutTime(QAny answer)
    {
        answer.remove("TIME");
        return answer;
    }
};

void TestCalcPacking::pairTable()
{
    CalcRows rows("07:00:10 101; 15:00:30 102:1; 3.3.2026 22:00 101; 4.3.2026 06:00 102; 07:00 101");
    rules::Event &departure = rows.of(1).events[1];
    departure.idx = qint64(7);
    departure.tag = qint64(3);
    departure.param = "vrata";
    const QAny table = packed(rows, kMonday, "4.3.2026").value("PAIRS");
    QCOMPARE(table.value("TABLE").count(), 3);
    QCOMPARE(missing(table, "NAME USER DATESTAMP TIMESTAMP TIMESTAMP2 PTIME TYPE TYPE2 REMARK REMARK2 PARAM"),
             QString());
    QCOMPARE(values(table["TABLE"][0], "NAME USER DATESTAMP TIMESTAMP TIMESTAMP2 PTIME REMARK2 DAYNUM"),
             QString("'Novak Ana',1,'%1','07:00','15:00','08:00','opomba',1").arg(longDate(kMonday)));
    QCOMPARE(values(table["TABLE"][0], "PARAM PARAM2 IDX2 TAG2"), QString("'','vrata',7,3"));
    QCOMPARE(values(table["TABLE"][2], "TIMESTAMP TIMESTAMP2 PTIME TYPE2 IDX2"), QString("'07:00','','00:00','',''"));
    QCOMPARE(values(packedMonday(rows, "ISSEC=1")["PAIRS"]["TABLE"][0], "TIMESTAMP TIMESTAMP2 PTIME"),
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
    CalcRows rows(on(0) + " 07:00 101; 10:00 102; 11:00 101; 15:00 102; " + on(1) + kEight + "; " + on(2) + kEight);
    rows.holiday("11.3.2026", "Dan upora");
    const QAny table = packed(rows, from, on(2)).value("PAIRS");
    QCOMPARE(table.value("TABLE").count(), 4);
    for (int i = 0; i < colours.count(); ++i)
        QCOMPARE(colouring(table["TABLE"][i]), colours.at(i));
}

void TestCalcPacking::eventKindsAreColoured_data()
{
    columns<QString, bool, QString>("kind", "handEntered", "colour");
    addRow("MP", "MP", false, "#5ab9d3");
    addRow("ME", "ME", false, "#5a9cd3");
    addRow("EV", "EV", false, "#abe7f8");
    addRow("hand-entered", "ME", true, "#5a9cd3");
}

void TestCalcPacking::eventKindsAreColoured()
{
    QFETCH(QString, kind);
    QFETCH(bool, handEntered);
    QFETCH(QString, colour);
    CalcRows rows("07:00 101; 15:00 102; 17:00 105");
    const QString script = "16:00 101/" + kind + "; 16:30 102/" + kind;
    handEntered ? rows.handEntered(1, script) : rows.events(1, script);
    const QAny table = packedMonday(rows, "AUTOEVENTS=1").value("PAIRS").value("TABLE");
    QCOMPARE(colouring(table[1]["TYPE"]), colour + " #000000");
    QCOMPARE(colouring(table[1]["TYPE2"]), colour + " #000000");
    const QAny generated = table[2].value("TYPE");
    QCOMPARE(generated, QAny({{"UWVS", "AE"}, {"COLOR", "#fdae7a"}, {"TXTCOLOR", "#000000"}}));
}

void TestCalcPacking::emptyDaysAreShownWhereAskedFor_data()
{
    columns<QString, QString, QString>("day", "colours", "text");
    const QString empty = "#ee3117 #00b000", weekend = "#00ff00 #006000", holiday = "#17c0ee #008000";
    const QString noHours = "Ni delovnih ur";
    addRow("a working day", "3.3.2026", empty, noHours);
    addRow("a holiday", "4.3.2026", holiday, "");
    addRow("a free holiday", "5.3.2026", holiday, "");
    addRow("a day without a schedule", "6.3.2026", empty, "");
    addRow("Saturday", "7.3.2026", weekend, "");
    addRow("Sunday", "8.3.2026", weekend, "");
    addRow("a day off", "9.3.2026", empty, "");
    addRow("an hour check left no pair", "10.3.2026", empty, noHours);
    addRow("today", "11.3.2026", empty, noHours);
    addRow("tomorrow", "12.3.2026", empty, "");
}

void TestCalcPacking::emptyDaysAreShownWhereAskedFor()
{
    QFETCH(QString, day);
    QFETCH(QString, colours);
    QFETCH(QString, text);
    const QString schedule = QString("1-4 %1|6-7 %1").arg(kDay);
    CalcRows rows(kMonday + kEight + "; 10.3.2026 19:30 101; 20:00 102", schedule, "HOURS/SHOWEMPTYDAYS=1");
    rows.employee(2, "Zupan Bine", schedule); // does not ask
    rows.holiday("4.3.2026", "Dan upora");
    rows.holiday("5.3.2026", "1");
    rows.assign("9.3.2026", "9.3.2026", "0");
    rows.today = date("11.3.2026");
    const QAny table = packed(rows, kMonday, "12.3.2026", "EARLYEXIT=8")["PAIRS"]["TABLE"];
    QCOMPARE(table.count(), 11);
    const QAny row = table[static_cast<int>(date(kMonday).daysTo(date(day)))];
    QCOMPARE(values(row, "NAME DATESTAMP TIMESTAMP PTIME REMARK"),
             QString("'Novak Ana','%1','','','%2'").arg(longDate(day), text));
    QCOMPARE(colouring(row), colours);
}

void TestCalcPacking::dayTable()
{
    CalcRows rows("2.3.2026 07:00 101; 13:30 102; 3.3.2026 06:00 101; 16:00 102; 4.3.2026 06:00 101; 16:00 102; "
                  "7.3.2026 07:00 101; 12:00 102",
                  kDay, "HOURS/LOWSALDO=1 HOURS/TOOMANYFREEHOURS=1");
    rows.employee(2, "Zupan Bine");
    rows.events(2, kMonday + kEight);
    rows.assign("1.3.2026", "31.3.2026", "2", "EMPLID=E1");
    const QAny table = packed(rows, kMonday, "7.3.2026").value("DAYS");
    QCOMPARE(table.value("TABLE").count(), 2 * (6 + 1));
    QCOMPARE(missing(table,
                     "NAME USER DATE INORG OUTORG IZMENA PRISOTNOST DELDAN DELO DOPUST IZRDOPUST BOLNIŠKA DRUGO "
                     "SALDOURE PLUSMINUS SLUŽBENO ZASEBNO MALICA ODDOMA TEREN NOČNO SALDO PRAZNIK PRERAZ OPOMBA"),
             QString());
    for (int i = 0; i < table["HEADER"].count(); ++i) // titled by their names
        QCOMPARE(table["HEADER"][i].value("TXT"), table["HEADER"][i].value("KEY"));
    QCOMPARE(values(table["TABLE"][0],
                    "DATE USER INORG OUTORG IZMENA PRERAZ DELDAN DELO DOPUST PRISOTNOST PLUSMINUS SALDO OPOMBA"),
             QString("'%1',1,'07:00','13:30','IZM2','2',1,'06:30','00:00','06:30','-01:30','-01:30',"
                     "'Premalo delovnih ur!'")
                 .arg(longDate(kMonday)));
    QCOMPARE(values(table["TABLE"][1], "SALDO OPOMBA"), QString("'02:00',''"));
    QCOMPARE(values(table["TABLE"][3], "INORG SALDO"), QString("'','-08:00'"));
    QCOMPARE(values(table["TABLE"][5], "DELDAN SALDO"), QString("0,''")); // Saturday
    // 6:30 + 10:00 + 10:00 + 5:00; hours do not wrap at 24. -1:30 + 2:00 + 2:00 - 8:00 - 8:00.
    QCOMPARE(values(table["TABLE"][6], "DATE DELO DELDAN SALDO PRERAZ IZMENA"),
             QString("'SKUPAJ','31:30',5,'-13:30',6,''"));
    QCOMPARE(values(table["TABLE"][13], "DATE DELO PRERAZ"), QString("'SKUPAJ','08:00',0"));
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
    const CalcRows rows(kEight, "STARTB=6:00 ENDE=16:00 MINHOURS=" + minHours);
    QCOMPARE(values(packedMonday(rows)["DAYS"]["TABLE"][0], "SALDO"), '\'' + text + '\'');
    const QAny tables = packedMonday(rows, "ISSEC=1");
    QCOMPARE(values(tables["DAYS"]["TABLE"][0], "INORG SALDO"), QString("'07:00:00','%1'").arg(precise));
    QCOMPARE(values(tables["SUM"]["TABLE"][0], "PLUSMINUS"), '\'' + precise + '\'');
}

void TestCalcPacking::correctedTimesAreMarked_data()
{
    columns<QString, QAny, QAny>("events", "in", "out");
    const auto moved = [](const char *time, const char *tip) {
        return QAny{{"UWVS", time}, {"TXTCOLOR", "#fa9112"}, {"TOOLTIP", tip}};
    };
    addRow("neither", "06:00 101; 16:00 102", QAny("06:00"), QAny("16:00"));
    addRow("arrival", "05:30 101; 15:00 102", moved("05:30", "Spremenjen prihod po urniku"), QAny("15:00"));
    addRow("departure", "07:00 101; 16:30 102", QAny("07:00"), moved("16:30", "Spremenjen odhod po urniku"));
}

void TestCalcPacking::correctedTimesAreMarked()
{
    QFETCH(QString, events);
    QFETCH(QAny, in);
    QFETCH(QAny, out);
    const QAny row = packedMonday(CalcRows(events))["DAYS"]["TABLE"][0];
    QCOMPARE(row.value("INORG"), in);
    QCOMPARE(row.value("OUTORG"), out);
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
    CalcRows rows(code.isEmpty() ? QString() : "07:00 101; 15:00 " + code);
    if (code.isEmpty())
        rows.holiday(kMonday, "Dan upora");
    const QAny row = packedMonday(rows)["DAYS"]["TABLE"][0];
    QVERIFY2(colouring(row).contains(colour), qPrintable(row.toJson()));
}

void TestCalcPacking::sumTable()
{
    const QString ten = " 06:00 101; 16:00 102; ";
    CalcRows rows(kMonday + ten + "3.3.2026" + ten + "4.3.2026" + ten);
    rows.employee(2, "Zupan Bine");
    rows.events(2, kMonday + kEight);
    QCOMPARE(packed(rows, kMonday, "4.3.2026")["SUM"]["TABLE"].count(), 2);
    const QAny table = packed(rows, kMonday, "4.3.2026", "ISSUMSUM=1")["SUM"];
    QCOMPARE(missing(table,
                     "NAME USER SDATE EDATE DELO DOPUST IZRDOPUST BOLNIŠKA PRAZNIK ZASEBNO SLUŽBENO MALICA DRUGO "
                     "NOČNO TEREN ODDOMA DELDAN PRISOTNOST PRERAZ IZM1 IZM2 IZM3 DELSOB DELNED DELPRA SALDO SKUPAJ "
                     "PLUSMINUS ACSLIST"),
             QString());
    QCOMPARE(table.value("TABLE").count(), 3);
    const QAny row = table["TABLE"][0];
    QCOMPARE(
        values(row, "NAME USER SDATE EDATE DELO DELDAN IZM1 IZM2 SKUPAJ PLUSMINUS"),
        QString("'Novak Ana',1,'%1','%2','30:00',3,3,0,'30:00','06:00'").arg(longDate(kMonday), longDate("4.3.2026")));
    QCOMPARE(row["SKUPAJ"].value("ICON").toString(), QString("SLD_SKU"));
    QCOMPARE(row["PLUSMINUS"].value("ICON").toString(), QString("SLD+"));
    // Of all: 30 and 8 hours, 6 too many and two days of 8 too few.
    QCOMPARE(values(table["TABLE"][2], "NAME USER DELO PLUSMINUS IZM1 DELDAN"),
             QString("'SKUPAJ','','38:00','-10:00',4,6"));
}

void TestCalcPacking::codesAreListed()
{
    CalcRows rows("07:00 =101; 15:00 =102:1; 3.3.2026 07:00 =104:Zunaj");
    rows.employee(2, "Zupan Bine");
    rows.events(2, "07:00 =101:Prihod; 15:00 =102:1:Dopust");
    rows.employee(3, "Kos Cene");
    rows.events(3, "07:00 =101:Pozneje; 15:00 =103");
    const CalcRun run = rows.run(kMonday, kMonday, "ISACS=1");
    const QAny list = output::recordsOf(run.result).value("ACSLIST");
    QStringList found;
    for (int i = 0; i < list.count(); ++i)
        found += values(list[i], "AC NAME");
    found.sort();
    // The first employee's events have codes alone: of each the first name that any event gives.
    QCOMPARE(found, (QStringList{"'101','Prihod'", "'102:1','Dopust'", "'103',''"}));
    output::PackedCells cells = output::cellsOf(run.result);
    const QAny sums = output::sumTable(run.result, cells)["TABLE"];
    QVERIFY(values(sums[1], "ACSLIST").contains("102:1:Dopust"));
    QCOMPARE(output::recordsOf(rows.run(kMonday, kMonday).result).value("ACSLIST").count(), 0);
}

void TestCalcPacking::errorTable()
{
    CalcRows rows("2.3.2026 22:00 101; 3.3.2026 06:00 102");
    rows.employee(2, "Zupan Bine");
    rows.employee(3, "Kos Cene");
    rows.employee(4, "Vidmar Dane");
    rows.events(2, "07:00 101");
    rows.events(4, "15:00 102");
    const QAny table = packed(rows, kMonday, "3.3.2026", "CALCREM=1").value("ERR");
    QCOMPARE(missing(table, "NAME NAPAKA"), QString());
    QStringList found;
    for (int i = 0; i < table.value("TABLE").count(); ++i)
        found += values(table["TABLE"][i], "NAME NAPAKA") + colouring(table["TABLE"][i]);
    const QString all = found.join('\n');
    for (const char *row : {"'Novak Ana','Dvodnevni par' #fa8012", "'Zupan Bine','Zadnji dogodek ni izhod!' #fad012",
                            "'Kos Cene','Ni dogodkov za izbrano obdobje!' #55ff00"})
        QVERIFY2(all.contains(row), qPrintable(all));
    QVERIFY(all.contains(QRegularExpression("'Vidmar Dane','Ni Prihoda!' (#fad012|#55ff00)")));
}

void TestCalcPacking::theDialogPacksWhatItCalculates()
{
    CalcSite site(kMonday + kEight);
    QAny request = CalcSite::request(kMonday, kMonday);
    const QAny plain = site.pack(request);
    QVERIFY(plain.value("TIME").isInteger());
    QCOMPARE(withoutTime(plain).keys(), (QStringList{"CALC", "PACK"}));

    // The form for clients and the explanation are there on request, beside the same plain result.
    request["CALC21"] = true;
    const QAny client = site.pack(request);
    for (const char *key : {"PAIRS", "EMPLO", "DATA", "PRERAZ"})
        QVERIFY2(client["CALC21"].value(key).isList(), key);
    QCOMPARE(values(client["CALC21"]["EMPLO"][0], "USER NAME"), QString("1,'Novak Ana'"));
    QCOMPARE(client["CALC21"]["PAIRS"], plain["CALC"]["CALC"][0]["PAIRS"]);
    QCOMPARE(client["CALC21"]["DATA"].count(), 2);
    request["EXPLAIN"] = true;
    const QAny explained = site.pack(request);
    QCOMPARE(explained.value("EXPLAIN").count(), 1);
    for (const QAny &answer : {client, explained}) {
        QCOMPARE(answer.value("CALC"), plain.value("CALC"));
        QCOMPARE(answer.value("PACK"), plain.value("PACK"));
    }

    const QString columns = "[{\"KEY\":\"NAME\",\"TXT\":\"Ime\"},{\"KEY\":\"DELO\",\"TXT\":\"Delo\"}]";
    site.storeConfig("CALCDAYHDR", columns);
    QCOMPARE(site.pack(request)["PACK"]["DAYS"]["HEADER"], QAny::fromJson(columns));
    site.storeConfig("CALCDAYHDR", "[{");
    QCOMPARE(site.pack(request)["PACK"]["DAYS"], plain["PACK"]["DAYS"]);
}

void TestCalcPacking::fatalErrorsLeaveEmptyTables()
{
    CalcSite site;
    QAny request = CalcSite::request("3.3.2026", kMonday);
    request["EXPLAIN"] = true;
    request["CALC21"] = true;
    const QAny answer = site.pack(request);
    QVERIFY(answer.value("TIME").isInteger());
    QCOMPARE(answer.value("CALC").keys(), QStringList("ERR"));
    QVERIFY(answer.value("EXPLAIN").isList());
    QCOMPARE(answer.value("EXPLAIN").count(), 0);
    for (const char *name : {"PAIRS", "EMPLO", "DATA", "PRERAZ"})
        QVERIFY2(answer["CALC21"].value(name).isList() && answer["CALC21"].value(name).count() == 0, name);
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

QTEST_GUILESS_MAIN(TestCalcPacking)
#include "tst_calc_packing.moc"
