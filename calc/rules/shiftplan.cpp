#include "calc/rules/shiftplan.h"

#include "calc/rules/schedule.h"

#include <algorithm>

namespace calc::rules {

namespace {

QString textOf(const StoredValue &value)
{
    if (const auto *text = std::get_if<QString>(&value))
        return *text;
    if (const auto *number = std::get_if<qint64>(&value))
        return QString::number(*number);
    if (const auto *real = std::get_if<double>(&value))
        return QString::number(*real);
    return {};
}

/// A row that names the employee wins, then the latest FDATE, then the highest ID.
bool yieldsTo(const Assignment &left, const Assignment &right)
{
    if (left.emplId.isEmpty() != right.emplId.isEmpty())
        return left.emplId.isEmpty();
    if (left.firstDay != right.firstDay)
        return left.firstDay < right.firstDay;
    return left.id < right.id;
}

ShiftOfDay shiftOf(const Assignment &row)
{
    ShiftOfDay result;
    result.preraz = row.preraz;
    result.flag = row.hasHour;
    const QString text = textOf(row.preraz).trimmed();
    result.isOff = text == QLatin1String("0");
    const int shift = text.toInt();
    result.shift = shift >= 1 && shift <= Schedule::kShifts ? shift : 1;
    return result;
}

} // namespace

bool ShiftOfDay::isAssigned() const
{
    return !textOf(preraz).isEmpty();
}

ShiftPlan::ShiftPlan(std::vector<Assignment> assignments, int dayCount)
    : m_assignments(std::move(assignments)), m_unassigned(std::make_shared<Days>(static_cast<size_t>(dayCount))),
      m_dayCount(dayCount)
{
    for (int i = 0; i < static_cast<int>(m_assignments.size()); ++i) {
        const Assignment &row = m_assignments[static_cast<size_t>(i)];
        Group &group = m_groups[row.group];
        (row.emplId.isEmpty() ? group.common : group.personal[row.emplId]).push_back(i);
    }
}

ShiftPlan::Rows ShiftPlan::Group::rowsFor(const QString &emplId) const
{
    Rows rows = common;
    const Rows named = personal.value(emplId);
    rows.insert(rows.end(), named.begin(), named.end());
    return rows;
}

std::shared_ptr<const ShiftPlan::Days> ShiftPlan::daysOf(const QString &group, const QString &emplId)
{
    const auto found = m_groups.find(group);
    if (group.isEmpty() || found == m_groups.end())
        return m_unassigned;
    if (found->names(emplId))
        return resolve(found->rowsFor(emplId));
    if (!found->days)
        found->days = resolve(found->common);
    return found->days;
}

ShiftPlan::Rows ShiftPlan::rowsOf(const QString &group, const QString &emplId) const
{
    const auto found = m_groups.constFind(group);
    if (group.isEmpty() || found == m_groups.constEnd())
        return {};
    return found->names(emplId) ? found->rowsFor(emplId) : found->common;
}

std::shared_ptr<const ShiftPlan::Days> ShiftPlan::resolve(const Rows &rows) const
{
    std::vector<const Assignment *> ordered;
    for (const int row : rows)
        ordered.push_back(&m_assignments[static_cast<size_t>(row)]);
    std::sort(ordered.begin(), ordered.end(),
              [](const Assignment *left, const Assignment *right) { return yieldsTo(*left, *right); });
    auto days = std::make_shared<Days>(static_cast<size_t>(m_dayCount));
    for (const Assignment *row : ordered) {
        const ShiftOfDay shift = shiftOf(*row);
        const int last = std::min(row->lastDay, m_dayCount - 1);
        for (int day = std::max(row->firstDay, 0); day <= last; ++day)
            (*days)[static_cast<size_t>(day)] = shift;
    }
    return days;
}

} // namespace calc::rules
