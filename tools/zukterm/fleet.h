#pragma once

#include "tools/zukterm/fleetcontext.h"
#include "tools/zukterm/runlog.h"
#include "tools/zukterm/runtotals.h"
#include "tools/zukterm/terminput.h"
#include "tools/zukterm/termoptions.h"

#include "knetrpc/rpccontroller.h"

#include <QObject>
#include <QTimer>

#include <memory>
#include <vector>

namespace tools::zukterm {

class EventGenerator;
class EventPacer;
class SilentTerminal;
class Terminal;

/// All terminals of one run: brings them up, gives them what they have recorded and what they send, and tells when
/// the run is over.
class Fleet : public QObject
{
    Q_OBJECT
public:
    Fleet(const TermOptions &options, const TermInput &input, QObject *parent = nullptr);
    ~Fleet() override;

    void start();
    /// Ends the run: waits a while for what is unanswered, closes the connections and counts what is left. Runs the
    /// event loop.
    void finish();
    const RunTotals &totals() const { return m_totals; }
    RunLog &log() { return m_log; }

Q_SIGNALS:
    /// The time is over, everything is done, or nothing can go on.
    void finished();

private:
    /// Opening connections gets one turn of the event loop after the other, so that those that are open are served.
    static constexpr int kOpensPerTurn = 20;
    static constexpr int kOpenIntervalMs = 10;
    /// How often it is looked whether the run is over, at most.
    static constexpr int kCheckDelayMs = 10;
    /// What an interrupted run waits for answers.
    static constexpr int kInterruptedWaitMs = 2000;
    static constexpr int kCloseWaitMs = 5000;
    /// Generated events that may wait in the terminals; a generator that runs ahead of a server that is down would
    /// fill the memory.
    static constexpr qint64 kMaxOpenEvents = 1000000;

    void addTerminals();
    void addRecorded(const TermInput &input);
    void addGenerated(Terminal *terminal);
    void addEvents(const QVector<QAny> &rows);
    void generateEvent();
    void openNext();
    void noteProgress();
    void check();
    bool isBusy() const;
    bool isDone() const;
    /// Runs the event loop until the condition holds, at most so long.
    template <typename Condition> void waitFor(Condition condition, int limitMs);

    /// The terminal to which the row belongs: that of its TID, or the next in turn.
    Terminal *terminalFor(const QAny &row);
    Terminal *nextInTurn();

    const TermOptions m_options;
    RunTotals m_totals;
    RunLog m_log;
    KNet::RpcController m_controller;
    FleetContext m_context;
    std::vector<Terminal *> m_terminals; // by number; children
    std::vector<SilentTerminal *> m_silent;
    size_t m_turn = 0;
    size_t m_opened = 0;
    std::unique_ptr<EventGenerator> m_generator;
    EventPacer *m_pacer = nullptr;
    QTimer m_opening;
    QTimer m_check;
    QTimer m_patience; // with --once: nothing has come closer to the end for too long
    qint64 m_seenProgress = 0;
    bool m_isInterrupted = true; // unless it has ended by itself
};

} // namespace tools::zukterm
