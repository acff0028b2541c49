#include "calc/output/packedrows.h"
#include "calc/output/pairtexts.h"
#include "calc/output/storedvalues.h"
#include "calc/output/tables.h"

namespace calc::output {

using rules::CalcResult;
using rules::DayResult;
using rules::Employee;
using rules::Event;
using rules::Pair;
using rules::PairEnd;

namespace {

const QString kNoHours = QStringLiteral("Ni delovnih ur");

/// The rows of one employee.
class PairRows
{
public:
    PairRows(const rules::LocalClock &clock, const Employee &employee, PackedCells &cells, QAny &table)
        : m_clock(clock), m_employee(employee), m_cells(cells), m_table(table)
    {
    }

    /// The rows of the next day with its pairs.
    void addDay(const DayResult &day, const Pair *first, const Pair *last)
    {
        if (first == last && !m_employee.showsEmptyDays())
            return;
        chooseColours(day, first == last);
        if (first == last)
            m_table.append(emptyRow(day));
        for (const Pair *pair = first; pair != last; ++pair)
            m_table.append(pairRow(day, *pair));
    }

private:
    void chooseColours(const DayResult &day, bool isEmpty)
    {
        m_isGrey = !m_isGrey;
        m_background = m_isGrey ? Colour::PARI_ALTCOL_LiGr : Colour::PARI_ALTCOL_Cyan;
        m_text = m_isGrey ? Colour::PARI_ALTCOL_LiGr_TXT : Colour::PARI_ALTCOL_Cyan_TXT;
        if (day.facts.isPublicHoliday) {
            m_background = Colour::PARI_PRAZNIK;
            m_text = Colour::PARI_PRAZNIK_TXT;
        } else if (day.facts.weekday >= 6) {
            m_background = Colour::PARI_SOBNED;
            m_text = Colour::PARI_SOBNED_TXT;
        } else if (isEmpty) {
            m_background = Colour::PARI_PRAZNO;
            m_text = Colour::PARI_PRAZNO_TXT;
        }
    }

    QAny newRow(const DayResult &day)
    {
        QAny row = PairColumn::row(m_background, m_text);
        row.slot(PairColumn::NAME) = m_employee.name;
        row.slot(PairColumn::USER) = m_employee.user;
        row.slot(PairColumn::DATESTAMP) = m_cells.texts().date(m_clock.midnight(day.day));
        row.slot(PairColumn::DAYNUM) = day.facts.weekday;
        return row;
    }

    QAny emptyRow(const DayResult &day)
    {
        QAny row = newRow(day);
        if (day.facts.isWorkingDay() && !day.facts.isFuture)
            row.slot(PairColumn::REMARK) = kNoHours;
        return row;
    }

    QAny pairRow(const DayResult &day, const Pair &pair)
    {
        QAny row = newRow(day);
        fillEnd(row, pair.arrival, 0);
        fillEnd(row, pair.departure, 1);
        row.slot(PairColumn::PTIME) = m_cells.duration(pair.length());
        if (pair.departure.isStored()) {
            fillNumber(row, PairColumn::IDX2, eventOf(pair.departure)->idx);
            fillNumber(row, PairColumn::TAG2, eventOf(pair.departure)->tag);
        }
        return row;
    }

    /// The columns of both ends stand side by side, those of the arrival first.
    void fillEnd(QAny &row, const PairEnd &end, int second)
    {
        if (!end.isPresent())
            return;
        const Event *event = eventOf(end);
        row.slot(PairColumn::TIMESTAMP + second) = m_cells.texts().clockTime(end.timestamp);
        row.slot(PairColumn::TYPE + second) = m_cells.kind(typeText(end, event), second == 0);
        if (end.isStored()) {
            row.slot(PairColumn::REMARK + second) = PackedCells::text(event->remark);
            row.slot(PairColumn::PARAM + second) = PackedCells::text(event->param);
        }
    }

    static void fillNumber(QAny &row, int column, const rules::StoredValue &value)
    {
        if (!std::holds_alternative<std::monostate>(value))
            row.slot(column) = valueOf(value);
    }

    const Event *eventOf(const PairEnd &end) const
    {
        return end.event < 0 ? nullptr : &m_employee.events[static_cast<size_t>(end.event)];
    }

    const rules::LocalClock &m_clock;
    const Employee &m_employee;
    PackedCells &m_cells;
    QAny &m_table;
    bool m_isGrey = false;
    Colour::Name m_background = Colour::PARI_ALTCOL_LiGr;
    Colour::Name m_text = Colour::PARI_ALTCOL_LiGr_TXT;
};

} // namespace

void addPairRows(const CalcResult &result, size_t employee, PackedCells &cells, QAny &rows)
{
    const rules::EmployeeResult &calculated = result.employees[employee];
    PairRows maker(result.inputs.period.clock, result.inputs.employees[employee], cells, rows);
    const Pair *first = calculated.pairing.pairs.data();
    const Pair *const end = first + calculated.pairing.pairs.size();
    for (const DayResult &day : calculated.days) {
        const Pair *last = first;
        while (last != end && last->day == day.day)
            ++last;
        maker.addDay(day, first, last);
        first = last;
    }
}

QAny pairHeader()
{
    return PairColumn::header();
}

QAny pairTable(const CalcResult &result, PackedCells &cells)
{
    QAny table(QAny::List);
    for (size_t i = 0; i < result.employees.size(); ++i)
        addPairRows(result, i, cells, table);
    return packedTable(pairHeader(), table);
}

} // namespace calc::output
