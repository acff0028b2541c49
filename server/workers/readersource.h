#pragma once

#include "storage/reader.h"

#include <memory>

namespace server::workers {

/// A connection of one worker that only reads. Made, used and destroyed on the worker's thread. Nothing throws.
class ReadingConnection
{
public:
    virtual ~ReadingConnection() = default;

    virtual storage::Reader &reader() = 0;
    /// From here to endState() the reader sees one state of the file, the one that is there now. False when that
    /// failed: then each statement sees the state of its own moment.
    virtual bool beginState() = 0;
    virtual void endState() = 0;

protected:
    ReadingConnection() = default;

private:
    Q_DISABLE_COPY(ReadingConnection)
};

/// Where workers get their connections. Called on their threads, by several at a time.
class ReaderSource
{
public:
    /// While it lives nobody writes into the file.
    class StillFile
    {
    public:
        virtual ~StillFile() = default;

    protected:
        StillFile() = default;

    private:
        Q_DISABLE_COPY(StillFile)
    };

    virtual ~ReaderSource() = default;

    /// Never null; a file that cannot be read makes a reader of empty answers.
    virtual std::unique_ptr<ReadingConnection> open() = 0;
    /// Null when somebody else writes and goes on with it. To be held for a few milliseconds only; destroyed on the
    /// same thread.
    virtual std::unique_ptr<StillFile> holdStill() = 0;

protected:
    ReaderSource() = default;

private:
    Q_DISABLE_COPY(ReaderSource)
};

} // namespace server::workers
