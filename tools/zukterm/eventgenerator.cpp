#include "tools/zukterm/eventgenerator.h"

#include "tools/zukterm/terminalrows.h"

namespace tools::zukterm {

QAny EventGenerator::next(qint64 time)
{
    const qint64 user = m_users.at(static_cast<int>(m_count % m_users.size()));
    const bool isArrival = m_count / m_users.size() % 2 == 0;
    ++m_count;
    return eventRow(QString::number(user), isArrival ? arrivalCode() : departureCode(), time);
}

} // namespace tools::zukterm
