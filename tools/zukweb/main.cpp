#include "options/optionparser.h"
#include "options/programend.h"
#include "tools/common/console.h"
#include "tools/common/jsonoutput.h"
#include "tools/zukweb/reports.h"
#include "tools/zukweb/websession.h"

#include <QCoreApplication>

#include <cstdio>
#include <optional>

using namespace tools::zukweb;

namespace {

enum ExitCode { kOk = 0, kRefused = 1, kNoConnection = 3 };

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

/// What one run asks the server.
struct WebOptions {
    QUrl url;
    QString user;
    std::optional<QString> password; ///< null: it is not on the command line
    std::optional<qint64> employee;  ///< null: the user
    int timeoutMs = 0;               ///< for each answer
    bool json = false;

    QString type; ///< of the question
    QAny data;
    QString (*report)(const QAny &data) = nullptr; ///< how its answer is shown
};

QString stored(const QAny &)
{
    return QStringLiteral("The event is stored.\n");
}

class WebArguments : private OptionParser
{
public:
    explicit WebArguments(WebOptions &options)
        : OptionParser("Asks a ZUK3 server what its employees' web page asks.", kExamples), m_options(options)
    {
        addWord(QStringLiteral("command"), QStringLiteral("wtime, presence, saldo or add-meta"));
    }

    QString read(const QStringList &arguments, QString *told)
    {
        if (!parse(arguments, told))
            return fault();
        readSession();
        readCommand(words().constFirst());
        m_options.json = isSet(m_json);
        return fault();
    }

private:
    void readSession()
    {
        if (!isSet(m_user))
            blame(QStringLiteral("--user is needed"));
        m_options.user = value(m_user);
        if (isSet(m_password))
            m_options.password = value(m_password);
        m_options.url = QUrl(value(m_url), QUrl::StrictMode);
        const QString scheme = m_options.url.scheme();
        if ((scheme != QLatin1String("ws") && scheme != QLatin1String("wss")) || m_options.url.host().isEmpty())
            blameValue(m_url, QStringLiteral("is not an address like ws://127.0.0.1:1233 or wss://zuk.example"));
        m_options.timeoutMs = timeout(m_timeout);
    }

    void readCommand(const QString &word)
    {
        if (isSet(m_employee))
            m_options.employee = number<qint64>(m_employee, 1);
        if (word == QLatin1String("wtime")) {
            const DatePeriod days = period(m_from, m_to);
            ask("getWTime", Reports::workTime,
                {{"STARTDATE", serverDate(days.from)}, {"ENDDATE", serverDate(days.to)}, {"PAIRS", isSet(m_pairs)}});
        } else if (word == QLatin1String("presence")) {
            ask("getPresence", Reports::presence);
        } else if (word == QLatin1String("saldo")) {
            ask("getSaldo", Reports::saldo);
        } else if (word == QLatin1String("add-meta")) {
            if (!isSet(m_code))
                blame(QStringLiteral("add-meta needs --code"));
            ask("addMeta", stored, {{"AC", value(m_code)}, {"TYPE", value(m_type)}, {"REM", value(m_remark)}});
        } else {
            blame(QStringLiteral("unknown command: ") + word);
        }
    }

    void ask(const char *type, QString (*report)(const QAny &), const QAny &data = QAny(QAny::Hash))
    {
        m_options.type = QString::fromLatin1(type);
        m_options.data = data;
        m_options.report = report;
    }

    WebOptions &m_options;
    const Option m_url = add({"url", "Web address of the server (ws://127.0.0.1:1233).", "url", "ws://127.0.0.1:1233"});
    const Option m_user = add({{"u", "user"}, "User name.", "name"});
    const Option m_password =
        add({{"p", "password"}, "Password; other users of this machine may see it.", "text"}, Empty::Allowed);
    const Option m_from = add({"from", "wtime: first day of the period.", "date"});
    const Option m_to = add({"to", "wtime: last day of the period.", "date"});
    const Option m_employee = add({"employee", "Id of the employee; the user's own by default.", "id"});
    const Option m_pairs = add({"pairs", "wtime: also the pairs."});
    const Option m_code = add({"code", "add-meta: access code.", "text"});
    const Option m_type = add({"type", "add-meta: kind of event (ME).", "text", "ME"});
    const Option m_remark = add({"remark", "add-meta: remark.", "text"}, Empty::Allowed);
    const Option m_json = add({"json", "Prints the answer's data as JSON."});
    const Option m_timeout = add({"timeout", "Seconds to wait for each answer (60).", "seconds", "60"});
};

int failed(WebSession::Outcome outcome, const WebSession &session)
{
    return failWith(outcome == WebSession::Refused ? kRefused : kNoConnection, session.error());
}

QString passwordOf(const WebOptions &options)
{
    if (options.password)
        return *options.password;
    if (qEnvironmentVariableIsSet("ZUK_PASSWORD"))
        return qEnvironmentVariable("ZUK_PASSWORD");
    return Console::readPassword("Password: ");
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    Console::prepare();
    WebOptions options;
    QString told;
    const QString fault = WebArguments(options).read(QCoreApplication::arguments(), &told);
    if (const auto end = endAfterOptions(fault, told))
        return *end;

    WebSession session(options.timeoutMs);
    const QString password = passwordOf(options);
    WebSession::Outcome step = session.open(options.url);
    if (step != WebSession::Answered)
        return failWith(kNoConnection, options.url.toString() + QStringLiteral(": ") + session.error());
    step = session.logIn(options.user, password);
    if (step != WebSession::Answered)
        return failed(step, session);

    const QAny employee = options.employee ? QAny(*options.employee) : session.data().lookup("idp");
    options.data.insert(options.type == QLatin1String("getWTime") ? QStringLiteral("USER") : QStringLiteral("ID"),
                        employee);
    step = session.ask(options.type, options.data);
    if (step != WebSession::Answered)
        return failed(step, session);
    const QByteArray text = options.json ? jsonOutput(session.data()) : options.report(session.data()).toUtf8();
    std::fputs(text.constData(), stdout);
    session.logOut();
    return kOk;
}
