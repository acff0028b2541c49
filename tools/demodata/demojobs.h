#pragma once

#include "qany.h"

#include <QVector>

namespace tools::demodata {

/// How the working days of a job follow each other.
enum class Rhythm {
    Flexible,   ///< comes within a window, Monday to Friday
    Fixed,      ///< comes at the same hour, Monday to Friday
    ThreeShift, ///< a shift a week, Monday to Friday
    Continuous  ///< two mornings, two afternoons, two nights and two days off, also on holidays
};

/// A kind of work: who does it, when, and under which schedule and rules.
struct DemoJob {
    QString department;
    Rhythm rhythm;
    int share;       ///< of a hundred employees
    int startMinute; ///< usual arrival of the first shift, minutes after midnight
    QString schedule;
    QString rules;
    int terminal;        ///< number of the one it stamps at
    bool automaticLunch; ///< so that stamping lunch is forgotten at times
    double homeOffice;   ///< probability a day
    double fieldWork;    ///< probability a day
};

const QVector<DemoJob> &demoJobs();

/// Stored texts of the schedules (`wtimset`) and of the calculation settings (`calcset`), each by its key.
QAny demoSchedules();
QAny demoRules();

} // namespace tools::demodata
