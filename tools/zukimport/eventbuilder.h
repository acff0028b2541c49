#pragma once

#include "calc/rules/accesscode.h"

#include <QString>

#include <functional>

namespace tools::zukimport {

struct WordMeaning;

/// Turns one employee's punches into the events that the calculation reads.
///
/// A pair of events is what its closing code names. So an absence is a pair of its own: who goes out to lunch at 12:00
/// and is back at 12:30 has a departure and an arrival at 12:00, and the lunch's closing code and an arrival at 12:30.
/// What was left for is known at 12:00, how long it took only at the return, therefore the builder holds an absence
/// back until it ends.
class EventBuilder
{
public:
    /// Of an older arrival the departure was forgotten: who goes out then was not in.
    static constexpr qint64 kLongestPresenceSeconds = 16 * 3600;

    /// Receives an event: time in Unix seconds and the text of its access code.
    using Store = std::function<void(qint64 seconds, const QString &accessCode)>;
    /// Receives the line of a going out that nobody came back from.
    using NoReturn = std::function<void(int line)>;

    /// An absence lasts at most that long; what is longer was no absence but the end of the day.
    EventBuilder(qint64 maxAbsenceSeconds, Store store, NoReturn noReturn);

    /// The next punch of the employee; times do not decrease.
    void punch(qint64 seconds, const WordMeaning &meaning, int line);
    /// No more punches of this employee; the next one is another's.
    void finish();

private:
    enum class Whereabouts { Out, In, Away };

    void leaveFor(qint64 seconds, const WordMeaning &meaning, int line);
    void endAbsence(qint64 seconds, const QString &closingCode);
    void giveUpAbsence();

    qint64 m_maxAbsenceSeconds;
    Store m_store;
    NoReturn m_noReturn;

    Whereabouts m_whereabouts = Whereabouts::Out;
    qint64 m_since = 0;          ///< last arrival, or begin of the absence
    QString m_awayFor;           ///< access code text of the absence
    bool m_awayFromWork = false; ///< the departure to the absence is stored
    bool m_awayOpened = false;   ///< the arrival that opens the absence's pair is stored
    int m_awayLine = 0;
};

} // namespace tools::zukimport
