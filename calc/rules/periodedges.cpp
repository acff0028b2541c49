#include "calc/rules/pairing.h"

#include <algorithm>

namespace calc::rules {

namespace {

const QString kTwoDays = QStringLiteral("Dvodnevni par");
const QString kTwoDaysStart = QStringLiteral("Dvodnevni par - začetek obdobja");
const QString kTwoDaysEnd = QStringLiteral("Dvodnevni par - konec obdobja");
const QString kWholeBefore = QStringLiteral("Celoten par pred obdobjem");
const QString kWholeAfter = QStringLiteral("Celoten par za obdobjem");
const QString kArrivalBefore = QStringLiteral("Nepopoln par pred obdobjem-samo prihod");
const QString kArrivalAfter = QStringLiteral("Nepopoln par za obdobjem-samo prihod");
const QString kDepartureBefore = QStringLiteral("Nepopoln par pred obdobjem-samo odhod");
const QString kDepartureAfter = QStringLiteral("Nepopoln par za obdobjem-samo odhod");

/// How the pair lies to midnight and the period; empty for an ordinary one.
QString placeOf(const Pair &pair, const Period &period)
{
    const auto isBefore = [&period](const PairEnd &end) { return end.timestamp < period.start; };
    const auto isAfter = [&period](const PairEnd &end) { return end.timestamp > period.end; };
    if (pair.isComplete()) {
        if (period.clock.dayOf(pair.arrival.timestamp) != period.clock.dayOf(pair.departure.timestamp)) {
            if (isBefore(pair.arrival))
                return kTwoDaysStart;
            return isAfter(pair.departure) ? kTwoDaysEnd : kTwoDays;
        }
        if (isBefore(pair.departure))
            return kWholeBefore;
        return isAfter(pair.arrival) ? kWholeAfter : QString();
    }
    if (pair.arrival.isPresent()) {
        if (isBefore(pair.arrival))
            return kArrivalBefore;
        return isAfter(pair.arrival) ? kArrivalAfter : QString();
    }
    if (isBefore(pair.departure))
        return kDepartureBefore;
    return isAfter(pair.departure) ? kDepartureAfter : QString();
}

} // namespace

void remarkPlaces(const PairingRun &run)
{
    if (run.settings().calcRem == 0)
        return;
    for (const Pair &pair : run.result.pairs) {
        const QString text = placeOf(pair, run.period());
        if (!text.isEmpty())
            run.errors.add(CalcErrors::Code::Opc, text, run.employee.user, run.employee.name,
                           run.clock().midnight(pair.day));
    }
}

void measureBeyondDay(PairingRun &run)
{
    if (!run.settings().nearEvents)
        return;
    for (Pair &pair : run.result.pairs) {
        const qint64 nextMidnight = run.clock().midnight(pair.day + 1);
        if (pair.isComplete() && pair.departure.timestamp > nextMidnight)
            pair.outsideDay = pair.departure.timestamp - std::max(pair.arrival.timestamp, nextMidnight);
    }
}

void keepPeriod(PairingRun &run)
{
    std::vector<Pair> &pairs = run.result.pairs;
    const auto firstOutside = std::stable_partition(
        pairs.begin(), pairs.end(), [&run](const Pair &pair) { return run.period().containsDay(pair.day); });
    run.result.outside.assign(firstOutside, pairs.end());
    pairs.erase(firstOutside, pairs.end());
}

} // namespace calc::rules
