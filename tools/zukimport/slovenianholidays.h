#pragma once

#include <QDate>
#include <QString>

/// Name of the work-free public holiday of Slovenia on that day, as the law has it since 1992; empty on other days.
QString slovenianHoliday(QDate date);
