#pragma once

#include "calc/rules/storedvalue.h"

#include <QHash>

namespace calc::rules {

/// An employee's calculation settings: which day rules are on and their limits. A missing section or key reads as 0,
/// which is off. Read once per distinct text, shared by its employees.
struct RuleSettings {
    enum class Weighing {
        EventType,   ///< rules apply to every day
        MetaPerType, ///< days with an MP event skip the rules
        MixType      ///< as EventType, but MP pairs do not count towards arrival and departure
    };

    Weighing weighing = Weighing::EventType;

    // WAR: warnings
    bool earlyArrival = false;
    bool lateArrival = false;
    bool earlyExit = false;
    bool lateExit = false;

    // SALDO
    qint64 interval = 0;               ///< of the rounding of arrival and departure, seconds; 0 = off
    const char *intervalKey = nullptr; ///< that set it; a literal
    bool roundArrival = false;
    bool roundDeparture = false;
    bool keepWorkBefore = false; ///< NWOUTIN
    bool keepWorkAfter = false;  ///< NWOUTOUT
    bool roundWorkTime = false;
    qint64 workTimeStep = 1; ///< seconds
    bool limitWorkTime = false;
    qint64 workTimeLimit = 0; ///< seconds
    bool saldoForFree = false;
    bool emptySaldo = false;

    // OVERTIME
    bool compensateDelay = false;
    qint64 compensationLimit = 0; ///< seconds
    qint64 thresholdBefore = 1;   ///< seconds
    qint64 thresholdAfter = 1;    ///< seconds
    bool wholeThresholdsBefore = false;
    bool wholeThresholdsAfter = false;
    bool compensateLunch = false;

    // SCHEDULE
    bool scheduleForFree = false;

    // FACTOR, META
    bool factors = false;
    bool metaFactor = false;
    double saturdayFactor = 0;
    double sundayFactor = 0;
    double holidayFactor = 0;

    // HOURS
    qint64 maxHours = 0; ///< seconds; 0 = no check
    bool showEmptyDays = false;
    bool tooManyHours = false;
    bool lowSaldo = false;
    bool tooManyFreeHours = false;
    bool tooManyOverhours = false;
    bool addHours = false;
    double addHoursNumber = 0; ///< hours

    /// What the text holds, by "SECTION/KEY": for telling which setting did what.
    QHash<QString, StoredValue> stored;
};

} // namespace calc::rules
