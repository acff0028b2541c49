#pragma once

#include <QDate>
#include <QString>

/// Days as people give them; both are included.
struct DatePeriod {
    QDate from;
    QDate to;
};

/// Reads 31.3.2025 and 2025-03-31; invalid for every other text.
QDate readDate(const QString &text);
/// As the server takes a day.
QString serverDate(QDate date);
