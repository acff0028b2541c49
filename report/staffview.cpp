#include "report/staffview.h"

#include "calc/calc21.h"
#include "calc/input/settingsstore.h"

namespace report {

using calc::rules::CalcErrors;
using calc::rules::DayResult;
using calc::rules::Event;
using calc::rules::EventKind;
using calc::rules::Pair;

namespace {

/// An arrival that is older was forgotten to be closed: nobody is in so long.
constexpr qint64 kLongestShift = 16 * 3600;

// Faults of the pairing that an arrival without a departure has, by which somebody is in now.
const QString kNoDeparture = QStringLiteral("Ni Izhoda!");
const QString kLastIsNoDeparture = QStringLiteral("Zadnji dogodek ni izhod!");

QAny requestOf(const Period &period)
{
    const QString format = QStringLiteral("d.M.yyyy");
    QAny request{{QStringLiteral("STARTDATE"), period.first.toString(format)},
                 {QStringLiteral("ENDDATE"), period.last.toString(format)},
                 {QStringLiteral("EXPLAIN"), period.isExplained}};
    if (!period.users.empty()) {
        QAny users(QAny::List);
        for (const qint64 user : period.users)
            users.append(user);
        request.insert(QStringLiteral("USER"), users);
    }
    return request;
}

/// The stored settings without what makes events other than they were made. Which taps are of one passage stays, and
/// the clock of who works in another time zone.
QAny settingsAsMade(storage::Reader &reader)
{
    calc::rules::CalcSettings settings = calc::input::loadSettings(reader);
    settings.isRound30 = false;
    settings.autoEvents = false;
    settings.earlyExit = 0;
    settings.nearEvents = true; // a night's other half may lie beyond the period
    return calc::input::settingsHash(settings);
}

/*HP*/ bool hasHalfPair(const std::vector<Pair> &pairs, int day)
{
    return std::any_of(pairs.begin(), pairs.end(),
                       [day](const Pair &pair) { return pair.day == day && !pair.isComplete(); });
}

/// A schedule may let people work without asking for hours.
DayState stateWithoutWork(qint64 required)
{
    return required > 0 ? DayState::Missing : DayState::Free;
}

} // namespace

const QString &stateText(DayState state)
{
    static const QString texts[] = {QStringLiteral("complete"), QStringLiteral("half"),   QStringLiteral("missing"),
                                    QStringLiteral("free"),     QStringLiteral("future"), QStringLiteral("now")};
    return texts[static_cast<int>(state)];
}

void Totals::add(const DayView &day)
{
    if (day.result->facts.isFuture)
        return;
    worked += day.worked;
    required += day.required;
    balance += day.balance;
    for (size_t i = 0; i < categories.size(); ++i)
        categories[i] += day.amounts.categories[i];
    holiday += day.amounts.holiday;
}

StaffView::StaffView(calc::Crew &crew, const Period &period, const Now &now) : m_now(now)
{
    Calc21 calculation(crew, now.today);
    calculation.allowNoEvents();
    if (period.withLeft)
        calculation.includeLeft();
    QAny request = requestOf(period);
    if (period.asMade)
        request.insert(QStringLiteral("SETT"), settingsAsMade(crew.reader()));
    calculation.calculate(request);
    m_result = calculation.takeResult();
    for (size_t i = 0; i < m_result.employees.size(); ++i)
        m_positions.insert(m_result.inputs.employees[i].user, static_cast<int>(i));
    for (const CalcErrors::Entry &error : m_result.errors.entries())
        m_errors[error.user].push_back(&error);
}

QStringList StaffView::faultsOf(qint64 user) const
{
    QStringList faults;
    for (const CalcErrors::Entry *error : m_errors.value(user)) {
        if (error->date == 0)
            faults += error->text;
    }
    return faults;
}

/// The pair of who is in now: the last event that counts is an arrival without a departure, and not long ago.
const Pair *StaffView::openPair(int position) const
{
    const auto index = static_cast<size_t>(position);
    const std::vector<Event> &events = m_result.inputs.employees[index].events;
    int last = -1;
    for (size_t i = 0; i < events.size() && events[i].timestamp <= m_now.time; ++i) {
        if (events[i].takesPart())
            last = static_cast<int>(i);
    }
    if (last < 0)
        return nullptr;
    const Event &event = events[static_cast<size_t>(last)];
    if (!event.code.isArrival() || event.kind == EventKind::MetaPeriod || m_now.time - event.timestamp > kLongestShift)
        return nullptr;
    for (const Pair &pair : m_result.employees[index].pairing.pairs) {
        if (pair.arrival.isStored() && pair.arrival.event == last)
            return pair.isComplete() ? nullptr : &pair;
    }
    return nullptr;
}

std::vector<Exception> StaffView::exceptionsOf(qint64 user, const std::vector<DayView> &days) const
{
    std::vector<Exception> exceptions;
    const auto addAll = [&exceptions](Exception::What what, const QDate &date, const QStringList &texts) {
        for (const QString &text : texts)
            exceptions.push_back({what, date, text});
    };
    addAll(Exception::Fault, {}, faultsOf(user));
    for (const DayView &day : days) {
        if (day.state == DayState::Half)
            exceptions.push_back({Exception::Half, day.date, day.faults.join(QLatin1Char(' '))});
        else if (day.state == DayState::Missing)
            exceptions.push_back({Exception::Missing, day.date, {}});
        if (day.state != DayState::Half)
            addAll(Exception::Fault, day.date, day.faults);
        addAll(Exception::Warning, day.date, day.warnings);
    }
    return exceptions;
}

std::vector<DayView> StaffView::daysOf(int position) const
{
    const calc::rules::EmployeeResult &employee = m_result.employees[static_cast<size_t>(position)];
    const Pair *open = openPair(position);
    std::vector<DayView> days;
    days.reserve(employee.days.size());
    for (const DayResult &day : employee.days) {
        days.push_back(dayView(position, day, open ? open->day : -1));
        if (open && open->day == day.day) {
            const qint64 passed = m_now.time - open->arrival.timestamp;
            days.back().liveSince = open->arrival.timestamp;
            days.back().worked += passed;
            days.back().balance += passed;
        }
    }
    return days;
}

QString StaffView::holidayOf(const DayView &day) const
{
    const QString &holiday = m_result.inputs.holiday(day.result->day);
    bool isNumber = false; // a calendar may mark a holiday by a number alone
    holiday.toInt(&isNumber);
    return isNumber ? QString() : holiday;
}

DayView StaffView::dayView(int position, const DayResult &day, int openDay) const
{
    const auto index = static_cast<size_t>(position);
    DayView view;
    view.amounts = day.amountsAfter();
    view.date = m_result.inputs.period.clock.date(day.day);
    view.result = &day;
    view.required = day.facts.isFree ? day.totals.holiday : day.facts.minHours();
    view.worked = view.amounts.total;
    view.balance = view.amounts.plusMinus;
    if (day.day == openDay)
        view.state = DayState::Now;
    else if (day.facts.isFuture)
        view.state = DayState::Future;
    else if (hasHalfPair(m_result.employees[index].pairing.pairs, day.day))
        view.state = DayState::Half;
    else if (day.facts.hasPairs)
        view.state = DayState::Complete;
    else if (day.facts.isWorkingDay())
        view.state = view.date == m_now.today ? DayState::Now : stateWithoutWork(view.required);
    tellErrors(m_result.inputs.employees[index].user, view);
    return view;
}

void StaffView::tellErrors(qint64 user, DayView &day) const
{
    const qint64 midnight = m_result.inputs.period.clock.midnight(day.result->day);
    const auto errors = m_errors.constFind(user);
    if (errors != m_errors.constEnd()) {
        for (const CalcErrors::Entry *error : *errors) {
            if (error->date != midnight)
                continue;
            const bool isOfRules = day.result->remarks.contains(error->text);
            (error->code == CalcErrors::Code::Opc ? day.remarks : isOfRules ? day.warnings : day.faults) += error->text;
        }
    }
    for (const QString &remark : day.result->remarks) {
        if (!day.warnings.contains(remark))
            day.remarks += remark;
    }
    // That somebody has not gone yet is no fault.
    if (day.state == DayState::Now && !day.faults.isEmpty() &&
        (day.faults.last() == kLastIsNoDeparture || day.faults.last() == kNoDeparture))
        day.faults.removeLast();
}

} // namespace report
