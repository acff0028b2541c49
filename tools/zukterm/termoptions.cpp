#include "tools/zukterm/termoptions.h"

#include "options/optionparser.h"
#include "tools/zukterm/terminalrows.h"

#include <QDateTime>

#include <climits>

namespace tools::zukterm {

namespace {

const char kExamples[] = R"(
Examples:
  zukterm --number 5 --event 12 --once
  zukterm --number 5 --event "12,102:Odhod,2026-03-31 16:00,late entry" --once
  zukterm --number 5 --offline-events 200 --users 1-40 --once
  zukterm --terminals 1000 --rate 500 --duration 60 --users 1-2000 --quiet
  zukterm --terminals 1000 --silent 20 --offline-logs 1000 --quiet --once
  zukterm --number 5 --call terminalcheck.timeSync --once
  zukterm --admin --number 9 --call admincheck.zukConnected "{}" --once

A row given once is one row at the server: --event and the rows of --send, --events and --logs go to the terminals in
turn, except that a row with TID belongs to that terminal. Generated offline rows, --log and --call are made for or by
every terminal.

Files are UTF-8 JSON: an array of rows, or one object per line. An event has USER, TIMESTAMP (Unix seconds) and
ACCESS_CODE; a log row FTIMESTAMP (ms), FMESSAGE, LLEVEL, LGROUP, ID and DATA. A picture is a file named by its
number, as in 17.jpg. As on a real terminal, offline rows reach the server only when they are newer than the newest it
has of this terminal.

An event whose answer is lost with the connection is kept. After the next login the terminal asks the server
(terminalcheck.query) whether it has the event, and sends it again only if not.

Silent terminals log in and keep their connection alive, but answer no call and send nothing.

Exit code: 0 done, 1 something was refused or not answered, 2 wrong usage.
)";

/// The options as the command line names them, and their reading into TermOptions.
class TermArguments : private OptionParser
{
public:
    explicit TermArguments(TermOptions &options)
        : OptionParser("Simulates attendance terminals (or administration clients) at a ZUK3 server.", kExamples),
          m_options(options)
    {
    }

    QString read(const QStringList &arguments, QString *told)
    {
        if (!parse(withJoinedCalls(arguments), told))
            return fault();
        readTerminals();
        readRecorded();
        readSent();
        readRun();
        checkTogether();
        return fault();
    }

private:
    /// --call takes two words; the parser knows only options with one.
    static QStringList withJoinedCalls(QStringList arguments)
    {
        for (int i = 1; i + 2 < arguments.size(); ++i) {
            if (arguments.at(i) == QLatin1String("--call") && !arguments.at(i + 2).startsWith(QLatin1String("--"))) {
                arguments[i + 1] += QLatin1Char(' ') + arguments.takeAt(i + 2);
                ++i;
            }
        }
        return arguments;
    }

    void readTerminals()
    {
        m_options.host = value(m_host);
        m_options.port = number<quint16>(m_port, 1);
        m_options.admin = isSet(m_admin);
        m_options.firstNumber = number(m_number, 0, INT_MAX - TermOptions::kMaxTerminals);
        m_options.terminals = number(m_terminals, 1, TermOptions::kMaxTerminals);
        m_options.silent = number(m_silent, 0, m_options.terminals);
    }

    void readRecorded()
    {
        m_options.logsFile = value(m_logs);
        m_options.eventsFile = value(m_events);
        m_options.picturesFolder = value(m_pictures);
        m_options.offlineEvents = number(m_offlineEvents, 0, TermOptions::kMaxRows);
        m_options.offlineLogs = number(m_offlineLogs, 0, TermOptions::kMaxRows);
        m_options.offlineHours = number(m_offlineHours, 1, 100000);
    }

    void readSent()
    {
        const QStringList events = values(m_event);
        for (const QString &text : events)
            addEvent(text);
        m_options.sendFile = value(m_send);
        m_options.users = ids(m_users);
        if (isSet(m_rate)) {
            bool ok = false;
            m_options.ratePerS = value(m_rate).toDouble(&ok);
            if (!ok || !(m_options.ratePerS > 0 && m_options.ratePerS <= TermOptions::kMaxRatePerS))
                blameValue(m_rate, QStringLiteral("is not a number up to %1").arg(TermOptions::kMaxRatePerS));
        }
        m_options.count = number<qint64>(m_count, 0);
        m_options.inFlight = number(m_inFlight, 1, 1000000);
        m_options.logTexts = values(m_log);
        const QStringList calls = values(m_call);
        for (const QString &text : calls)
            addCall(text);
    }

    void readRun()
    {
        m_options.once = isSet(m_once);
        m_options.durationMs = seconds(m_duration);
        m_options.reconnectMs = seconds(m_reconnect);
        m_options.timeoutMs = timeout(m_timeout);
        m_options.quiet = isSet(m_quiet);
    }

    void checkTogether()
    {
        const bool sendsEvents = !m_options.events.isEmpty() || isSet(m_send) || isSet(m_rate);
        const bool hasRows = sendsEvents || isSet(m_events) || isSet(m_logs);
        if (m_options.admin && (sendsEvents || isSet(m_events) || m_options.offlineEvents > 0))
            blame(QStringLiteral("administration clients have no events"));
        if (m_options.activeTerminals() == 0 && hasRows)
            blame(QStringLiteral("all terminals are silent"));
        if (isSet(m_count) && !isSet(m_rate))
            blame(QStringLiteral("--count needs --rate"));
        if (m_options.once && isSet(m_rate) && m_options.count == 0 && m_options.durationMs == 0)
            blame(QStringLiteral("--once with --rate needs --count or --duration"));
    }

    void addEvent(const QString &text)
    {
        const QString wrong = QStringLiteral("--event \"%1\": ").arg(text);
        const QString user = text.section(QLatin1Char(','), 0, 0).trimmed();
        const QString code = text.section(QLatin1Char(','), 1, 1).trimmed();
        const QString time = text.section(QLatin1Char(','), 2, 2).trimmed();
        const QString remark = text.section(QLatin1Char(','), 3);
        if (user.isEmpty())
            return blame(wrong + QStringLiteral("no user"));
        const qint64 timestamp = time.isEmpty() ? QDateTime::currentSecsSinceEpoch() : readEventTime(time);
        if (timestamp <= 0)
            return blame(wrong + QStringLiteral("\"%1\" is no time like 2026-03-31 16:00").arg(time));
        m_options.events.append(eventRow(user, code.isEmpty() ? arrivalCode() : code, timestamp, remark));
    }

    void addCall(const QString &text)
    {
        TermOptions::Call call;
        call.method = text.section(QLatin1Char(' '), 0, 0);
        const QString params = text.section(QLatin1Char(' '), 1).trimmed();
        // The reader takes arrays and objects alone, a parameter may be any value.
        const QAny wrapped = QAny::fromJson(QLatin1Char('[') + params + QLatin1Char(']'));
        if (!call.method.contains(QLatin1Char('.')))
            return blame(QStringLiteral("--call \"%1\": not of the form service.method").arg(text));
        if (!wrapped.isList() || wrapped.count() > 1)
            return blame(QStringLiteral("--call \"%1\": the parameter is not JSON").arg(text));
        call.params = wrapped.value(0);
        m_options.calls.append(call);
    }

    TermOptions &m_options;
    const Option m_host = add({"host", "The server's name or address (127.0.0.1).", "name", "127.0.0.1"});
    const Option m_port = add({"port", "The server's port (3501).", "port", "3501"});
    const Option m_admin = add({"admin", "Log in as administration clients."});
    const Option m_number = add({{"n", "number"}, "Number of the (first) terminal (1).", "N", "1"});
    const Option m_terminals = add({"terminals", "So many terminals, numbered from --number on (1).", "count", "1"});
    const Option m_silent = add({"silent", "The last so many of them answer nothing (0).", "count", "0"});
    const Option m_event =
        add({"event", "Sends an event: \"USER[,CODE[,TIME[,REMARK]]]\"; 101:Prihod and now by default.", "event"});
    const Option m_send = add({"send", "Sends the events of this file.", "file"});
    const Option m_rate = add({"rate", "Sends so many generated events per second, over all terminals.", "N"});
    const Option m_count = add({"count", "Generates so many events with --rate, then no more.", "count", "0"});
    const Option m_users = add({"users", "Users of generated events (1-50).", "list", "1-50"});
    const Option m_inFlight =
        add({"in-flight", "Events that one terminal has unanswered at a time (1).", "count", "1"});
    const Option m_log = add({"log", "Sends a log line.", "text"}, Empty::Allowed);
    const Option m_call =
        add({"call", "Calls any method, with JSON parameters behind it, and prints the answer.", "method [json]"});
    const Option m_events = add({"events", "Events recorded while offline.", "file"});
    const Option m_logs = add({"logs", "Log rows recorded while offline.", "file"});
    const Option m_pictures = add({"pictures", "Pictures of the terminals.", "folder"});
    const Option m_offlineEvents =
        add({"offline-events", "So many generated offline events per terminal.", "count", "0"});
    const Option m_offlineLogs =
        add({"offline-logs", "So many generated offline log rows per terminal.", "count", "0"});
    const Option m_offlineHours =
        add({"offline-hours", "The time before now over which they are spread (8).", "hours", "8"});
    const Option m_once =
        add({"once", "Ends when everything was sent and answered and the server has asked for the offline rows."});
    const Option m_duration = add({"duration", "Ends after so many seconds.", "seconds", "0"});
    const Option m_reconnect =
        add({"reconnect", "Connects again so many seconds after a loss (2); 0 never.", "seconds", "2"});
    const Option m_timeout = add({"timeout", "Seconds to wait for an answer (30).", "seconds", "30"});
    const Option m_quiet = add({{"q", "quiet"}, "Prints only the summary."});
};

} // namespace

QString readTermOptions(const QStringList &arguments, TermOptions &options, QString *told)
{
    return TermArguments(options).read(arguments, told);
}

} // namespace tools::zukterm
