#pragma once

#include "storage/reader.h"

namespace page::office {

/// A reader that remembers whether one of its statements has failed: an answer is made of many, and is looked at once.
/// The reader is not owned.
class CheckedReader
{
public:
    using Row = std::function<void(const QSqlQuery &)>;

    explicit CheckedReader(storage::Reader &reader) : m_reader(reader) {}

    /// See storage::Reader. Values are bound, never written into the text.
    void forEachRow(const QString &sql, const QVariantList &bindings, const Row &row)
    {
        m_failed = !m_reader.forEachRow(sql, bindings, row) || m_failed;
    }
    bool hasFailed() const { return m_failed; }
    storage::Reader &reader() { return m_reader; }

private:
    storage::Reader &m_reader;
    bool m_failed = false;
};

} // namespace page::office
