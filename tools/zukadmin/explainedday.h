#pragma once

#include "qany.h"

#include <QDate>
#include <QString>

#include <optional>
#include <vector>

namespace tools::zukadmin {

/// What the server's explanation of one day holds, with its instants as the local clock shows them: "clock" times are
/// seconds since the day's midnight, 86400 more on the next day.
struct ExplainedDay {
    struct Event {
        qint64 number;
        qint64 clock;
        std::optional<qint64> storedClock; ///< where another time was calculated with
        QString code;
        QString source;
        QString use;
    };
    struct Pair {
        std::optional<qint64> from; ///< clock; nothing where neither end has an event
        std::optional<qint64> to;   ///< likewise
        bool isFromMade;
        bool isToMade;
        qint64 seconds;
        QString category; ///< empty for none
    };

    /// Of an entry of the result's EXPLAIN; what it lacks reads as empty.
    explicit ExplainedDay(const QAny &explanation);

    /// A value of the schedule in seconds; nothing where it is missing or there is no schedule.
    std::optional<qint64> scheduled(const char *key) const;
    /// What the local clock shows at an instant in Unix seconds.
    qint64 clockOf(qint64 instant) const;

    QAny entry;
    QDate date;
    bool isOtherZone; ///< the server's midnight is none here
    std::vector<Event> events;
    std::vector<Pair> pairs;

private:
    void readEvents();
    void readPairs();
};

} // namespace tools::zukadmin
