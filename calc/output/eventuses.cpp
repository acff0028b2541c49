#include "calc/output/eventuses.h"

namespace calc::output {

using rules::Event;
using rules::Pair;
using rules::PairEnd;

namespace {

EventUse useWithoutPair(const Event &event)
{
    if (event.isDoubled)
        return EventUse::Doubled;
    return event.isSecondTap ? EventUse::SecondTap : EventUse::NoCode;
}

/// The use of both ends of each pair; `day` is what it belongs to.
template <typename UseOf, typename DayOf>
void usePairs(const std::vector<Pair> &pairs, std::vector<UsedEvent> &uses, UseOf useOf, DayOf dayOf)
{
    for (const Pair &pair : pairs) {
        for (const PairEnd *end : {&pair.arrival, &pair.departure}) {
            if (!end->isStored())
                continue;
            UsedEvent &used = uses[static_cast<size_t>(end->event)];
            used.use = useOf(pair, *end);
            used.day = dayOf(pair, *end);
        }
    }
}

} // namespace

const QString &useText(EventUse use)
{
    static const QString texts[] = {
        QStringLiteral("arrival"),    QStringLiteral("departure"),         QStringLiteral("other half missing"),
        QStringLiteral("second tap"), QStringLiteral("doubled"),           QStringLiteral("deleted by an hour check"),
        QStringLiteral("no code"),    QStringLiteral("outside the period")};
    return texts[static_cast<int>(use)];
}

std::vector<UsedEvent> eventUses(const rules::Employee &employee, const rules::Pairing &pairing,
                                 const rules::LocalClock &clock)
{
    std::vector<UsedEvent> uses;
    uses.reserve(employee.events.size());
    for (const Event &event : employee.events)
        uses.push_back({useWithoutPair(event), clock.dayOf(event.timestamp), 0});
    const auto ownDay = [&clock](const Pair &, const PairEnd &end) { return clock.dayOf(end.timestamp); };
    const auto always = [](EventUse use) { return [use](const Pair &, const PairEnd &) { return use; }; };
    usePairs(
        pairing.pairs, uses,
        [](const Pair &pair, const PairEnd &end) {
            if (!pair.isComplete())
                return EventUse::OtherHalfMissing;
            return &end == &pair.arrival ? EventUse::Arrival : EventUse::Departure;
        },
        [](const Pair &pair, const PairEnd &) { return pair.day; });
    usePairs(pairing.deleted, uses, always(EventUse::DeletedByHour), ownDay);
    usePairs(pairing.outside, uses, always(EventUse::OutsideOfThePeriod), ownDay);
    return uses;
}

} // namespace calc::output
