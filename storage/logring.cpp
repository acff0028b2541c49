#include "storage/logring.h"

#include "storage/values.h"

#include <algorithm>

namespace storage {

namespace {

const auto kInsert = QStringLiteral("INSERT OR REPLACE INTO logs (idx, line, id, ftimestamp, llevel, lgroup, "
                                    "fmessage, data) VALUES(?,?,?,?,?,?,?,?)");
const auto kSave = QStringLiteral("INSERT OR REPLACE INTO Config (KEY, VALUE) VALUES(?,?)");
const auto kFind = QStringLiteral("SELECT 1 FROM logs WHERE line=? AND id=? AND ftimestamp=? AND llevel=? AND "
                                  "lgroup=? AND fmessage=? AND data=? LIMIT 1");
const auto kKey = QStringLiteral("LastLogIdx");

/// What a row holds but for its index, in the order of the columns.
QVariantList columnsOf(const LogRow &row)
{
    const QString data = QAny({{QStringLiteral("DATA"), row.data}}).toJson();
    return {row.line, row.id, row.timestampMs, row.level, row.group, textVariant(row.message), textVariant(data)};
}

} // namespace

void LogRing::read()
{
    // A file without the table is what a new site starts with: no warning.
    const QString saved = m_connection.configValue(nullptr, kKey);
    if (saved.isNull()) {
        m_next = 0;
        return;
    }
    const qint64 last = saved.toLongLong();
    m_next = last >= kLimit - 1 ? 0 : last + 1;
}

void LogRing::startAnew()
{
    read();
    std::fill(m_nextAtBegin.begin(), m_nextAtBegin.end(), m_next);
}

Status LogRing::save()
{
    if (const Status allowed = m_transactions.writable(); !allowed)
        return allowed;
    // A file without the table would warn with every log row.
    const char *where = m_isSaved ? "DataBase::saveLastLogIdx()" : nullptr;
    const Status saved = m_connection.runCached(where, kSave, {kKey, QString::number(m_next)});
    m_isSaved = bool(saved);
    return saved;
}

Status LogRing::write(const LogRow &row)
{
    if (const Status allowed = m_transactions.writable(); !allowed)
        return allowed;
    const Status written =
        m_connection.runCached("DataBase::insertLog()", kInsert, QVariantList{m_next} + columnsOf(row));
    if (written && ++m_next >= kLimit)
        m_next = 0;
    // Also after a failed insert, and its own failure does not undo the row.
    save();
    return written;
}

Status LogRing::contains(const LogRow &row, bool *found)
{
    *found = false;
    return m_connection.runCached("DataBase::hasLog()", kFind, columnsOf(row),
                                  [found](const QSqlQuery &) { *found = true; });
}

void LogRing::leaveTransaction(bool stored)
{
    if (!stored)
        m_next = m_nextAtBegin.back();
    m_nextAtBegin.pop_back();
}

} // namespace storage
