#pragma once

#include "storage/filestate.h"
#include "storage/reader.h"

#include <memory>
#include <optional>

namespace server::workers {

/// The file that a work is to read.
struct WantedFile {
    quint64 generation = 0;                  ///< another number says that connections are to be opened anew
    std::optional<storage::FileState> state; ///< of the only file that is read; without it any that is there is

    bool isSame(const WantedFile &other) const
    {
        const auto isSameState = [](const storage::FileState &one, const storage::FileState &two) {
            return one.isFile == two.isFile && (!one.isFile || one.isSameFile(two));
        };
        return generation == other.generation && state.has_value() == other.state.has_value() &&
               (!state || isSameState(*state, *other.state));
    }
};

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
    virtual std::unique_ptr<ReadingConnection> open(const WantedFile &wanted) = 0;
    /// Null when somebody else writes and goes on with it. To be held for a few milliseconds only; destroyed on the
    /// same thread, while a connection to the file is open.
    virtual std::unique_ptr<StillFile> holdStill(const WantedFile &wanted) = 0;

protected:
    ReaderSource() = default;

private:
    Q_DISABLE_COPY(ReaderSource)
};

} // namespace server::workers
