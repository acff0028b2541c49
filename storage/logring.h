#pragma once

#include "storage/transactions.h"

#include <vector>

namespace storage {

/// A row of `logs`. The timestamp is in milliseconds since 1970 UTC.
struct LogRow {
    int line;
    int id;
    int level;
    int group;
    qint64 timestampMs;
    QString message;
    QAny data;
};

/// The ring of log rows: which index the next one gets, in memory and in the configuration table.
class LogRing
{
public:
    /// Rows that `logs` holds before the oldest are overwritten.
    static constexpr qint32 kLimit = 10000000;

    LogRing(Connection &connection, Transactions &transactions) : m_connection(connection), m_transactions(transactions)
    {
    }

    /// Index that the next row gets.
    qint64 next() const { return m_next; }
    void read();
    /// The same for another file, also for what a rollback would take back.
    void startAnew();
    Status save();
    /// Writes a row and the next index. A failure of the row; that of the index does not undo it.
    Status write(const LogRow &row);

    /// Whether there is a row like it, whatever its index.
    Status contains(const LogRow &row, bool *found);

    /// A rollback takes the index back too: told of each level's begin and end.
    void enterTransaction() { m_nextAtBegin.push_back(m_next); }
    void leaveTransaction(bool stored);

private:
    Connection &m_connection;
    Transactions &m_transactions;
    qint64 m_next = 0;
    std::vector<qint64> m_nextAtBegin; // outermost first
    bool m_isSaved = true;
};

} // namespace storage
