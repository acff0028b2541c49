#include "calc/rules/pairing.h"

#include <QDateTime>
#include <QDebug>

#include <algorithm>

namespace {

const QString kNoArrival = QStringLiteral("Ni Prihoda!");
const QString kNoDeparture = QStringLiteral("Ni Izhoda!");
const QString kLastIsNoDeparture = QStringLiteral("Zadnji dogodek ni izhod!");
const QString kLateArrival = QStringLiteral("prihod po 18h");
const QString kEarlyDeparture = QStringLiteral("odhod pred 8 zjutraj");
const QString kTwoDays = QStringLiteral("Dvodnevni par");
const QString kTwoDaysStart = QStringLiteral("Dvodnevni par - začetek obdobja");
const QString kTwoDaysEnd = QStringLiteral("Dvodnevni par - konec obdobja");
const QString kWholeBefore = QStringLiteral("Celoten par pred obdobjem");
const QString kWholeAfter = QStringLiteral("Celoten par za obdobjem");
const QString kArrivalBefore = QStringLiteral("Nepopoln par pred obdobjem-samo prihod");
const QString kArrivalAfter = QStringLiteral("Nepopoln par za obdobjem-samo prihod");
const QString kDepartureBefore = QStringLiteral("Nepopoln par pred obdobjem-samo odhod");
const QString kDepartureAfter = QStringLiteral("Nepopoln par za obdobjem-samo odhod");
const QString kGeneratedType = QStringLiteral("AE");
const QString kAutomaticLunch = QStringLiteral("103:A-malica");
const QString kAutomaticArrival = QStringLiteral("101:A-prihod");

/// Arrivals in a later hour than this are late.
constexpr int kLastArrivalHour = 18;

PairEnd endOf(const Event &event)
{
    PairEnd end;
    end.present = true;
    end.timestamp = event.timestamp;
    end.code = event.code;
    end.accessCode = event.accessCode;
    end.type = event.type;
    end.remark = event.remark;
    end.param = event.param;
    end.idx = event.idx;
    end.tag = event.tag;
    return end;
}

QString shownTime(const PairEnd &end)
{
    return end.present ? QDateTime::fromSecsSinceEpoch(end.timestamp).toString(QStringLiteral("d.M.yyyy hh:mm"))
                       : QString();
}

} // namespace

EventPairing::EventPairing(const CalcSettings &settings, const Period &period, CalcErrors &errors)
    : m_settings(settings), m_period(period), m_errors(errors)
{
}

std::vector<Pair> EventPairing::pairsOf(const Employee &employee)
{
    m_employee = &employee;
    m_pairs.clear();
    m_pairs.reserve(employee.events.size() / 2 + 2);
    join(employee);
    deleteByHour();
    parsePairs();
    insertAutomaticLunches();
    measureOutside();
    keepPeriod();
    return std::move(m_pairs);
}

int EventPairing::hourOf(qint64 instant) const
{
    return static_cast<int>(m_period.clock.clockSeconds(instant, dayOf(instant)) / 3600);
}

Pair &EventPairing::newPair(int day)
{
    m_pairs.emplace_back();
    m_pairs.back().number = ++m_lastNumber;
    m_pairs.back().day = day;
    return m_pairs.back();
}

void EventPairing::addFault(CalcErrors::Code code, const QString &text, int day)
{
    if (m_period.containsDay(day))
        m_errors.add(code, text, m_employee->user, m_employee->name, m_period.clock.midnight(day));
}

void EventPairing::join(const Employee &employee)
{
    bool isOpen = false;
    for (const Event &event : employee.events) {
        if (event.code.isArrival()) {
            if (isOpen)
                reportMissingDeparture(m_pairs.back());
            newPair(dayOf(event.timestamp)).arrival = endOf(event);
            isOpen = true;
        } else if (event.code.isDeparture()) {
            if (isOpen)
                m_pairs.back().departure = endOf(event);
            else
                closeWithoutArrival(event);
            isOpen = false;
        }
    }
    if (isOpen)
        addFault(CalcErrors::Code::Opo, kLastIsNoDeparture, m_pairs.back().day);
}

void EventPairing::closeWithoutArrival(const Event &departure)
{
    Pair &pair = newPair(dayOf(departure.timestamp));
    pair.departure = endOf(departure);
    if (!m_settings.autoEvents || !departure.code.mayLackArrival()) {
        addFault(CalcErrors::Code::Atp, kNoArrival, pair.day);
        if (m_settings.isDebug)
            qDebug() << "Ni Prihoda! ATP";
        return;
    }
    pair.arrival.present = true;
    pair.arrival.timestamp = pair.departure.timestamp;
    pair.arrival.code = pair.departure.code;
    pair.arrival.accessCode = pair.departure.accessCode;
    pair.arrival.type = kGeneratedType;
    pair.isMarked = m_settings.showNoEv != 0;
}

void EventPairing::reportMissingDeparture(const Pair &open)
{
    addFault(CalcErrors::Code::Opo, kNoDeparture, open.day);
    if (m_settings.isDebug)
        qDebug().noquote() << kNoDeparture << QStringLiteral("CID %1").arg(open.number);
}

void EventPairing::deleteByHour()
{
    if (m_settings.earlyExit <= 0)
        return;
    const auto isDeleted = [this](const Pair &pair) {
        if (isLateArrival(pair))
            addFault(CalcErrors::Code::Opo, kLateArrival, pair.day);
        else if (isEarlyDeparture(pair))
            addFault(CalcErrors::Code::Opo, kEarlyDeparture, pair.day);
        else
            return false;
        qDebug().noquote()
            << "Brisanje para"
            << QStringLiteral("%1 %2 - %3").arg(m_employee->name, shownTime(pair.arrival), shownTime(pair.departure));
        return true;
    };
    m_pairs.erase(std::remove_if(m_pairs.begin(), m_pairs.end(), isDeleted), m_pairs.end());
}

bool EventPairing::isLateArrival(const Pair &pair) const
{
    return pair.arrival.present && hourOf(pair.arrival.timestamp) > kLastArrivalHour &&
           !isInLateWindow(pair.arrival.timestamp);
}

bool EventPairing::isEarlyDeparture(const Pair &pair) const
{
    return pair.departure.present && hourOf(pair.departure.timestamp) < m_settings.earlyExit &&
           !isInLateWindow(pair.departure.timestamp);
}

/// Whether a schedule of the day or, after midnight, of the day before reaches into the late hours and covers the
/// instant: a late shift comes and goes when others must not.
bool EventPairing::isInLateWindow(qint64 instant) const
{
    const LocalClock &clock = m_period.clock;
    const int today = dayOf(instant);
    for (const int day : {today, today - 1}) {
        const DaySchedule *schedule = m_employee->daySchedule(clock, day);
        if (!schedule || !schedule->hasWindow() || *schedule->endE <= (kLastArrivalHour + 1) * 3600)
            continue;
        const qint64 shown = clock.clockSeconds(instant, day);
        if (shown >= *schedule->startB && shown <= *schedule->endE)
            return true;
    }
    return false;
}

void EventPairing::parsePairs()
{
    if (m_settings.calcRem == 0)
        return;
    for (const Pair &pair : m_pairs) {
        const QString text = caseOf(pair);
        if (!text.isEmpty())
            m_errors.add(CalcErrors::Code::Opc, text, m_employee->user, m_employee->name,
                         m_period.clock.midnight(pair.day));
    }
}

/// How the pair lies to midnight and the period; empty for an ordinary one.
QString EventPairing::caseOf(const Pair &pair) const
{
    const auto isBefore = [this](const PairEnd &end) { return end.timestamp < m_period.start; };
    const auto isAfter = [this](const PairEnd &end) { return end.timestamp > m_period.end; };
    if (pair.isComplete()) {
        if (dayOf(pair.arrival.timestamp) != dayOf(pair.departure.timestamp)) {
            if (isBefore(pair.arrival))
                return kTwoDaysStart;
            return isAfter(pair.departure) ? kTwoDaysEnd : kTwoDays;
        }
        if (isBefore(pair.departure))
            return kWholeBefore;
        return isAfter(pair.arrival) ? kWholeAfter : QString();
    }
    if (pair.arrival.present) {
        if (isBefore(pair.arrival))
            return kArrivalBefore;
        return isAfter(pair.arrival) ? kArrivalAfter : QString();
    }
    if (isBefore(pair.departure))
        return kDepartureBefore;
    return isAfter(pair.departure) ? kDepartureAfter : QString();
}

void EventPairing::insertAutomaticLunches()
{
    for (size_t first = 0; first < m_pairs.size();) {
        const int day = m_pairs[first].day;
        size_t end = first;
        bool hasLunch = false;
        for (; end < m_pairs.size() && m_pairs[end].day == day; ++end)
            hasLunch = hasLunch || m_pairs[end].category() == Category::Malica;
        const DaySchedule *schedule = m_employee->daySchedule(m_period.clock, day);
        const bool isWanted = schedule && schedule->automaticLunch && schedule->automaticLunchStart &&
                              schedule->lunch.value_or(0) > 0 && !hasLunch;
        for (size_t i = first; isWanted && i < end; ++i) {
            if (splitByLunch(i, *schedule)) {
                ++end;
                break;
            }
        }
        first = end;
    }
}

bool EventPairing::splitByLunch(size_t index, const DaySchedule &schedule)
{
    const Pair &whole = m_pairs[index];
    const qint64 start = m_period.clock.instantOf(whole.day, *schedule.automaticLunchStart);
    const qint64 end = start + *schedule.lunch;
    if (!whole.isPresence() || whole.arrival.timestamp >= start || whole.departure.timestamp <= end)
        return false;
    if (m_settings.isDebug)
        qDebug() << "---------------- DODAJ MALICO";
    Pair after = whole;
    after.number = ++m_lastNumber;
    after.arrival = PairEnd();
    after.arrival.present = true;
    after.arrival.timestamp = end;
    after.arrival.code = AccessCode(kAutomaticArrival);
    after.arrival.accessCode = kAutomaticArrival;
    after.arrival.type = kAutomaticArrival;
    after.isMarked = false;

    // The first part keeps the access code, so that its time stays in its category.
    PairEnd lunchOut;
    lunchOut.present = true;
    lunchOut.isAutomatic = true;
    lunchOut.timestamp = start;
    lunchOut.code = whole.departure.code;
    lunchOut.accessCode = whole.departure.accessCode;
    lunchOut.type = kAutomaticLunch;
    m_pairs[index].departure = lunchOut;
    m_pairs.insert(m_pairs.begin() + static_cast<std::ptrdiff_t>(index) + 1, std::move(after));
    return true;
}

void EventPairing::measureOutside()
{
    if (!m_settings.nearEvents)
        return;
    for (Pair &pair : m_pairs) {
        const qint64 nextMidnight = m_period.clock.midnight(pair.day + 1);
        if (pair.isComplete() && pair.departure.timestamp > nextMidnight)
            pair.outsideDay = pair.departure.timestamp - std::max(pair.arrival.timestamp, nextMidnight);
    }
}

void EventPairing::keepPeriod()
{
    const auto isOutside = [this](const Pair &pair) { return !m_period.containsDay(pair.day); };
    m_pairs.erase(std::remove_if(m_pairs.begin(), m_pairs.end(), isOutside), m_pairs.end());
}
