#include "calc/output/calcrecords.h"
#include "calc/output/packedrows.h"
#include "calc/output/storedvalues.h"
#include "calc/output/tables.h"

namespace calc::output {

using rules::Amounts;
using rules::CalcResult;
using rules::Category;
using rules::DayResult;
using rules::Employee;
using rules::EmployeeResult;
using rules::Moment;

namespace {

const QString kTotal = QStringLiteral("SKUPAJ");
const QString kMovedArrival = QStringLiteral("Spremenjen prihod po urniku");
const QString kMovedDeparture = QStringLiteral("Spremenjen odhod po urniku");

constexpr struct {
    Category category;
    DayColumn::Position column;
} kCategoryColumns[] = {
    {Category::Delo, DayColumn::DELO},           {Category::Dopust, DayColumn::DOPUST},
    {Category::IzrDopust, DayColumn::IZRDOPUST}, {Category::Bolniska, DayColumn::BOLNISKA},
    {Category::Drugo, DayColumn::DRUGO},         {Category::SaldoUre, DayColumn::SALDOURE},
    {Category::Sluzbeno, DayColumn::SLUZBENO},   {Category::Zasebno, DayColumn::ZASEBNO},
    {Category::Malica, DayColumn::MALICA},       {Category::OdDoma, DayColumn::ODDOMA},
    {Category::Teren, DayColumn::TEREN},
};

/// What is shown alike on a day and in the total.
void fillAmounts(QAny &row, const Amounts &amounts, PackedCells &cells)
{
    for (const auto &column : kCategoryColumns)
        row.slot(column.column) = cells.duration(amounts.categories[static_cast<size_t>(column.category)]);
    row.slot(DayColumn::PRISOTNOST) = cells.duration(amounts.presence);
    row.slot(DayColumn::DELDAN) = amounts.workdays;
    row.slot(DayColumn::NOCNO) = cells.duration(amounts.night);
    row.slot(DayColumn::PRAZNIK) = cells.duration(amounts.holiday);
    row.slot(DayColumn::PLUSMINUS) = cells.difference(amounts.plusMinus);
    row.slot(DayColumn::SALDO) = cells.saldo(amounts.saldo);
}

/// The category with the most time gives the day its colour; of equal ones the first.
QAny rowInColourOf(const Amounts &amounts)
{
    const auto of = [&amounts](Category category) { return amounts.categories[static_cast<size_t>(category)]; };
    const struct {
        qint64 seconds;
        Colour::Name colour;
    } candidates[] = {
        {of(Category::Delo), Colour::DAY_DEL_TXT},     {of(Category::Dopust), Colour::DAY_DOP_TXT},
        {of(Category::Bolniska), Colour::DAY_BOL_TXT}, {amounts.holiday, Colour::DAY_PRA_TXT},
        {of(Category::OdDoma), Colour::DAY_DOM_TXT},   {of(Category::Teren), Colour::DAY_TER_TXT},
    };
    qint64 most = 0;
    Colour::Name colour = Colour::Count;
    for (const auto &candidate : candidates) {
        if (candidate.seconds > most) {
            most = candidate.seconds;
            colour = candidate.colour;
        }
    }
    return colour == Colour::Count ? DayColumn::row() : DayColumn::row("COLOR", colour);
}

QAny timeCell(const std::optional<qint64> &instant, bool isMoved, Colour::Name colour, const QString &toolTip,
              PackedCells &cells)
{
    if (!instant)
        return PackedCells::text({});
    const QString &shown = cells.texts().clockTime(*instant);
    return isMoved ? PackedCells::moved(shown, colour, toolTip) : QAny(shown);
}

/// Whether the clock shows another time.
bool isMoved(const std::optional<Moment> &before, const std::optional<Moment> &after)
{
    return before && after && before->clock != after->clock;
}

QAny dayRow(const rules::LocalClock &clock, const Employee &employee, const DayResult &day, PackedCells &cells)
{
    const Amounts amounts = day.amountsAfter();
    QAny row = rowInColourOf(amounts);
    row.slot(DayColumn::NAME) = employee.name;
    row.slot(DayColumn::USER) = employee.user;
    row.slot(DayColumn::DATE) = cells.texts().date(clock.midnight(day.day));
    row.slot(DayColumn::INORG) = timeCell(day.totals.firstArrival, isMoved(day.before.in, day.after.in),
                                          Colour::DOG_IN_TXT, kMovedArrival, cells);
    row.slot(DayColumn::OUTORG) = timeCell(day.totals.lastDeparture, isMoved(day.before.out, day.after.out),
                                           Colour::DOG_OUT_TXT, kMovedDeparture, cells);
    if (!day.facts.isOff)
        row.slot(DayColumn::IZMENA) = shiftName(day.facts.shift);
    fillAmounts(row, amounts, cells);
    row.slot(DayColumn::PRERAZ) = PackedCells::text(valueOf(employee.shift(day.day).preraz).toString());
    row.slot(DayColumn::OPOMBA) = PackedCells::remarks(day.remarks);
    return row;
}

/// The row after an employee's days.
QAny totalRow(const Employee &employee, const EmployeeResult &result, PackedCells &cells)
{
    QAny row = DayColumn::row();
    row.slot(DayColumn::NAME) = employee.name;
    row.slot(DayColumn::USER) = employee.user;
    row.slot(DayColumn::DATE) = kTotal;
    fillAmounts(row, result.sums, cells);
    row.slot(DayColumn::PRERAZ) = result.assignedDays;
    return row;
}

} // namespace

void addDayRows(const CalcResult &result, size_t employee, PackedCells &cells, QAny &rows)
{
    const Employee &person = result.inputs.employees[employee];
    for (const DayResult &day : result.employees[employee].days)
        rows.append(dayRow(result.inputs.period.clock, person, day, cells));
    rows.append(totalRow(person, result.employees[employee], cells));
}

QAny dayHeader(const QAny &header)
{
    return header.isList() ? header : DayColumn::header();
}

QAny dayTable(const CalcResult &result, const QAny &header, PackedCells &cells)
{
    QAny table(QAny::List);
    table.reserve(static_cast<int>(result.employees.size()) * (result.inputs.period.dayCount() + 1));
    for (size_t i = 0; i < result.employees.size(); ++i)
        addDayRows(result, i, cells, table);
    return packedTable(dayHeader(header), table);
}

} // namespace calc::output
