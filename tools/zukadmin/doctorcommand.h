#pragma once

#include "tools/zukadmin/admincommand.h"

/// The command that examines a site: its file, or what a server tells.

AdminJob prepareDoctor(const AdminOptions &options, QString *mistake);
