#pragma once

#include "tools/demodata/demojobs.h"

#include <QDate>
#include <QString>

namespace tools::demodata {

/// The groups that work in shifts and the shift that each has on a day.

struct DemoShiftGroup {
    QString name; ///< the assignment group of its employees
    Rhythm rhythm;
    int offset; ///< how far the group is ahead of the first one of its rhythm, in turns
};

const QVector<DemoShiftGroup> &demoShiftGroups();

/// 1 to 3; 0 on the days off of a continuous group. A weekly group keeps its shift on Saturday and Sunday, when it does
/// not work.
int shiftOf(const DemoShiftGroup &group, QDate day);

} // namespace tools::demodata
