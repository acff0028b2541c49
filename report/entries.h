#pragma once

#include "storage/status.h"

#include <QDate>
#include <QHash>
#include <QString>

#include <vector>

namespace storage {
class Reader;
}

namespace report {

/// Who entered events by hand, and who approved them.
class Entries
{
public:
    struct Entry {
        QString author;   ///< name; the id where nobody has it, empty when it is not told
        QString approver; ///< name; empty without one
    };

    /// Names, and the approvals of requests that touch the period: where there is a table of these.
    storage::Status readCommon(storage::Reader &reader, QDate first, QDate last);
    /// The hand-entered events of these employees around the period, in place of those that were known.
    storage::Status read(storage::Reader &reader, const std::vector<qint64> &users, QDate first, QDate last);

    /// Of a row of `metalog`.
    Entry of(qint64 id) const;

private:
    QHash<qint64, QString> m_names;
    QHash<qint64, qint64> m_approvers; ///< by id in metalog
    QHash<qint64, qint64> m_authors;   ///< likewise
};

} // namespace report
