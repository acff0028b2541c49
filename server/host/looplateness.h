#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

namespace server::host {

/// How late the event loop of its thread comes to what is due: what a terminal waits before it is heard at all. A turn
/// of the loop that takes longer than kIntervalMs is seen, but for at most that of its length; one that is shorter may
/// be missed. To look more often costs an idle server more than all else that it does.
class LoopLateness : public QObject
{
public:
    static constexpr int kIntervalMs = 500;

    explicit LoopLateness(QObject *parent = nullptr);

    /// The worst since it was asked the last time, in seconds; a turn that is under way included.
    double takeWorst();

private:
    void look();

    QTimer m_timer;
    QElapsedTimer m_since; // the last look
    qint64 m_worstNs = 0;
};

} // namespace server::host
