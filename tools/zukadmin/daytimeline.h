#pragma once

#include <QChar>
#include <QStringList>

#include <optional>
#include <vector>

namespace tools::zukadmin {

/// One day drawn with characters. Times are seconds since the day's midnight as the clock shows them, more than 86400
/// on the next day.
struct DayTimeline {
    static constexpr int kWidth = 72; ///< at most, in characters
    static constexpr int kMaxHours = 72;
    /// The lines() before the rows: the hours and their scale.
    static constexpr int kScaleLines = 2;
    /// In the row of the events where several different ones share a place.
    static constexpr char kSeveral = '*';
    /// At the end of a pair that goes on past what is shown.
    static constexpr char kPastEnd = '~';

    struct Bar {
        qint64 from;
        qint64 to;
        QChar letter;
    };
    struct Mark {
        qint64 at;
        QChar sign;
        bool isEnd; ///< stands before the time, not behind it: over the end of the bar that it closes
    };
    /// The schedule's times; the bounds that it lacks are missing.
    struct Window {
        std::optional<qint64> startB;
        std::optional<qint64> startE;
        std::optional<qint64> endB;
        std::optional<qint64> endE;
    };

    Window window;
    std::vector<Mark> marks;
    std::vector<Bar> bars;

    /// 24, or more where a pair, an event or the window reaches past midnight; never more than kMaxHours.
    int hours() const;
    /// The hours, a scale, and then the rows of the window, the marks and the bars as far as they show anything. All
    /// lines without blanks at their ends and not longer than kWidth, the line of the hours two more.
    QStringList lines() const;
};

} // namespace tools::zukadmin
