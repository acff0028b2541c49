#include "calc/rules/summaries.h"

#include <QDebug>

#include <algorithm>

using namespace calc::rules;

namespace {

constexpr qint64 kHour = 3600;
constexpr qint64 kNightStart = 23 * kHour;
constexpr qint64 kNightEnd = (24 + 6) * kHour;

/// The schedule's window of a day as instants; empty without one.
struct Window {
    qint64 from = 0;
    qint64 to = 0;

    Window() = default;
    Window(const LocalClock &clock, const DaySchedule *schedule, int day)
    {
        if (!schedule || !schedule->hasWindow())
            return;
        from = clock.instantOf(day, *schedule->startB);
        to = clock.instantOf(day, *schedule->endE);
    }
    bool overlaps(const Pair &pair) const { return pair.overlaps(from, to); }
};

int dayTypeOf(const DayFacts &day)
{
    if (day.isPublicHoliday)
        return 3;
    if (day.weekday >= 6)
        return 2;
    return day.schedule ? 0 : 1;
}

void noteKinds(const Employee &employee, const Pair &pair, DayFacts &facts)
{
    for (const PairEnd *end : {&pair.arrival, &pair.departure}) {
        if (!end->isStored())
            continue;
        const EventKind kind = employee.events[static_cast<size_t>(end->event)].kind;
        facts.hasMetaPeriod = facts.hasMetaPeriod || kind == EventKind::MetaPeriod;
        facts.hasMetaEvents = facts.hasMetaEvents || kind == EventKind::MetaPeriod || kind == EventKind::HandMade;
    }
}

void noteEnds(const Pair &pair, DayTotals &totals)
{
    if (pair.arrival.isPresent()) {
        const qint64 arrival = pair.arrival.timestamp;
        totals.firstArrival = std::min(totals.firstArrival.value_or(arrival), arrival);
    }
    if (pair.departure.isPresent()) {
        const qint64 departure = pair.departure.timestamp;
        totals.lastDeparture = std::max(totals.lastDeparture.value_or(departure), departure);
        totals.departures += pair.departure.isStored() ? 1 : 0; // nobody goes for an automatic lunch
    }
}

/// What the rules are told of the totals.
void readTotals(const DayTotals &totals, DayResult &day)
{
    day.before.workTime = totals.of(Category::Delo);
    day.facts.privateAbsence = totals.of(Category::Zasebno);
    if (totals.of(Category::Malica) > 0)
        day.facts.lunch = totals.of(Category::Malica);
    day.facts.otherCounted = totals.of(Category::Bolniska) + totals.holiday + totals.of(Category::Dopust) +
                             totals.of(Category::IzrDopust) + totals.of(Category::OdDoma) + totals.of(Category::Teren);
}

/// The name behind the code of an access code text: "Dopust" of "102:1:Dopust".
QString nameOf(const QString &accessCode, const QString &code)
{
    return accessCode.startsWith(code + QLatin1Char(':')) ? accessCode.mid(code.size() + 1) : QString();
}

void addDay(const DayResult &day, const Employee &employee, EmployeeResult &result)
{
    result.sums += day.amountsAfter();
    if (day.after.workTime > 0 && !day.facts.isOff)
        ++result.daysInShift[static_cast<size_t>(day.facts.shift - 1)];
    if (employee.shift(day.day).isAssigned())
        ++result.assignedDays;
}

} // namespace

CalcParse21::CalcParse21(const CalcInputs &inputs) : m_inputs(inputs), m_clock(inputs.period.clock)
{
    m_nights.reserve(static_cast<size_t>(m_clock.dayCount()));
    for (int day = 0; day < m_clock.dayCount(); ++day)
        m_nights.emplace_back(m_clock.instantOf(day, kNightStart), m_clock.instantOf(day, kNightEnd));
}

EmployeeResult CalcParse21::parse(const Employee &employee, Pairing pairing, bool isExplained, CalcErrors &errors) const
{
    const Period &period = m_inputs.period;
    const Calc21sett rules(employee.rules.get(), m_inputs.settings.noMetaSett, m_inputs.settings.isDebug);
    EmployeeResult result;
    result.pairing = std::move(pairing);
    result.days.reserve(static_cast<size_t>(period.dayCount()));
    const Pair *first = result.pairing.pairs.data();
    const Pair *const end = first + result.pairing.pairs.size();
    for (int number = period.firstDay; number <= period.lastDay; ++number) {
        const Pair *last = first;
        while (last != end && last->day == number)
            ++last;
        DayResult day = dayOf(employee, number, {first, last}, rules);
        first = last;
        DayExplanation *explanation = isExplained ? &result.explanations.emplace_back() : nullptr;
        WorkDay work(day.facts, DayClock(m_clock, number), day.before, rules.isTraced(), explanation);
        rules.apply(work);
        day.after = work.values();
        day.remarks = work.remarks();
        day.emptySaldoBefore = rules.hasEmptySaldo(day.facts, day.before.workTime);
        day.emptySaldo = rules.hasEmptySaldo(day.facts, day.after.workTime);
        for (const QString &warning : work.warnings())
            errors.add(CalcErrors::Code::Opo, warning, employee.user, employee.name, m_clock.midnight(number));
        addDay(day, employee, result);
        result.days.push_back(std::move(day));
    }
    if (m_inputs.settings.isAcs)
        result.codes = codesOf(employee);
    return result;
}

DayResult CalcParse21::dayOf(const Employee &employee, int number, DayPairs pairs, const Calc21sett &rules) const
{
    DayResult day;
    day.day = number;
    day.facts = calendarFacts(employee, number);
    addPairs(employee, pairs, day);
    readTotals(day.totals, day);
    readPresence(employee, pairs, rules, day);
    return day;
}

DayFacts CalcParse21::calendarFacts(const Employee &employee, int number) const
{
    DayFacts day;
    const QString &holiday = m_inputs.holiday(number);
    const ShiftOfDay &shift = employee.shift(number);
    day.weekday = m_clock.weekday(number);
    day.isFree = day.weekday >= 6 || (!holiday.isEmpty() && holiday.toInt() != 0);
    day.isPublicHoliday = !holiday.isEmpty();
    day.isFuture = number > m_inputs.today;
    day.shift = shift.shift;
    day.shiftFlag = shift.flag;
    day.isOff = shift.isOff;
    day.schedule = employee.daySchedule(m_clock, number);
    day.dayType = dayTypeOf(day);
    return day;
}

void CalcParse21::addPairs(const Employee &employee, DayPairs pairs, DayResult &day) const
{
    DayTotals &totals = day.totals;
    day.facts.hasPairs = pairs.first != pairs.last;
    for (const Pair &pair : pairs) {
        noteKinds(employee, pair, day.facts);
        noteEnds(pair, totals);
        const Category category = pair.category();
        if (category == Category::None)
            continue;
        totals.of(category) += pair.length();
        if (pair.isPresence())
            totals.presence += pair.length();
        if (category == Category::Delo)
            totals.night += nightOf(pair);
    }
    if (day.facts.isPublicHoliday)
        totals.holiday = day.facts.minHours();
}

/// Arrival and departure of the day, and the presence outside its window.
void CalcParse21::readPresence(const Employee &employee, DayPairs pairs, const Calc21sett &rules, DayResult &day) const
{
    const bool usesWindow = rules.usesWindow(day.facts);
    const Window window = usesWindow ? Window(m_clock, day.facts.schedule, day.day) : Window();
    const DayClock clock(m_clock, day.day);
    std::optional<Moment> &in = day.before.in;
    std::optional<Moment> &out = day.before.out;
    for (const Pair &pair : pairs) {
        if (!pair.isPresence())
            continue;
        if (usesWindow && !window.overlaps(pair)) {
            const Window previous(m_clock, employee.daySchedule(m_clock, day.day - 1), day.day - 1);
            if (!previous.overlaps(pair))
                (pair.departure.timestamp <= window.from ? day.facts.outsideBefore : day.facts.outsideAfter) +=
                    pair.length();
            continue;
        }
        if (!rules.countsMetaPairs() && pair.isMetaPeriod)
            continue;
        if (!in || pair.arrival.timestamp < in->instant)
            in = clock.at(pair.arrival.timestamp);
        if (!out || pair.departure.timestamp > out->instant)
            out = clock.at(pair.departure.timestamp);
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

CodeNames CalcParse21::codesOf(const Employee &employee) const
{
    CodeNames codes;
    for (const Event &event : employee.events) {
        const QString code =
            event.isDoubled || !m_inputs.period.contains(event.timestamp) ? QString() : event.code.text();
        if (code.isEmpty())
            continue;
        QString &name = codes[code];
        if (name.isEmpty())
            name = nameOf(event.accessCode, code);
    }
    return codes;
}

void CalcParse21::prepackPreraz(CalcInputs &inputs)
{
    qDebug() << "CalcParse21::prepackPreraz(QAny &qIn)---------------------------- IN";
    qDebug() << "CalcParse21::prepackPreraz(QAny &qIn)---------------------------- PARSE";
    for (Employee &employee : inputs.employees) {
        employee.assignments = inputs.plan.rowsOf(employee.group, employee.emplId);
        employee.shifts = inputs.plan.daysOf(employee.group, employee.emplId);
    }
}
