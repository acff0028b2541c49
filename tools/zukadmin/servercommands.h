#pragma once

#include "tools/zukadmin/admincommand.h"

/// Commands for the server itself and its terminals.

AdminJob prepareVersion(const AdminOptions &options, QString *mistake);
AdminJob prepareConnected(const AdminOptions &options, QString *mistake);
AdminJob prepareCmd(const AdminOptions &options, QString *mistake);
AdminJob prepareLog(const AdminOptions &options, QString *mistake);
AdminJob prepareRestart(const AdminOptions &options, QString *mistake);
