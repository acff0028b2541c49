#include "calc/dialogcalc3.h"

#include "calc/calc21.h"
#include "calc/output/explanation.h"
#include "calc/output/records.h"
#include "calc/output/tables.h"
#include "storage/reader.h"

#include <QDebug>
#include <QElapsedTimer>

using namespace calc;

namespace {

const QString kHeaderKey = QStringLiteral("CALCDAYHDR");

bool isOn(const QAny &request, const char *key)
{
    return request.lookup(QString::fromLatin1(key)).toBool();
}

} // namespace

DialogCalc3::DialogCalc3(storage::Reader &database, QDate today) : m_database(database), m_today(today) {}

QAny DialogCalc3::recalc(const QAny &request)
{
    qDebug() << "DialogCalc3::recalc() START";
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
    qDebug() << "CheckService::recalc() END"; // deliberate: the line names the service that logs are searched by
    return result;
}

QAny DialogCalc3::refPairs(const rules::CalcResult &result, output::PackedCells &cells)
{
    qDebug() << "DialogCalc3::refPairs START";
    for (const char *step : {"1", "2.1", "2.2"})
        qDebug() << step;
    const QAny table = output::pairTable(result, cells);
    for (const char *step : {"2.3", "3", "4"})
        qDebug() << step;
    return table;
}

QAny DialogCalc3::showSumDays(const rules::CalcResult &result, output::PackedCells &cells)
{
    qDebug() << "DialogCalc3::showSumDays() START";
    const QAny table = output::dayTable(result, QAny::fromJson(m_database.configValue(kHeaderKey)), cells);
    qDebug() << "DialogCalc3::showSumDays() END";
    return table;
}

QAny DialogCalc3::packSum(const rules::CalcResult &result, output::PackedCells &cells)
{
    qDebug() << "packSum() START";
    qDebug() << "packSum() 3.0";
    const QAny table = output::sumTable(result, cells);
    qDebug() << "packSum() END7";
    return table;
}
