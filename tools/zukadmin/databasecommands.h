#pragma once

#include "tools/zukadmin/admincommand.h"

/// Commands for the server's database.

AdminJob prepareQuery(const AdminOptions &options, QString *mistake);
AdminJob prepareExec(const AdminOptions &options, QString *mistake);
AdminJob prepareInsert(const AdminOptions &options, QString *mistake);
AdminJob prepareUpdate(const AdminOptions &options, QString *mistake);
