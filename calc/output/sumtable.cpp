#include "calc/output/packedrows.h"
#include "calc/output/tables.h"

namespace calc::output {

using rules::Amounts;
using rules::CalcResult;
using rules::Category;
using rules::EmployeeResult;

namespace {

const QString kTotal = QStringLiteral("SKUPAJ");
const QString kTotalMark = QStringLiteral("SLD_SKU");
const QString kBalanceMark = QStringLiteral("SLD+");

constexpr struct {
    Category category;
    SumColumn::Position column;
} kCategoryColumns[] = {
    {Category::Delo, SumColumn::DELO},           {Category::Dopust, SumColumn::DOPUST},
    {Category::IzrDopust, SumColumn::IZRDOPUST}, {Category::Bolniska, SumColumn::BOLNISKA},
    {Category::Zasebno, SumColumn::ZASEBNO},     {Category::Sluzbeno, SumColumn::SLUZBENO},
    {Category::Malica, SumColumn::MALICA},       {Category::Drugo, SumColumn::DRUGO},
    {Category::Teren, SumColumn::TEREN},         {Category::OdDoma, SumColumn::ODDOMA},
};

QString codeTexts(const rules::CodeNames &codes)
{
    QStringList texts;
    for (const auto &[code, name] : codes)
        texts.append(name.isEmpty() ? code : code + QLatin1Char(':') + name);
    return texts.join(QStringLiteral(", ")) + QStringLiteral("");
}

/// A row without name and number.
QAny sumRow(const CalcResult &result, const EmployeeResult &employee, PackedCells &cells)
{
    const rules::Period &period = result.inputs.period;
    const Amounts &sums = employee.sums;
    QAny row = SumColumn::row();
    row.slot(SumColumn::SDATE) = cells.texts().date(period.clock.midnight(period.firstDay));
    row.slot(SumColumn::EDATE) = cells.texts().date(period.clock.midnight(period.lastDay));
    for (const auto &column : kCategoryColumns)
        row.slot(column.column) = cells.duration(sums.categories[static_cast<size_t>(column.category)]);
    row.slot(SumColumn::PRAZNIK) = cells.duration(sums.holiday);
    row.slot(SumColumn::NOCNO) = cells.duration(sums.night);
    row.slot(SumColumn::PRISOTNOST) = cells.duration(sums.presence);
    row.slot(SumColumn::DELSOB) = cells.duration(sums.workOnSaturday);
    row.slot(SumColumn::DELNED) = cells.duration(sums.workOnSunday);
    row.slot(SumColumn::DELPRA) = cells.duration(sums.workOnHoliday);
    row.slot(SumColumn::DELDAN) = sums.workdays;
    row.slot(SumColumn::PRERAZ) = employee.assignedDays;
    for (size_t shift = 0; shift < employee.daysInShift.size(); ++shift)
        row.slot(SumColumn::IZM1 + static_cast<int>(shift)) = employee.daysInShift[shift];
    row.slot(SumColumn::SALDO) = cells.saldo(sums.saldo);
    row.slot(SumColumn::SKUPAJ) = cells.markedDuration(sums.total, kTotalMark);
    row.slot(SumColumn::PLUSMINUS) = cells.markedDifference(sums.plusMinus, kBalanceMark);
    row.slot(SumColumn::ACSLIST) = codeTexts(employee.codes);
    return row;
}

QAny totalRow(const CalcResult &result, PackedCells &cells)
{
    EmployeeResult total;
    for (const EmployeeResult &employee : result.employees) {
        total.sums += employee.sums;
        total.assignedDays += employee.assignedDays;
        for (size_t shift = 0; shift < total.daysInShift.size(); ++shift)
            total.daysInShift[shift] += employee.daysInShift[shift];
    }
    QAny row = sumRow(result, total, cells);
    row.slot(SumColumn::NAME) = kTotal;
    return row;
}

} // namespace

void addSumRow(const CalcResult &result, size_t employee, PackedCells &cells, QAny &rows)
{
    QAny row = sumRow(result, result.employees[employee], cells);
    row.slot(SumColumn::NAME) = result.inputs.employees[employee].name;
    row.slot(SumColumn::USER) = result.inputs.employees[employee].user;
    rows.append(std::move(row));
}

void addSumTotal(const CalcResult &result, PackedCells &cells, QAny &rows)
{
    if (result.inputs.settings.isSumSum && !result.employees.empty())
        rows.append(totalRow(result, cells));
}

QAny sumHeader()
{
    return SumColumn::header();
}

QAny sumTable(const CalcResult &result, PackedCells &cells)
{
    QAny table(QAny::List);
    table.reserve(static_cast<int>(result.employees.size()) + 1);
    for (size_t i = 0; i < result.employees.size(); ++i)
        addSumRow(result, i, cells, table);
    addSumTotal(result, cells, table);
    return packedTable(sumHeader(), table);
}

} // namespace calc::output
