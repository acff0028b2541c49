#include "page/server/office/answers.h"
#include "page/server/office/asking.h"
#include "page/server/office/staffview.h"
#include "page/server/office/workdays.h"
#include "server/web/readings.h"

#include <QDateTime>

namespace page::office {

namespace {

constexpr int kMonths = 12;

/// Annual leave in days.
struct Leave {
    QAny total;
    QAny taken;
    QAny left;

    QAny json() const
    {
        return {{QStringLiteral("total"), total}, {QStringLiteral("taken"), taken}, {QStringLiteral("left"), left}};
    }
};

/// What is left of last year's is gone after its day; what was gone so counts in neither total nor left.
Leave leaveIn(const QSqlQuery &row, qint64 now)
{
    enum { LastYear, LastYearTaken, LastYearUntil, Total, Taken, OffDays };
    const auto number = [&row](int column) { return row.value(column).toLongLong(); };
    const bool isLastYearOver = !row.value(LastYearUntil).isNull() && number(LastYearUntil) < now;
    const qint64 lastYearLeft = isLastYearOver ? 0 : qMax<qint64>(0, number(LastYear) - number(LastYearTaken));
    const qint64 taken = number(Taken) + number(LastYearTaken);
    const qint64 left = number(row.value(Total).isNull() ? OffDays : Total) - number(Taken) + lastYearLeft;
    return {taken + left, taken, left};
}

Leave leaveOf(CheckedReader &reader, qint64 user, const Now &now)
{
    static const QString current =
        QStringLiteral("SELECT HDLAST,HDLSPENT,HDLDATE,HDTOT,HDSPENT,OFFDAYS FROM freehour JOIN employees ON "
                       "employees.ID=IDU WHERE IDU=? AND STATUS=2 ORDER BY freehour.ID DESC LIMIT 1");
    static const QString offDays = QStringLiteral("SELECT OFFDAYS FROM employees WHERE ID=?");
    Leave leave;
    reader.forEachRow(offDays, {user}, [&leave](const QSqlQuery &row) {
        if (!row.value(0).isNull())
            leave.total = row.value(0).toLongLong();
    });
    // The last day counts whole.
    const qint64 midnight = now.today.startOfDay().toSecsSinceEpoch();
    reader.forEachRow(current, {user}, [&](const QSqlQuery &row) { leave = leaveIn(row, midnight); });
    return leave;
}

/// The rows as the server's own page gets them, with what is left in seconds.
QAny hoursOf(storage::Reader &reader, qint64 user)
{
    const QAny request{{QStringLiteral("data"), QAny{{QStringLiteral("ID"), user}}}};
    const QAny answer = server::web::saldoAnswer(reader, request);
    const QAny rows = answer.lookup(QStringLiteral("data")).lookup(QStringLiteral("saldo"));
    for (int i = 0; i < rows.count(); ++i) {
        QAny row = rows.at(i);
        const QAny &hours = row.lookup(QStringLiteral("FHOURS"));
        const QAny left = hours.isNull() ? QAny() : QAny(hours.toInteger() * 3600);
        row.insert(QStringLiteral("left"), left);
    }
    return rows;
}

/// The first of the months, or that of the employee's first event, before which nothing was asked of them.
QDate firstMonth(CheckedReader &reader, qint64 user, QDate today)
{
    const QDate month(today.year(), today.month(), 1);
    const std::optional<qint64> first = firstEventOf(reader, user);
    const QDate day = first ? qMin(QDateTime::fromSecsSinceEpoch(*first).date(), today) : today;
    return qMax(month.addMonths(1 - kMonths), QDate(day.year(), day.month(), 1));
}

QAny monthsOf(const std::vector<DayView> &days)
{
    QAny months(QAny::List);
    for (size_t i = 0; i < days.size();) {
        const QDate first = days[i].date;
        Totals totals;
        for (; i < days.size() && days[i].date.month() == first.month(); ++i)
            totals.add(days[i]);
        months.append(QAny{{QStringLiteral("month"), first.toString(monthFormat())},
                           {QStringLiteral("worked"), totals.worked},
                           {QStringLiteral("required"), totals.required},
                           {QStringLiteral("balance"), totals.balance}});
    }
    return months;
}

} // namespace

QAny balanceAnswer(Asking &asking)
{
    const qint64 user = asking.subject().id;
    const Leave leave = leaveOf(asking.reader, user, asking.now);
    const QDate today = asking.now.today;
    const QDate first = firstMonth(asking.reader, user, today);
    checkCalculable(asking.reader);
    if (asking.reader.hasFailed())
        return refused(kDatabase);
    const QAny hours = hoursOf(asking.reader.reader(), user);

    const StaffView view(asking.crew, {first, today, {user}}, asking.now);
    const int position = view.positionOf(user);
    return done({{QStringLiteral("user"), asking.subject().json()},
                 {QStringLiteral("hours"), hours},
                 {QStringLiteral("leave"), leave.json()},
                 {QStringLiteral("months"), position < 0 ? QAny(QAny::List) : monthsOf(view.daysOf(position))}});
}

} // namespace page::office
