#pragma once

#include "tools/zukadmin/admincommand.h"

#include <QString>

/// The command for the calculation of work times, and what answers of the calculation have in common.

AdminJob prepareRecalc(const AdminOptions &options, QString *mistake);

/// Why nothing was calculated; empty when something was.
QString faultOfCalculation(const QAny &answer);
