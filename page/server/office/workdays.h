#pragma once

#include "page/server/office/checkedreader.h"

#include <QDate>

#include <optional>
#include <vector>

namespace page::office {

/// What the schedule asks for on a working day, as instants in Unix seconds: from STARTB, MINHOURS long.
struct Workday {
    QDate date;
    qint64 begin = 0;
    qint64 end = 0;
};

struct Workdays {
    bool isKnown = false; ///< there is a calendar for the days
    std::vector<Workday> days;
};

/// The employee's days that have a schedule with these times and are no public holiday, by calendar, shifts and
/// schedule as the calculation reads them.
Workdays workdaysOf(storage::Reader &reader, qint64 user, QDate from, QDate to, QDate today);

/// When the employee's first event was, Unix seconds; null without events.
std::optional<qint64> firstEventOf(CheckedReader &reader, qint64 user);

/// The first of these days on which events of the employee lie within the work that the schedule asks for, or around
/// it; invalid when there is none.
QDate firstBusyDay(CheckedReader &reader, qint64 user, const std::vector<Workday> &days);

} // namespace page::office
