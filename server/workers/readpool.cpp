#include "server/workers/readpool.h"

#include "server/workers/worker.h"

#include <QElapsedTimer>

#include <algorithm>
#include <iterator>
#include <map>
#include <thread>
#include <utility>

namespace server::workers {

namespace {

ReadPool *thePool = nullptr;

} // namespace

/// The pool's own thread alone uses it, but for the queue and what the workers are given.
class ReadPool::Private
{
public:
    struct Submitted {
        QString owner;
        Ended ended;
        JobHandle job;
        QElapsedTimer since;
    };

    Private(ReadPool &pool, std::unique_ptr<ReaderSource> readers, Wanted wantedFile, const Options &options)
        : source(std::move(readers)), wanted(std::move(wantedFile)),
          count(std::max({options.threads > 0 ? options.threads : static_cast<int>(std::thread::hardware_concurrency()),
                          kMinThreads})),
          queue(count, options.maxWaitingSmall, options.maxWaitingLarge, [&pool] { emit pool.textsAreReady(); })
    {
        for (int number = 0; number < count; ++number)
            threads.emplace_back([this, number, restMs = options.restMs] {
                Worker(queue, *source, number, count, std::chrono::milliseconds(restMs)).run();
            });
    }

    const std::unique_ptr<ReaderSource> source;
    const Wanted wanted;
    const int count;
    WorkQueue queue;
    std::vector<std::thread> threads;
    std::map<quint64, Submitted> submitted; ///< by id
    quint64 lastId = 0;
    Figures figures;
};

ReadPool::ReadPool(std::unique_ptr<ReaderSource> source, Wanted wanted, QObject *parent)
    : ReadPool(std::move(source), std::move(wanted), Options(), parent)
{
}

ReadPool::ReadPool(std::unique_ptr<ReaderSource> source, Wanted wanted, Options options, QObject *parent)
    : QObject(parent)
{
    // No value travels with the signal: it only wakes this thread, which then looks into the queue.
    connect(this, &ReadPool::textsAreReady, this, &ReadPool::handOut, Qt::QueuedConnection);
    d = std::make_unique<Private>(*this, std::move(source), std::move(wanted), options);
}

ReadPool::~ReadPool()
{
    stop();
}

bool ReadPool::submit(Size size, const QString &owner, Work work, Ended ended)
{
    const auto job = std::make_shared<Job>();
    job->id = ++d->lastId;
    job->size = size;
    job->file = d->wanted ? d->wanted() : WantedFile();
    job->work = std::move(work);
    if (!d->queue.add(job))
        return false;
    Private::Submitted &submitted = d->submitted[job->id] = {owner, std::move(ended), job, {}};
    submitted.since.start();
    return true;
}

QString ReadPool::ownerOf(const void *object)
{
    return QStringLiteral("object %1").arg(reinterpret_cast<quintptr>(object));
}

void ReadPool::cancel(const QString &owner)
{
    // Ends when nothing here is in use: who is given up may cancel others.
    std::vector<std::map<quint64, Private::Submitted>::node_type> givenUp;
    for (auto one = d->submitted.begin(); one != d->submitted.end();) {
        const auto next = std::next(one);
        if (one->second.owner == owner) {
            d->queue.cancel(one->second.job);
            givenUp.push_back(d->submitted.extract(one));
        }
        one = next;
    }
}

void ReadPool::stop()
{
    d->queue.stop();
    for (const auto &[id, one] : d->submitted)
        d->queue.cancel(one.job);
    for (std::thread &thread : d->threads)
        thread.join();
    d->threads.clear();
    const auto givenUp = std::exchange(d->submitted, {}); // ends last, as in cancel()
}

const ReadPool::Figures &ReadPool::figures() const
{
    return d->figures;
}

int ReadPool::threads() const
{
    return d->count;
}

void ReadPool::handOut()
{
    for (FinishedJob &finished : d->queue.takeFinished()) {
        const auto one = d->submitted.extract(finished.id);
        if (one.empty()) // cancelled meanwhile
            continue;
        constexpr double kNsPerSecond = 1e9;
        ++d->figures.answered;
        d->figures.seconds += static_cast<double>(one.mapped().since.nsecsElapsed()) / kNsPerSecond;
        one.mapped().ended(std::move(finished.text));
    }
}

ReadPool *readPool()
{
    return thePool;
}

void setReadPool(ReadPool *pool)
{
    thePool = pool;
}

} // namespace server::workers
