#pragma once

#include <QDate>
#include <QString>

#include <optional>

class DataBase;

namespace tools::demodata {

struct DemoOptions {
    int employees = 50;
    QDate start;
    QDate end; ///< included; a night that begins on it is written to its end
    quint64 seed = 1;
    /// Some employees come on the last day also when it is free, so that the presence list is never empty.
    bool dutyOnLastDay = false;
    /// Nobody punches from here on, Unix seconds: of the future only planned absences are known. Nothing for no end.
    std::optional<qint64> now;
};

struct DemoSummary {
    int employees = 0;
    int events = 0;
    int metaEvents = 0;
};

/// What makes no sense in the options; empty when nothing does.
QString faultOf(const DemoOptions &options);

/// Employees with their schedules, rules, shifts, punches, absences and balances over the days of the options, with a
/// calendar: in one transaction, times local to the process's time zone. The same options give the same rows.
///
/// Creates the attendance tables that are missing. Returns the fault, and stores nothing, when the options make no
/// sense, the database holds employees already, or it cannot be written; an empty text when all is stored.
QString generateDemoCompany(DataBase &database, const DemoOptions &options, DemoSummary *summary = nullptr);

} // namespace tools::demodata

// For programs that want nothing of this folder but a company.
using tools::demodata::DemoOptions;
