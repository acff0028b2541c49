#include "calc/rules/calcresult.h"

namespace calc::rules {

Amounts &Amounts::operator+=(const Amounts &other)
{
    for (size_t i = 0; i < categories.size(); ++i)
        categories[i] += other.categories[i];
    night += other.night;
    presence += other.presence;
    workdays += other.workdays;
    holiday += other.holiday;
    workToSaturday += other.workToSaturday;
    workOnSaturday += other.workOnSaturday;
    workOnSunday += other.workOnSunday;
    workOnHoliday += other.workOnHoliday;
    saldo = saldo.value_or(0) + other.saldo.value_or(0);
    total += other.total;
    plusMinus += other.plusMinus;
    return *this;
}

Amounts DayResult::amounts(const DayValues &values, bool isSaldoEmpty) const
{
    Amounts row;
    const qint64 work = values.workTime;
    row.categories = totals.categories;
    row.categories[static_cast<size_t>(Category::Delo)] = work;
    row.night = totals.night;
    row.presence = totals.presence;
    row.workdays = facts.weekday <= 5 ? 1 : 0;
    row.holiday = totals.holiday;
    row.workToSaturday = facts.weekday <= 6 ? work : 0;
    row.workOnSaturday = facts.weekday == 6 ? work : 0;
    row.workOnSunday = facts.weekday == 7 ? work : 0;
    row.workOnHoliday = facts.isPublicHoliday ? work : 0;
    row.total = work + facts.otherCounted;
    if (!isSaldoEmpty)
        row.saldo = row.total - facts.minHours();
    row.plusMinus = facts.isFuture ? 0 : row.total - (facts.isFree ? totals.holiday : facts.minHours());
    return row;
}

} // namespace calc::rules
