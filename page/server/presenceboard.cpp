#include "page/server/presenceboard.h"

#include <algorithm>
#include <utility>

namespace page {

namespace {

const QString kPeople = QStringLiteral("people");
const QString kId = QStringLiteral("id");
const QString kDepartment = QStringLiteral("department");

bool isOfHr(const OfficeDoor::Person &person)
{
    return std::any_of(person.roles.cbegin(), person.roles.cend(), [](const office::Role &role) { return role.isHr; });
}

} // namespace

std::optional<QAny> PresenceBoard::take(const QAny &answer, const OfficeDoor::Change &change)
{
    const QHash<qint64, QAny> former = std::exchange(m_entries, {});
    QAny changes(QAny::List);
    int known = 0;
    const QAny &people = answer.lookup(kPeople);
    for (int i = 0; i < people.count(); ++i) {
        const QAny &entry = people.at(i);
        const qint64 id = entry.lookup(kId).toInteger();
        m_entries.insert(id, entry);
        const auto before = former.constFind(id);
        known += before != former.constEnd() ? 1 : 0;
        const bool isOther = before != former.constEnd() ? *before != entry : !former.isEmpty();
        if (isOther || change.all || change.employees.contains(id))
            changes.append(entry);
    }
    m_hasLost = known < former.size();
    if (changes.count() == 0)
        return {};
    return changes;
}

/// Who is not on the list has left, and is for those alone who see everybody.
QVector<qint64> PresenceBoard::visibleTo(const OfficeDoor::Person &person, const QVector<qint64> &employees,
                                         const OfficeDoor &office) const
{
    QVector<qint64> visible;
    for (const qint64 id : employees) {
        const auto entry = m_entries.constFind(id);
        const bool isOverlooked = entry != m_entries.constEnd()
                                      ? office.overlooks(person, entry->lookup(kDepartment).toString())
                                      : isOfHr(person);
        if (id == person.id || isOverlooked)
            visible.append(id);
    }
    return visible;
}

} // namespace page
