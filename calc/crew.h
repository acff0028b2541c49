#pragma once

#include <QtGlobal>

#include <functional>

namespace storage {
class Reader;
}

namespace calc {

/// The threads that work out one calculation together, each with a reader. All readers see one state of the file.
///
/// A crew belongs to the thread that was given it, the leader, which calls all of this; only isCancelled() is for
/// every member. Shares are numbered from 0. A member works on one share at a time; which member gets which share is
/// up to the crew. Nothing may throw.
class Crew
{
public:
    virtual ~Crew() = default;

    using Share = std::function<void(int share, int member)>;
    using ReadingShare = std::function<void(int share, int member, storage::Reader &reader)>;

    /// Members are numbered from 0 up to this, the leader included; at least 1.
    virtual int size() const = 0;
    /// The leader's reader.
    virtual storage::Reader &reader() = 0;
    /// Has every share worked on by some member and returns when the last one has ended. Of a cancelled calculation the
    /// shares that nobody has begun are left out.
    virtual void run(int shares, const Share &work) = 0;
    /// The same for shares that read. Not after endReading().
    virtual void read(int shares, const ReadingShare &work) = 0;
    /// Nothing more is read: the state of the file need not be kept. No reader may be used from here on.
    virtual void endReading() = 0;
    /// Nobody waits for the result any more: what is worked on shall end soon, with whatever result. Thread-safe.
    virtual bool isCancelled() const = 0;

protected:
    Crew() = default;

private:
    Q_DISABLE_COPY(Crew)
};

/// A crew of the calling thread alone. The reader is not owned and must outlive it.
class CrewOfOne : public Crew
{
public:
    explicit CrewOfOne(storage::Reader &reader) : m_reader(reader) {}

    int size() const override { return 1; }
    storage::Reader &reader() override { return m_reader; }
    void run(int shares, const Share &work) override
    {
        for (int share = 0; share < shares && !isCancelled(); ++share)
            work(share, 0);
    }
    void read(int shares, const ReadingShare &work) override
    {
        run(shares, [&](int share, int member) { work(share, member, m_reader); });
    }
    void endReading() override {}
    bool isCancelled() const override { return false; }

private:
    storage::Reader &m_reader;
};

} // namespace calc
