#include "calc/rules/shiftplan.h"

#include "calc/rules/schedule.h"

#include <algorithm>

ShiftPlan::ShiftPlan(std::vector<Assignment> assignments, int dayCount)
    : m_assignments(std::move(assignments)), m_unassigned(std::make_shared<Days>(static_cast<size_t>(dayCount))),
      m_dayCount(dayCount)
{
    for (const Assignment &row : m_assignments) {
        Group &group = m_groups[row.group];
        if (row.emplId.isEmpty())
            group.common.push_back(&row);
        else
            group.personal[row.emplId].push_back(&row);
    }
}

ShiftPlan::Rows ShiftPlan::Group::rowsFor(const QString &emplId) const
{
    Rows rows = common;
    const Rows named = personal.value(emplId);
    rows.insert(rows.end(), named.begin(), named.end());
    return rows;
}

ShiftPlan::Group *ShiftPlan::groupOf(const QString &name)
{
    const auto found = m_groups.find(name);
    return name.isEmpty() || found == m_groups.end() ? nullptr : &*found;
}

std::shared_ptr<const ShiftPlan::Days> ShiftPlan::daysOf(const QString &group, const QString &emplId)
{
    Group *found = groupOf(group);
    if (!found)
        return m_unassigned;
    if (found->names(emplId))
        return resolve(found->rowsFor(emplId));
    if (!found->days)
        found->days = resolve(found->common);
    return found->days;
}

QAny ShiftPlan::listOf(const Rows &rows)
{
    QAny list(QAny::List);
    for (const Assignment *row : rows)
        list.append(row->record);
    return list;
}

QAny ShiftPlan::records() const
{
    Rows rows;
    for (const Assignment &row : m_assignments)
        rows.push_back(&row);
    return listOf(rows);
}

QAny ShiftPlan::recordsOf(const QString &group, const QString &emplId)
{
    Group *found = groupOf(group);
    if (!found)
        return QAny(QAny::List);
    if (found->names(emplId))
        return listOf(found->rowsFor(emplId));
    if (found->records.isNull())
        found->records = listOf(found->common);
    return found->records;
}

namespace {

/// A row that names the employee wins, then the latest FDATE, then the highest ID.
bool yieldsTo(const Assignment *left, const Assignment *right)
{
    if (left->emplId.isEmpty() != right->emplId.isEmpty())
        return left->emplId.isEmpty();
    if (left->firstDay != right->firstDay)
        return left->firstDay < right->firstDay;
    return left->id < right->id;
}

ShiftOfDay shiftOf(const Assignment &row)
{
    ShiftOfDay result;
    result.preraz = row.preraz;
    result.flag = row.hasHour;
    const QString text = row.preraz.toString().trimmed();
    result.isOff = text == QLatin1String("0");
    const int shift = text.toInt();
    result.shift = shift >= 1 && shift <= Schedule::kShifts ? shift : 1;
    return result;
}

} // namespace

std::shared_ptr<const ShiftPlan::Days> ShiftPlan::resolve(const Rows &rows) const
{
    Rows ordered = rows;
    std::sort(ordered.begin(), ordered.end(), yieldsTo);
    auto days = std::make_shared<Days>(static_cast<size_t>(m_dayCount));
    for (const Assignment *row : ordered) {
        const ShiftOfDay shift = shiftOf(*row);
        const int last = std::min(row->lastDay, m_dayCount - 1);
        for (int day = std::max(row->firstDay, 0); day <= last; ++day)
            (*days)[static_cast<size_t>(day)] = shift;
    }
    return days;
}
