#pragma once

#include "storage/status.h"

#include <QDate>
#include <QStringList>
#include <QVector>

#include <vector>

namespace storage {
class Reader;
}

namespace report {

/// Whom a report is of.
struct Employee {
    qint64 id = 0;
    QString name; ///< "LASTNAME FIRSTNAME"
    QString emplId;
    QString department;
    bool hasLeft = false;
};

/// Which employees are wanted.
struct StaffFilter {
    QVector<qint64> users;   ///< these, whether they have left or not; none: all
    QStringList departments; ///< of these; none: of all
    bool withLeft = true;    ///< of who is not named, also those who have left but have events in the period
};

/// By department, name and id, as people sort them.
storage::Status readStaff(storage::Reader &reader, const StaffFilter &filter, QDate first, QDate last,
                          std::vector<Employee> *staff);

} // namespace report
