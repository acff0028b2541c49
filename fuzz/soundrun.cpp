#include "soundrun.h"

#include "calc/output/tables.h"
#include "dayaccount.h"
#include "driver.h"

using namespace calc::output;

namespace {

void requireSums(const QAny &sums, const QAny &days)
{
    for (int column = 0; column < sums.count(); ++column) {
        const QString &key = sums.keyAt(column);
        if (!days[0].contains(key) || key == "USER" || key == "NAME" || key == "PRERAZ")
            continue;
        qint64 added = 0;
        for (int i = 0; i < days.count(); ++i)
            added += days[i].lookup(key).toInteger();
        require(added == sums.at(column).toInteger(), qPrintable("the days add up to another " + key));
    }
}

void requireTables(const CalcRun &run)
{
    const auto lastRow = [](const QAny &table) { return table["TABLE"][table["TABLE"].count() - 1]; };
    const QString columns = "DELO DOPUST IZRDOPUST BOLNIŠKA DRUGO SLUŽBENO ZASEBNO MALICA ODDOMA TEREN "
                            "PRISOTNOST DELDAN NOČNO PRAZNIK SALDO";
    PackedCells cells = cellsOf(run.result);
    require(values(lastRow(sumTable(run.result, cells)), columns) ==
                values(lastRow(dayTable(run.result, {}, cells)), columns),
            "the tables show other sums");
    require(pairTable(run.result, cells)["TABLE"].count() >= run.answer["CALC"][0].value("PAIRS").count(),
            "a pair is not in its table");
}

} // namespace

CalcRun soundRun(const CalcRows &rows, const QString &from, const QString &to, const QString &settings)
{
    CalcRun run = rows.run(from, to, settings);
    const CalcRun explained = rows.run(from, to, settings, true);
    require(run.answer.toJson() == explained.answer.toJson(), "another result when it is explained");
    const QString fault = accountFault(explained);
    require(fault.isEmpty(), qPrintable(fault));
    requireSums(run.answer["CALCsum"][0], run.answer["DAYS"]);
    requireTables(run);
    return run;
}
