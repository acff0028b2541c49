#include "server/workers/filereaders.h"

#include "storage/readconnection.h"
#include "storage/writehold.h"

namespace server::workers {

namespace {

class FileConnection : public ReadingConnection
{
public:
    explicit FileConnection(const QString &path) : m_connection(path) {}

    storage::Reader &reader() override { return m_connection; }
    bool beginState() override { return bool(m_connection.beginRead()); }
    void endState() override { m_connection.endRead(); }

private:
    storage::ReadConnection m_connection;
};

class HeldFile : public ReaderSource::StillFile
{
public:
    explicit HeldFile(const QString &path) : m_hold(path) {}

    bool isHeld() const { return bool(m_hold.status()); }

private:
    storage::WriteHold m_hold;
};

} // namespace

std::unique_ptr<ReadingConnection> FileReaders::open()
{
    return std::make_unique<FileConnection>(m_path);
}

std::unique_ptr<ReaderSource::StillFile> FileReaders::holdStill()
{
    auto held = std::make_unique<HeldFile>(m_path);
    return held->isHeld() ? std::move(held) : nullptr;
}

} // namespace server::workers
