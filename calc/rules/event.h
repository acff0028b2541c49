#pragma once

#include "calc/rules/accesscode.h"
#include "calc/rules/storedvalue.h"

#include <QString>

namespace calc::rules {

/// The kind of an event, named by its TYPE text; every other text is Other.
enum class EventKind : quint8 {
    Other,
    Terminal,   ///< EV
    HandMade,   ///< ME: entered by hand
    MetaPeriod, ///< MP: a period entered by hand, such as leave
    Generated   ///< AE
};

EventKind kindOf(const QString &type);

/// One event, of a terminal or entered by hand. Times are Unix seconds.
struct Event {
    qint64 id = 0;
    qint64 stored = 0;    ///< as the file has it; decides the order
    qint64 timestamp = 0; ///< what is calculated with: shifted and rounded as the settings ask
    AccessCode code;
    EventKind kind = EventKind::Other;
    bool isMeta = false;      ///< read from the hand-entered ones (`metalog`)
    bool isDoubled = false;   ///< a hand-entered one that the journal holds already; takes no part
    bool isSecondTap = false; ///< of one passage another tap counts; takes no part
    bool isLast = false;      ///< the employee's last one in the range that was read
    QString accessCode;
    QString type;
    QString remark;
    QString param;
    QString source; ///< who brought it, in words; filled only where an explanation is wanted
    StoredValue idx;
    StoredValue tag;
    StoredValue pTime;

    /// Whether pairing looks at it.
    bool takesPart() const { return !isDoubled && !isSecondTap && (code.isArrival() || code.isDeparture()); }
};

} // namespace calc::rules
