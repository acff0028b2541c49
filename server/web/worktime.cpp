#include "server/web/readings.h"

#include "calc/calc21.h"
#include "calc/dialogcalc3.h"
#include "calc/output/records.h"
#include "calc/output/tables.h"
#include "server/web/webanswer.h"
#include "storage/reader.h"

#include <QDebug>
#include <QElapsedTimer>

namespace server::web {

namespace {

QString durationText(qint64 seconds)
{
    const QLatin1Char zero('0');
    return QStringLiteral("%1:%2").arg(seconds / 3600, 2, 10, zero).arg((seconds / 60) % 60, 2, 10, zero);
}

/// Only an explicit false (Bool, number or text) switches a part of the answer off.
bool isWanted(const QAny &data, const QString &key)
{
    bool isSwitch = false;
    const bool on = data.lookup(key).toBool(&isSwitch);
    return on || !isSwitch;
}

/// The one employee asked for: an id, or a list of exactly one. Anything else is 0, whom no employee has.
qint64 oneUser(const QAny &user)
{
    return user.isList() && user.count() == 1 ? user.at(0).toInteger() : user.toInteger();
}

/// The records with times, day and length as texts; a length of nothing stays a number. They are nobody else's.
QAny readablePairs(const QAny &pairs)
{
    static const QString clock = QStringLiteral("hh:mm");
    static const QString day = QStringLiteral("ddd d.M.yyyy");
    const QString length = QStringLiteral("PTIME");
    for (int i = 0; i < pairs.count(); ++i) {
        QAny pair = pairs.at(i);
        for (const QString &key : {QStringLiteral("TIMESTAMP"), QStringLiteral("TIMESTAMP2")})
            pair.insert(key, timeText(pair.lookup(key), clock));
        pair.insert(QStringLiteral("DATESTAMP"), timeText(pair.lookup(QStringLiteral("DATESTAMP")), day));
        const qint64 seconds = pair.lookup(length).toInteger();
        if (seconds != 0)
            pair.insert(length, durationText(seconds));
    }
    return pairs;
}

/// The calculation of one employee's period with the stored settings; Invalid after a fatal error.
QAny recalc(storage::Reader &reader, const QAny &data, QDate today)
{
    const QString startDate = QStringLiteral("STARTDATE");
    const QString endDate = QStringLiteral("ENDDATE");
    QElapsedTimer timer;
    timer.start();
    qDebug() << "webMetods::recalc() START";
    qDebug() << "DialogCalc3::recalc() allpairs"; // deliberately under the name of the class that packs
    // Built anew: the page may not bring settings of its own.
    Calc21 calculation(reader, today);
    const calc::rules::CalcResult &calculated = calculation.calculate(QAny{
        {startDate, data.lookup(startDate).toString()},
        {endDate, data.lookup(endDate).toString()},
        {QStringLiteral("USER"), QAny::list({oneUser(data.lookup(QStringLiteral("USER")))})},
    });
    if (calculated.isFatal)
        return QAny(QAny::Invalid);

    QAny result(QAny::Hash);
    if (isWanted(data, QStringLiteral("CALC"))) {
        DialogCalc3 dialog(reader, today);
        calc::output::PackedCells cells = calc::output::cellsOf(calculated);
        result.insert(QStringLiteral("SUM"), dialog.packSum(calculated, cells));
        result.insert(QStringLiteral("DAYS"), dialog.showSumDays(calculated, cells));
    }
    qDebug() << "webMetods::recalc() END";
    qDebug() << "webMetods::recalc()" << timer.elapsed() << "ms";
    result.insert(QStringLiteral("ERR"), calc::output::errorRecords(calculated.errors));
    if (isWanted(data, QStringLiteral("PAIRS")))
        result.insert(QStringLiteral("PAIRS"), readablePairs(calc::output::pairRecords(calculated, 0)));
    return result;
}

} // namespace

QAny workTimeAnswer(storage::Reader &reader, const QAny &request, QDate today)
{
    QAny answer = startOfAnswer("getWTime");
    if (!request.contains(kData))
        return refused(answer, "No Data");
    const QAny &data = request.lookup(kData);
    if (!data.contains(QStringLiteral("STARTDATE")))
        return refused(answer, "No Start date!");
    if (!data.contains(QStringLiteral("ENDDATE")))
        return refused(answer, "No End date!");
    if (!data.contains(QStringLiteral("USER")))
        return refused(answer, "No User!");

    QAny result = recalc(reader, data, today);
    if (!result.isHash())
        return refused(answer, "WTime Error!");
    result.insert(kResult, QStringLiteral("true"));
    answer.insert(kData, result);
    return answer;
}

} // namespace server::web
