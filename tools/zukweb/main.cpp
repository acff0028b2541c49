#include "tools/common/console.h"
#include "tools/common/dateperiod.h"
#include "tools/common/jsonoutput.h"
#include "tools/zukweb/reports.h"
#include "tools/zukweb/websession.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <cstdio>

using tools::zukweb::WebSession;
namespace Reports = tools::zukweb::Reports;

namespace {

enum ExitCode { kOk = 0, kRefused = 1, kUsage = 2, kNoConnection = 3 };

const char kExamples[] = R"(
Commands:
  wtime       work time of one employee over a period, with sums and warnings
  presence    employees on the server's presence list of today
  saldo       balance of leave and free hours
  add-meta    enters an event for an employee, now

Examples:
  zukweb --user ana wtime --from 1.3.2025 --to 31.3.2025
  zukweb --user ana --url ws://zuk.example:1233 wtime --pairs
  ZUK_PASSWORD=geslo zukweb --user ana presence --json
  zukweb --user ana saldo --employee 12
  zukweb --user ana add-meta --code 102:1:Dopust --type MP --remark "dopust"

The password is taken from --password, else from the environment variable ZUK_PASSWORD, else from one line of
standard input. Dates read 31.3.2025 or 2025-03-31; without them the period is this month up to today.

Exit code: 0 done, 1 refused by the server, 2 wrong usage, 3 no connection or no answer.
)";

void say(FILE *stream, const QString &text)
{
    std::fputs(text.toUtf8().constData(), stream);
}

int fail(ExitCode code, const QString &reason)
{
    say(stderr, QStringLiteral("zukweb: %1\n").arg(reason));
    return code;
}

int outcome(WebSession::Outcome outcome, const WebSession &session)
{
    return fail(outcome == WebSession::Refused ? kRefused : kNoConnection, session.error());
}

/// What one command asks the server, and how its answer is shown.
struct Command {
    QString type;
    QAny data;
    QString (*report)(const QAny &data) = nullptr;
};

QString stored(const QAny &)
{
    return QStringLiteral("The event is stored.\n");
}

struct Options {
    const QCommandLineOption help{{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Shows this help.")};
    const QCommandLineOption url{QStringLiteral("url"),
                                 QStringLiteral("Web address of the server (ws://127.0.0.1:1233)."),
                                 QStringLiteral("url"), QStringLiteral("ws://127.0.0.1:1233")};
    const QCommandLineOption user{
        {QStringLiteral("u"), QStringLiteral("user")}, QStringLiteral("User name."), QStringLiteral("name")};
    const QCommandLineOption password{{QStringLiteral("p"), QStringLiteral("password")},
                                      QStringLiteral("Password; other users of this machine may see it."),
                                      QStringLiteral("text")};
    const QCommandLineOption from{QStringLiteral("from"), QStringLiteral("First day of the period."),
                                  QStringLiteral("date")};
    const QCommandLineOption to{QStringLiteral("to"), QStringLiteral("Last day of the period."),
                                QStringLiteral("date")};
    const QCommandLineOption employee{QStringLiteral("employee"),
                                      QStringLiteral("Id of the employee; the user's own by default."),
                                      QStringLiteral("id")};
    const QCommandLineOption pairs{QStringLiteral("pairs"), QStringLiteral("wtime: also the pairs.")};
    const QCommandLineOption code{QStringLiteral("code"), QStringLiteral("add-meta: access code."),
                                  QStringLiteral("text")};
    const QCommandLineOption type{QStringLiteral("type"), QStringLiteral("add-meta: kind of event."),
                                  QStringLiteral("text"), QStringLiteral("ME")};
    const QCommandLineOption remark{QStringLiteral("remark"), QStringLiteral("add-meta: remark."),
                                    QStringLiteral("text")};
    const QCommandLineOption json{QStringLiteral("json"), QStringLiteral("Prints the answer's data as JSON.")};
    const QCommandLineOption timeout{QStringLiteral("timeout"), QStringLiteral("Seconds to wait for each answer."),
                                     QStringLiteral("seconds"), QStringLiteral("60")};
};

/// Checks what can be checked before the server is asked; the reason when something is wrong.
QString prepare(const QCommandLineParser &parser, const Options &options, Command *command)
{
    const QStringList words = parser.positionalArguments();
    if (words.size() != 1)
        return QStringLiteral("one command is needed: wtime, presence, saldo or add-meta");
    if (!parser.isSet(options.user))
        return QStringLiteral("--user is needed");
    const QString scheme = QUrl(parser.value(options.url), QUrl::StrictMode).scheme();
    if (scheme != QLatin1String("ws") && scheme != QLatin1String("wss"))
        return QStringLiteral("--url must begin with ws:// or wss://");
    bool isNumber = false;
    if (parser.isSet(options.employee) && (parser.value(options.employee).toLongLong(&isNumber) <= 0 || !isNumber))
        return QStringLiteral("--employee must be an employee's number");
    if (parser.value(options.timeout).toInt() <= 0)
        return QStringLiteral("--timeout must be a number of seconds");

    const QString &word = words.first();
    if (word == QLatin1String("wtime")) {
        DatePeriod period;
        const QString mistake = readPeriod(parser.value(options.from), parser.value(options.to), &period);
        if (!mistake.isEmpty())
            return mistake;
        *command = {QStringLiteral("getWTime"),
                    QAny{{QStringLiteral("STARTDATE"), serverDate(period.from)},
                         {QStringLiteral("ENDDATE"), serverDate(period.to)},
                         {QStringLiteral("PAIRS"), parser.isSet(options.pairs)}},
                    Reports::workTime};
    } else if (word == QLatin1String("presence")) {
        *command = {QStringLiteral("getPresence"), QAny(QAny::Hash), Reports::presence};
    } else if (word == QLatin1String("saldo")) {
        *command = {QStringLiteral("getSaldo"), QAny(QAny::Hash), Reports::saldo};
    } else if (word == QLatin1String("add-meta")) {
        if (parser.value(options.code).isEmpty())
            return QStringLiteral("add-meta needs --code");
        *command = {QStringLiteral("addMeta"),
                    QAny{{QStringLiteral("AC"), parser.value(options.code)},
                         {QStringLiteral("TYPE"), parser.value(options.type)},
                         {QStringLiteral("REM"), parser.value(options.remark)}},
                    stored};
    } else {
        return QStringLiteral("unknown command: ") + word;
    }
    return {};
}

QString password(const QCommandLineParser &parser, const Options &options)
{
    if (parser.isSet(options.password))
        return parser.value(options.password);
    if (qEnvironmentVariableIsSet("ZUK_PASSWORD"))
        return qEnvironmentVariable("ZUK_PASSWORD");
    return Console::readPassword("Password: ");
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    Console::prepare();
    const Options options;
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Asks a ZUK3 server what its employees' web page asks."));
    parser.addOptions({options.help, options.url, options.user, options.password, options.from, options.to,
                       options.employee, options.pairs, options.code, options.type, options.remark, options.json,
                       options.timeout});
    parser.addPositionalArgument(QStringLiteral("command"), QStringLiteral("wtime, presence, saldo or add-meta."));
    if (!parser.parse(QCoreApplication::arguments()))
        return fail(kUsage, parser.errorText());
    if (parser.isSet(options.help)) {
        say(stdout, parser.helpText() + QString::fromUtf8(kExamples));
        return kOk;
    }
    Command command;
    const QString mistake = prepare(parser, options, &command);
    if (!mistake.isEmpty())
        return fail(kUsage, mistake + QStringLiteral(" (--help shows more)"));

    WebSession session(parser.value(options.timeout).toInt() * 1000);
    const QString secret = password(parser, options);
    WebSession::Outcome step = session.open(QUrl(parser.value(options.url)));
    if (step != WebSession::Answered)
        return fail(kNoConnection, parser.value(options.url) + QStringLiteral(": ") + session.error());
    step = session.logIn(parser.value(options.user), secret);
    if (step != WebSession::Answered)
        return outcome(step, session);

    const QAny employee = parser.isSet(options.employee) ? QAny(parser.value(options.employee).toLongLong())
                                                         : session.data().lookup("idp");
    command.data.insert(command.type == QLatin1String("getWTime") ? QStringLiteral("USER") : QStringLiteral("ID"),
                        employee);
    step = session.ask(command.type, command.data);
    if (step != WebSession::Answered)
        return outcome(step, session);
    say(stdout,
        parser.isSet(options.json) ? QString::fromUtf8(jsonOutput(session.data())) : command.report(session.data()));
    session.logOut();
    return kOk;
}
