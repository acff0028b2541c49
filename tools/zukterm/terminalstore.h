#pragma once

#include "qany.h"

#include <QVector>

namespace tools::zukterm {

/// Rows that a terminal recorded while it had no server, by time.
class Recording
{
public:
    /// The column that holds the time.
    explicit Recording(const QString &timeKey) : m_timeKey(timeKey) {}

    void add(const QAny &row);
    /// A List of the rows that are newer than the time, oldest first. They are the rows themselves, not copies.
    QAny since(qint64 time);
    int count() const { return m_rows.size(); }

private:
    struct Row {
        qint64 time;
        QAny value;
    };

    QString m_timeKey;
    QVector<Row> m_rows;
    bool m_isSorted = true;
};

/// What one terminal has recorded.
struct TerminalStore {
    /// Administration clients have lower-case keys.
    explicit TerminalStore(bool admin);

    Recording logs;
    Recording events;
};

} // namespace tools::zukterm
