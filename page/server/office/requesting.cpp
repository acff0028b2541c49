#include "page/server/office/requesting.h"

#include "calc/rules/localday.h"
#include "page/server/office/answers.h"
#include "page/server/office/workdays.h"
#include "storage/database.h"

#include <QDateTime>

namespace page::office {

namespace {

/// What is wrong with an ask: an error code, and the reason and the day where there is one.
struct Fault {
    const char *error = nullptr;
    const char *reason = nullptr;
    QDate date = {};

    QAny answer() const
    {
        QAny refusal = reason ? refused(error, reason) : refused(error);
        if (date.isValid())
            refusal.insert(QStringLiteral("date"), date.toString(dateFormat()));
        return refusal;
    }
};

/// The moment of a punch, Unix seconds; nothing where the text is no time or the clock never shows it.
std::optional<qint64> momentOf(QDate date, const QAny &text)
{
    const QTime time = text.isString() ? QTime::fromString(text.asString(), QStringLiteral("HH:mm")) : QTime();
    if (!time.isValid())
        return {};
    const auto instants = calc::rules::LocalDay(date).instantsOf(QTime(0, 0).secsTo(time));
    return instants.isSkipped ? std::nullopt : std::optional<qint64>(instants.first);
}

/// The request as the ask has it, without a look at the file.
Fault parse(const QAny &ask, Request &request)
{
    const auto field = [&ask](const char *name) { return ask.lookup(QString::fromLatin1(name)); };
    const RequestKind *kind = requestKind(field("kind").toString());
    if (!kind)
        return {kBadRequest, "kind"};
    request.kind = kind->name;
    request.code = codeOf(kind->accessCode(field("code").toString()));
    if (request.code.isEmpty())
        return {kBadRequest, "code"};
    request.from = dateOf(field(kind->isPunch ? "date" : "from"), dateFormat());
    request.to = dateOf(field(kind->isPunch ? "date" : "to"), dateFormat());
    if (!request.from.isValid() || !request.to.isValid())
        return {kBadRequest, "date"};
    if (request.to < request.from)
        return {kBadRequest, "endBeforeStart"};
    if (request.from.daysTo(request.to) >= kMaxAbsenceDays)
        return {kBadRequest, "tooLong"};
    if (kind->isPunch) {
        request.time = momentOf(request.from, field("time"));
        if (!request.time)
            return {kBadRequest, "time"};
    }
    request.why = plainText(field("why").toString());
    return request.why.size() > kMaxTextLength ? Fault{kBadRequest, "text"} : Fault{};
}

Fault checkTimes(CheckedReader &reader, const Request &request, const Now &now)
{
    if (request.time && *request.time > now.time)
        return {kBadRequest, "future"};
    if (request.to > now.today.addDays(kMaxDaysAhead))
        return {kBadRequest, "future"};
    const std::optional<qint64> first = firstEventOf(reader, request.user.id);
    const QDate known = first ? qMin(QDateTime::fromSecsSinceEpoch(*first).date(), now.today) : now.today;
    const QDate earliest = QDate(known.year(), known.month(), 1).addMonths(-kMonthsBeforeFirstEvent);
    return request.from < earliest ? Fault{kBadRequest, "tooEarly"} : Fault{};
}

bool isAnyRow(CheckedReader &reader, const QString &sql, const QVariantList &bindings)
{
    bool isAny = false;
    reader.forEachRow(sql, bindings, [&isAny](const QSqlQuery &) { isAny = true; });
    return isAny;
}

/// Against other requests, and of a punch against what was punched.
Fault checkOverlap(CheckedReader &reader, const Request &request)
{
    static const QString absences =
        QStringLiteral("SELECT RID FROM page_request WHERE USER=? AND TIME IS NULL AND STATE IN ('open','approved') "
                       "AND FROMDATE<=? AND TODATE>=? LIMIT 1");
    static const QString punches = QStringLiteral("SELECT RID FROM page_request WHERE USER=? AND TIME=? AND STATE "
                                                  "IN ('open','approved') LIMIT 1");
    static const QString events = QStringLiteral(
        "SELECT ID FROM %1 WHERE USER=? AND TIMESTAMP>=? AND TIMESTAMP<? AND substr(ACCESS_CODE,1,3)=? LIMIT 1");
    static const QString tables[] = {events.arg(QStringLiteral("allevents")), events.arg(QStringLiteral("metalog"))};
    const qint64 user = request.user.id;
    if (!request.time) {
        const QVariantList days{user, request.to.toString(dateFormat()), request.from.toString(dateFormat())};
        return isAnyRow(reader, absences, days) ? Fault{kOverlap, "request"} : Fault{};
    }
    if (isAnyRow(reader, punches, {user, *request.time}))
        return {kOverlap, "request"};
    for (const QString &table : tables) {
        if (isAnyRow(reader, table, {user, *request.time, *request.time + 60, request.code.left(3)}))
            return {kOverlap, "events"};
    }
    return {};
}

/// That an absence can become events, today.
Fault checkWorkdays(CheckedReader &reader, const Request &request, const Now &now)
{
    const Workdays workdays = workdaysOf(reader.reader(), request.user.id, request.from, request.to, now.today);
    if (!workdays.isKnown)
        return {kBadRequest, "noCalendar"};
    if (workdays.days.empty())
        return {kBadRequest, "noWorkday"};
    const QDate busy = firstBusyDay(reader, request.user.id, workdays.days);
    return busy.isValid() ? Fault{kOverlap, "events", busy} : Fault{};
}

Fault faultOf(CheckedReader &reader, const Request &request, const Now &now)
{
    static const QString open = QStringLiteral("SELECT RID FROM page_request WHERE USER=? AND STATE='open'");
    int openRequests = 0;
    reader.forEachRow(open, {request.user.id}, [&openRequests](const QSqlQuery &) { ++openRequests; });
    if (openRequests >= kMaxOpenRequests)
        return {kBadRequest, "tooMany"};
    Fault fault = checkTimes(reader, request, now);
    if (!fault.error)
        fault = checkOverlap(reader, request);
    if (!fault.error && !request.time)
        fault = checkWorkdays(reader, request, now);
    return fault;
}

storage::Status insert(DataBase &database, const Request &request, const Now &now, qint64 *rid)
{
    static const QString sql =
        QStringLiteral("INSERT INTO page_request (USER,KIND,CODE,FROMDATE,TODATE,TIME,WHY,ASKED,STATE,REVISION) VALUES "
                       "(?,?,?,?,?,?,?,?,'open',(SELECT coalesce(max(REVISION),0)+1 FROM page_request))");
    const storage::Status stored =
        database.execPrepared(sql, {request.user.id, request.kind, request.code, request.from.toString(dateFormat()),
                                    request.to.toString(dateFormat()),
                                    request.time ? QVariant(*request.time) : QVariant(), request.why, now.time});
    if (!stored)
        return stored;
    return database.forEachRow(QStringLiteral("SELECT last_insert_rowid()"), {},
                               [rid](const QSqlQuery &row) { *rid = row.value(0).toLongLong(); });
}

} // namespace

QString plainText(const QString &text)
{
    QString plain;
    plain.reserve(text.size());
    for (int i = 0; i < text.size(); ++i) {
        const QChar unit = text.at(i);
        if (unit.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate())
            plain += text.midRef(i++, 2);
        else if (unit.isSpace() || unit.category() == QChar::Other_Control)
            plain += QLatin1Char(' ');
        else if (!unit.isSurrogate())
            plain += unit;
    }
    return plain.trimmed();
}

QAny requestAnswer(DataBase &database, const Admission &admission, const QAny &ask, const Now &now)
{
    Request request;
    request.user = admission.subject;
    CheckedReader reader(database);
    Fault fault = parse(ask, request);
    if (!fault.error)
        fault = faultOf(reader, request, now);
    if (reader.hasFailed())
        return refused(kDatabase);
    if (fault.error)
        return fault.answer();
    qint64 rid = 0;
    if (!insert(database, request, now, &rid))
        return refused(kDatabase);
    return done({{QStringLiteral("rid"), rid}});
}

} // namespace page::office
