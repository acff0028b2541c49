#pragma once

#include "calc/rules/calcerrors.h"
#include "calc/rules/calcinputs.h"

#include <vector>

/// One end of a pair: the event that it came from, or what stands for it.
struct PairEnd {
    bool present = false;
    bool isAutomatic = false; ///< nobody went: the start of an automatic lunch
    qint64 timestamp = 0;     ///< Unix seconds
    AccessCode code;
    QString accessCode;
    QString type;
    QString remark;
    QString param;
    QAny idx;
    QAny tag;

    bool isMetaPeriod() const { return type == QLatin1String("MP"); }
};

/// An arrival joined with the departure that closes it; one of them may be missing.
struct Pair {
    qint64 number = 0;
    int day = 0; ///< of the clock; the day of the arrival, without one that of the departure
    PairEnd arrival;
    PairEnd departure;
    bool isMarked = false; ///< the arrival was generated and is to be marked
    qint64 outsideDay = 0; ///< seconds beyond the day or the period

    bool isComplete() const { return arrival.present && departure.present; }
    /// Time at work: complete and closed by "102" or "102:3".
    bool isPresence() const { return isComplete() && departure.code.isPresence(); }
    Category category() const { return isComplete() ? departure.code.category() : Category::None; }
    /// Seconds; 0 for an incomplete pair.
    qint64 length() const { return isComplete() ? departure.timestamp - arrival.timestamp : 0; }
};

/// Turns the events of employees into pairs. Pure but for the error list; one object serves a whole run and numbers
/// its pairs.
class EventPairing
{
public:
    /// Settings, period and error list are not owned and must outlive this object.
    EventPairing(const CalcSettings &settings, const Period &period, CalcErrors &errors);

    /// The employee's pairs in the days of the period, in order of time. Remarks are collected also of pairs outside
    /// the period, faults are not.
    std::vector<Pair> pairsOf(const Employee &employee);

private:
    void join(const Employee &employee);
    void closeWithoutArrival(const Event &departure);
    void reportMissingDeparture(const Pair &open);
    void deleteByHour();
    bool isLateArrival(const Pair &pair) const;
    bool isEarlyDeparture(const Pair &pair) const;
    bool isInLateWindow(qint64 instant) const;
    void parsePairs();
    QString caseOf(const Pair &pair) const;
    void insertAutomaticLunches();
    bool splitByLunch(size_t index, const DaySchedule &schedule);
    void measureOutside();
    void keepPeriod();
    void addFault(CalcErrors::Code code, const QString &text, int day);
    Pair &newPair(int day);
    int dayOf(qint64 instant) const { return m_period.clock.dayOf(instant); }
    int hourOf(qint64 instant) const;

    const CalcSettings &m_settings;
    const Period &m_period;
    CalcErrors &m_errors;
    qint64 m_lastNumber = 0;
    const Employee *m_employee = nullptr; ///< the one being paired
    std::vector<Pair> m_pairs;
};
