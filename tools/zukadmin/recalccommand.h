#pragma once

#include "tools/zukadmin/admincommand.h"

/// The command for the calculation of work times.

AdminJob prepareRecalc(const AdminOptions &options, QString *mistake);
