#include "page/server/office/office.h"

#include "page/server/office/answers.h"
#include "page/server/office/asking.h"
#include "page/server/office/requesting.h"
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
    for (const Request &request : requests)
        list.append(request.json(asking.person()));
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
