#pragma once

#include "filledcompany.h"
#include "qany.h"

#include <QTemporaryDir>

#include <memory>

const QDate kMonthStart(2026, 1, 1);
const QDate kMonthEnd(2026, 1, 31);
const QDate kToday(2026, 3, 1);

/// A generated company in a file of its own. One at a time is open, on the default connection.
class Company
{
public:
    Company(const QTemporaryDir &folder, int employees, int months)
        : m_file(folder.filePath(QStringLiteral("%1x%2.db").arg(employees).arg(months)))
    {
        DataBase database(m_file);
        makeCompany(database, employees, kMonthEnd.addDays(1).addMonths(-months), kMonthEnd);
    }

    std::unique_ptr<DataBase> open() const { return std::make_unique<DataBase>(m_file); }
    const QString &file() const { return m_file; }

private:
    QString m_file;
};

inline QAny requestSince(const QDate &start)
{
    const QString form = QStringLiteral("d.M.yyyy");
    return QAny{{QStringLiteral("STARTDATE"), start.toString(form)},
                {QStringLiteral("ENDDATE"), kMonthEnd.toString(form)}};
}
