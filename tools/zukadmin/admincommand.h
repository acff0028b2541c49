#pragma once

#include "tools/zukadmin/adminanswer.h"
#include "tools/zukadmin/adminsession.h"

#include <QString>

#include <functional>
#include <variant>
#include <vector>

struct AdminOptions;

/// What is left to do once the server has let us in, or without any server.
using AdminJob = std::variant<std::function<CommandResult(AdminSession &session)>, std::function<CommandResult()>>;

/// One command of the program.
struct AdminCommand {
    /// Options that not every command takes.
    enum Option : unsigned { Json = 1, Csv = 2, NoVerify = 4, Calculation = 8, Explanation = 16, Examination = 32 };

    const char *name;
    const char *arguments;
    const char *summary;
    unsigned options;
    int timeoutS; ///< that is enough for its answer
    /// Checks the words behind the command. The options outlive the job.
    AdminJob (*prepare)(const AdminOptions &options, QString *mistake);

    /// Name and arguments.
    QString usage() const;
};

/// In the order in which people learn them.
const std::vector<AdminCommand> &adminCommands();
/// Null when there is none of that name.
const AdminCommand *adminCommand(const QString &name);
