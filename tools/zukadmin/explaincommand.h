#pragma once

#include "tools/zukadmin/admincommand.h"

/// The command that tells how one day of an employee was calculated.

AdminJob prepareExplain(const AdminOptions &options, QString *mistake);
