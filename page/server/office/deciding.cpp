#include "calc/input/metaevents.h"
#include "page/server/office/answers.h"
#include "page/server/office/requesting.h"
#include "page/server/office/workdays.h"
#include "storage/database.h"
#include "storage/values.h"

namespace page::office {

namespace {

// Kinds of hand-entered events.
const QString kPunch = QStringLiteral("ME");
const QString kAbsence = QStringLiteral("MP");
const QString kArrival = QStringLiteral("101:Prihod");

storage::Status setState(DataBase &database, qint64 rid, const QString &state, const QVariantList &decision)
{
    static const QString sql = QStringLiteral(
        "UPDATE page_request SET STATE=?,DECIDEDBY=?,DECIDEDAT=?,NOTE=?,METALOG=?,REVISION=(SELECT max(REVISION)+1 "
        "FROM page_request) WHERE RID=?");
    return database.execPrepared(sql, QVariantList{state} + decision + QVariantList{rid});
}

MetaEvent eventOf(const Request &request, qint64 time, const QString &accessCode)
{
    MetaEvent event;
    event.author = event.user = request.user.id;
    event.timestamp = time;
    event.accessCode = accessCode;
    event.type = request.time ? kPunch : kAbsence;
    return event;
}

/// What an approved request becomes. False where a working day has events by now, or there is none left.
bool eventsOf(CheckedReader &reader, const Request &request, const Now &now, std::vector<MetaEvent> *events)
{
    const QString accessCode = requestKind(request.kind)->accessCode(request.code);
    if (request.time) {
        events->push_back(eventOf(request, *request.time, accessCode));
        events->back().remark = request.why;
        return true;
    }
    const Workdays workdays = workdaysOf(reader.reader(), request.user.id, request.from, request.to, now.today);
    for (const Workday &day : workdays.days) {
        events->push_back(eventOf(request, day.begin, kArrival));
        events->push_back(eventOf(request, day.end, accessCode));
    }
    for (MetaEvent &event : *events)
        event.remark = nameOfCode(accessCode);
    return !events->empty() && !firstBusyDay(reader, request.user.id, workdays.days).isValid();
}

/// The statement takes the texts as they are: quotes must be doubled, or they would end them.
MetaEvent quoted(MetaEvent event)
{
    for (QString *text : {&event.accessCode, &event.type, &event.remark})
        text->replace(QLatin1Char('\''), QLatin1String("''"));
    return event;
}

/// Their ids as a JSON list; Null where one could not be stored.
QAny store(DataBase &database, const std::vector<MetaEvent> &events)
{
    QAny ids(QAny::List);
    for (const MetaEvent &event : events) {
        QAny stored(QAny::List);
        if (!InsertMeta(database, quoted(event), &stored))
            return {};
        ids.append(stored.at(0).lookup(QStringLiteral("IDX")));
    }
    return ids;
}

QAny approve(DataBase &database, const Request &request, const Now &now, QVariantList decision)
{
    CheckedReader reader(database);
    std::vector<MetaEvent> events;
    const bool isPossible = eventsOf(reader, request, now, &events);
    if (reader.hasFailed())
        return refused(kDatabase);
    if (!isPossible)
        return refused(kOverlap, "events");
    const QAny ids = store(database, events);
    decision.append(ids.toJson());
    if (ids.isNull() || !setState(database, request.rid, kApproved, decision))
        return refused(kDatabase);
    return done();
}

} // namespace

QAny withdrawAnswer(DataBase &database, const Admission &admission)
{
    if (admission.request->state != kOpen)
        return refused(kState);
    const QVariantList undecided{QVariant(), QVariant(), QVariant(), QVariant()};
    return setState(database, admission.request->rid, kWithdrawn, undecided) ? done() : refused(kDatabase);
}

QAny decideAnswer(DataBase &database, const Admission &admission, const QAny &ask, const Now &now)
{
    const Request &request = *admission.request;
    bool isSwitch = false;
    const bool approves = ask.lookup(QStringLiteral("approve")).toBool(&isSwitch);
    const QString note = plainText(ask.lookup(QStringLiteral("note")).toString());
    if (!isSwitch)
        return refused(kBadRequest);
    if (note.size() > kMaxTextLength || (!approves && note.isEmpty()))
        return refused(kBadRequest, "note");
    // The transaction holds the file: nobody else decides it meanwhile.
    if (request.state != kOpen || !requestKind(request.kind))
        return refused(kState);
    const QVariantList decision{admission.person.id, now.time, storage::textVariant(note)};
    if (approves)
        return approve(database, request, now, decision);
    return setState(database, request.rid, kRefused, decision + QVariantList{QVariant()}) ? done() : refused(kDatabase);
}

} // namespace page::office
