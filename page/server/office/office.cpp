#include "page/server/office/office.h"

#include "page/server/office/answers.h"
#include "page/server/office/asking.h"
#include "page/server/office/requesting.h"
#include "page/server/office/workdays.h"
#include "storage/database.h"

namespace page::office {

namespace {

using Answer = QAny (*)(Asking &);

struct ReadingAsk {
    const char *ask;
    Answer answer;
};

constexpr ReadingAsk kReadingAsks[] = {
    {"month", monthAnswer},     {"day", dayAnswer},           {"presence", presenceAnswer},
    {"balance", balanceAnswer}, {"requests", requestsAnswer}, {"department", departmentAnswer},
};

QString nameOf(const QAny &ask)
{
    return ask.lookup(QStringLiteral("ask")).toString();
}

Answer answerTo(const QAny &ask)
{
    for (const ReadingAsk &known : kReadingAsks) {
        if (nameOf(ask) == QLatin1String(known.ask))
            return known.answer;
    }
    return nullptr;
}

QAny writeAnswer(DataBase &database, const Person &person, const QAny &ask, const Now &now)
{
    CheckedReader reader(database);
    const Admission admission = admit(reader, person, ask);
    if (admission.error)
        return refused(admission.error);
    const QString name = nameOf(ask);
    if (name == QLatin1String("request"))
        return requestAnswer(database, admission, ask, now);
    if (name == QLatin1String("withdraw"))
        return withdrawAnswer(database, admission);
    if (name == QLatin1String("decide"))
        return decideAnswer(database, admission, ask, now);
    return refused(kBadRequest);
}

/// So many requests of a list, each of a year at most, are looked at that closely.
constexpr int kMostCounted = 50;

/// How many working days an absence takes; Null without a calendar.
QAny workdayCount(Asking &asking, const Request &request)
{
    const Workdays workdays =
        workdaysOf(asking.reader.reader(), request.user.id, request.from, request.to, asking.now.today);
    return workdays.isKnown ? QAny(static_cast<int>(workdays.days.size())) : QAny();
}

} // namespace

bool isWriting(const QAny &ask)
{
    const AskRule *rule = ruleOf(ask);
    return rule && rule->writes;
}

bool isLarge(const QAny &ask)
{
    return nameOf(ask) == QLatin1String("department");
}

QAny requestsAnswer(Asking &asking)
{
    const QString scope = asking.field("scope").toString();
    const std::vector<Request> requests = scope == QLatin1String("mine") ? requestsBy(asking.reader, asking.person().id)
                                          : scope == QLatin1String("open")
                                              ? openRequestsFor(asking.reader, asking.person())
                                              : decidedRequestsFor(asking.reader, asking.person());
    QAny list(QAny::List);
    int counted = 0;
    for (const Request &request : requests) {
        QAny entry = request.json(asking.person());
        // Who decides wants to know; what is decided is over.
        if (request.state == kOpen && !request.time && ++counted <= kMostCounted)
            entry.insert(QStringLiteral("days"), workdayCount(asking, request));
        list.append(entry);
    }
    return done({{QStringLiteral("requests"), list}});
}

QAny read(calc::Crew &crew, const Person &person, const QAny &ask, const Now &now)
{
    CheckedReader reader(crew.reader());
    const Admission admission = admit(reader, person, ask);
    if (admission.error)
        return refused(admission.error);
    const Answer answerIt = answerTo(ask);
    if (!answerIt)
        return refused(kBadRequest);
    Asking asking{crew, reader, admission, ask, now};
    const QAny answer = answerIt(asking);
    return reader.hasFailed() ? refused(kDatabase) : answer;
}

QAny write(Storage &storage, const Person &person, const QAny &ask, const Now &now)
{
    DataBase *database = storage.ready();
    if (!database)
        return refused(kDatabase);
    Transaction transaction(*database);
    const QAny answer = writeAnswer(*database, person, ask, now);
    if (!isDone(answer))
        return answer;
    return transaction.commit() ? answer : refused(kDatabase);
}

} // namespace page::office
