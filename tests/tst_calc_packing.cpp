#include "calc/output/records.h"
#include "calc/output/tables.h"
#include "calcsite.h"

using namespace calc;

namespace {

const QString kMonday = "2.3.2026";

/// Name | first day, two pairs on it, one on each of the next two | colours of the pairs in their order.
constexpr char kPairColours[] = R"(
$grey = #c0c0c0 #615952
$weekend = #00ff00 #006000
$holiday = #17c0ee #008000
alternating days | 2.3.2026  | $grey, $grey, #00ffff #111010, $grey
weekend          | 7.3.2026  | $weekend, $weekend, $weekend
holiday          | 11.3.2026 | $holiday, $holiday
)";

/// Name | day without a pair | colours | remark.
constexpr char kEmptyDays[] = R"(
$empty = #ee3117 #00b000
$weekend = #00ff00 #006000
$holiday = #17c0ee #008000
a working day               | 3.3.2026  | $empty | Ni delovnih ur
a holiday                   | 4.3.2026  | $holiday
a free holiday              | 5.3.2026  | $holiday
a day without a schedule    | 6.3.2026  | $empty
Saturday                    | 7.3.2026  | $weekend
Sunday                      | 8.3.2026  | $weekend
a day off                   | 9.3.2026  | $empty
an hour check left no pair  | 10.3.2026 | $empty | Ni delovnih ur
today                       | 11.3.2026 | $empty | Ni delovnih ur
tomorrow                    | 12.3.2026 | $empty
)";

/// Name | hours asked for on a day of eight | balance with seconds.
constexpr char kDurations[] = R"(
below zero                   | 9:30   | -01:30:00
less than an hour below zero | 8:30   | -00:30:00
above                        | 6:30   | 01:30:00
nothing                      | 8:00   | 00:00:00
beyond 99 hours              | 128:00 | -120:00:00
schedule in minutes alone    | 45     | 07:15:00
schedule below zero          | -0:30  | 08:30:00
)";

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
    void pairRowsAreColouredByDay_data() { addTable(kPairColours); }
    void pairRowsAreColouredByDay();
    void eventKindsAreColoured();
    void emptyDaysAreShownWhereAskedFor_data() { addTable(kEmptyDays); }
    void emptyDaysAreShownWhereAskedFor();
    void dayTable();
    void durations_data() { addTable(kDurations); }
    void durations();
    void correctedTimesAreMarked();
    void dayRowsAreColouredByCategory();
    void sumTable();
    void codesAreListed();
    void errorTable();
    void theDialogPacksWhatItCalculates();
    void fatalErrorsLeaveEmptyTables();
};

void TestCalcPacking::pairTable()
{
    CalcRows rows("7:00:10-15:00:30 102:1; 3.3.2026 22-6; 4.3.2026 7 101");
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

void TestCalcPacking::pairRowsAreColouredByDay()
{
    QFETCH(TableRow, row);
    const QDate from = date(row[0]);
    const auto on = [&](int day) { return from.addDays(day).toString("d.M.yyyy"); };
    CalcRows rows(on(0) + " 7-10; 11-15; " + on(1) + " 7-15; " + on(2) + " 7-15");
    rows.holiday("11.3.2026", "Dan upora");
    const QAny table = packed(rows, on(0), on(2))["PAIRS"]["TABLE"];
    QCOMPARE(table.count(), 4);
    QVERIFY2(each(table, "COLOR TXTCOLOR").startsWith(row[1]), qPrintable(each(table, "COLOR TXTCOLOR")));
}

void TestCalcPacking::eventKindsAreColoured()
{
    const CalcRows rows("7-8 102/MP; 8-9 102/ME; 9-10; 17 105 + 10-11 102/ME");
    const QAny table = packedMonday(rows, "AUTOEVENTS=1")["PAIRS"]["TABLE"];
    const auto kinds = [&table](const QString &column, int count) {
        QAny cells(QAny::List);
        for (int i = 0; i < count; ++i)
            cells.append(table.at(i).value(column));
        return each(cells, "UWVS COLOR TXTCOLOR");
    };
    const QString stored = "MP #5ab9d3 #000000, ME #5a9cd3 #000000, EV #abe7f8 #000000, ME #5a9cd3 #000000";
    QCOMPARE(kinds("TYPE2", 4), stored);
    QCOMPARE(kinds("TYPE", 5), stored + ", AE #fdae7a #000000");
}

void TestCalcPacking::emptyDaysAreShownWhereAskedFor()
{
    QFETCH(TableRow, row);
    const QString schedule = QString("1-4 %1|6-7 %1").arg(kDay);
    CalcRows rows("7-15; 10.3.2026 19:30-20", schedule, "HOURS/SHOWEMPTYDAYS=1");
    rows.employee(2, "Zupan Bine", schedule); // does not ask
    rows.holiday("4.3.2026", "Dan upora");
    rows.holiday("5.3.2026", "1");
    rows.assign("9.3.2026", "9.3.2026", "0");
    rows.today = date("11.3.2026");
    const QAny table = packed(rows, kMonday, "12.3.2026", "EARLYEXIT=8")["PAIRS"]["TABLE"];
    QCOMPARE(table.count(), 11);
    const QAny shown = table[static_cast<int>(date(kMonday).daysTo(date(row[0])))];
    QCOMPARE(values(shown, "NAME DATESTAMP TIMESTAMP PTIME REMARK"),
             QString("'Novak Ana','%1','','','%2'").arg(longDate(row[0]), row[2]));
    QCOMPARE(colouring(shown), row[1]);
}

void TestCalcPacking::dayTable()
{
    CalcRows rows("7-13:30; 3.3.2026 6-16; 4.3.2026 6-16; 7.3.2026 7-12", kDay,
                  "HOURS/LOWSALDO=1 HOURS/TOOMANYFREEHOURS=1");
    rows.employee(2, "Zupan Bine");
    rows.events(2, "7-15");
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

void TestCalcPacking::durations()
{
    QFETCH(TableRow, row);
    const CalcRows rows("7-15", "STARTB=6:00 ENDE=16:00 MINHOURS=" + row[0]);
    QCOMPARE(values(packedMonday(rows)["DAYS"]["TABLE"][0], "SALDO"), '\'' + row[1].chopped(3) + '\'');
    const QAny tables = packedMonday(rows, "ISSEC=1");
    QCOMPARE(values(tables["DAYS"]["TABLE"][0], "INORG SALDO"), QString("'07:00:00','%1'").arg(row[1]));
    QCOMPARE(values(tables["SUM"]["TABLE"][0], "PLUSMINUS"), '\'' + row[1] + '\'');
}

void TestCalcPacking::correctedTimesAreMarked()
{
    const auto times = [](const QString &events) {
        const QAny row = packedMonday(CalcRows(events))["DAYS"]["TABLE"][0];
        return row.value("INORG").toJson() + ' ' + row.value("OUTORG").toJson();
    };
    const QString moved = R"({"UWVS":"%1","TXTCOLOR":"#fa9112","TOOLTIP":"Spremenjen %2 po urniku"})";
    QCOMPARE(times("6-16"), QString(R"("06:00" "16:00")"));
    QCOMPARE(times("5:30-15"), moved.arg("05:30", "prihod") + R"( "15:00")");
    QCOMPARE(times("7-16:30"), R"("07:00" )" + moved.arg("16:30", "odhod"));
}

void TestCalcPacking::dayRowsAreColouredByCategory()
{
    CalcRows rows("7-15; 3.3.2026 7-15 102:1; 4.3.2026 7-15 102:2; 5.3.2026 7-15 102:7; 6.3.2026 7-15 102:4");
    rows.holiday("9.3.2026", "Dan upora");
    const QAny table = packed(rows, kMonday, "9.3.2026")["DAYS"]["TABLE"];
    for (const auto &[row, colour] : {std::pair(0, "#abdcf8"), std::pair(1, "#abbbf8"), std::pair(2, "#f8d7ab"),
                                      std::pair(3, "#28f1bd"), std::pair(4, "#acf3e1"), std::pair(7, "#f1d528")})
        QVERIFY2(colouring(table[row]).contains(colour), qPrintable(table[row].toJson()));
}

void TestCalcPacking::sumTable()
{
    CalcRows rows("6-16; 3.3.2026 6-16; 4.3.2026 6-16");
    rows.employee(2, "Zupan Bine");
    rows.events(2, "7-15");
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
    const CalcRows rows("7-15 =102:1:Dopust; 16-17 =103");
    const CalcRun run = rows.run(kMonday, kMonday, "ISACS=1");
    QCOMPARE(each(run.answer["ACSLIST"], "AC NAME"), QString("101 Ime, 102:1 Dopust, 103 "));
    output::PackedCells cells = output::cellsOf(run.result);
    QVERIFY(values(output::sumTable(run.result, cells)["TABLE"][0], "ACSLIST").contains("102:1:Dopust"));
    QCOMPARE(rows.run(kMonday, kMonday).answer["ACSLIST"].count(), 0);
}

void TestCalcPacking::errorTable()
{
    CalcRows rows("22-6");
    rows.employee(2, "Zupan Bine");
    rows.employee(3, "Kos Cene");
    rows.employee(4, "Vidmar Dane");
    rows.events(2, "07:00 101");
    rows.events(4, "15:00 102");
    const QAny table = packed(rows, kMonday, "3.3.2026", "CALCREM=1").value("ERR");
    QCOMPARE(missing(table, "NAME NAPAKA"), QString());
    const QString all = each(table["TABLE"], "NAME NAPAKA TXTCOLOR");
    for (const char *row : {"Novak Ana Dvodnevni par #fa8012", "Zupan Bine Zadnji dogodek ni izhod! #fad012",
                            "Kos Cene Ni dogodkov za izbrano obdobje! #55ff00"})
        QVERIFY2(all.contains(row), qPrintable(all));
    QVERIFY(all.contains(QRegularExpression("Vidmar Dane Ni Prihoda! (#fad012|#55ff00)")));
}

void TestCalcPacking::theDialogPacksWhatItCalculates()
{
    CalcSite site("7-15");
    QAny request = CalcSite::request(kMonday, kMonday);
    const QAny plain = site.pack(request);
    QVERIFY(plain.value("TIME").isInteger());
    QCOMPARE(plain.count(), 3); // beside CALC and PACK

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
    QCOMPARE(answer["EXPLAIN"].toJson(), QString("[]"));
    for (const char *name : {"PAIRS", "EMPLO", "DATA", "PRERAZ"})
        QCOMPARE(answer["CALC21"][name].toJson(), QString("[]"));
    for (const char *name : {"PAIRS", "DAYS", "SUM"}) {
        QCOMPARE(answer["PACK"][name]["TABLE"].toJson(), QString("[]"));
        QVERIFY2(answer["PACK"][name].value("HEADER").isList(), name);
    }
    const QAny errors = answer["PACK"]["ERR"];
    QCOMPARE(errors.value("TABLE").count(), 1);
    QCOMPARE(values(errors["TABLE"][0], "NAPAKA"), QString("'Napačen datum za obdobje obračuna!'"));
    QCOMPARE(colouring(errors["TABLE"][0]), QString(" #fa2712"));
}

QTEST_GUILESS_MAIN(TestCalcPacking)
#include "tst_calc_packing.moc"
