#include "calc/output/employeerecords.h"

#include "calc/output/calcrecords.h"
#include "calc/output/pairtexts.h"
#include "calc/output/storedvalues.h"

namespace calc::output {

using rules::Amounts;
using rules::CodeNames;
using rules::DayResult;
using rules::DayValues;
using rules::Event;
using rules::Moment;
using rules::Pair;
using rules::PairEnd;

namespace {

const QString kMarked = QStringLiteral("AE!");

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

} // namespace

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

QAny EmployeeRecords::pairs() const
{
    QAny list(QAny::List);
    list.reserve(static_cast<int>(m_result.pairing.pairs.size()));
    for (const Pair &pair : m_result.pairing.pairs)
        list.append(pairRecord(pair));
    return list;
}

EmployeeLists EmployeeRecords::lists(const QAny &noRemarks) const
{
    EmployeeLists lists;
    lists.pairs = pairs();
    for (QAny *list : {&lists.days, &lists.daysBefore, &lists.judged})
        list->reserve(static_cast<int>(m_result.days.size()));
    for (const DayResult &day : m_result.days) {
        const QAny remarks = remarkList(day.remarks, noRemarks);
        const QAny before = dayRow(day, day.before, day.amountsBefore(), noRemarks);
        lists.days.append(day.isUnchanged() ? before : dayRow(day, day.after, day.amountsAfter(), remarks));
        lists.daysBefore.append(before);
        lists.judged.append(judgedDay(day, remarks));
    }
    return lists;
}

QAny EmployeeRecords::dayRow(const DayResult &day, const DayValues &values, const Amounts &amounts,
                             const QAny &remarks) const
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

QAny EmployeeRecords::judgedDay(const DayResult &day, const QAny &remarks) const
{
    QAny record = QAny::record(JudgedDayKey::keys());
    record.slot(JudgedDayKey::DATE) = m_clock.midnight(day.day);
    record.slot(JudgedDayKey::IN) = clockOrNull(day.after.in);
    record.slot(JudgedDayKey::OUT) = clockOrNull(day.after.out);
    record.slot(JudgedDayKey::DC) = day.after.workTime;
    record.slot(JudgedDayKey::OPOMBA) = remarks;
    return record;
}

QAny EmployeeRecords::sum() const
{
    QAny record = QAny::record(SumKey::keys());
    record.slot(SumKey::USER) = m_employee.user;
    record.slot(SumKey::NAME) = m_employee.name;
    record.slot(SumKey::SDATE) = m_clock.midnight(m_period.firstDay);
    record.slot(SumKey::EDATE) = m_clock.midnight(m_period.lastDay);
    fillAmounts(record, SumKey::DELO, m_result.sums);
    for (size_t shift = 0; shift < m_result.daysInShift.size(); ++shift)
        record.slot(SumKey::IZM1 + static_cast<int>(shift)) = m_result.daysInShift[shift];
    record.slot(SumKey::PRERAZ) = m_result.assignedDays;
    record.slot(SumKey::ACSLIST) = codeList(m_result.codes);
    return record;
}

QAny EmployeeRecords::entry(const QAny &pairList) const
{
    static const QAny::KeySet keys{QStringLiteral("USER"), QStringLiteral("NAME"), QStringLiteral("EMPLID"),
                                   QStringLiteral("PAIRS")};
    QAny record = QAny::record(keys);
    record.slot(0) = m_employee.user;
    record.slot(1) = m_employee.name;
    record.slot(2) = m_employee.emplId;
    record.slot(3) = pairList;
    return record;
}

QAny EmployeeRecords::judgedPart(const QAny &days) const
{
    QAny part{{QStringLiteral("DAYS"), days}};
    if (m_employee.showsEmptyDays())
        part.insert(QStringLiteral("SHOWEMPTYDAYS"), true);
    return part;
}

QAny EmployeeRecords::judgedEntry(const QAny &pairList, const QAny &days) const
{
    QAny record = entry(pairList);
    const QAny part = judgedPart(days);
    for (int i = 0; i < part.count(); ++i)
        record.insert(part.keyAt(i), part.at(i));
    return record;
}

QAny EmployeeRecords::eventRecord(const Event &event) const
{
    static const QAny::KeySet keys{QStringLiteral("ID"),     QStringLiteral("USER"),      QStringLiteral("TYPE"),
                                   QStringLiteral("REMARK"), QStringLiteral("AC"),        QStringLiteral("TIMESTAMP"),
                                   QStringLiteral("PTIME"),  QStringLiteral("IDX"),       QStringLiteral("TAG"),
                                   QStringLiteral("PARAM"),  QStringLiteral("NAME"),      QStringLiteral("TIMEZ"),
                                   QStringLiteral("LAST"),   QStringLiteral("DATESTAMP"), QStringLiteral("DAYNUM")};
    const int day = m_clock.dayOf(event.timestamp);
    QAny record = QAny::record(keys);
    int slot = 0;
    for (QAny value : {QAny(event.id), QAny(m_employee.user), QAny(event.type), QAny(event.remark),
                       QAny(event.accessCode), QAny(event.timestamp), valueOf(event.pTime), valueOf(event.idx),
                       valueOf(event.tag), QAny(event.param), QAny(m_employee.name), QAny(m_employee.timeZoneSeconds),
                       QAny(event.isLast), QAny(m_clock.midnight(day)), QAny(m_clock.weekday(day))})
        record.slot(slot++) = std::move(value);
    return record;
}

QAny EmployeeRecords::pairRecord(const Pair &pair) const
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
void EmployeeRecords::fillEnd(QAny &record, const PairEnd &end, int second) const
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

} // namespace calc::output
