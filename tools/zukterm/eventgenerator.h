#pragma once

#include "qany.h"

#include <QVector>

namespace tools::zukterm {

/// Walks through the users again and again: all arrive, then all depart.
class EventGenerator
{
public:
    /// At least one user.
    explicit EventGenerator(const QVector<qint64> &users) : m_users(users) {}

    /// The next user's event at that time (Unix seconds), as of eventRow().
    QAny next(qint64 time);
    qint64 count() const { return m_count; }

private:
    QVector<qint64> m_users;
    qint64 m_count = 0;
};

} // namespace tools::zukterm
