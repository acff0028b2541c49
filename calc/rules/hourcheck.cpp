#include "calc/rules/pairing.h"

#include <QDateTime>
#include <QDebug>

#include <algorithm>

namespace calc::rules {

namespace {

const QString kLateArrival = QStringLiteral("prihod po 18h");
const QString kEarlyDeparture = QStringLiteral("odhod pred 8 zjutraj");

/// Arrivals in a later hour than this are late.
constexpr int kLastArrivalHour = 18;

int hourOf(const PairingRun &run, qint64 instant)
{
    return static_cast<int>(run.clock().clockSeconds(instant, run.clock().dayOf(instant)) / 3600);
}

/// Whether a schedule of the day or, after midnight, of the day before reaches into the late hours and covers the
/// instant: a late shift comes and goes when others must not.
bool isInLateWindow(const PairingRun &run, qint64 instant)
{
    const LocalClock &clock = run.clock();
    const int today = clock.dayOf(instant);
    for (const int day : {today, today - 1}) {
        const DaySchedule *schedule = run.employee.daySchedule(clock, day);
        if (!schedule || !schedule->hasWindow() || *schedule->endE <= (kLastArrivalHour + 1) * 3600)
            continue;
        const qint64 shown = clock.clockSeconds(instant, day);
        if (shown >= *schedule->startB && shown <= *schedule->endE)
            return true;
    }
    return false;
}

/// A generated arrival is none: nobody came so late.
bool isLateArrival(const PairingRun &run, const PairEnd &arrival)
{
    return arrival.isStored() && hourOf(run, arrival.timestamp) > kLastArrivalHour &&
           !isInLateWindow(run, arrival.timestamp);
}

bool isEarlyDeparture(const PairingRun &run, const PairEnd &departure)
{
    return departure.isPresent() && hourOf(run, departure.timestamp) < run.settings().earlyExit &&
           !isInLateWindow(run, departure.timestamp);
}

QString shownTime(const PairEnd &end)
{
    return end.isPresent() ? QDateTime::fromSecsSinceEpoch(end.timestamp).toString(QStringLiteral("d.M.yyyy hh:mm"))
                           : QString();
}

} // namespace

void deleteByHour(PairingRun &run)
{
    if (run.settings().earlyExit <= 0)
        return;
    const auto isKept = [&run](const Pair &pair) {
        if (isLateArrival(run, pair.arrival))
            run.addFault(CalcErrors::Code::Opo, kLateArrival, pair.day);
        else if (isEarlyDeparture(run, pair.departure))
            run.addFault(CalcErrors::Code::Opo, kEarlyDeparture, pair.day);
        else
            return true;
        qDebug().noquote()
            << "Brisanje para"
            << QStringLiteral("%1 %2 - %3").arg(run.employee.name, shownTime(pair.arrival), shownTime(pair.departure));
        return false;
    };
    std::vector<Pair> &pairs = run.result.pairs;
    const auto firstDeleted = std::stable_partition(pairs.begin(), pairs.end(), isKept);
    run.result.deleted.assign(firstDeleted, pairs.end());
    pairs.erase(firstDeleted, pairs.end());
}

} // namespace calc::rules
