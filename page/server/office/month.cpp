#include "calc/output/calcrecords.h"
#include "page/server/office/answers.h"
#include "page/server/office/asking.h"
#include "page/server/office/staffview.h"
#include "report/carried.h"

#include <QDateTime>

namespace page::office {

namespace {

QAny textList(const QStringList &texts)
{
    QAny list(QAny::List);
    for (const QString &text : texts)
        list.append(text);
    return list;
}

QAny orNull(const std::optional<qint64> &value)
{
    return value ? QAny(*value) : QAny();
}

/// {"DELO": seconds, …} of those that are not 0, PRAZNIK included.
QAny categoriesJson(const std::array<qint64, calc::rules::kCategoryCount> &categories, qint64 holiday)
{
    QAny json(QAny::Hash);
    for (int i = 0; i < calc::rules::kCategoryCount; ++i) {
        if (const qint64 seconds = categories[static_cast<size_t>(i)])
            json.insert(calc::output::categoryName(static_cast<calc::rules::Category>(i)).toString(), seconds);
    }
    if (holiday != 0)
        json.insert(QStringLiteral("PRAZNIK"), holiday);
    return json;
}

QString kindOf(const calc::rules::DayFacts &facts)
{
    if (facts.isPublicHoliday)
        return QStringLiteral("holiday");
    if (facts.weekday >= 6)
        return facts.weekday == 6 ? QStringLiteral("saturday") : QStringLiteral("sunday");
    return QStringLiteral("work");
}

QAny requestIds(const std::vector<Request> &requests, QDate day)
{
    QAny ids(QAny::List);
    for (const Request &request : requests) {
        if (request.from <= day && day <= request.to)
            ids.append(request.rid);
    }
    return ids;
}

QAny dayJson(const DayView &day, const QAny &holiday, const QAny &requests, qint64 running)
{
    const calc::rules::DayFacts &facts = day.result->facts;
    const calc::rules::DayTotals &totals = day.result->totals;
    const calc::rules::Amounts amounts = day.result->amountsAfter();
    QAny json{{QStringLiteral("date"), day.date.toString(dateFormat())},
              {QStringLiteral("weekday"), facts.weekday},
              {QStringLiteral("kind"), kindOf(facts)},
              {QStringLiteral("holiday"), holiday},
              {QStringLiteral("state"), stateText(day.state)},
              {QStringLiteral("arrival"), orNull(totals.firstArrival)},
              {QStringLiteral("departure"), orNull(totals.lastDeparture)},
              {QStringLiteral("entered"), facts.hasMetaEvents},
              {QStringLiteral("required"), day.required},
              {QStringLiteral("worked"), day.worked},
              {QStringLiteral("balance"), day.balance},
              {QStringLiteral("running"), running},
              {QStringLiteral("categories"), categoriesJson(amounts.categories, amounts.holiday)},
              {QStringLiteral("remarks"), textList(day.remarks)},
              {QStringLiteral("warnings"), textList(day.faults + day.warnings)},
              {QStringLiteral("requests"), requests}};
    if (day.liveSince)
        json.insert(QStringLiteral("live"), QAny{{QStringLiteral("since"), *day.liveSince}});
    return json;
}

QAny sumsJson(const Totals &totals)
{
    return {{QStringLiteral("worked"), totals.worked},
            {QStringLiteral("required"), totals.required},
            {QStringLiteral("balance"), totals.balance},
            {QStringLiteral("categories"), categoriesJson(totals.categories, totals.holiday)}};
}

} // namespace

void checkCalculable(CheckedReader &reader)
{
    static const QString sql =
        QStringLiteral("SELECT 1 FROM config,calendar,RAZPOREDC,calcset,wtimset,employees,allevents,metalog LIMIT 0");
    reader.forEachRow(sql, {}, [](const QSqlQuery &) {});
}

QAny monthAnswer(Asking &asking)
{
    const QDate first = dateOf(asking.field("month"), monthFormat());
    if (!first.isValid())
        return refused(kBadRequest);
    const QDate last = first.addMonths(1).addDays(-1);
    const Employee &user = asking.subject();
    const std::vector<Request> requests = requestsWithin(asking.reader, user.id, first, last);
    std::optional<qint64> carried;
    if (!report::readCarried(asking.reader.reader(), user.id, first, &carried))
        return refused(kDatabase);
    checkCalculable(asking.reader);
    if (asking.reader.hasFailed())
        return refused(kDatabase);

    const StaffView view(asking.crew, {first, last, {user.id}}, asking.now);
    const int position = view.positionOf(user.id);
    QAny days(QAny::List);
    Totals sums;
    if (position >= 0) {
        for (const DayView &day : view.daysOf(position)) {
            sums.add(day);
            days.append(dayJson(day, orNull(view.holidayOf(day)), requestIds(requests, day.date), sums.balance));
        }
    }
    return done({{QStringLiteral("user"), user.json()},
                 {QStringLiteral("month"), first.toString(monthFormat())},
                 {QStringLiteral("days"), days},
                 {QStringLiteral("sums"), sumsJson(sums)},
                 {QStringLiteral("carried"), orNull(carried)},
                 {QStringLiteral("errors"), textList(view.faultsOf(0) + view.faultsOf(user.id))},
                 {QStringLiteral("asOf"), asking.now.time}});
}

} // namespace page::office
