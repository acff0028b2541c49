#pragma once

#include <QMutex>
#include <QString>

namespace KNet {

/// Numbers connections or outgoing calls for the life of the process. Thread-safe.
class IdGenerator
{
public:
    explicit IdGenerator(quint64 first = 1) : m_next(first) {}

    /// Decimal text of the counter, which then moves on; never "0".
    QString next();

    static IdGenerator &connections();
    static IdGenerator &calls();

private:
    Q_DISABLE_COPY(IdGenerator)

    QMutex m_mutex;
    quint64 m_next;
};

} // namespace KNet
