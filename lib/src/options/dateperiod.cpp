#include "options/dateperiod.h"

namespace {

const QString kServerForm = QStringLiteral("d.M.yyyy");

} // namespace

QDate readDate(const QString &text)
{
    const QDate date = QDate::fromString(text, kServerForm);
    return date.isValid() ? date : QDate::fromString(text, Qt::ISODate);
}

QString serverDate(QDate date)
{
    return date.toString(kServerForm);
}
