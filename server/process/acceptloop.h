#pragma once

#include <QElapsedTimer>
#include <QSocketNotifier>
#include <QTimer>

#include <functional>

namespace server::process {

/// Accepts the connections of a listening socket in QTcpServer's place, which does not notice that the process is out
/// of descriptors: it tries again and again, without a pause and without a word. This one says so once, rests until
/// there is one again, and goes on. Knows no network classes.
///
/// To use it pause the QTcpServer as soon as it listens, hand over its descriptor, and end this object before it
/// closes. Lives on the thread of the server. Only where isNeeded(); elsewhere it does nothing.
class AcceptLoop
{
public:
    /// Between two attempts while there are no descriptors.
    static constexpr int kPauseMs = 200;
    /// After so long without a shortage another one is told of.
    static constexpr int kQuietMs = 60000;
    /// Connections that are taken before others get their turn.
    static constexpr int kMaxAtOnce = 64;

    /// Gets each accepted descriptor, which is its own from there on. It may end the loop.
    using Take = std::function<void(qintptr descriptor)>;

    static bool isNeeded();

    /// The name begins the warning lines and outlives the loop.
    AcceptLoop(qintptr listening, const char *name, Take take);

private:
    void acceptSome();
    void pause();

    const char *m_name;
    Take m_take;
    QSocketNotifier m_notifier;
    QTimer m_pause;
    QElapsedTimer m_shortage; // since there was none the last time
};

} // namespace server::process
