#pragma once

#include "storage/connection.h"
#include "tools/doctor/rows.h"

namespace tools::doctor {

/// A database file, read alone: none is created, and none appears beside it that was not there.
class FileRows : public Rows
{
public:
    explicit FileRows(const QString &path);

    /// Why nothing can be asked; empty when something can.
    const QString &refusal() const { return m_refusal; }
    /// Whether the file's own head says that it has a write-ahead log.
    bool hasWriteAheadLog() const { return m_isWal; }
    /// Whether a server began to use the file that nobody had open: what was read may then be of no one moment.
    bool wasDisturbed() const;

protected:
    QAny ask(const QString &sql, QString *fault) override;

private:
    QString readHead();

    QString m_path;
    bool m_isWal = false;
    bool m_isAlone = false; ///< nobody had the file open
    QString m_refusal;
    storage::Connection m_connection;
};

} // namespace tools::doctor
