#include "calc/output/records.h"

#include "calc/output/calcrecords.h"
#include "calc/output/pairtexts.h"
#include "calc/output/storedvalues.h"

namespace calc::output {

using rules::Amounts;
using rules::CalcErrors;
using rules::CalcResult;
using rules::CodeNames;
using rules::DayResult;
using rules::DayValues;
using rules::Employee;
using rules::EmployeeResult;
using rules::Event;
using rules::Moment;
using rules::Pair;
using rules::PairEnd;

namespace {

const QString kMarked = QStringLiteral("AE!");

const QString &codeText(CalcErrors::Code code)
{
    static const QString texts[] = {QStringLiteral("NAP"), QStringLiteral("ATP"), QStringLiteral("OPC"),
                                    QStringLiteral("OPO"), QStringLiteral("SPO")};
    return texts[static_cast<int>(code)];
}

QAny orNull(const std::optional<qint64> &value)
{
    return value ? QAny(*value) : QAny();
}

QAny clockOrNull(const std::optional<Moment> &moment)
{
    return moment ? QAny(moment->clock) : QAny();
}

/// Days without remarks share one empty list within a run.
QAny remarkList(const QStringList &remarks, const QAny &none)
{
    return remarks.isEmpty() ? none : QAny(remarks);
}

QAny codeList(const CodeNames &codes)
{
    QAny list(QAny::List);
    for (const auto &[code, name] : codes) {
        QAny entry = QAny::record(AcsKey::keys());
        entry.slot(AcsKey::AC) = code;
        entry.slot(AcsKey::NAME) = name;
        list.append(std::move(entry));
    }
    return list;
}

/// The columns that day and sum records have in common; both have them in one order.
void fillAmounts(QAny &record, int first, const Amounts &amounts)
{
    const auto slot = [&](int dayKey) -> QAny & { return record.slot(dayKey - DayKey::DELO + first); };
    for (size_t i = 0; i < amounts.categories.size(); ++i)
        record.slot(first + static_cast<int>(i)) = amounts.categories[i];
    slot(DayKey::NOCNO) = amounts.night;
    slot(DayKey::PRISOTNOST) = amounts.presence;
    slot(DayKey::DELDAN) = amounts.workdays;
    slot(DayKey::PRAZNIK) = amounts.holiday;
    slot(DayKey::DELPONSOB) = amounts.workToSaturday;
    slot(DayKey::DELSOB) = amounts.workOnSaturday;
    slot(DayKey::DELNED) = amounts.workOnSunday;
    slot(DayKey::DELPRA) = amounts.workOnHoliday;
    slot(DayKey::SALDO) = orNull(amounts.saldo);
    slot(DayKey::SKUPAJ) = amounts.total;
    slot(DayKey::PLUSMINUS) = amounts.plusMinus;
}
static_assert(SumKey::PLUSMINUS - SumKey::DELO == DayKey::PLUSMINUS - DayKey::DELO, "common columns must match");

/// Makes the records of one employee.
class EmployeeRecords
{
public:
    EmployeeRecords(const CalcResult &result, size_t position)
        : m_clock(result.inputs.period.clock), m_employee(result.inputs.employees[position]),
          m_result(result.employees[position])
    {
    }

    QAny pairs() const
    {
        QAny list(QAny::List);
        list.reserve(static_cast<int>(m_result.pairing.pairs.size()));
        for (const Pair &pair : m_result.pairing.pairs)
            list.append(pairRecord(pair));
        return list;
    }

    QAny dayRow(const DayResult &day, const DayValues &values, const Amounts &amounts, const QAny &remarks) const
    {
        QAny row = QAny::record(DayKey::keys());
        row.slot(DayKey::USER) = m_employee.user;
        row.slot(DayKey::NAME) = m_employee.name;
        row.slot(DayKey::EMPL) = m_employee.emplId;
        row.slot(DayKey::DATE) = m_clock.midnight(day.day);
        row.slot(DayKey::DAYTYPE) = day.facts.dayType;
        row.slot(DayKey::INORG) = orNull(day.totals.firstArrival);
        row.slot(DayKey::OUTORG) = orNull(day.totals.lastDeparture);
        row.slot(DayKey::NOUT) = day.totals.departures;
        if (!day.facts.isOff)
            row.slot(DayKey::IZMENA) = shiftName(day.facts.shift);
        fillAmounts(row, DayKey::DELO, amounts);
        row.slot(DayKey::PRERAZ) = valueOf(m_employee.shift(day.day).preraz);
        row.slot(DayKey::OPOMBA) = remarks;
        row.slot(DayKey::IN) = clockOrNull(values.in);
        row.slot(DayKey::OUT) = clockOrNull(values.out);
        return row;
    }

    QAny judgedDay(const DayResult &day, const QAny &remarks) const
    {
        QAny record = QAny::record(JudgedDayKey::keys());
        record.slot(JudgedDayKey::DATE) = m_clock.midnight(day.day);
        record.slot(JudgedDayKey::IN) = clockOrNull(day.after.in);
        record.slot(JudgedDayKey::OUT) = clockOrNull(day.after.out);
        record.slot(JudgedDayKey::DC) = day.after.workTime;
        record.slot(JudgedDayKey::OPOMBA) = remarks;
        return record;
    }

    QAny sum(const rules::Period &period) const
    {
        QAny record = QAny::record(SumKey::keys());
        record.slot(SumKey::USER) = m_employee.user;
        record.slot(SumKey::NAME) = m_employee.name;
        record.slot(SumKey::SDATE) = m_clock.midnight(period.firstDay);
        record.slot(SumKey::EDATE) = m_clock.midnight(period.lastDay);
        fillAmounts(record, SumKey::DELO, m_result.sums);
        for (size_t shift = 0; shift < m_result.daysInShift.size(); ++shift)
            record.slot(SumKey::IZM1 + static_cast<int>(shift)) = m_result.daysInShift[shift];
        record.slot(SumKey::PRERAZ) = m_result.assignedDays;
        record.slot(SumKey::ACSLIST) = codeList(m_result.codes);
        return record;
    }

    QAny entry(const QAny &pairList) const
    {
        static const QAny::KeySet keys{QStringLiteral("USER"), QStringLiteral("NAME"), QStringLiteral("EMPLID"),
                                       QStringLiteral("PAIRS")};
        QAny record = QAny::record(keys);
        fillEntry(record, pairList);
        return record;
    }

    QAny judgedEntry(const QAny &pairList, const QAny &days) const
    {
        const QStringList common{QStringLiteral("USER"), QStringLiteral("NAME"), QStringLiteral("EMPLID"),
                                 QStringLiteral("PAIRS"), QStringLiteral("DAYS")};
        static const QAny::KeySet keys(common);
        static const QAny::KeySet withEmptyDays(common + QStringList{QStringLiteral("SHOWEMPTYDAYS")});
        QAny record = QAny::record(m_employee.showsEmptyDays() ? withEmptyDays : keys);
        fillEntry(record, pairList);
        record.slot(4) = days;
        if (m_employee.showsEmptyDays())
            record.slot(5) = true;
        return record;
    }

    QAny eventRecord(const Event &event) const
    {
        static const QAny::KeySet keys{
            QStringLiteral("ID"),   QStringLiteral("USER"),      QStringLiteral("TYPE"),  QStringLiteral("REMARK"),
            QStringLiteral("AC"),   QStringLiteral("TIMESTAMP"), QStringLiteral("PTIME"), QStringLiteral("IDX"),
            QStringLiteral("TAG"),  QStringLiteral("PARAM"),     QStringLiteral("NAME"),  QStringLiteral("TIMEZ"),
            QStringLiteral("LAST"), QStringLiteral("DATESTAMP"), QStringLiteral("DAYNUM")};
        const int day = m_clock.dayOf(event.timestamp);
        QAny record = QAny::record(keys);
        int slot = 0;
        for (QAny value :
             {QAny(event.id), QAny(m_employee.user), QAny(event.type), QAny(event.remark), QAny(event.accessCode),
              QAny(event.timestamp), valueOf(event.pTime), valueOf(event.idx), valueOf(event.tag), QAny(event.param),
              QAny(m_employee.name), QAny(m_employee.timeZoneSeconds), QAny(event.isLast), QAny(m_clock.midnight(day)),
              QAny(m_clock.weekday(day))})
            record.slot(slot++) = std::move(value);
        return record;
    }

private:
    void fillEntry(QAny &record, const QAny &pairList) const
    {
        record.slot(0) = m_employee.user;
        record.slot(1) = m_employee.name;
        record.slot(2) = m_employee.emplId;
        record.slot(3) = pairList;
    }

    QAny pairRecord(const Pair &pair) const
    {
        QAny record = QAny::record(PairKey::keys());
        record.slot(PairKey::IDP) = pair.number;
        record.slot(PairKey::USER) = m_employee.user;
        record.slot(PairKey::NAME) = m_employee.name;
        record.slot(PairKey::EMPLID) = m_employee.emplId;
        record.slot(PairKey::DATESTAMP) = m_clock.midnight(pair.day);
        record.slot(PairKey::DAYNUM) = m_clock.weekday(pair.day);
        fillEnd(record, pair.arrival, 0);
        fillEnd(record, pair.departure, 1);
        if (pair.departure.isPresent())
            record.slot(PairKey::TIP2) = pair.departure.code.text();
        record.slot(PairKey::PTIME) = pair.length();
        record.slot(PairKey::NW) = pair.outsideDay;
        if (pair.isMarked)
            record.slot(PairKey::ERR) = kMarked;
        return record;
    }

    /// The keys of both ends stand side by side, those of the arrival first.
    void fillEnd(QAny &record, const PairEnd &end, int second) const
    {
        if (!end.isPresent())
            return;
        const auto *event = end.event < 0 ? nullptr : &m_employee.events[static_cast<size_t>(end.event)];
        record.slot(PairKey::TIMESTAMP + second) = end.timestamp;
        record.slot(PairKey::TYPE + second) = typeText(end, event);
        record.slot(PairKey::AC + second) = event ? event->accessCode : kAutomaticArrival;
        const bool isEvent = event && end.isStored();
        record.slot(PairKey::REMARK + second) = isEvent ? event->remark : QString();
        record.slot(PairKey::PARAM + second) = isEvent ? event->param : QString();
        if (isEvent) {
            record.slot(PairKey::IDX + second) = valueOf(event->idx);
            record.slot(PairKey::TAG + second) = valueOf(event->tag);
        }
    }

    const rules::LocalClock &m_clock;
    const Employee &m_employee;
    const EmployeeResult &m_result;
};

/// A row of its own: the one that was read stays as it is.
QAny withAssignments(const QAny &employee, const QAny &assigned)
{
    QAny row(QAny::Hash);
    for (int i = 0; i < employee.count(); ++i)
        row.insert(employee.keyAt(i), employee.at(i));
    row.insert(QStringLiteral("PRERAZ"), assigned);
    return row;
}

/// The lists of the result.
class Lists
{
public:
    explicit Lists(const CalcResult &result)
    {
        const int employees = static_cast<int>(result.employees.size());
        const int days = employees * result.inputs.period.dayCount();
        for (QAny *list : {&m_days, &m_daysBefore})
            list->reserve(days);
        for (QAny *list : {&m_calc, &m_calcBefore, &m_sums})
            list->reserve(employees);
    }

    void add(const CalcResult &result, size_t position)
    {
        const EmployeeRecords records(result, position);
        const QAny pairs = records.pairs();
        QAny judged(QAny::List);
        judged.reserve(result.inputs.period.dayCount());
        for (const DayResult &day : result.employees[position].days)
            addDay(records, day, judged);
        m_calc.append(records.judgedEntry(pairs, judged));
        m_calcBefore.append(records.entry(pairs));
        m_sums.append(records.sum(result.inputs.period));
    }

    QAny toRecords(const CalcResult &result) const
    {
        QAny records(QAny::Hash);
        if (!result.isFatal) {
            records.insert(QStringLiteral("CALC"), m_calc);
            records.insert(QStringLiteral("CALCsum"), m_sums);
            records.insert(QStringLiteral("DAYS"), m_days);
            records.insert(QStringLiteral("CALCorg"), m_calcBefore);
            records.insert(QStringLiteral("DAYSorg"), m_daysBefore);
            records.insert(QStringLiteral("ACSLIST"), codeList(result.codes));
        }
        records.insert(QStringLiteral("ERR"), errorRecords(result.errors));
        return records;
    }

private:
    void addDay(const EmployeeRecords &records, const DayResult &day, QAny &judged)
    {
        const QAny remarks = remarkList(day.remarks, m_noRemarks);
        const QAny before = records.dayRow(day, day.before, day.amountsBefore(), m_noRemarks);
        const QAny after = day.isUnchanged() ? before : records.dayRow(day, day.after, day.amountsAfter(), remarks);
        m_daysBefore.append(before);
        m_days.append(after);
        judged.append(records.judgedDay(day, remarks));
    }

    QAny m_calc{QAny::List};
    QAny m_sums{QAny::List};
    QAny m_days{QAny::List};
    QAny m_calcBefore{QAny::List};
    QAny m_daysBefore{QAny::List};
    QAny m_noRemarks{QAny::List};
};

} // namespace

QAny recordsOf(const CalcResult &result)
{
    Lists lists(result);
    for (size_t i = 0; i < result.employees.size(); ++i)
        lists.add(result, i);
    return lists.toRecords(result);
}

QAny recordsOf(CalcResult &&result)
{
    Lists lists(result);
    for (size_t i = 0; i < result.employees.size(); ++i) {
        lists.add(result, i);
        result.employees[i] = EmployeeResult();
        std::vector<Event>().swap(result.inputs.employees[i].events);
    }
    return lists.toRecords(result);
}

QAny errorRecords(const CalcErrors &errors)
{
    QAny list(QAny::List);
    list.reserve(static_cast<int>(errors.entries().size()));
    for (const CalcErrors::Entry &entry : errors.entries()) {
        QAny record = QAny::record(ErrorKey::keys());
        record.slot(ErrorKey::CODE) = codeText(entry.code);
        record.slot(ErrorKey::NAPAKA) = entry.text;
        if (entry.user != 0 || !entry.name.isEmpty()) {
            record.slot(ErrorKey::USER) = entry.user;
            record.slot(ErrorKey::NAME) = entry.name;
        }
        if (entry.date != 0)
            record.slot(ErrorKey::DATESTAMP) = entry.date;
        list.append(std::move(record));
    }
    return list;
}

QAny pairRecords(const CalcResult &result, size_t employee)
{
    return EmployeeRecords(result, employee).pairs();
}

QAny clientForm(const CalcResult &result, const QAny &records, const QAny &employees, const QAny &assignments)
{
    QAny pairs(QAny::List);
    QAny events(QAny::List);
    QAny rows(QAny::List);
    const QAny &calc = records.lookup(QStringLiteral("CALC"));
    for (size_t i = 0; i < result.employees.size(); ++i) {
        const QAny &own = calc.at(static_cast<int>(i)).lookup(QStringLiteral("PAIRS"));
        for (int k = 0; k < own.count(); ++k)
            pairs.append(own.at(k));
        const EmployeeRecords maker(result, i);
        for (const Event &event : result.inputs.employees[i].events) {
            if (!event.isDoubled)
                events.append(maker.eventRecord(event));
        }
        QAny assigned(QAny::List);
        for (const int row : result.inputs.employees[i].assignments)
            assigned.append(assignments.at(row));
        rows.append(withAssignments(employees.at(static_cast<int>(i)), assigned));
    }
    return {{QStringLiteral("PAIRS"), pairs},
            {QStringLiteral("EMPLO"), rows},
            {QStringLiteral("DATA"), events},
            {QStringLiteral("PRERAZ"), assignments}};
}

} // namespace calc::output
