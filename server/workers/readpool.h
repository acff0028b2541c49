#pragma once

#include "server/workers/readersource.h"

#include <QByteArray>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <vector>

namespace calc {
class Crew;
}

namespace server::workers {

/// An answer's text in pieces that follow one another.
using Text = std::vector<QByteArray>;

/// How much waits for a worker at most.
constexpr int kMaxWaitingSmall = 1000;
constexpr int kMaxWaitingLarge = 64;
/// A worker that has nothing to do lets its connections go so long after it was first used again, in ms.
constexpr int kRestMs = 2000;
/// Two, so that a large calculation leaves one for what is small.
constexpr int kMinThreads = 2;

/// Worker threads that read the file, each with connections of its own, and work out answers down to their text.
///
/// Lives on the thread that made it (the main thread), whose event loop must run for results to be handed out; all of
/// its functions are called there. Workers never wait for that thread.
class ReadPool : public QObject
{
    Q_OBJECT
public:
    enum class Size {
        Small, ///< milliseconds; goes before what is large, and between the shares of it
        Large  ///< one at a time, by all workers together
    };

    /// Works out the text on a worker. The crew is the worker alone for a small one, all workers for a large one; its
    /// reader (or readers) sees one state of the file from beginning to end. Looks at the crew's isCancelled() now and
    /// then. What the work holds is released on the worker, or on the pool's thread when it never began. It must not
    /// use anything that other threads change: of a QAny it takes along give it a deepCopy(). Nothing may throw.
    using Work = std::function<Text(calc::Crew &crew)>;
    /// Gets the text on the pool's thread, from its event loop. It may submit, cancel and stop.
    using Ended = std::function<void(Text text)>;
    /// Tells which file a work that is submitted now is to read. Called on the pool's thread.
    using Wanted = std::function<WantedFile()>;

    struct Options {
        int threads = 0; ///< 0 takes the number of cores; at least kMinThreads
        int maxWaitingSmall = kMaxWaitingSmall;
        int maxWaitingLarge = kMaxWaitingLarge;
        int restMs = kRestMs;
    };

    /// Without being told the file is never taken for replaced.
    explicit ReadPool(std::unique_ptr<ReaderSource> source, Wanted wanted = {}, QObject *parent = nullptr);
    ReadPool(std::unique_ptr<ReaderSource> source, Wanted wanted, Options options, QObject *parent = nullptr);
    /// Stops.
    ~ReadPool() override;

    /// False when too much waits already or the pool has stopped: then nothing of it is kept or called. Else `ended` is
    /// called once, unless the work is cancelled before.
    bool submit(Size size, const QString &owner, Work work, Ended ended);
    /// The key of an owner that is an object.
    static QString ownerOf(const void *object);
    /// The owner is gone: its work, waiting or running, is given up and its `ended` never called.
    void cancel(const QString &owner);
    /// Cancels everything and waits for the threads to end. No work is taken from here on.
    void stop();

    int threads() const;

    /// Since the pool was made.
    struct Figures {
        quint64 answered = 0;
        double seconds = 0; ///< from their submission to their text
    };
    const Figures &figures() const;

signals:
    /// The workers' only word to this thread.
    void textsAreReady();

private:
    void handOut();

    class Private;
    std::unique_ptr<Private> d;
};

/// The process's pool; null before start and after stop. Only ServicesStarter (or a test) sets it.
ReadPool *readPool();
void setReadPool(ReadPool *pool);

} // namespace server::workers
