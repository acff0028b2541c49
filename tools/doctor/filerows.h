#pragma once

#include "storage/connection.h"
#include "storage/filestate.h"
#include "tools/doctor/rows.h"

namespace tools::doctor {

/// A database file, read alone: none is created, and none appears beside it. But beside a log without its index (the
/// file and its log copied after a crash) SQLite makes that index, which stays.
class FileRows : public Rows
{
public:
    explicit FileRows(const QString &path);

    /// Why nothing can be asked; empty when something can.
    const QString &refusal() const { return m_refusal; }
    /// Whether the file's own head says that it has a write-ahead log.
    bool hasWriteAheadLog() const { return m_isWal; }
    /// Whether somebody used the file that nobody had open, or put another in its place.
    bool wasDisturbed() const override;

protected:
    QAny ask(const QString &sql, Fault *fault) override;

private:
    QString readHead();
    QString tryToRead();
    QByteArray head() const;

    QString m_path;
    storage::FileState m_state; ///< when it was first looked at, as is the head
    QByteArray m_head;
    bool m_isWal = false;
    bool m_isAlone = false; ///< nobody had the file open
    QString m_refusal;
    storage::Connection m_connection;
};

} // namespace tools::doctor
