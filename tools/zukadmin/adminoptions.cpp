#include "tools/zukadmin/adminoptions.h"

#include "options/optionparser.h"
#include "tools/zukadmin/admincommand.h"

#include <climits>

namespace {

const char kExamples[] = R"(
SQL is one word to the shell. ROWS are a JSON object, a JSON array of objects, or words NAME=TEXT and NAME:=JSON (a
number, true, null); they are sent one by one. "-" reads SQL or JSON from standard input.

Examples:
  zukadmin connected
  zukadmin --host server.example query "select ID, LASTNAME from employees order by LASTNAME"
  zukadmin query "select * from allevents" --csv > events.csv
  zukadmin exec "delete from metalog where ID=17"
  zukadmin insert employees LASTNAME=Kos FIRSTNAME=Bor ACTIVE:=1
  zukadmin update employees ID '{"ID":12,"DEPARTMENT":"Skladišče"}'
  zukadmin recalc --from 1.3.2025 --to 31.3.2025 --user 5,7-12
  zukadmin recalc --from 1.3.2025 --to 31.3.2025 --table sums --csv > march.csv
  zukadmin explain 5 31.3.2025
  zukadmin doctor --database /opt/zuk3srv/zuknetserver.db
  zukadmin put build/zuk3server update && zukadmin restart
  zukadmin get ZUKSERW.INI -
  zukadmin cmd 5 '{"CMD":"open"}'

What the server does not tell: exec and update are accepted whenever its database is open, also when the statement
fails, and a query that fails has no rows. So query for the effect. Names in ROWS that are no columns are refused here;
the server would leave them out.

explain tells how the server came to the hours of one day of an employee, whose id stands in employees.ID: what became
of each event, what each rule changed and why the others did nothing.

doctor examines a site over the server, or with --database its file, and then also what lies beside it: events that
wait, the disk, back-ups. It changes nothing and tells what it could not see.

put writes below the folder of the server's executable (a DIR may be new, its parent not), get reads relative to the
server's working folder, which is the same one when it runs as a service or with -d. The server never says that it could
not write a file: so put fetches it again and compares, unless told --no-verify.

Only one client can be logged in under one number. Dates read 31.3.2025 or 2025-03-31; without them the period is this
month up to today.

Exit code: 0 done, 1 refused, failed or not reachable, 2 wrong usage; doctor: 0 nothing found, 1 could not be examined,
3 something to look at soon, 4 something to act on now.
)";

class AdminArguments : private OptionParser
{
public:
    explicit AdminArguments(AdminOptions &options)
        : OptionParser("Administers a ZUK3 server: runs one command on it.", commandList() + kExamples),
          m_options(options)
    {
        addWords(QStringLiteral("command"), QStringLiteral("One of the commands below."));
    }

    QString read(const QStringList &arguments, QString *told)
    {
        if (!parse(arguments, told))
            return fault();
        readServer();
        readCommand();
        if (m_options.command) {
            checkOptions();
            readCalculation();
            readExamination();
        }
        return fault();
    }

private:
    static QString commandList()
    {
        QString text = QStringLiteral("\nCommands:\n");
        for (const AdminCommand &command : adminCommands()) {
            text += QStringLiteral("  %1  %2\n").arg(command.usage().leftJustified(28), QLatin1String(command.summary));
        }
        return text;
    }

    void readServer()
    {
        m_options.host = value(m_host);
        m_options.port = number<quint16>(m_port, 1);
        m_options.number = number(m_number, INT_MIN);
        if (isSet(m_timeout))
            m_options.timeoutMs = timeout(m_timeout);
    }

    void readCommand()
    {
        m_options.words = words();
        if (m_options.words.isEmpty())
            return blame(QStringLiteral("a command is needed"));
        const QString name = m_options.words.takeFirst();
        m_options.command = adminCommand(name);
        if (!m_options.command)
            blame(QStringLiteral("unknown command: ") + name);
    }

    void checkOptions()
    {
        const struct {
            const Option &option;
            unsigned needs;
        } special[] = {{m_json, AdminCommand::Json},
                       {m_csv, AdminCommand::Csv},
                       {m_noVerify, AdminCommand::NoVerify},
                       {m_from, AdminCommand::Calculation},
                       {m_to, AdminCommand::Calculation},
                       {m_user, AdminCommand::Calculation},
                       {m_table, AdminCommand::Calculation},
                       {m_language, AdminCommand::Explanation},
                       {m_database, AdminCommand::Examination},
                       {m_backups, AdminCommand::Examination},
                       {m_figures, AdminCommand::Examination},
                       {m_webPort, AdminCommand::Examination}};
        for (const auto &each : special) {
            if (isSet(each.option) && !(m_options.command->options & each.needs)) {
                blame(QStringLiteral("%1 has no --%2")
                          .arg(QLatin1String(m_options.command->name), each.option.names().constLast()));
            }
        }
        if (isSet(m_json) && isSet(m_csv))
            blame(QStringLiteral("--csv or --json, not both"));
        if (isSet(m_json))
            m_options.format = AdminOptions::Format::Json;
        else if (isSet(m_csv))
            m_options.format = AdminOptions::Format::Csv;
        m_options.verify = !isSet(m_noVerify);
    }

    void readCalculation()
    {
        m_options.period = period(m_from, m_to);
        m_options.users = ids(m_user);
        m_options.table = value(m_table);
        m_options.language = language(m_language);
    }

    void readExamination()
    {
        m_options.database = value(m_database);
        m_options.backups = value(m_backups);
        m_options.figures = value(m_figures);
        if (isSet(m_webPort))
            m_options.webPort = number<quint16>(m_webPort, 1);
    }

    AdminOptions &m_options;
    const Option m_host = add({"host", "The server's name or address (127.0.0.1).", "name", "127.0.0.1"});
    const Option m_port = add({"port", "The server's port (3501).", "port", "3501"});
    const Option m_number = add({{"n", "number"}, "Number to log in with (200).", "N", "200"});
    const Option m_timeout =
        add({"timeout", "Seconds to wait for each answer (60; put, get and doctor 330, recalc 3600).", "seconds"});
    const Option m_json = add({"json", "Prints the server's answer as JSON."});
    const Option m_csv = add({"csv", "query, connected, recalc: prints CSV."});
    const Option m_noVerify = add({"no-verify", "put: does not fetch the file again to compare it."});
    const Option m_from = add({"from", "recalc: first day.", "date"});
    const Option m_to = add({"to", "recalc: last day.", "date"});
    const Option m_user = add({"user", "recalc: these employees alone.", "ids"});
    const Option m_table =
        add({"table", "recalc: only pairs, days, sums or errors; with --csv days if not given.", "name"});
    const Option m_language = addLanguage(QStringLiteral("explain: "));
    const Option m_database = add({"database", "doctor: looks at this file, without logging in.", "file"});
    const Option m_backups =
        add({"backups", "doctor: the folder of zukbackup (/var/backups/zuk3srv).", "folder", "/var/backups/zuk3srv"});
    const Option m_figures =
        add({"figures", "doctor: what ZUK_METRICS_FILE names for the server (/run/zuk3srv/zuk3server.prom).", "file",
             qEnvironmentVariable("ZUK_METRICS_FILE", QStringLiteral("/run/zuk3srv/zuk3server.prom"))});
    const Option m_webPort = add({"web-port", "doctor: the port of the web (as ZUKSERW.INI has it; 1233).", "port"});
};

} // namespace

QString readAdminOptions(const QStringList &arguments, AdminOptions *options, QString *told)
{
    return AdminArguments(*options).read(arguments, told);
}
