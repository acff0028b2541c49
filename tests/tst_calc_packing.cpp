#include "calcsite.h"

namespace {

const QString kEight = " 07:00 101; 15:00 102";

/// What a cell shows.
QAny shown(const QAny &cell)
{
    return cell.isHash() ? cell.value("UWVS") : cell;
}

QAny shown(const QAny &row, const char *column)
{
    return shown(row.value(column));
}

/// Every colour of a row and its cells.
QStringList colours(const QAny &row)
{
    QStringList found;
    for (const char *key : {"COLOR", "TXTCOLOR"}) {
        if (row.value(key).isString())
            found += row.value(key).toString();
        for (const QString &column : row.keys())
            if (row.value(column).isHash() && row.value(column).contains(key))
                found += row.value(column).value(key).toString();
    }
    return found;
}

QStringList keysOf(const QAny &table)
{
    QStringList keys;
    const QList<QAny> header = table.value("HEADER").toList();
    for (const QAny &column : header)
        keys += column.value("KEY").toString();
    return keys;
}

/// The row of a table in which the columns show these values.
QAny find(const QAny &table, const QHash<QString, QString> &values)
{
    const QList<QAny> rows = table.value("TABLE").toList();
    for (const QAny &row : rows)
        if (std::all_of(values.keyBegin(), values.keyEnd(), [&](const QString &column) {
                return shown(row.value(column)).toString().endsWith(values.value(column));
            }))
            return row;
    return {};
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
    void correctedTimesAreMarked_data();
    void correctedTimesAreMarked();
    void dayRowsAreColouredByCategory_data();
    void dayRowsAreColouredByCategory();
    void dayColumnsAreConfigured();
    void sumTable();
    void sumOfAllEmployees();
    void errorTable();
    void fatalErrorsLeaveEmptyTables();
    void packedFormIsGivenOnRequest();
};

void TestCalcPacking::pairTable()
{
    CalcSite site;
    site.employee(1);
    site.events(1, "2.3.2026 07:00:10 101; 15:00:30 102:1; 3.3.2026 22:00 101; 4.3.2026 06:00 102; 07:00 101");
    QAny request = CalcSite::request("2.3.2026", "4.3.2026");
    const QAny table = site.pack(request).value("PACK").value("PAIRS");
    QCOMPARE(table.value("TABLE").count(), 3);
    for (const char *column :
         {"NAME", "USER", "DATESTAMP", "TIMESTAMP", "TIMESTAMP2", "PTIME", "TYPE", "TYPE2", "REMARK", "REMARK2"})
        QVERIFY2(keysOf(table).contains(column), column);
    const QAny first = table["TABLE"][0];
    QCOMPARE(shown(first, "NAME"), QAny("Novak Ana"));
    QCOMPARE(shown(first, "USER"), QAny(1));
    QCOMPARE(shown(first, "DATESTAMP"), QAny(date("2.3.2026").toString("ddd dd.MM.yyyy")));
    QCOMPARE(shown(first, "TIMESTAMP"), QAny("07:00"));
    QCOMPARE(shown(first, "TIMESTAMP2"), QAny("15:00"));
    QCOMPARE(shown(first, "PTIME"), QAny("08:00"));
    QCOMPARE(shown(first, "REMARK2"), QAny("opomba"));
    QCOMPARE(shown(first, "DAYNUM"), QAny(1));
    const QAny open = table["TABLE"][2];
    QCOMPARE(shown(open, "TIMESTAMP"), QAny("07:00"));
    QCOMPARE(shown(open, "TIMESTAMP2"), QAny(""));
    QCOMPARE(shown(open, "PTIME"), QAny("00:00"));

    request["SETT"]["ISSEC"] = true;
    const QAny precise = site.pack(request)["PACK"]["PAIRS"]["TABLE"][0];
    QCOMPARE(shown(precise, "TIMESTAMP"), QAny("07:00:10"));
    QCOMPARE(shown(precise, "TIMESTAMP2"), QAny("15:00:30"));
    QCOMPARE(shown(precise, "PTIME"), QAny("08:00:20"));
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
    CalcSite site;
    site.employee(1);
    site.holiday("11.3.2026", "Dan upora");
    const auto on = [&](int day) { return date(from).addDays(day).toString("d.M.yyyy"); };
    site.events(1, on(0) + " 07:00 101; 10:00 102; 11:00 101; 15:00 102; " + on(1) + kEight + "; " + on(2) + kEight);
    const QAny table = site.pack(CalcSite::request(from, on(2))).value("PACK").value("PAIRS");
    QCOMPARE(table.value("TABLE").count(), 4);
    for (int i = 0; i < colours.count(); ++i) {
        const QAny row = table["TABLE"][i];
        QCOMPARE(row.value("COLOR").toString() + ' ' + row.value("TXTCOLOR").toString(), colours.at(i));
    }
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
    CalcSite site;
    site.employee(1);
    site.events(1, "07:00 101; 15:00 102; 17:00 105");
    site.events(1, "16:00 101/" + kind + "; 16:30 102/" + kind, table);
    const QAny tables = site.pack(CalcSite::request("2.3.2026", "2.3.2026", "AUTOEVENTS=1")).value("PACK");
    const QAny row = tables["PAIRS"]["TABLE"][1];
    for (const char *column : {"TYPE", "TYPE2"}) {
        QCOMPARE(row.value(column).value("COLOR").toString(), colour);
        QCOMPARE(row.value(column).value("TXTCOLOR").toString(), QString("#000000"));
    }
    const QAny generated = tables["PAIRS"]["TABLE"][2].value("TYPE");
    QCOMPARE(generated, QAny({{"UWVS", "AE"}, {"COLOR", "#fdae7a"}, {"TXTCOLOR", "#000000"}}));
}

void TestCalcPacking::emptyDaysAreShownWhereAskedFor()
{
    CalcSite site;
    site.employee(1, "Novak Ana", kDay, "HOURS/SHOWEMPTYDAYS=1");
    site.employee(2, "Zupan Bine");
    site.events(1, "2.3.2026" + kEight);
    site.events(2, "2.3.2026" + kEight);
    const QAny table = site.pack(CalcSite::request("2.3.2026", "3.3.2026")).value("PACK").value("PAIRS");
    QCOMPARE(table.value("TABLE").count(), 3);
    const QAny row = find(table, {{"NAME", "Novak Ana"}, {"DATESTAMP", "03.03.2026"}});
    QCOMPARE(row.value("COLOR").toString(), QString("#ee3117"));
    QCOMPARE(row.value("TXTCOLOR").toString(), QString("#00b000"));
    QVERIFY2(row.toJson().contains("Ni delovnih ur"), qPrintable(row.toJson()));
}

void TestCalcPacking::dayTable()
{
    CalcSite site;
    site.employee(1, "Novak Ana", kDay, "HOURS/LOWSALDO=1", "PRERAZDC=A");
    site.employee(2, "Zupan Bine");
    site.assign("1.3.2026", "31.3.2026", "2");
    site.events(1, "2.3.2026 07:00 101; 13:30 102; 3.3.2026 06:00 101; 16:00 102; 4.3.2026 06:00 101; 16:00 102; "
                   "7.3.2026 07:00 101; 12:00 102");
    site.events(2, "2.3.2026" + kEight);
    const QAny table = site.pack(CalcSite::request("2.3.2026", "7.3.2026")).value("PACK").value("DAYS");
    QCOMPARE(table.value("TABLE").count(), 2 * (6 + 1));
    for (const char *column :
         {"NAME",   "USER",      "DATE",     "INORG", "OUTORG",   "IZMENA",    "PRISOTNOST", "DELDAN",  "DELO",
          "DOPUST", "IZRDOPUST", "BOLNIŠKA", "DRUGO", "SALDOURE", "PLUSMINUS", "SLUŽBENO",   "ZASEBNO", "MALICA",
          "ODDOMA", "TEREN",     "NOČNO",    "SALDO", "PRAZNIK",  "PRERAZ",    "OPOMBA"})
        QVERIFY2(keysOf(table).contains(column), column);
    const QAny monday = table["TABLE"][0];
    QCOMPARE(shown(monday, "DATE"), QAny(date("2.3.2026").toString("ddd dd.MM.yyyy")));
    QCOMPARE(shown(monday, "USER"), QAny(1));
    QCOMPARE(shown(monday, "INORG"), QAny("07:00"));
    QCOMPARE(shown(monday, "OUTORG"), QAny("13:30"));
    QCOMPARE(shown(monday, "IZMENA"), QAny("IZM2"));
    QCOMPARE(shown(monday, "PRERAZ").toString(), QString("2"));
    QCOMPARE(shown(monday, "DELDAN"), QAny(1));
    QCOMPARE(shown(monday, "DELO"), QAny("06:30"));
    QCOMPARE(shown(monday, "DOPUST"), QAny("00:00"));
    QCOMPARE(shown(monday, "PLUSMINUS"), QAny("-01:30"));
    QVERIFY(shown(monday, "OPOMBA").toString().contains("Premalo delovnih ur!"));
    QCOMPARE(shown(monday, "SALDO"), QAny("-01:30"));
    QCOMPARE(monday["SALDO"].value("TXTCOLOR").toString(), QString("#ea6e79"));
    const QAny tuesday = table["TABLE"][1];
    QCOMPARE(shown(tuesday, "SALDO"), QAny("02:00"));
    QCOMPARE(tuesday["SALDO"].value("TXTCOLOR").toString(), QString("#33990d"));
    const QAny thursday = table["TABLE"][3];
    QCOMPARE(shown(thursday, "INORG"), QAny(""));
    QCOMPARE(shown(thursday, "SALDO"), QAny("-08:00"));
    QCOMPARE(shown(table["TABLE"][5], "SALDO"), QAny("")); // Saturday
    // 6:30 + 10:00 + 10:00 + 5:00; hours do not wrap at 24.
    const QAny total = table["TABLE"][6];
    QCOMPARE(shown(total, "DATE"), QAny("SKUPAJ"));
    QCOMPARE(shown(total, "DELO"), QAny("31:30"));
    QCOMPARE(shown(table["TABLE"][13], "DATE"), QAny("SKUPAJ"));
    QCOMPARE(shown(table["TABLE"][13], "DELO"), QAny("08:00"));
    // A balance of nothing is no negative one.
    QCOMPARE(shown(table["TABLE"][7], "SALDO"), QAny("00:00"));
    QCOMPARE(table["TABLE"][7]["SALDO"].value("TXTCOLOR").toString(), QString("#33990d"));
}

void TestCalcPacking::durations_data()
{
    columns<QString, QString, QString>("minHours", "text", "precise");
    addRow("below zero", "9:30", "-01:30", "-01:30:00");
    addRow("less than an hour below zero", "8:30", "-00:30", "-00:30:00");
    addRow("above", "6:30", "01:30", "01:30:00");
    addRow("nothing", "8:00", "00:00", "00:00:00");
    addRow("beyond 99 hours", "128:00", "-120:00", "-120:00:00");
}

void TestCalcPacking::durations()
{
    QFETCH(QString, minHours);
    QFETCH(QString, text);
    QFETCH(QString, precise);
    CalcSite site;
    site.employee(1, "Novak Ana", "STARTB=6:00 ENDE=16:00 MINHOURS=" + minHours);
    site.events(1, "2.3.2026" + kEight);
    QAny request = CalcSite::request("2.3.2026", "2.3.2026");
    QCOMPARE(shown(site.pack(request)["PACK"]["DAYS"]["TABLE"][0], "SALDO"), QAny(text));
    request["SETT"]["ISSEC"] = 1;
    const QAny tables = site.pack(request).value("PACK");
    QCOMPARE(shown(tables["DAYS"]["TABLE"][0], "SALDO"), QAny(precise));
    QCOMPARE(shown(tables["DAYS"]["TABLE"][0], "INORG"), QAny("07:00:00"));
    QCOMPARE(shown(tables["SUM"]["TABLE"][0], "PLUSMINUS"), QAny(precise));
}

void TestCalcPacking::correctedTimesAreMarked_data()
{
    columns<QString, QString, QString, QString>("events", "column", "text", "tip");
    addRow("arrival", "05:30 101; 15:00 102", "INORG", "05:30", "Spremenjen prihod po urniku");
    addRow("departure", "07:00 101; 16:30 102", "OUTORG", "16:30", "Spremenjen odhod po urniku");
}

void TestCalcPacking::correctedTimesAreMarked()
{
    QFETCH(QString, events);
    QFETCH(QString, column);
    QFETCH(QString, text);
    QFETCH(QString, tip);
    CalcSite site;
    site.employee(1);
    site.events(1, events);
    const QAny row = site.pack(CalcSite::request("2.3.2026", "2.3.2026"))["PACK"]["DAYS"]["TABLE"][0];
    const QAny cell = row.value(column);
    QCOMPARE(cell.value("UWVS").toString(), text);
    QCOMPARE(cell.value("TXTCOLOR").toString(), QString("#fa9112"));
    QCOMPARE(cell.value("TOOLTIP").toString(), tip);
    QVERIFY(!row.value(column == "INORG" ? "OUTORG" : "INORG").isHash());
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
    CalcSite site;
    site.employee(1);
    site.employee(2, "Zupan Bine");
    site.events(2, "2.3.2026" + kEight);
    if (code.isEmpty())
        site.holiday("2.3.2026", "Dan upora");
    else
        site.events(1, "07:00 101; 15:00 " + code);
    const QAny row = site.pack(CalcSite::request("2.3.2026", "2.3.2026"))["PACK"]["DAYS"]["TABLE"][0];
    const QStringList own{row.value("COLOR").toString(), row.value("TXTCOLOR").toString()};
    QVERIFY2(own.contains(colour), qPrintable(row.toJson()));
}

void TestCalcPacking::dayColumnsAreConfigured()
{
    CalcSite site;
    site.employee(1);
    site.events(1, "2.3.2026" + kEight);
    const QAny request = CalcSite::request("2.3.2026", "2.3.2026");
    const QAny plain = site.pack(request)["PACK"]["DAYS"]["HEADER"];
    QVERIFY(plain.count() > 20);
    for (int i = 0; i < plain.count(); ++i)
        QCOMPARE(plain[i].value("TXT"), plain[i].value("KEY"));
    const QString columns = "[{\"KEY\":\"NAME\",\"TXT\":\"Ime\"},{\"KEY\":\"DELO\",\"TXT\":\"Delo\"}]";
    site.storeConfig("CALCDAYHDR", columns);
    const QAny table = site.pack(request)["PACK"]["DAYS"];
    QCOMPARE(table.value("HEADER"), QAny::fromJson(columns));
    QCOMPARE(shown(table["TABLE"][0], "DELO"), QAny("08:00"));
    site.storeConfig("CALCDAYHDR", "[{");
    QCOMPARE(site.pack(request)["PACK"]["DAYS"]["HEADER"], plain);
}

void TestCalcPacking::sumTable()
{
    CalcSite site;
    site.employee(1);
    site.events(1, "2.3.2026 06:00 101; 16:00 102; 3.3.2026 06:00 101; 16:00 102; 4.3.2026 06:00 101; 16:00 102");
    const QAny table = site.pack(CalcSite::request("2.3.2026", "4.3.2026")).value("PACK").value("SUM");
    for (const char *column : {"NAME", "USER", "SDATE", "EDATE", "DELO", "NOČNO", "DELDAN", "IZM1", "IZM2", "IZM3",
                               "DELSOB", "DELNED", "DELPRA", "SALDO", "SKUPAJ", "PLUSMINUS", "ACSLIST"})
        QVERIFY2(keysOf(table).contains(column), column);
    QCOMPARE(table.value("TABLE").count(), 1);
    const QAny row = table["TABLE"][0];
    QCOMPARE(shown(row, "NAME"), QAny("Novak Ana"));
    QCOMPARE(shown(row, "SDATE"), QAny(date("2.3.2026").toString("ddd dd.MM.yyyy")));
    QCOMPARE(shown(row, "EDATE"), QAny(date("4.3.2026").toString("ddd dd.MM.yyyy")));
    QCOMPARE(shown(row, "DELO"), QAny("30:00"));
    QCOMPARE(shown(row, "DELDAN"), QAny(3));
    QCOMPARE(shown(row, "IZM1"), QAny(3));
    QCOMPARE(shown(row, "SKUPAJ"), QAny("30:00"));
    QCOMPARE(shown(row, "PLUSMINUS"), QAny("06:00"));
    QCOMPARE(row["SKUPAJ"].value("ICON").toString(), QString("SLD_SKU"));
    QCOMPARE(row["PLUSMINUS"].value("ICON").toString(), QString("SLD+"));
}

void TestCalcPacking::sumOfAllEmployees()
{
    CalcSite site;
    site.employee(1);
    site.employee(2, "Zupan Bine");
    site.events(1, "2.3.2026" + kEight);
    site.events(2, "2.3.2026 06:00 101; 16:00 102");
    const QAny table = site.pack(CalcSite::request("2.3.2026", "2.3.2026", "ISSUMSUM=1")).value("PACK").value("SUM");
    QCOMPARE(table.value("TABLE").count(), 3);
    QCOMPARE(shown(table["TABLE"][2], "DELO"), QAny("18:00"));
    QCOMPARE(shown(table["TABLE"][2], "PLUSMINUS"), QAny("02:00"));
    QCOMPARE(shown(table["TABLE"][2], "IZM1"), QAny(2));
}

void TestCalcPacking::errorTable()
{
    CalcSite site;
    site.employee(1, "Novak Ana", kDay, "");
    site.employee(2, "Zupan Bine");
    site.employee(3, "Kos Cene");
    site.employee(4, "Vidmar Dane");
    site.events(1, "2.3.2026 22:00 101; 3.3.2026 06:00 102");
    site.events(2, "2.3.2026 07:00 101");
    site.events(4, "2.3.2026 15:00 102");
    const QAny table = site.pack(CalcSite::request("2.3.2026", "3.3.2026", "CALCREM=1")).value("PACK").value("ERR");
    const auto colourOf = [&](const QString &name, const QString &start) {
        const QList<QAny> rows = table.value("TABLE").toList();
        for (const QAny &row : rows)
            if (shown(row, "NAME").toString() == name && shown(row, "NAPAKA").toString().startsWith(start))
                return colours(row);
        return QStringList();
    };
    QVERIFY(keysOf(table).contains("NAME") && keysOf(table).contains("NAPAKA"));
    QVERIFY(colourOf("Novak Ana", "Ni nastavitev!").contains("#fa2712"));
    QVERIFY(colourOf("Novak Ana", "Dvodnevni par").contains("#fa8012"));
    QVERIFY(colourOf("Zupan Bine", "Zadnji dogodek ni izhod!").contains("#fad012"));
    QVERIFY(colourOf("Kos Cene", "Ni dogodkov za izbrano obdobje!").contains("#55ff00"));
    const QStringList missing = colourOf("Vidmar Dane", "Ni Prihoda!");
    QVERIFY(missing.contains("#fad012") || missing.contains("#55ff00"));
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
    QVERIFY(shown(errors["TABLE"][0], "NAPAKA").toString().startsWith("Napačen datum za obdobje obračuna!"));
    QVERIFY(colours(errors["TABLE"][0]).contains("#fa2712"));
}

void TestCalcPacking::packedFormIsGivenOnRequest()
{
    CalcSite site;
    site.employee(1);
    site.events(1, "2.3.2026" + kEight);
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
