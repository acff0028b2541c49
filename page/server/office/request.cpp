#include "page/server/office/request.h"

#include "calc/rules/accesscode.h"
#include "page/server/office/answers.h"

namespace page::office {

const QString kOpen = QStringLiteral("open");
const QString kApproved = QStringLiteral("approved");
const QString kRefused = QStringLiteral("refused");
const QString kWithdrawn = QStringLiteral("withdrawn");

namespace {

/// So many of the newest are listed.
constexpr int kMaxListed = 500;

const QString &requestSql()
{
    static const QString sql =
        QStringLiteral("SELECT r.RID,r.USER,%1,coalesce(e.DEPARTMENT,''),r.KIND,r.CODE,r.FROMDATE,r.TODATE,r.TIME,"
                       "r.WHY,r.ASKED,r.STATE,%2,r.DECIDEDAT,r.NOTE FROM page_request r "
                       "JOIN employees e ON e.ID=r.USER AND e.ACTIVE=1 LEFT JOIN employees d ON d.ID=r.DECIDEDBY")
            .arg(nameSql("e"), nameSql("d"));
    return sql;
}

std::optional<qint64> timeIn(const QVariant &value)
{
    return value.isNull() ? std::nullopt : std::optional<qint64>(value.toLongLong());
}

Request requestIn(const QSqlQuery &row)
{
    enum { Rid, User, Name, Department, Kind, Code, From, To, Time, Why, Asked, State, DecidedBy, DecidedAt, Note };
    Request request;
    request.rid = row.value(Rid).toLongLong();
    request.user = {row.value(User).toLongLong(), row.value(Name).toString(), row.value(Department).toString()};
    request.kind = row.value(Kind).toString();
    request.code = row.value(Code).toString();
    request.from = QDate::fromString(row.value(From).toString(), dateFormat());
    request.to = QDate::fromString(row.value(To).toString(), dateFormat());
    request.time = timeIn(row.value(Time));
    request.why = row.value(Why).toString();
    request.asked = row.value(Asked).toLongLong();
    request.state = row.value(State).toString();
    request.decidedBy = row.value(DecidedBy).toString();
    request.decidedAt = timeIn(row.value(DecidedAt));
    request.note = row.value(Note).toString();
    return request;
}

std::vector<Request> requestsWhere(CheckedReader &reader, const QString &rest, const QVariantList &bindings)
{
    std::vector<Request> requests;
    reader.forEachRow(requestSql() + rest, bindings,
                      [&requests](const QSqlQuery &row) { requests.push_back(requestIn(row)); });
    return requests;
}

/// Of the listed rows those that the person oversees.
std::vector<Request> overseen(std::vector<Request> requests, const Person &person)
{
    std::vector<Request> own;
    for (Request &request : requests) {
        if (request.user.id != person.id && overlooks(person, request.user.department) && own.size() < kMaxListed)
            own.push_back(std::move(request));
    }
    return own;
}

QAny orNull(const std::optional<qint64> &time)
{
    return time ? QAny(*time) : QAny();
}

} // namespace

QString codeOf(const QString &accessCode)
{
    return calc::rules::AccessCode(accessCode).text();
}

QString nameOfCode(const QString &accessCode)
{
    const QString code = codeOf(accessCode);
    return code.isEmpty() || accessCode.at(qMin(code.size(), accessCode.size() - 1)) != QLatin1Char(':')
               ? QString()
               : accessCode.mid(code.size() + 1);
}

QString RequestKind::accessCode(const QString &code) const
{
    if (code.isEmpty() && !isPunch)
        return accessCodes.first();
    for (const QString &known : accessCodes) {
        if (codeOf(known) == code)
            return known;
    }
    return {};
}

const RequestKind *requestKind(const QString &name)
{
    static const QVector<RequestKind> kinds = {
        {"punch", true, {"101:Prihod", "102:Odhod", "103:Malica", "104:Službeno", "105:Zasebno"}},
        {"leave", false, {"102:1:Dopust", "102:6:Izredni dopust"}},
        {"sickness", false, {"102:2:Bolniška"}},
        {"errand", false, {"104:Službeno"}},
        {"fieldwork", false, {"102:4:Teren"}},
        {"home", false, {"102:7:Delo od doma"}},
    };
    for (const RequestKind &kind : kinds) {
        if (kind.name == name)
            return &kind;
    }
    return nullptr;
}

bool mayDecide(const Person &person, const Request &request)
{
    return request.user.id != person.id && overlooks(person, request.user.department);
}

QAny Request::json(const Person &person) const
{
    return {{QStringLiteral("rid"), rid},
            {QStringLiteral("user"), user.json()},
            {QStringLiteral("kind"), kind},
            {QStringLiteral("code"), code},
            {QStringLiteral("from"), from.toString(dateFormat())},
            {QStringLiteral("to"), to.toString(dateFormat())},
            {QStringLiteral("time"), orNull(time)},
            {QStringLiteral("why"), why},
            {QStringLiteral("asked"), asked},
            {QStringLiteral("state"), state},
            {QStringLiteral("decidedBy"), orNull(decidedBy)},
            {QStringLiteral("decidedAt"), orNull(decidedAt)},
            {QStringLiteral("note"), orNull(note)},
            {QStringLiteral("mayDecide"), state == kOpen && mayDecide(person, *this)}};
}

std::optional<Request> requestOf(CheckedReader &reader, qint64 rid)
{
    const std::vector<Request> found = requestsWhere(reader, QStringLiteral(" WHERE r.RID=?"), {rid});
    return found.empty() ? std::nullopt : std::optional<Request>(found.front());
}

std::vector<Request> requestsBy(CheckedReader &reader, qint64 user)
{
    static const QString newest = QStringLiteral(" WHERE r.USER=? ORDER BY r.RID DESC LIMIT ?");
    return requestsWhere(reader, newest, {user, kMaxListed});
}

std::vector<Request> openRequestsFor(CheckedReader &reader, const Person &person)
{
    static const QString open = QStringLiteral(" WHERE r.STATE='open' ORDER BY r.RID");
    return overseen(requestsWhere(reader, open, {}), person);
}

std::vector<Request> decidedRequestsFor(CheckedReader &reader, const Person &person)
{
    // Of all departments so many that every one of some size has its own among them.
    static const QString decided =
        QStringLiteral(" WHERE r.STATE IN ('approved','refused') ORDER BY r.DECIDEDAT DESC,r.RID DESC LIMIT ?");
    return overseen(requestsWhere(reader, decided, {10 * kMaxListed}), person);
}

std::vector<Request> requestsWithin(CheckedReader &reader, qint64 user, QDate from, QDate to)
{
    static const QString within =
        QStringLiteral(" WHERE r.USER=? AND r.FROMDATE<=? AND r.TODATE>=? AND r.STATE<>'withdrawn' ORDER BY r.RID");
    return requestsWhere(reader, within, {user, to.toString(dateFormat()), from.toString(dateFormat())});
}

QHash<qint64, int> openRequestCounts(CheckedReader &reader)
{
    static const QString sql =
        QStringLiteral("SELECT USER,count(*) FROM page_request WHERE STATE='open' GROUP BY USER");
    QHash<qint64, int> counts;
    reader.forEachRow(
        sql, {}, [&counts](const QSqlQuery &row) { counts.insert(row.value(0).toLongLong(), row.value(1).toInt()); });
    return counts;
}

} // namespace page::office
