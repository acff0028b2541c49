#include "page/server/office/presence.h"

#include "calc/rules/eventorder.h"
#include "page/server/office/answers.h"
#include "page/server/office/asking.h"

#include <QDateTime>
#include <QHash>

namespace page::office {

using calc::rules::Category;
using calc::rules::Event;
using calc::rules::EventKind;

namespace {

/// A shift that began before midnight goes on for so long.
constexpr qint64 kLongestNight = 12 * 3600;

bool isPlanned(const Event &event)
{
    return event.kind == EventKind::MetaPeriod;
}

Whereabouts departed(const Event &departure)
{
    return {departure.code.isPresence() ? Whereabouts::Out : Whereabouts::Away, departure.timestamp,
            departure.accessCode};
}

/// Of a planned arrival, begun or not: what its departure says it is for.
Whereabouts planned(const Event &arrival, const Event *departure)
{
    const bool isAbsence = departure && departure->code.isDeparture() && !departure->code.isPresence();
    return isAbsence ? Whereabouts{Whereabouts::Away, arrival.timestamp, departure->accessCode} : Whereabouts();
}

Whereabouts arrived(const Event &arrival, const Event *before, const Event *after)
{
    if (isPlanned(arrival)) {
        const Whereabouts away = planned(arrival, after);
        return away.state == Whereabouts::Away ? away : Whereabouts{Whereabouts::In, arrival.timestamp, {}};
    }
    // Who departs and arrives in one moment goes out to what the next departure will say, lunch mostly.
    const bool goesOut = before && before->code.isPresence() && before->timestamp == arrival.timestamp;
    return {goesOut ? Whereabouts::Away : Whereabouts::In, arrival.timestamp, {}};
}

using EventsOf = QHash<qint64, std::vector<Event>>;

EventsOf readEvents(CheckedReader &reader, const Now &now)
{
    static const QString sql =
        QStringLiteral("SELECT ID,USER,TIMESTAMP,ACCESS_CODE,TYPE FROM %1 WHERE TIMESTAMP>=? AND TIMESTAMP<?");
    static const QString tables[] = {sql.arg(QStringLiteral("allevents")), sql.arg(QStringLiteral("metalog"))};
    const qint64 midnight = now.today.startOfDay().toSecsSinceEpoch();
    const qint64 tomorrow = now.today.addDays(1).startOfDay().toSecsSinceEpoch();
    EventsOf events;
    for (const bool isMeta : {false, true}) {
        reader.forEachRow(tables[isMeta ? 1 : 0], {qMin(midnight, now.time - kLongestNight), tomorrow},
                          [&](const QSqlQuery &row) {
                              Event event;
                              event.isMeta = isMeta;
                              event.id = row.value(0).toLongLong();
                              event.stored = event.timestamp = row.value(2).toLongLong();
                              event.accessCode = row.value(3).toString();
                              event.code = calc::rules::AccessCode(event.accessCode);
                              event.kind = calc::rules::kindOf(row.value(4).toString());
                              events[row.value(1).toLongLong()].push_back(std::move(event));
                          });
    }
    return events;
}

/// Why somebody is away is told where it is for the work. Illness, leave and private errands are not for all, and the
/// list is the same for all: who oversees somebody sees them in their days.
bool isForAll(const QString &accessCode)
{
    switch (calc::rules::AccessCode(accessCode).category()) {
    case Category::Delo:
    case Category::Sluzbeno:
    case Category::Malica:
    case Category::OdDoma:
    case Category::Teren:
        return true;
    default:
        return false;
    }
}

QAny entryOf(const Employee &employee, const Whereabouts &where)
{
    static const QString states[] = {QStringLiteral("in"), QStringLiteral("out"), QStringLiteral("away")};
    const bool withReason = isForAll(where.accessCode);
    const QString code = withReason ? codeOf(where.accessCode) : QString();
    const QString name = withReason ? nameOfCode(where.accessCode) : QString();
    QAny entry = employee.json();
    entry.insert(QStringLiteral("state"), states[where.state]);
    entry.insert(QStringLiteral("since"), where.since ? QAny(*where.since) : QAny());
    entry.insert(QStringLiteral("code"), code.isEmpty() ? QAny() : QAny(code));
    entry.insert(QStringLiteral("text"), name.isEmpty() ? QAny() : QAny(name));
    return entry;
}

} // namespace

Whereabouts whereaboutsOf(const std::vector<Event> &events, qint64 midnight, qint64 now)
{
    std::vector<const Event *> counted;
    size_t past = 0;
    for (const Event &event : events) {
        if (!event.takesPart())
            continue;
        counted.push_back(&event);
        past += event.timestamp <= now ? 1 : 0;
    }
    const auto at = [&counted](size_t position) { return position < counted.size() ? counted[position] : nullptr; };
    const Event *next = at(past);
    const Event *last = past > 0 ? at(past - 1) : nullptr;
    const bool isOfToday =
        last && (last->timestamp >= midnight || (last->code.isArrival() && now - last->timestamp <= kLongestNight));
    if (isOfToday)
        return last->code.isArrival() ? arrived(*last, past > 1 ? at(past - 2) : nullptr, next) : departed(*last);
    return next && isPlanned(*next) && next->code.isArrival() ? planned(*next, at(past + 1)) : Whereabouts();
}

QAny presenceAnswer(Asking &asking)
{
    const QVector<Employee> people = activeEmployees(asking.reader);
    EventsOf events = readEvents(asking.reader, asking.now);
    if (asking.reader.hasFailed())
        return refused(kDatabase);
    const qint64 midnight = asking.now.today.startOfDay().toSecsSinceEpoch();
    QAny list(QAny::List);
    for (const Employee &employee : people) {
        std::vector<Event> &own = events[employee.id];
        calc::rules::sortByStoredTime(own);
        calc::rules::markDoubled(own);
        list.append(entryOf(employee, whereaboutsOf(own, midnight, asking.now.time)));
    }
    return done({{QStringLiteral("people"), list}});
}

} // namespace page::office
