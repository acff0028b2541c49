#pragma once

#include <QtGlobal>

#include <algorithm>

namespace calc::rules {

/// The switches of a calculation, as a request brings them or as they are stored. A plain value.
struct CalcSettings {
    /// Events are read this far beyond the period when NEAREVLEN is 0.
    static constexpr qint64 kDefaultNearHours = 24;
    /// A larger NEAREVLEN is cut to this: nobody works longer at a stretch, and the whole file would be read.
    static constexpr qint64 kMaxNearHours = 31 * 24;

    bool isRound30 = false;  ///< event times are rounded to whole minutes
    bool nearEvents = false; ///< events beyond the period are read and NW is filled
    bool autoEvents = false; ///< a missing arrival of a business or private departure is generated
    bool isSec = false;      ///< durations and times are shown with seconds
    bool isSett = false;
    qint64 startOff = 0;
    qint64 endOff = 0;
    qint64 nearEvLen = 0; ///< hours
    qint64 calcRem = 0;   ///< pairing remarks are collected
    qint64 showNoEv = 0;  ///< generated events are marked
    bool isTree = false;
    bool isDebug = false;  ///< per-day trace lines are written
    bool isSumSum = false; ///< the sum table ends with a row totalling all employees
    bool isAutoCalc = false;
    qint64 earlyExit = 0; ///< hour of the morning check; 0 switches both hour checks off
    bool isAcs = false;   ///< ACSLIST is filled
    bool isCodes = false;
    bool isZukEv = false;
    bool isSrvCalc = false;
    bool tipRerAz = false;
    bool noMetaSett = false; ///< no day skips the rules because of its meta events
    bool isTest = false;
    bool isTz = false; ///< event times are shifted by the employee's TIMEZ

    /// Seconds that events are read beyond either end of the period.
    qint64 nearSeconds() const
    {
        if (!nearEvents)
            return 0;
        return (nearEvLen == 0 ? kDefaultNearHours : std::clamp<qint64>(nearEvLen, 0, kMaxNearHours)) * 3600;
    }
};

} // namespace calc::rules
