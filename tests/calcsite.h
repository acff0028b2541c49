#pragma once

#include "qany.h"
#include "storage/database.h"

#include <QDate>
#include <QStringList>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

// The usual day, open from 6:00 to 16:00, and the usual night, from 21:00 to 7:00. On all seven days unless told.
constexpr char kDay[] = "STARTB=6:00 STARTE=8:00 ENDB=14:00 ENDE=16:00 MINHOURS=8:00 LUNCH=0:30 PLUNCH=0:05";
constexpr char kNight[] = "STARTB=21:00 STARTE=22:00 ENDB=5:00 ENDE=7:00 MINHOURS=8:00";
constexpr char kNoRules[] = "WAR/LATEARRWAR=0";

template <typename... Types, typename... Names> void columns(Names... names)
{
    (QTest::addColumn<Types>(names), ...);
}

template <typename... Cells> void addRow(const char *name, const Cells &...cells)
{
    (QTest::newRow(name) << ... << cells);
}

/// "7:30", "-0:30:15" or "170:00" in seconds.
qint64 seconds(const QString &text);
/// The way back, seconds only where there are some: "7:30", "30:00:15".
QString duration(qint64 value);
QDate date(const QString &text);
/// Unix seconds of the local midnight that the date ("2.3.2026") begins with.
qint64 midnight(const QString &text);

/// What the row shows under each key (of a packed cell its display value): "'Novak Ana',1,null".
QString values(const QAny &row, const QString &keys);
/// Seconds under each key: "7:30 0:00 -", the last one Null.
QString durations(const QAny &row, const QString &keys);

/// What a calculation answered, and short ways to say what one looks for in it.
class Outcome
{
public:
    explicit Outcome(const QAny &answer) : result(answer) {}

    QAny result;

    /// The row of `list` that belongs to the employee and, where given, to the date; Null without one.
    QAny row(const QString &list, qint64 user, const QString &day = {}) const;
    QAny day(qint64 user, const QString &day) const { return row("DAYS", user, day); }
    QAny sum(qint64 user) const { return row("CALCsum", user); }
    /// The remarks of that day, joined by "; ".
    QString remarks(qint64 user, const QString &date) const;
    QAny pairs(qint64 user, const QString &list = "CALC") const { return row(list, user).value("PAIRS"); }
    /// Ids of the employees in their order.
    QList<qint64> users(const QString &list = "CALC") const;
    /// The pairs as "2.3. 07:00-15:00 102 8:00", seconds only where there are some, a missing half left empty, and
    /// "NW 6:00" where a part was measured. Joined by "; ".
    QString pairTexts(qint64 user) const;
    /// The errors of the given codes as "ATP Ni Prihoda! 1 2.3.", in alphabetical order; without what is not
    /// known of them.
    QStringList errors(const QStringList &codes) const;
};

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

    /// Name: "LASTNAME FIRSTNAME". Schedule: "IZM2 1-5 STARTB=6:00 …", several joined by "|"; settings:
    /// "SALDO/ARRINT=1 TYPE=MIXTYPE", quoted values are texts; a text in braces or brackets is stored as it is.
    /// Columns: "PRERAZDC=A ACTIVE=0".
    void employee(qint64 id, const QString &name = "Novak Ana", const QString &schedule = kDay,
                  const QString &settings = kNoRules, const QString &columns = {});
    /// "2.3.2026 07:00 101; 15:00 102/MP; …": the date holds until the next one; times with a "Z" are UTC. Each code
    /// gets a name behind it (101:Ime) unless it begins with "=". Type EV unless told.
    void events(qint64 user, const QString &script, const QString &table = "allevents");
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
