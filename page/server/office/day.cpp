#include "calc/output/explanation.h"
#include "calc/rules/accesscode.h"
#include "page/server/office/answers.h"
#include "page/server/office/asking.h"
#include "page/server/office/staffview.h"

namespace page::office {

namespace {

const QString kOtherHalfMissing = QStringLiteral("other half missing");

QAny missingEntry(const char *what, const QAny &event)
{
    return {{QStringLiteral("what"), QString::fromLatin1(what)}, {QStringLiteral("event"), event}};
}

calc::rules::AccessCode codeOfEvent(const QAny &event)
{
    return calc::rules::AccessCode(event.lookup(QStringLiteral("AC")).toString());
}

/// Whoever leaves work for lunch departs and arrives in one moment, and closes the lunch with its code when back: an
/// arrival of that kind that is followed by another one lacks the end of a lunch.
bool lacksLunchEnd(const QAny &events, int position)
{
    if (position == 0 || position + 1 >= events.count())
        return false;
    const QAny &before = events.at(position - 1);
    const QString time = QStringLiteral("TIMESTAMP");
    return codeOfEvent(before).isPresence() && before.lookup(time) == events.at(position).lookup(time) &&
           codeOfEvent(events.at(position + 1)).isArrival();
}

/// What the day lacks, by the events of its explanation. The arrival of who is in now lacks nothing.
QAny missingOf(const DayView &day, const QAny &events)
{
    QAny missing(QAny::List);
    if (day.state == DayState::Missing)
        missing.append(missingEntry("day", {}));
    for (int i = 0; i < events.count(); ++i) {
        const QAny &event = events.at(i);
        if (event.lookup(QStringLiteral("USE")).toString() != kOtherHalfMissing)
            continue;
        if (day.liveSince && event.lookup(QStringLiteral("TIMESTAMP")).toInteger() == *day.liveSince)
            continue;
        const char *what = !codeOfEvent(event).isArrival() ? "arrival"
                           : lacksLunchEnd(events, i)      ? "lunchEnd"
                                                           : "departure";
        missing.append(missingEntry(what, event.lookup(QStringLiteral("N"))));
    }
    return missing;
}

} // namespace

QAny dayAnswer(Asking &asking)
{
    const QDate date = dateOf(asking.field("date"), dateFormat());
    if (!date.isValid())
        return refused(kBadRequest);
    const Employee &user = asking.subject();
    QAny requests(QAny::List);
    for (const Request &request : requestsWithin(asking.reader, user.id, date, date))
        requests.append(request.json(asking.person()));
    checkCalculable(asking.reader);
    if (asking.reader.hasFailed())
        return refused(kDatabase);

    const StaffView view(asking.crew, {date, date, {user.id}, true}, asking.now);
    const int position = view.positionOf(user.id);
    QAny explanation;
    QAny holiday;
    QAny missing(QAny::List);
    if (position >= 0) {
        explanation = calc::output::explanationOf(view.result()).value(0);
        const DayView day = view.daysOf(position).front();
        holiday = orNull(view.holidayOf(day));
        missing = missingOf(day, explanation.lookup(QStringLiteral("EVENTS")));
    }
    return done({{QStringLiteral("user"), user.json()},
                 {QStringLiteral("date"), date.toString(dateFormat())},
                 {QStringLiteral("holiday"), holiday},
                 {QStringLiteral("explanation"), explanation},
                 {QStringLiteral("missing"), missing},
                 {QStringLiteral("requests"), requests}});
}

} // namespace page::office
