#include "calc/rules/summaries.h"

#include "calc/output/calcrecords.h"

#include <QDebug>

#include <algorithm>

namespace {

constexpr qint64 kHour = 3600;
constexpr qint64 kNightStart = 23 * kHour;
constexpr qint64 kNightEnd = (24 + 6) * kHour;

const QString &shiftName(int shift)
{
    static const QString names[] = {QStringLiteral("IZM1"), QStringLiteral("IZM2"), QStringLiteral("IZM3")};
    return names[shift - 1];
}

QAny orNull(const std::optional<qint64> &value)
{
    return value ? QAny(*value) : QAny();
}

bool overlaps(const Pair &pair, qint64 from, qint64 to)
{
    return pair.arrival.timestamp < to && pair.departure.timestamp > from;
}

/// The name behind the code of an access code text: "Dopust" of "102:1:Dopust".
QString nameOf(const QString &accessCode, const QString &code)
{
    return accessCode.startsWith(code + QLatin1Char(':')) ? accessCode.mid(code.size() + 1) : QString();
}

/// A day row's summed columns stand in the same order in the sum row.
constexpr int kSummedColumns = DayKey::PLUSMINUS - DayKey::DELO + 1;
static_assert(SumKey::PLUSMINUS - SumKey::DELO + 1 == kSummedColumns, "summed columns must match");

} // namespace

CalcParse21::CalcParse21(const CalcInputs &inputs, QDate today, CalcErrors &errors, QAny days, QAny daysBeforeRules)
    : m_inputs(inputs), m_clock(inputs.period.clock), m_errors(errors), m_today(m_clock.dayOf(today)),
      m_days(std::move(days)), m_daysBeforeRules(std::move(daysBeforeRules)), m_noRemarks(QAny::List)
{
    m_nights.reserve(static_cast<size_t>(m_clock.dayCount()));
    for (int day = 0; day < m_clock.dayCount(); ++day)
        m_nights.emplace_back(m_clock.instantOf(day, kNightStart), m_clock.instantOf(day, kNightEnd));
}

CalcParse21::Rows CalcParse21::parse(const Employee &employee, const std::vector<Pair> &pairs)
{
    const Period &period = m_inputs.period;
    const Calc21sett rules(employee.rules.get(), m_inputs.settings.noMetaSett, m_inputs.settings.isDebug);
    Rows rows;
    rows.pairs = QAny(QAny::List);
    rows.pairs.reserve(static_cast<int>(pairs.size()));
    for (const Pair &pair : pairs)
        rows.pairs.append(pairRecord(employee, pair));
    rows.judgedDays = QAny(QAny::List);
    rows.judgedDays.reserve(period.dayCount());
    rows.sum = QAny::record(SumKey::keys());
    rows.sum.slot(SumKey::USER) = employee.user;
    rows.sum.slot(SumKey::NAME) = employee.name;
    rows.sum.slot(SumKey::SDATE) = m_clock.midnight(period.firstDay);
    rows.sum.slot(SumKey::EDATE) = m_clock.midnight(period.lastDay);
    for (int key = SumKey::DELO; key <= SumKey::PRERAZ; ++key)
        rows.sum.slot(key) = 0;

    auto first = pairs.begin();
    for (int number = period.firstDay; number <= period.lastDay; ++number) {
        auto last = first;
        while (last != pairs.end() && last->day == number)
            ++last;
        WorkDay day = dayOf(employee, number);
        const DayTotals totals = totalsOf(first, last, day);
        readPresence(employee, number, first, last, rules, day);
        first = last;

        const WorkDay before = day;
        const QAny rowBefore = dayRow(employee, number, totals, before, rules.hasEmptySaldo(before));
        rules.apply(day);
        const bool isUnchanged =
            day.workTime == before.workTime && day.in == before.in && day.out == before.out && day.remarks.isEmpty();
        const QAny row = isUnchanged ? rowBefore : dayRow(employee, number, totals, day, rules.hasEmptySaldo(day));
        for (const QString &warning : qAsConst(day.warnings))
            m_errors.add(CalcErrors::Code::Opo, warning, employee.user, employee.name, m_clock.midnight(number));
        rows.judgedDays.append(judgedDay(number, day, row.at(DayKey::OPOMBA)));
        addToSum(rows.sum, row, day);
        m_daysBeforeRules.append(rowBefore);
        m_days.append(row);
    }

    Codes codes;
    if (m_inputs.settings.isAcs)
        collectCodes(employee, codes);
    rows.sum.slot(SumKey::ACSLIST) = listOf(codes);
    m_codes.insert(codes.begin(), codes.end());
    return rows;
}

WorkDay CalcParse21::dayOf(const Employee &employee, int number) const
{
    WorkDay day;
    const QString &holiday = m_inputs.holidays[static_cast<size_t>(number - m_inputs.period.firstDay)];
    const ShiftOfDay &shift = employee.shift(number);
    day.weekday = m_clock.weekday(number);
    day.isFree = day.weekday >= 6 || (!holiday.isEmpty() && holiday.toInt() != 0);
    day.isPublicHoliday = !holiday.isEmpty();
    day.isFuture = number > m_today;
    day.shift = shift.shift;
    day.shiftFlag = shift.flag;
    day.schedule = employee.daySchedule(m_clock, number);
    day.dayType = day.schedule ? 0 : 1;
    if (day.weekday >= 6)
        day.dayType = 2;
    if (day.isPublicHoliday)
        day.dayType = 3;
    return day;
}

CalcParse21::DayTotals CalcParse21::totalsOf(PairIterator first, PairIterator last, WorkDay &day) const
{
    DayTotals totals;
    day.hasPairs = first != last;
    for (auto pair = first; pair != last; ++pair) {
        for (const PairEnd *end : {&pair->arrival, &pair->departure}) {
            if (!end->present)
                continue;
            const bool isMetaPeriod = end->isMetaPeriod();
            day.hasMetaPeriod = day.hasMetaPeriod || isMetaPeriod;
            day.hasMetaEvents = day.hasMetaEvents || isMetaPeriod || end->type == QLatin1String("ME");
        }
        if (pair->arrival.present)
            totals.firstArrival =
                std::min(totals.firstArrival.value_or(pair->arrival.timestamp), pair->arrival.timestamp);
        if (pair->departure.present) {
            totals.departures += pair->departure.isAutomatic ? 0 : 1;
            totals.lastDeparture =
                std::max(totals.lastDeparture.value_or(pair->departure.timestamp), pair->departure.timestamp);
        }
        const Category category = pair->category();
        if (category == Category::None)
            continue;
        totals.of(category) += pair->length();
        if (pair->isPresence())
            totals.presence += pair->length();
        if (category == Category::Delo)
            totals.night += nightOf(*pair);
    }
    if (day.isPublicHoliday && day.schedule)
        totals.holiday = day.schedule->minHours.value_or(0);
    day.workTime = totals.of(Category::Delo);
    day.privateAbsence = totals.of(Category::Zasebno);
    if (totals.of(Category::Malica) > 0)
        day.lunch = totals.of(Category::Malica);
    day.otherCounted = totals.of(Category::Bolniska) + totals.holiday + totals.of(Category::Dopust) +
                       totals.of(Category::IzrDopust) + totals.of(Category::OdDoma) + totals.of(Category::Teren);
    return totals;
}

/// Arrival and departure of the day and the presence outside its window.
void CalcParse21::readPresence(const Employee &employee, int number, PairIterator first, PairIterator last,
                               const Calc21sett &rules, WorkDay &day) const
{
    const bool usesWindow = rules.usesWindow(day);
    const auto windowOf = [this](const DaySchedule *schedule, int ofDay) {
        return schedule && schedule->hasWindow() ? std::make_pair(m_clock.instantOf(ofDay, *schedule->startB),
                                                                  m_clock.instantOf(ofDay, *schedule->endE))
                                                 : std::make_pair(qint64(0), qint64(0));
    };
    const auto window = usesWindow ? windowOf(day.schedule, number) : std::make_pair(qint64(0), qint64(0));
    for (auto pair = first; pair != last; ++pair) {
        if (!pair->isPresence())
            continue;
        if (usesWindow && !overlaps(*pair, window.first, window.second)) {
            const auto previous = windowOf(employee.daySchedule(m_clock, number - 1), number - 1);
            if (!overlaps(*pair, previous.first, previous.second))
                (pair->departure.timestamp <= window.first ? day.outsideBefore : day.outsideAfter) += pair->length();
            continue;
        }
        if (!rules.countsMetaPairs() && pair->arrival.isMetaPeriod() && pair->departure.isMetaPeriod())
            continue;
        const qint64 in = m_clock.clockSeconds(pair->arrival.timestamp, number);
        const qint64 out = m_clock.clockSeconds(pair->departure.timestamp, number);
        day.in = std::min(day.in.value_or(in), in);
        day.out = std::max(day.out.value_or(out), out);
    }
}

qint64 CalcParse21::nightOf(const Pair &pair) const
{
    qint64 seconds = 0;
    const int from = std::max(m_clock.dayOf(pair.arrival.timestamp) - 1, 0);
    for (size_t i = static_cast<size_t>(from); i < m_nights.size(); ++i) {
        const auto &[start, end] = m_nights[i];
        if (start >= pair.departure.timestamp)
            break;
        seconds +=
            std::max<qint64>(0, std::min(end, pair.departure.timestamp) - std::max(start, pair.arrival.timestamp));
    }
    return seconds;
}

QAny CalcParse21::dayRow(const Employee &employee, int number, const DayTotals &totals, const WorkDay &day,
                         bool emptySaldo) const
{
    const ShiftOfDay &shift = employee.shift(number);
    const qint64 minHours = day.schedule ? day.schedule->minHours.value_or(0) : 0;
    QAny row = QAny::record(DayKey::keys());
    row.slot(DayKey::USER) = employee.user;
    row.slot(DayKey::NAME) = employee.name;
    row.slot(DayKey::EMPL) = employee.emplId;
    row.slot(DayKey::DATE) = m_clock.midnight(number);
    row.slot(DayKey::DAYTYPE) = day.dayType;
    row.slot(DayKey::INORG) = orNull(totals.firstArrival);
    row.slot(DayKey::OUTORG) = orNull(totals.lastDeparture);
    row.slot(DayKey::NOUT) = totals.departures;
    if (!shift.isOff)
        row.slot(DayKey::IZMENA) = shiftName(shift.shift);
    for (int i = 0; i < kCategoryCount; ++i)
        row.slot(DayKey::DELO + i) = totals.categories[static_cast<size_t>(i)];
    row.slot(DayKey::DELO) = day.workTime;
    row.slot(DayKey::NOCNO) = totals.night;
    row.slot(DayKey::PRISOTNOST) = totals.presence;
    row.slot(DayKey::DELDAN) = day.weekday <= 5 ? 1 : 0;
    row.slot(DayKey::PRAZNIK) = totals.holiday;
    row.slot(DayKey::DELPONSOB) = day.weekday <= 6 ? day.workTime : 0;
    row.slot(DayKey::DELSOB) = day.weekday == 6 ? day.workTime : 0;
    row.slot(DayKey::DELNED) = day.weekday == 7 ? day.workTime : 0;
    row.slot(DayKey::DELPRA) = day.isPublicHoliday ? day.workTime : 0;
    const qint64 total = day.total();
    if (!emptySaldo)
        row.slot(DayKey::SALDO) = total - minHours;
    row.slot(DayKey::SKUPAJ) = total;
    row.slot(DayKey::PLUSMINUS) = day.isFuture ? 0 : total - (day.isFree ? totals.holiday : minHours);
    row.slot(DayKey::PRERAZ) = shift.preraz;
    row.slot(DayKey::OPOMBA) = remarkList(day.remarks);
    row.slot(DayKey::IN) = orNull(day.in);
    row.slot(DayKey::OUT) = orNull(day.out);
    return row;
}

QAny CalcParse21::remarkList(const QStringList &remarks) const
{
    return remarks.isEmpty() ? m_noRemarks : QAny(remarks);
}

QAny CalcParse21::judgedDay(int number, const WorkDay &day, const QAny &remarks) const
{
    QAny record = QAny::record(JudgedDayKey::keys());
    record.slot(JudgedDayKey::DATE) = m_clock.midnight(number);
    record.slot(JudgedDayKey::IN) = orNull(day.in);
    record.slot(JudgedDayKey::OUT) = orNull(day.out);
    record.slot(JudgedDayKey::DC) = day.workTime;
    record.slot(JudgedDayKey::OPOMBA) = remarks;
    return record;
}

QAny CalcParse21::pairRecord(const Employee &employee, const Pair &pair) const
{
    QAny record = QAny::record(PairKey::keys());
    record.slot(PairKey::IDP) = pair.number;
    record.slot(PairKey::USER) = employee.user;
    record.slot(PairKey::NAME) = employee.name;
    record.slot(PairKey::EMPLID) = employee.emplId;
    record.slot(PairKey::DATESTAMP) = m_clock.midnight(pair.day);
    record.slot(PairKey::DAYNUM) = m_clock.weekday(pair.day);
    // The keys of both ends stand side by side, those of the arrival first.
    const auto fill = [&record](const PairEnd &end, int second) {
        if (!end.present)
            return;
        record.slot(PairKey::TIMESTAMP + second) = end.timestamp;
        record.slot(PairKey::TYPE + second) = end.type;
        record.slot(PairKey::REMARK + second) = end.remark;
        record.slot(PairKey::PARAM + second) = end.param;
        record.slot(PairKey::AC + second) = end.accessCode;
        record.slot(PairKey::IDX + second) = end.idx;
        record.slot(PairKey::TAG + second) = end.tag;
    };
    fill(pair.arrival, 0);
    fill(pair.departure, 1);
    if (pair.departure.present)
        record.slot(PairKey::TIP2) = pair.departure.code.text();
    record.slot(PairKey::PTIME) = pair.length();
    record.slot(PairKey::NW) = pair.outsideDay;
    if (pair.isMarked)
        record.slot(PairKey::ERR) = QStringLiteral("AE!");
    return record;
}

void CalcParse21::addToSum(QAny &sum, const QAny &row, const WorkDay &day) const
{
    for (int i = 0; i < kSummedColumns; ++i) {
        const QAny &value = row.at(DayKey::DELO + i);
        if (value.isInteger()) {
            QAny &total = sum.slot(SumKey::DELO + i);
            total = total.asInteger() + value.asInteger();
        }
    }
    const auto count = [&sum](int key) { sum.slot(key) = sum.at(key).asInteger() + 1; };
    if (day.workTime > 0 && !row.at(DayKey::IZMENA).isNull())
        count(SumKey::IZM1 + day.shift - 1);
    if (!row.at(DayKey::PRERAZ).toString().isEmpty())
        count(SumKey::PRERAZ);
}

void CalcParse21::collectCodes(const Employee &employee, Codes &codes) const
{
    for (const Event &event : employee.events) {
        if (event.timestamp < m_inputs.period.start || event.timestamp > m_inputs.period.end)
            continue;
        const QString code = event.code.text();
        if (code.isEmpty())
            continue;
        QString &name = codes[code];
        if (name.isEmpty())
            name = nameOf(event.accessCode, code);
    }
}

QAny CalcParse21::listOf(const Codes &codes)
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

void CalcParse21::prepackPreraz(CalcInputs &inputs)
{
    qDebug() << "CalcParse21::prepackPreraz(QAny &qIn)---------------------------- IN";
    qDebug() << "CalcParse21::prepackPreraz(QAny &qIn)---------------------------- PARSE";
    const QString group = QStringLiteral("PRERAZDC");
    const QString rows = QStringLiteral("PRERAZ");
    for (Employee &employee : inputs.employees)
        employee.record.insert(rows, inputs.plan.recordsOf(employee.record.lookup(group).toString(), employee.emplId));
}
