#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <functional>

namespace tools::zukterm {

/// Has something done so many times per second, evenly, until it was done often enough. It makes up for its own delays,
/// but stands still while it is told to wait; the time of a wait is not made up for.
class EventPacer : public QObject
{
    Q_OBJECT
public:
    /// The action is run on each beat; mayRun tells whether there is room for it. A count of 0 has no end.
    EventPacer(double ratePerS, qint64 count, std::function<bool()> mayRun, std::function<void()> action,
               QObject *parent = nullptr);

    void start();
    void stop() { m_timer.stop(); }
    bool isRunning() const { return m_timer.isActive(); }

private:
    static constexpr int kTickMs = 5;

    void tick();

    double m_ratePerS;
    qint64 m_count;
    std::function<bool()> m_mayRun;
    std::function<void()> m_action;
    QTimer m_timer;
    QElapsedTimer m_sinceTick;
    double m_due = 1; // the first beat is at once
    qint64 m_done = 0;
};

} // namespace tools::zukterm
