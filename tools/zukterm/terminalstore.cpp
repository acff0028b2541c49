#include "tools/zukterm/terminalstore.h"

#include <algorithm>

namespace tools::zukterm {

void Recording::add(const QAny &row)
{
    const qint64 time = row.lookup(m_timeKey).toInteger();
    m_isSorted = m_isSorted && (m_rows.isEmpty() || m_rows.constLast().time <= time);
    m_rows.append({time, row});
}

QAny Recording::since(qint64 time)
{
    if (!m_isSorted) {
        std::stable_sort(m_rows.begin(), m_rows.end(), [](const Row &a, const Row &b) { return a.time < b.time; });
        m_isSorted = true;
    }
    const auto first =
        std::upper_bound(m_rows.cbegin(), m_rows.cend(), time, [](qint64 t, const Row &row) { return t < row.time; });
    QAny rows = QAny::sized(QAny::List, static_cast<int>(m_rows.cend() - first));
    for (auto row = first; row != m_rows.cend(); ++row)
        rows.append(row->value);
    return rows;
}

TerminalStore::TerminalStore(bool admin)
    : logs(admin ? QStringLiteral("ftimestamp") : QStringLiteral("FTIMESTAMP")), events(QStringLiteral("TIMESTAMP"))
{
}

} // namespace tools::zukterm
