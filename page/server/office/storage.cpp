#include "page/server/office/storage.h"

#include "page/server/office/pagetables.h"
#include "storage/database.h"

namespace page::office {

Storage::Storage(const QString &filePath, QObject *parent) : QObject(parent), m_path(filePath)
{
    connect(&m_retry, &QTimer::timeout, this, &Storage::ready);
    m_retry.start(kRetryMs);
    ready();
}

Storage::Storage(DataBase &database, QObject *parent) : QObject(parent), m_database(&database)
{
    ready();
}

Storage::~Storage() = default;

DataBase *Storage::ready()
{
    if (!m_database) {
        // It would be created.
        if (!storage::FileState::of(m_path).isFile)
            return nullptr;
        m_own = std::make_unique<DataBase>(m_path);
        m_database = m_own.get();
    }
    if (!m_database->look())
        return nullptr;
    if (m_preparedGeneration != m_database->generation()) {
        if (!preparePageTables(*m_database))
            return nullptr;
        m_preparedGeneration = m_database->generation();
    }
    return m_database;
}

} // namespace page::office
