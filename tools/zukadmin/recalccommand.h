#pragma once

#include "tools/zukadmin/admincommand.h"

#include <QStringList>

/// The command for the calculation of work times, and what answers of the calculation have in common.

AdminJob prepareRecalc(const AdminOptions &options, QString *mistake);

/// Why nothing was calculated; empty when something was.
QString faultOfCalculation(const QAny &answer);
/// The texts of the calculation's faults.
QStringList errorsOfCalculation(const QAny &answer);
