#pragma once

#include "calc/rules/pair.h"

namespace calc::output {

/// AC of the arrival behind an automatic lunch.
inline const QString kAutomaticArrival = QStringLiteral("101:A-prihod");

/// TYPE of a pair's end that is present; the event is that of the end, null without one.
const QString &typeText(const rules::PairEnd &end, const rules::Event *event);

} // namespace calc::output
