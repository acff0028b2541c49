#include "calc/dialogcalc3.h"

#include "calc/calc21.h"
#include "calc/output/explanation.h"
#include "calc/output/records.h"
#include "calc/output/tables.h"
#include "calc/recalctrace.h"
#include "storage/reader.h"

#include <QElapsedTimer>

using namespace calc;

namespace {

bool isOn(const QAny &request, const char *key)
{
    return request.lookup(QString::fromLatin1(key)).toBool();
}

} // namespace

DialogCalc3::DialogCalc3(storage::Reader &database, QDate today) : m_database(database), m_today(today) {}

QAny DialogCalc3::recalc(const QAny &request)
{
    traceRecalcStart();
    QElapsedTimer timer;
    timer.start();
    Calc21 calculation(m_database, m_today);
    const rules::CalcResult &calculated = calculation.calculate(request);
    output::PackedCells cells = output::cellsOf(calculated);
    const QAny tables{{QStringLiteral("PAIRS"), refPairs(calculated, cells)},
                      {QStringLiteral("DAYS"), showSumDays(calculated, cells)},
                      {QStringLiteral("SUM"), packSum(calculated, cells)},
                      {QStringLiteral("ERR"), output::errorTable(calculated.errors)}};
    QAny result(QAny::Hash);
    if (isOn(request, "EXPLAIN"))
        result.insert(QStringLiteral("EXPLAIN"), output::explanationOf(calculated));
    const bool wantsClientForm = isOn(request, "CALC21");
    const QAny records = wantsClientForm ? output::recordsOf(calculated) : output::recordsOf(calculation.takeResult());
    if (wantsClientForm)
        result.insert(QStringLiteral("CALC21"), calculation.packed(records).lookup(QStringLiteral("CALC21")));
    result.insert(QStringLiteral("CALC"), records);
    result.insert(QStringLiteral("PACK"), tables);
    result.insert(QStringLiteral("TIME"), timer.elapsed());
    traceRecalcEnd();
    return result;
}

QAny DialogCalc3::refPairs(const rules::CalcResult &result, output::PackedCells &cells)
{
    tracePairTableStart();
    const QAny table = output::pairTable(result, cells);
    tracePairTableEnd();
    return table;
}

QAny DialogCalc3::showSumDays(const rules::CalcResult &result, output::PackedCells &cells)
{
    traceDayTableStart();
    const QAny table = output::dayTable(result, QAny::fromJson(m_database.configValue(output::kDayHeaderKey)), cells);
    traceDayTableEnd();
    return table;
}

QAny DialogCalc3::packSum(const rules::CalcResult &result, output::PackedCells &cells)
{
    traceSumTableStart();
    const QAny table = output::sumTable(result, cells);
    traceSumTableEnd();
    return table;
}
