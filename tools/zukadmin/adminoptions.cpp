#include "tools/zukadmin/adminoptions.h"

#include "tools/common/idlist.h"
#include "tools/common/optionreader.h"
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

class AdminArguments : private OptionReader
{
public:
    explicit AdminArguments(AdminOptions &options) : m_options(options)
    {
        m_parser.setApplicationDescription(QStringLiteral("Administers a ZUK3 server: runs one command on it."));
        m_parser.addOptions({m_help, m_host, m_port, m_number, m_timeout, m_json, m_csv, m_noVerify, m_from, m_to,
                             m_user, m_table, m_language, m_database, m_backups, m_figures, m_webPort});
        m_parser.addPositionalArgument(QStringLiteral("command"), QStringLiteral("One of the commands below."));
    }

    QString read(const QStringList &arguments, QString *help)
    {
        if (!m_parser.parse(arguments))
            return m_parser.errorText();
        if (m_parser.isSet(m_help)) {
            *help = m_parser.helpText() + commandList() + QString::fromUtf8(kExamples);
            return {};
        }
        readServer();
        readCommand();
        if (m_options.command) {
            checkOptions();
            readCalculation();
            readLanguage();
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
        m_options.host = m_parser.value(m_host);
        m_options.port = static_cast<quint16>(number(m_port, 1, 65535));
        m_options.number = static_cast<int>(number(m_number, INT_MIN, INT_MAX));
        if (m_parser.isSet(m_timeout)) {
            m_options.timeoutMs = seconds(m_timeout);
            if (m_options.timeoutMs == 0)
                blame(QStringLiteral("--timeout must be more than 0"));
        }
    }

    void readCommand()
    {
        m_options.words = m_parser.positionalArguments();
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
            const QCommandLineOption &option;
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
            if (m_parser.isSet(each.option) && !(m_options.command->options & each.needs)) {
                blame(QStringLiteral("%1 has no --%2")
                          .arg(QLatin1String(m_options.command->name), each.option.names().constLast()));
            }
        }
        if (m_parser.isSet(m_json) && m_parser.isSet(m_csv))
            blame(QStringLiteral("--csv or --json, not both"));
        if (m_parser.isSet(m_json))
            m_options.format = AdminOptions::Format::Json;
        else if (m_parser.isSet(m_csv))
            m_options.format = AdminOptions::Format::Csv;
        m_options.verify = !m_parser.isSet(m_noVerify);
    }

    void readCalculation()
    {
        blame(readPeriod(m_parser.value(m_from), m_parser.value(m_to), &m_options.period));
        if (m_parser.isSet(m_user) && !readIdList(m_parser.value(m_user), &m_options.users))
            blame(QStringLiteral("--user \"%1\" is not a list like 5,7-12").arg(m_parser.value(m_user)));
        m_options.table = m_parser.value(m_table);
    }

    void readLanguage()
    {
        m_options.language = languageOfLocale();
        if (m_parser.isSet(m_language) && !::readLanguage(m_parser.value(m_language), &m_options.language))
            blame(QStringLiteral("--lang is sl or en"));
    }

    void readExamination()
    {
        m_options.database = m_parser.value(m_database);
        m_options.backups = m_parser.value(m_backups);
        m_options.figures = m_parser.value(m_figures);
        if (m_parser.isSet(m_webPort))
            m_options.webPort = static_cast<quint16>(number(m_webPort, 1, 65535));
        if (m_parser.isSet(m_database) && m_options.database.isEmpty())
            blame(QStringLiteral("--database needs a file"));
    }

    AdminOptions &m_options;
    const QCommandLineOption m_help{{"h", "help"}, "Shows this help."};
    const QCommandLineOption m_host{"host", "The server's name or address (127.0.0.1).", "name", "127.0.0.1"};
    const QCommandLineOption m_port{"port", "The server's port (3501).", "port", "3501"};
    const QCommandLineOption m_number{{"n", "number"}, "Number to log in with (200).", "N", "200"};
    const QCommandLineOption m_timeout{
        "timeout", "Seconds to wait for each answer (60; put, get and doctor 330, recalc 3600).", "seconds"};
    const QCommandLineOption m_json{"json", "Prints the server's answer as JSON."};
    const QCommandLineOption m_csv{"csv", "query, connected, recalc: prints CSV."};
    const QCommandLineOption m_noVerify{"no-verify", "put: does not fetch the file again to compare it."};
    const QCommandLineOption m_from{"from", "recalc: first day.", "date"};
    const QCommandLineOption m_to{"to", "recalc: last day.", "date"};
    const QCommandLineOption m_user{"user", "recalc: these employees alone.", "ids"};
    const QCommandLineOption m_table{"table", "recalc: only pairs, days, sums or errors; with --csv days if not given.",
                                     "name"};
    const QCommandLineOption m_language{"lang", "explain: Slovenian or English (as the locale has it).", "sl|en"};
    const QCommandLineOption m_database{"database", "doctor: looks at this file, without logging in.", "file"};
    const QCommandLineOption m_backups{"backups", "doctor: the folder of zukbackup (/var/backups/zuk3srv).", "folder",
                                       "/var/backups/zuk3srv"};
    const QCommandLineOption m_figures{
        "figures", "doctor: what ZUK_METRICS_FILE names for the server (/run/zuk3srv/zuk3server.prom).", "file",
        qEnvironmentVariable("ZUK_METRICS_FILE", QStringLiteral("/run/zuk3srv/zuk3server.prom"))};
    const QCommandLineOption m_webPort{"web-port", "doctor: the port of the web (as ZUKSERW.INI has it; 1233).",
                                       "port"};
};

} // namespace

QString readAdminOptions(const QStringList &arguments, AdminOptions *options, QString *help)
{
    return AdminArguments(*options).read(arguments, help);
}
