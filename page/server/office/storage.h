#pragma once

#include "storage/filestate.h"

#include <QObject>
#include <QString>
#include <QTimer>

#include <memory>

class DataBase;

namespace page::office {

/// The writing side of the office: the file, with the page's tables in it.
///
/// Lives on the main thread. Opens no file that is not there: the page is no reason for one. While there is none, or it
/// cannot be written, nothing can be asked or decided; that is tried again every kRetryMs where an event loop runs, and
/// at each write.
class Storage : public QObject
{
public:
    static constexpr int kRetryMs = 5000;

    explicit Storage(const QString &filePath, QObject *parent = nullptr);
    /// Of a database that somebody else has opened, which is not owned and outlives this.
    explicit Storage(DataBase &database, QObject *parent = nullptr);
    ~Storage() override;

    /// Ready to be written, with the page's tables; null where it is not now.
    DataBase *ready();

private:
    QString m_path;
    std::unique_ptr<DataBase> m_own;
    DataBase *m_database = nullptr;
    quint64 m_preparedGeneration = 0; ///< of the file whose tables were looked at
    QTimer m_retry;
};

} // namespace page::office
