#include "server/workers/filereaders.h"

#include "storage/readconnection.h"
#include "storage/writehold.h"

namespace server::workers {

namespace {

class FileConnection : public ReadingConnection
{
public:
    FileConnection(const QString &path, const WantedFile &wanted) : m_connection(path, wanted.state)
    {
        // A connection that has read nothing yet does not keep others from being the last to close the file.
        if (m_connection.beginRead())
            m_connection.endRead();
    }

    storage::Reader &reader() override { return m_connection; }
    bool beginState() override { return bool(m_connection.beginRead()); }
    void endState() override { m_connection.endRead(); }

private:
    storage::ReadConnection m_connection;
};

class HeldFile : public ReaderSource::StillFile
{
public:
    HeldFile(const QString &path, const WantedFile &wanted) : m_hold(path, wanted.state) {}

    bool isHeld() const { return bool(m_hold.status()); }

private:
    storage::WriteHold m_hold;
};

} // namespace

std::unique_ptr<ReadingConnection> FileReaders::open(const WantedFile &wanted)
{
    return std::make_unique<FileConnection>(m_path, wanted);
}

std::unique_ptr<ReaderSource::StillFile> FileReaders::holdStill(const WantedFile &wanted)
{
    auto held = std::make_unique<HeldFile>(m_path, wanted);
    return held->isHeld() ? std::move(held) : nullptr;
}

} // namespace server::workers
