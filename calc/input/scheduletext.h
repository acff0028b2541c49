#pragma once

#include "calc/rules/schedule.h"
#include "qany.h"

#include <QStringList>

#include <memory>

namespace calc::input {

/// A stored schedule.
struct ScheduleText {
    std::shared_ptr<const rules::Schedule> schedule; ///< null when the text is empty or not the JSON text of a hash
    QAny fields; ///< the parsed text, each clock time with its companion key (suffix "I") in seconds; not a Hash then
};

ScheduleText readSchedule(const QString &text);

/// The keys of a day's times.
const QStringList &scheduleTimeKeys();

/// "7:30" is 27000, "45" (minutes) 2700, "-0:30" -1800 seconds; nothing for a text that is no time.
rules::ScheduleTime scheduleSeconds(const QString &text);

} // namespace calc::input
