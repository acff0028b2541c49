#pragma once

#include <QDate>
#include <QString>

/// Days as people give them.
struct DatePeriod {
    QDate from;
    QDate to;
};

/// Reads 31.3.2025 and 2025-03-31. An empty text for the first day means the first of this month, for the last day
/// today. The reason when it is no period, else empty.
QString readPeriod(const QString &from, const QString &to, DatePeriod *period);
/// As the server takes a day.
QString serverDate(QDate date);
