#pragma once

#include "tools/demodata/demopunch.h"
#include "tools/demodata/demorandom.h"
#include "tools/demodata/demostaff.h"
#include "tools/demodata/secondtaps.h"

#include <map>
#include <vector>

namespace tools::demodata {

struct DemoDay {
    QDate date;
    bool isHoliday = false;
    bool isCollectiveLeave = false;
    bool hasDuty = false; ///< on a free day some come all the same
};

/// The working life of one employee, day after day: comes, eats, goes, takes leave, falls ill, forgets to stamp, taps
/// twice.
///
/// Every time away from work is a pair of its own, an arrival and the departure that names it, and ends the pair before
/// it: lunch is a "102", then "101" and "103", then "101" again.
class DemoWorker
{
public:
    DemoWorker(const DemoEmployee &employee, quint64 seed);

    const DemoEmployee &employee() const { return m_employee; }
    /// The events of the shift that begins on this day, by time. Each day is asked for once, in order.
    std::vector<DemoPunch> dayOf(const DemoDay &day);
    /// Days of leave so far in that year.
    int leaveTaken(int year) const;

private:
    struct Absence {
        QString code;
        QString remark;
        int daysLeft = 0;
    };
    struct Span {
        int from;
        int to;
        QString code; ///< of the departure that ends it
    };

    int shiftToday(const DemoDay &day);
    void maybeFallAbsent(const DemoDay &day);
    std::vector<Span> workday(int shift);
    void addExit(std::vector<Span> &spans, int earliest, int leaving);
    void makeMistakes(std::vector<DemoPunch> &punches, int shift);
    int secondsOf(int minutes) { return minutes * 60 + m_random.between(0, 59); }

    DemoEmployee m_employee;
    DemoRandom m_random;
    SecondTaps m_secondTaps;
    int m_usualStart; ///< seconds after midnight
    Absence m_absence;
    std::map<int, int> m_leaveTaken; ///< by year
};

} // namespace tools::demodata
