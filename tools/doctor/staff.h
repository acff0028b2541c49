#pragma once

#include "tools/doctor/site.h"

#include <QStringList>

#include <vector>

namespace tools::doctor {

/// An active employee, with the keys of what applies.
struct StaffMember {
    qint64 id = 0;
    QString name;
    QString emplId;
    QString settings;
    QString schedule;
    QString group;            ///< of shift assignments
    bool hasSettings = false; ///< there is a row of that key
    bool hasSchedule = false;

    /// For people.
    QString text() const { return QStringLiteral("%1 (%2)").arg(name).arg(id); }
};

/// All who are active, by id.
std::vector<StaffMember> readStaff(const Site &site);

/// The stored texts of a table like `calcset`, by key.
QHash<QString, QString> readTexts(const Site &site, const char *table);

} // namespace tools::doctor
