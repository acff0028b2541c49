#include "page/server/office/workdays.h"

#include "calc/input/calcreader.h"
#include "calc/rules/accesscode.h"
#include "calc/rules/summaries.h"

#include <algorithm>

namespace page::office {

using calc::rules::AccessCode;
using calc::rules::CalcInputs;
using calc::rules::DaySchedule;

namespace {

/// An arrival that is older has no departure to come.
constexpr qint64 kLongestShift = 16 * 3600;

struct Passage {
    qint64 time;
    bool isArrival;
};

std::vector<Passage> passagesBetween(CheckedReader &reader, qint64 user, qint64 from, qint64 to)
{
    static const QString sql = QStringLiteral(
        "SELECT TIMESTAMP,ACCESS_CODE FROM allevents WHERE USER=? AND TIMESTAMP>=? AND TIMESTAMP<=? UNION ALL "
        "SELECT TIMESTAMP,ACCESS_CODE FROM metalog WHERE USER=? AND TIMESTAMP>=? AND TIMESTAMP<=?");
    std::vector<Passage> passages;
    reader.forEachRow(sql, {user, from, to, user, from, to}, [&passages](const QSqlQuery &row) {
        const AccessCode code(row.value(1).toString());
        if (code.isArrival() || code.isDeparture())
            passages.push_back({row.value(0).toLongLong(), code.isArrival()});
    });
    // Departures first, as the calculation orders them.
    std::sort(passages.begin(), passages.end(), [](const Passage &left, const Passage &right) {
        return left.time != right.time ? left.time < right.time : !left.isArrival && right.isArrival;
    });
    return passages;
}

/// Somebody was in when it began, or came or went before its end.
bool isBusy(const std::vector<Passage> &passages, const Workday &day)
{
    bool isIn = false;
    for (const Passage &passage : passages) {
        if (passage.time >= day.end)
            break;
        if (passage.time > day.begin)
            return true;
        isIn = passage.isArrival && day.begin - passage.time <= kLongestShift;
    }
    return isIn;
}

} // namespace

Workdays workdaysOf(storage::Reader &reader, qint64 user, QDate from, QDate to, QDate today)
{
    const QString format = QStringLiteral("d.M.yyyy");
    const QAny request{{QStringLiteral("STARTDATE"), from.toString(format)},
                       {QStringLiteral("ENDDATE"), to.toString(format)},
                       {QStringLiteral("USER"), QAny::list({user})}};
    calc::input::CalcReader inputReader(request, today, false);
    if (!inputReader.readCommon(reader))
        return {};
    CalcInputs &inputs = inputReader.result().inputs;
    CalcParse21::prepackPreraz(inputs);
    Workdays workdays;
    workdays.isKnown = true;
    const calc::rules::LocalClock &clock = inputs.period.clock;
    for (int day = inputs.period.firstDay; day <= inputs.period.lastDay; ++day) {
        const DaySchedule *schedule = inputs.employees.front().daySchedule(clock, day);
        const bool isScheduled = schedule && schedule->startB && schedule->minHours.value_or(0) > 0;
        if (!isScheduled || !inputs.holiday(day).isEmpty())
            continue;
        const qint64 begin = clock.instantOf(day, *schedule->startB);
        workdays.days.push_back({clock.date(day), begin, begin + *schedule->minHours});
    }
    return workdays;
}

std::optional<qint64> firstEventOf(CheckedReader &reader, qint64 user)
{
    static const QString sql = QStringLiteral("SELECT TIMESTAMP FROM %1 WHERE USER=? ORDER BY TIMESTAMP LIMIT 1");
    static const QString tables[] = {sql.arg(QStringLiteral("allevents")), sql.arg(QStringLiteral("metalog"))};
    std::optional<qint64> first;
    for (const QString &table : tables) {
        reader.forEachRow(table, {user}, [&first](const QSqlQuery &row) {
            const qint64 time = row.value(0).toLongLong();
            first = first ? qMin(*first, time) : time;
        });
    }
    return first;
}

QDate firstBusyDay(CheckedReader &reader, qint64 user, const std::vector<Workday> &days)
{
    if (days.empty())
        return {};
    const std::vector<Passage> passages =
        passagesBetween(reader, user, days.front().begin - kLongestShift, days.back().end);
    const auto busy =
        std::find_if(days.begin(), days.end(), [&passages](const Workday &day) { return isBusy(passages, day); });
    return busy == days.end() ? QDate() : busy->date;
}

} // namespace page::office
