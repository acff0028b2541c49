#include "tools/zukterm/terminal.h"

#include "knetrpc/rpccontroller.h"
#include "tools/common/logrow.h"
#include "tools/zukterm/fleetcontext.h"
#include "tools/zukterm/reconnectdelay.h"
#include "tools/zukterm/rpcquestion.h"
#include "tools/zukterm/runlog.h"
#include "tools/zukterm/runtotals.h"
#include "tools/zukterm/terminalrows.h"
#include "tools/zukterm/termoptions.h"

#include <QDateTime>

#include <type_traits>
#include <utility>

namespace tools::zukterm {

namespace {

constexpr int kTerminalLogId = 1;

} // namespace

Terminal::Terminal(FleetContext &context, int number, QObject *parent)
    : QObject(parent), m_context(context), m_number(number), m_store(context.options.admin)
{
    m_retry.setSingleShot(true);
    connect(&m_retry, &QTimer::timeout, this, &Terminal::onRetry);
    for (const QString &text : context.options.logTexts) {
        m_logLines.push_back(
            logRow(context.options.admin ? kAdminLogId : kTerminalLogId, QDateTime::currentMSecsSinceEpoch(), text));
    }
    context.totals.logLines += context.options.logTexts.size();
    context.totals.calls += context.options.calls.size();
}

Terminal::~Terminal() = default;

void Terminal::say(const QString &text)
{
    m_context.log.say(m_number, text);
}

QString Terminal::serviceName() const
{
    return m_context.options.admin ? QStringLiteral("adminterminal") : QStringLiteral("mainterminal");
}

// Connection and login.

void Terminal::open()
{
    m_state = State::Connecting;
    m_lossReason.clear();
    KNet::RpcController &controller = m_context.controller;
    controller.connectToHost(m_context.options.host, m_context.options.port, m_connectionId, 0);
    const QString name = QString::number(m_number);
    controller.setConnectionName(m_connectionId, name);
    if (controller.connectionName(m_connectionId) == name) {
        m_context.byConnection.insert(m_connectionId, this);
        return;
    }
    // It failed at once, before its signals could find us.
    m_lossReason = QStringLiteral("no socket for it");
    onDisconnected();
}

void Terminal::confirm()
{
    if (m_state != State::Working)
        return;
    m_isConfirming = true;
    ask(serviceName() + QStringLiteral(".status"), QAny(), [this](const QAny &) { m_isConfirming = false; });
}

void Terminal::close()
{
    m_retry.stop();
    m_context.controller.closeConnection(m_connectionId);
}

void Terminal::onConnected()
{
    logIn();
}

void Terminal::logIn()
{
    m_state = State::LoggingIn;
    ask(serviceName() + QStringLiteral(".login"), QAny{{QStringLiteral("id"), m_number}}, &Terminal::onLogin);
}

void Terminal::onLogin(const QAny &answer)
{
    if (answer.isBool() && answer.asBool()) {
        m_state = State::Working;
        if (!std::exchange(m_wasLoggedIn, true))
            ++m_context.totals.loggedIn;
        say(QStringLiteral("logged in"));
        proceed();
        return;
    }
    ++m_context.totals.refusedLogins;
    const QString refusal = QStringLiteral("login refused: ");
    if (KNet::rpcErrorCode(answer) == 0) // its answer to a connection that may not log in (again)
        return drop(refusal + answer.toJson());
    // The connection stays, as that of a terminal whose number is still taken by its lost connection.
    say(refusal + KNet::rpcErrorText(answer));
    if (m_context.options.reconnectMs == 0)
        return drop(QStringLiteral("not tried again"));
    retryLater();
}

void Terminal::retryLater()
{
    m_retry.start(reconnectDelayMs(m_context.options.reconnectMs));
}

void Terminal::onRetry()
{
    if (m_context.isEnding)
        return;
    if (m_state == State::LoggingIn)
        logIn();
    else
        open();
}

void Terminal::drop(const QString &reason)
{
    m_lossReason = reason;
    if (!m_context.controller.abortConnection(m_connectionId) && m_state != State::Lost && m_state != State::Ended)
        onDisconnected();
}

void Terminal::onDisconnected()
{
    m_context.byConnection.remove(m_connectionId);
    m_retry.stop();
    const bool wasConnected = std::exchange(m_state, State::Lost) != State::Connecting;
    for (auto &[sequence, flight] : m_sent)
        m_doubtful.push_back(flight.event);
    m_sent.clear();
    m_isChecking = false;
    m_isLogging = false;
    m_isConfirming = false;
    if (std::exchange(m_isCalling, false))
        say(QStringLiteral("call not answered: ") + m_context.options.calls.at(m_nextCall - 1).method);
    if (m_context.isEnding || m_context.options.reconnectMs == 0)
        m_state = State::Ended;
    else
        retryLater();

    if (wasConnected && !m_context.isEnding)
        ++m_context.totals.losses;
    if (!m_context.isEnding) {
        QString text = wasConnected ? QStringLiteral("connection lost") : QStringLiteral("cannot connect");
        if (!m_lossReason.isEmpty())
            text += QStringLiteral(": ") + m_lossReason;
        if (m_state == State::Lost)
            text += QStringLiteral("; again in %1 s").arg(m_retry.interval() / 1000.0, 0, 'f', 1);
        say(text);
    }
    Q_EMIT progressed();
}

template <typename Handler> void Terminal::ask(const QString &method, const QAny &params, Handler handler)
{
    const auto onAnswer = [this, method, handler](const QAny &answer) {
        switch (KNet::rpcErrorCode(answer)) {
        case KNet::ConnectionClosed: // onDisconnected() follows
            return;
        case KNet::ConnectionError:
        case KNet::CallTimeout:
            return drop(QStringLiteral("%1: %2").arg(method, KNet::rpcErrorText(answer)));
        default:
            if constexpr (std::is_member_function_pointer_v<Handler>)
                (this->*handler)(answer);
            else
                handler(answer);
            Q_EMIT progressed();
        }
    };
    RpcQuestion::ask(&m_context.controller, m_connectionId, method, params, m_context.options.timeoutMs, this,
                     onAnswer);
}

// What the terminal sends.

void Terminal::addEvent(const QAny &event)
{
    ++m_context.totals.events;
    m_queue.push_back(event);
    proceed();
}

qint64 Terminal::openEvents() const
{
    const size_t events = m_queue.size() + m_sent.size() + m_doubtful.size();
    return static_cast<qint64>(events);
}

bool Terminal::isBusy() const
{
    return m_state == State::Working && (openEvents() > 0 || m_isLogging || m_isCalling || m_isConfirming);
}

bool Terminal::wasAsked() const
{
    return m_gaveLogs && (m_gaveEvents || m_context.options.admin);
}

bool Terminal::isSettled() const
{
    if (m_state == State::Ended)
        return true;
    return m_state == State::Working && openEvents() == 0 && m_logLines.empty() && !m_isCalling &&
           m_nextCall == m_context.options.calls.size() && wasAsked();
}

void Terminal::proceed()
{
    if (m_state != State::Working)
        return;
    if (!m_doubtful.empty()) {
        checkDoubtful();
    } else {
        const auto limit = static_cast<size_t>(m_context.options.inFlight);
        while (m_state == State::Working && !m_queue.empty() && m_sent.size() < limit) {
            const QAny event = m_queue.front();
            m_queue.pop_front();
            sendEvent(event);
        }
    }
    if (m_state == State::Working)
        sendLogLine();
    if (m_state == State::Working)
        makeCall();
}

void Terminal::sendEvent(const QAny &event)
{
    const quint64 sequence = m_nextFlight++;
    Flight &flight = m_sent[sequence];
    flight.event = event;
    flight.sent.start();
    RunTotals &totals = m_context.totals;
    if (!totals.sinceFirstEvent.isValid())
        totals.sinceFirstEvent.start();
    ask(QStringLiteral("logger.event"), event,
        [this, sequence](const QAny &answer) { onEventAnswer(sequence, answer); });
}

void Terminal::onEventAnswer(quint64 sequence, const QAny &answer)
{
    const auto found = m_sent.find(sequence);
    if (found == m_sent.end())
        return;
    const Flight flight = found->second;
    m_sent.erase(found);
    const qint64 microseconds = flight.sent.nsecsElapsed() / 1000;
    RunTotals &totals = m_context.totals;
    totals.lastEventMs = totals.sinceFirstEvent.elapsed();
    if (answer.isBool() && answer.asBool()) {
        ++totals.acknowledged;
        totals.latency.add(microseconds);
        if (!m_context.log.isQuiet()) {
            say(eventText(flight.event) +
                QStringLiteral(": acknowledged in %1 ms").arg(static_cast<double>(microseconds) / 1000, 0, 'f', 2));
        }
    } else {
        ++totals.refused;
        say(eventText(flight.event) + QStringLiteral(": refused: ") + answer.toJson());
    }
    proceed();
}

void Terminal::checkDoubtful()
{
    if (m_isChecking)
        return;
    m_isChecking = true;
    ask(QStringLiteral("terminalcheck.query"), eventQuery(m_doubtful.front()), &Terminal::onDoubtfulAnswer);
}

void Terminal::onDoubtfulAnswer(const QAny &answer)
{
    m_isChecking = false;
    const QAny event = m_doubtful.front();
    m_doubtful.pop_front();
    if (answer.isList() && answer.count() > 0) {
        ++m_context.totals.foundStored;
        say(eventText(event) + QStringLiteral(": found stored"));
    } else {
        // Also when the server cannot tell: better twice than never.
        say(eventText(event) + QStringLiteral(": sent again"));
        sendEvent(event);
    }
    proceed();
}

void Terminal::sendLogLine()
{
    if (m_isLogging || m_logLines.empty())
        return;
    m_isLogging = true;
    ask(QStringLiteral("logger.log"), m_logLines.front(), &Terminal::onLogAnswer);
}

void Terminal::onLogAnswer(const QAny &answer)
{
    m_isLogging = false;
    const QString message = m_logLines.front().lookup(QStringLiteral("FMESSAGE")).toString();
    m_logLines.pop_front();
    const bool isStored = answer.isBool() && answer.asBool();
    if (isStored)
        ++m_context.totals.logLinesStored;
    say(QStringLiteral("log line \"%1\": %2")
            .arg(message, isStored ? QStringLiteral("stored") : QStringLiteral("refused: ") + answer.toJson()));
    proceed();
}

/// A call is made once: what it does must not be done twice.
void Terminal::makeCall()
{
    if (m_isCalling || m_nextCall == m_context.options.calls.size())
        return;
    const TermOptions::Call &call = m_context.options.calls.at(m_nextCall++);
    m_isCalling = true;
    // Past ask(), since a method that takes long is no reason to give the connection up.
    RpcQuestion::ask(&m_context.controller, m_connectionId, call.method, call.params, m_context.options.timeoutMs, this,
                     [this](const QAny &answer) {
                         if (KNet::rpcErrorCode(answer) != KNet::ConnectionClosed)
                             onCallAnswer(answer);
                     });
}

void Terminal::onCallAnswer(const QAny &answer)
{
    m_isCalling = false;
    const QString &method = m_context.options.calls.at(m_nextCall - 1).method;
    if (KNet::rpcErrorCode(answer) == 0) {
        ++m_context.totals.callsAnswered;
        say(QStringLiteral("%1 answers %2").arg(method, answer.toJson()));
    } else {
        say(QStringLiteral("%1 fails: %2").arg(method, KNet::rpcErrorText(answer)));
    }
    proceed();
    Q_EMIT progressed();
}

// What the terminal is asked.

QAny Terminal::offer(const char *method, Recording &recording, const QAny &params, qint64 *rows, qint64 *kept)
{
    const qint64 time = params.lookup(QStringLiteral("fromTimestamp")).toInteger();
    const QAny newer = recording.since(time);
    *rows += newer.count();
    *kept += recording.count() - newer.count();
    say(QStringLiteral("server asks %1 newer than %2: %3 rows")
            .arg(QLatin1String(method))
            .arg(time)
            .arg(newer.count()));
    Q_EMIT progressed();
    return newer;
}

QAny Terminal::getLogs(const QAny &params)
{
    ++m_context.totals.getLogs;
    m_gaveLogs = true;
    return offer("getLogs", m_store.logs, params, &m_context.totals.logRows, &m_context.totals.logRowsKept);
}

QAny Terminal::getEvents(const QAny &params)
{
    ++m_context.totals.getEvents;
    m_gaveEvents = true;
    return offer("getEvents", m_store.events, params, &m_context.totals.eventRows, &m_context.totals.eventRowsKept);
}

QAny Terminal::getPictures(const QAny &params)
{
    ++m_context.totals.getPictures;
    const QAny picture = m_context.pictures.picture(params.lookup(QStringLiteral("ID")).toInteger());
    say(QStringLiteral("server asks getPictures %1: %2")
            .arg(params.toJson(), picture.isString() ? QStringLiteral("none") : QStringLiteral("sent")));
    return picture;
}

QAny Terminal::ulkaCsvEvent(const QAny &params)
{
    ++m_context.totals.ulkaCsvEvents;
    say(QStringLiteral("server tells ulkaCsvEvent %1").arg(params.toJson()));
    return QAny{{QStringLiteral("result"), QStringLiteral("true")}};
}

QAny Terminal::zukCmd(const QAny &params)
{
    ++m_context.totals.zukCmds;
    say(QStringLiteral("server commands zukCmd %1").arg(params.toJson()));
    return QAny{{QStringLiteral("result"), QStringLiteral("true")},
                {QStringLiteral("ZUKID"), m_number},
                {QStringLiteral("PARAMS"), params}};
}

} // namespace tools::zukterm
