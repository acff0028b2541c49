#pragma once

#include "tools/zukadmin/admincommand.h"

/// Commands for the server's files.

AdminJob preparePut(const AdminOptions &options, QString *mistake);
AdminJob prepareGet(const AdminOptions &options, QString *mistake);
