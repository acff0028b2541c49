#pragma once

#include "page/server/officedoor.h"

#include <QHash>

#include <optional>

namespace page {

/// Who is present, as it was pushed last, and to which department everybody belongs.
class PresenceBoard
{
public:
    /// Takes the answer to "presence". What is to be pushed of it: entries that are others than before, and those of
    /// employees with a change, who may have changed before this was first asked. Null when nothing is.
    std::optional<QAny> take(const QAny &answer, const OfficeDoor::Change &change);
    /// Whether anybody has left the list since it was taken before.
    bool hasLost() const { return m_hasLost; }
    void clear() { m_entries.clear(); }

    /// Of these employees, those whom the person may see.
    QVector<qint64> visibleTo(const OfficeDoor::Person &person, const QVector<qint64> &employees,
                              const OfficeDoor &office) const;

private:
    QHash<qint64, QAny> m_entries; // by employee; belong to this alone
    bool m_hasLost = false;
};

} // namespace page
