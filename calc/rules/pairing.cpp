#include "calc/rules/pairing.h"

#include <QDebug>

namespace calc::rules {

namespace {

const QString kNoArrival = QStringLiteral("Ni Prihoda!");
const QString kNoDeparture = QStringLiteral("Ni Izhoda!");
const QString kLastIsNoDeparture = QStringLiteral("Zadnji dogodek ni izhod!");

PairEnd endOf(const Event &event, int position)
{
    return {PairEnd::Origin::Stored, event.code, position, event.timestamp};
}

Pair &newPair(PairingRun &run, qint64 timestamp)
{
    Pair pair;
    pair.number = ++run.result.made;
    pair.day = run.clock().dayOf(timestamp);
    run.result.pairs.push_back(pair);
    return run.result.pairs.back();
}

void reportMissingDeparture(const PairingRun &run, const Pair &open)
{
    run.addFault(CalcErrors::Code::Opo, kNoDeparture, open.day);
    if (run.settings().isDebug)
        qDebug().noquote() << kNoDeparture << QStringLiteral("CID %1").arg(open.number);
}

void closeWithoutArrival(PairingRun &run, const Event &departure, int position)
{
    Pair &pair = newPair(run, departure.timestamp);
    pair.departure = endOf(departure, position);
    if (run.settings().autoEvents && departure.code.mayLackArrival()) {
        pair.arrival = {PairEnd::Origin::Generated, departure.code, position, departure.timestamp};
        pair.isMarked = run.settings().showNoEv != 0;
        return;
    }
    run.addFault(CalcErrors::Code::Atp, kNoArrival, pair.day);
    if (run.settings().isDebug)
        qDebug() << "Ni Prihoda! ATP";
}

void close(PairingRun &run, const Event &departure, int position)
{
    Pair &pair = run.result.pairs.back();
    pair.departure = endOf(departure, position);
    pair.isMetaPeriod =
        run.event(pair.arrival).kind == EventKind::MetaPeriod && departure.kind == EventKind::MetaPeriod;
}

} // namespace

void PairingRun::addFault(CalcErrors::Code code, const QString &text, int day) const
{
    if (period().containsDay(day))
        errors.add(code, text, employee.user, employee.name, clock().midnight(day));
}

Pairing EventPairing::pairsOf(const Employee &employee, CalcErrors &errors) const
{
    Pairing result;
    result.pairs.reserve(employee.events.size() / 2 + 2);
    PairingRun run{m_inputs, employee, errors, result};
    joinEvents(run);
    deleteByHour(run);
    remarkPlaces(run);
    insertAutomaticLunches(run);
    measureBeyondDay(run);
    keepPeriod(run);
    return result;
}

void joinEvents(PairingRun &run)
{
    std::vector<Pair> &pairs = run.result.pairs;
    bool isOpen = false;
    int position = -1;
    for (const Event &event : run.employee.events) {
        ++position;
        if (!event.takesPart())
            continue;
        if (event.code.isArrival()) {
            if (isOpen)
                reportMissingDeparture(run, pairs.back());
            newPair(run, event.timestamp).arrival = endOf(event, position);
            isOpen = true;
            continue;
        }
        if (isOpen)
            close(run, event, position);
        else
            closeWithoutArrival(run, event, position);
        isOpen = false;
    }
    if (isOpen)
        run.addFault(CalcErrors::Code::Opo, kLastIsNoDeparture, pairs.back().day);
}

} // namespace calc::rules
