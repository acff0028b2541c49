#include "calc/output/pairtexts.h"

namespace calc::output {

namespace {

const QString kGenerated = QStringLiteral("AE");
const QString kAutomaticLunch = QStringLiteral("103:A-malica");

} // namespace

const QString &typeText(const rules::PairEnd &end, const rules::Event *event)
{
    switch (end.origin) {
    case rules::PairEnd::Origin::Generated:
        return kGenerated;
    case rules::PairEnd::Origin::LunchStart:
        return kAutomaticLunch;
    case rules::PairEnd::Origin::LunchEnd:
        return kAutomaticArrival;
    default:
        return event->type;
    }
}

} // namespace calc::output
