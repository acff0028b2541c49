#include "tools/common/dateperiod.h"

namespace {

const QString kServerForm = QStringLiteral("d.M.yyyy");

QDate dateOf(const QString &text)
{
    const QDate date = QDate::fromString(text, kServerForm);
    return date.isValid() ? date : QDate::fromString(text, Qt::ISODate);
}

} // namespace

QString readPeriod(const QString &from, const QString &to, DatePeriod *period)
{
    const QDate today = QDate::currentDate();
    period->from = from.isEmpty() ? today.addDays(1 - today.day()) : dateOf(from);
    period->to = to.isEmpty() ? today : dateOf(to);
    if (!period->from.isValid() || !period->to.isValid())
        return QStringLiteral("a date reads 31.3.2025 or 2025-03-31");
    if (period->to < period->from)
        return QStringLiteral("the period ends before it begins");
    return {};
}

QString serverDate(QDate date)
{
    return date.toString(kServerForm);
}
