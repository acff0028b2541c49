#include "tools/zukterm/fleet.h"

#include "tools/common/logrow.h"
#include "tools/zukterm/eventgenerator.h"
#include "tools/zukterm/eventpacer.h"
#include "tools/zukterm/silentterminal.h"
#include "tools/zukterm/terminal.h"
#include "tools/zukterm/terminallogger.h"
#include "tools/zukterm/terminalrows.h"

#include <QDateTime>
#include <QEventLoop>

#include <algorithm>
#include <limits>

namespace tools::zukterm {

namespace {

/// The i-th of count times that are spread evenly over the span before now, the last just before it.
qint64 spreadTime(qint64 now, qint64 span, int i, int count)
{
    return now - span + static_cast<qint64>(static_cast<double>(span) * i / count);
}

} // namespace

Fleet::Fleet(const TermOptions &options, const TermInput &input, QObject *parent)
    : QObject(parent), m_options(options),
      m_log(options.quiet), m_context{m_options, m_controller, m_log, m_totals, PictureFolder(options.picturesFolder),
                                      {}}
{
    KNet::RpcLimits limits;
    // Answers are as large as the files, and so are those that we asked for.
    limits.maxUnreadBytes = std::numeric_limits<qint64>::max();
    limits.maxMessageBytes = std::numeric_limits<qint64>::max();
    limits.maxMessageValues = std::numeric_limits<qint64>::max();
    m_controller.setLimits(limits);
    m_controller.registerService(QStringLiteral("logger"), new TerminalLogger(m_context, this));
    const auto terminalOf = [this](const QString &id) { return m_context.byConnection.value(id); };
    connect(&m_controller, &KNet::RpcController::connected, this, [terminalOf](const QString &id) {
        if (Terminal *terminal = terminalOf(id))
            terminal->onConnected();
    });
    connect(&m_controller, &KNet::RpcController::disconnected, this, [terminalOf](const QString &id) {
        if (Terminal *terminal = terminalOf(id))
            terminal->onDisconnected();
    });
    connect(&m_controller, &KNet::RpcController::error, this, [terminalOf](const QString &id, const QString &text) {
        if (Terminal *terminal = terminalOf(id))
            terminal->onConnectionError(text);
    });

    m_opening.setInterval(kOpenIntervalMs);
    connect(&m_opening, &QTimer::timeout, this, &Fleet::openNext);
    m_check.setSingleShot(true);
    m_check.setInterval(kCheckDelayMs);
    connect(&m_check, &QTimer::timeout, this, &Fleet::check);
    m_patience.setSingleShot(true);
    m_patience.setInterval(m_options.timeoutMs);
    connect(&m_patience, &QTimer::timeout, this, &Fleet::finished);
    connect(this, &Fleet::finished, this, [this] { m_isInterrupted = false; });

    addTerminals();
    addRecorded(input);
    addEvents(m_options.events);
    addEvents(input.toSend);
    if (m_options.ratePerS > 0) {
        m_generator = std::make_unique<EventGenerator>(m_options.users);
        m_pacer = new EventPacer(
            m_options.ratePerS, m_options.count,
            [this] { return m_totals.events - m_totals.settledEvents() < kMaxOpenEvents; }, [this] { generateEvent(); },
            this);
    }
}

Fleet::~Fleet()
{
    // The connections go with the controller, whose signals must meet no terminal any more.
    m_controller.disconnect(this);
    qDeleteAll(m_terminals);
    qDeleteAll(m_silent);
}

void Fleet::addTerminals()
{
    m_totals.terminals = m_options.terminals;
    for (int i = 0; i < m_options.terminals; ++i) {
        const int number = m_options.firstNumber + i;
        if (i < m_options.activeTerminals()) {
            m_terminals.push_back(new Terminal(m_context, number, this));
            connect(m_terminals.back(), &Terminal::progressed, this, &Fleet::noteProgress);
        } else {
            m_silent.push_back(new SilentTerminal(m_context, number, this));
            connect(m_silent.back(), &SilentTerminal::progressed, this, &Fleet::noteProgress);
        }
    }
}

Terminal *Fleet::nextInTurn()
{
    return m_terminals.at(m_turn++ % m_terminals.size());
}

Terminal *Fleet::terminalFor(const QAny &row)
{
    if (!row.contains(QStringLiteral("TID")))
        return nextInTurn();
    const qint64 number = row.lookup(QStringLiteral("TID")).toInteger();
    return m_terminals.at(static_cast<size_t>(number - m_options.firstNumber));
}

void Fleet::addRecorded(const TermInput &input)
{
    for (const QAny &row : input.events) {
        Terminal *terminal = terminalFor(row);
        terminal->store().events.add(stampEvent(row, terminal->number()));
    }
    for (const QAny &row : input.logs)
        nextInTurn()->store().logs.add(m_options.admin ? withLowerCaseKeys(row) : row);
    for (Terminal *terminal : m_terminals)
        addGenerated(terminal);
}

void Fleet::addGenerated(Terminal *terminal)
{
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    const qint64 span = m_options.offlineHours * 3600LL * 1000;
    EventGenerator generator(m_options.users);
    for (int i = 0; i < m_options.offlineEvents; ++i) {
        const qint64 time = spreadTime(now, span, i, m_options.offlineEvents) / 1000;
        terminal->store().events.add(stampEvent(generator.next(time), terminal->number()));
    }
    for (int i = 0; i < m_options.offlineLogs; ++i) {
        const QAny row = logRow(i + 1, spreadTime(now, span, i, m_options.offlineLogs),
                                QStringLiteral("Offline log line %1").arg(i + 1));
        terminal->store().logs.add(m_options.admin ? withLowerCaseKeys(row) : row);
    }
}

void Fleet::addEvents(const QVector<QAny> &rows)
{
    for (const QAny &row : rows) {
        Terminal *terminal = terminalFor(row);
        terminal->addEvent(stampEvent(row, terminal->number()));
    }
}

void Fleet::generateEvent()
{
    Terminal *terminal = nextInTurn();
    terminal->addEvent(stampEvent(m_generator->next(QDateTime::currentSecsSinceEpoch()), terminal->number()));
}

void Fleet::start()
{
    m_opening.start();
    if (m_options.durationMs > 0) {
        QTimer::singleShot(m_options.durationMs, Qt::PreciseTimer, this, &Fleet::finished);
    }
    if (m_options.once)
        m_patience.start();
    if (m_pacer)
        m_pacer->start();
}

void Fleet::openNext()
{
    const size_t all = m_terminals.size() + m_silent.size();
    for (int i = 0; i < kOpensPerTurn && m_opened < all; ++i, ++m_opened) {
        if (m_opened < m_terminals.size())
            m_terminals.at(m_opened)->open();
        else
            m_silent.at(m_opened - m_terminals.size())->open();
    }
    if (m_opened == all)
        m_opening.stop();
}

void Fleet::noteProgress()
{
    if (!m_check.isActive())
        m_check.start();
}

void Fleet::check()
{
    if (m_context.isEnding)
        return;
    if (isDone()) {
        Q_EMIT finished();
    } else if (m_options.once && m_totals.progress() != m_seenProgress) {
        m_seenProgress = m_totals.progress();
        m_patience.start();
    }
}

bool Fleet::isDone() const
{
    const bool allEnded =
        std::all_of(m_terminals.begin(), m_terminals.end(),
                    [](const Terminal *t) { return t->state() == Terminal::State::Ended; }) &&
        std::all_of(m_silent.begin(), m_silent.end(), [](const SilentTerminal *t) { return t->hasEnded(); });
    if (allEnded)
        return true;
    return m_options.once && !(m_pacer && m_pacer->isRunning()) &&
           std::all_of(m_terminals.begin(), m_terminals.end(), [](const Terminal *t) { return t->isSettled(); }) &&
           std::all_of(m_silent.begin(), m_silent.end(),
                       [](const SilentTerminal *t) { return t->isLoggedIn() || t->hasEnded(); });
}

bool Fleet::isBusy() const
{
    return std::any_of(m_terminals.begin(), m_terminals.end(), [](const Terminal *t) { return t->isBusy(); });
}

template <typename Condition> void Fleet::waitFor(Condition condition, int limitMs)
{
    QEventLoop loop;
    QTimer poll;
    connect(&poll, &QTimer::timeout, &loop, [&] {
        if (condition())
            loop.quit();
    });
    poll.start(kCheckDelayMs);
    QTimer::singleShot(limitMs, &loop, &QEventLoop::quit);
    if (!condition())
        loop.exec();
}

void Fleet::finish()
{
    blockSignals(true); // to quit the application now would end the waits below
    m_opening.stop();
    m_patience.stop();
    if (m_pacer)
        m_pacer->stop();
    const auto isIdle = [this] { return !isBusy(); };
    const int limitMs = m_isInterrupted ? kInterruptedWaitMs : m_options.timeoutMs;
    waitFor(isIdle, limitMs);
    for (Terminal *terminal : m_terminals)
        terminal->confirm();
    waitFor(isIdle, limitMs);

    m_context.isEnding = true;
    for (Terminal *terminal : m_terminals) {
        m_totals.unanswered += terminal->openEvents();
        if (m_options.once && !terminal->wasAsked())
            ++m_totals.unasked;
        terminal->close();
    }
    for (SilentTerminal *terminal : m_silent)
        terminal->close();
    waitFor([this] { return m_context.byConnection.isEmpty(); }, kCloseWaitMs);
}

} // namespace tools::zukterm
