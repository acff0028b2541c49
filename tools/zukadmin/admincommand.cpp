#include "tools/zukadmin/admincommand.h"

#include "tools/zukadmin/databasecommands.h"
#include "tools/zukadmin/doctorcommand.h"
#include "tools/zukadmin/explaincommand.h"
#include "tools/zukadmin/filecommands.h"
#include "tools/zukadmin/recalccommand.h"
#include "tools/zukadmin/servercommands.h"

namespace {

constexpr int kAnswerS = 60;
/// The server drops a connection on which no message is complete for 300 s: a file passes within this time or not.
constexpr int kFileS = 330;
constexpr int kRecalcS = 3600;

} // namespace

QString AdminCommand::usage() const
{
    return (QString::fromLatin1(name) + QLatin1Char(' ') + QLatin1String(arguments)).trimmed();
}

const std::vector<AdminCommand> &adminCommands()
{
    using Command = AdminCommand;
    static const std::vector<AdminCommand> commands{
        {"version", "", "the server's version", Command::Json, kAnswerS, prepareVersion},
        {"connected", "", "terminals that are logged in, with their settings", Command::Json | Command::Csv, kAnswerS,
         prepareConnected},
        {"query", "SQL", "rows of a query", Command::Json | Command::Csv, kAnswerS, prepareQuery},
        {"exec", "SQL", "runs a statement", Command::Json, kAnswerS, prepareExec},
        {"insert", "TABLE ROWS", "stores rows", Command::Json, kAnswerS, prepareInsert},
        {"update", "TABLE KEYCOLUMN ROWS", "changes rows that the values of the key column name", Command::Json,
         kAnswerS, prepareUpdate},
        {"put", "LOCAL [DIR[/NAME]]", "sends a file", Command::NoVerify, kFileS, preparePut},
        {"get", "DIR/NAME [LOCAL]", "fetches a file", 0, kFileS, prepareGet},
        {"recalc", "", "work times of a period", Command::Json | Command::Csv | Command::Calculation, kRecalcS,
         prepareRecalc},
        {"explain", "EMPLOYEE DAY", "how a day was calculated, in words", Command::Json | Command::Explanation,
         kAnswerS, prepareExplain},
        {"doctor", "", "looks for what is wrong with a site, and says what to do", Command::Json | Command::Examination,
         kFileS, prepareDoctor},
        {"cmd", "TERMINAL [ROW]", "has a terminal do something", Command::Json, kAnswerS, prepareCmd},
        {"log", "TEXT", "writes a line into the server's journal", Command::Json, kAnswerS, prepareLog},
        {"restart", "", "restarts the server with the executable in its folder update", Command::Json, kAnswerS,
         prepareRestart},
    };
    return commands;
}

const AdminCommand *adminCommand(const QString &name)
{
    for (const AdminCommand &command : adminCommands()) {
        if (name == QLatin1String(command.name))
            return &command;
    }
    return nullptr;
}
