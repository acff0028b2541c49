#pragma once

#include "server/workers/readersource.h"

#include <QString>

namespace server::workers {

/// Connections to a file of the server's database. They must end before the DataBase does.
class FileReaders : public ReaderSource
{
public:
    explicit FileReaders(const QString &path) : m_path(path) {}

    std::unique_ptr<ReadingConnection> open(const WantedFile &wanted) override;
    std::unique_ptr<StillFile> holdStill(const WantedFile &wanted) override;

private:
    const QString m_path;
};

} // namespace server::workers
