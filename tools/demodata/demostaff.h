#pragma once

#include "tools/demodata/demojobs.h"

#include <QDate>
#include <QString>
#include <QVector>

namespace tools::demodata {

class DemoRandom;

struct DemoEmployee {
    int id = 0;
    QString firstName;
    QString lastName;
    QString personalNumber;
    QString email;
    DemoJob job;
    int group = -1; ///< index of the shift group; -1 for who does not work in shifts
    int leaveDays = 20;
    QDate firstDay;
    QDate lastDay; ///< invalid for who is still employed
    bool isActive() const { return !lastDay.isValid(); }
};

/// The staff in the order of their ids, 1 and up. The first is Ana Novak of the office. A few came or left in the
/// period.
QVector<DemoEmployee> demoStaff(int count, QDate start, QDate end, DemoRandom &random);

/// The text with the Slovenian letters as plain ones, in lower case, for addresses and user names.
QString plainName(const QString &name);

} // namespace tools::demodata
