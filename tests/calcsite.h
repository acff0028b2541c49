#pragma once

#include "calcrows.h"
#include "storage/database.h"

#include <QTemporaryDir>

#include <memory>

/// A database file with the attendance tables, the calendar of 2026, and short ways to fill it.
class CalcSite
{
public:
    CalcSite();
    /// With employee 1, Novak Ana, and the events of the script.
    explicit CalcSite(const QString &script, const QString &schedule = kDay, const QString &settings = kNoRules,
                      const QString &columns = {});

    DataBase &database() { return *m_database; }
    void sql(const QString &statement);
    void insert(const QString &table, const QAny &row);

    /// Name: "LASTNAME FIRSTNAME". Schedule and settings in their scripts, columns as "PRERAZDC=A ACTIVE=0".
    void employee(qint64 id, const QString &name = "Novak Ana", const QString &schedule = kDay,
                  const QString &settings = kNoRules, const QString &columns = {});
    void events(qint64 user, const QString &script);
    void holiday(const QString &day, const QAny &text);
    /// Shift of a group from one instant ("2.3.2026 12:00") to another.
    void assign(const QString &from, const QString &to, const QString &shift, const QString &columns = "RGROUP=A");
    void storeConfig(const QString &key, const QString &value);

    /// Request for the period; settings as "NEAREVENTS=1 CALCREM=1".
    static QAny request(const QString &from, const QString &to, const QString &settings = {});
    Outcome run(const QAny &request);
    Outcome run(const QString &from, const QString &to, const QString &settings = {})
    {
        return run(request(from, to, settings));
    }
    /// The packed tables of the period, with the result of the calculation under CALC.
    QAny pack(const QAny &request);

    QDate today{2030, 1, 1};

private:
    QTemporaryDir m_folder;
    std::unique_ptr<DataBase> m_database;
    int m_assignments = 0;
};
