#pragma once

#include "outcome.h"

#include <QDate>
#include <QtTest>

#include <vector>

// The usual day, open from 6:00 to 16:00, and the usual night, from 21:00 to 7:00. On all seven days unless told.
constexpr char kDay[] = "STARTB=6:00 STARTE=8:00 ENDB=14:00 ENDE=16:00 MINHOURS=8:00 LUNCH=0:30 PLUNCH=0:05";
constexpr char kNight[] = "STARTB=21:00 STARTE=22:00 ENDB=5:00 ENDE=7:00 MINHOURS=8:00";
constexpr char kLunchAt11[] = "STARTB=6:00 STARTE=8:00 ENDB=14:00 ENDE=16:00 MINHOURS=8:00 LUNCH=0:30 PLUNCH=0:05 "
                              "ALUNCH=1 ALUNCHSTART=11:00";
constexpr char kWarnings[] = "WAR/EARLYARRWAR=1 WAR/LATEARRWAR=1 WAR/EARLYEXITWAR=1 WAR/LATEEXITWAR=1";
constexpr char kNoRules[] = "WAR/LATEARRWAR=0";

template <typename... Types, typename... Names> void columns(Names... names)
{
    (QTest::addColumn<Types>(names), ...);
}

template <typename... Cells> void addRow(const char *name, const Cells &...cells)
{
    (QTest::newRow(name) << ... << cells);
}

/// A row of a test's table.
struct TableRow {
    QString group;
    QString common; ///< what the group's rows have in common
    QString name;
    QStringList cells;

    /// Empty behind the last one.
    QString operator[](int cell) const { return cells.value(cell); }
};
Q_DECLARE_METATYPE(TableRow)

/// The rows of a table, one a line: "name | cell | cell". "# group | common" begins a group, "//" a comment; "$word =
/// text" says what stands for a word from there on, and $day, $night and $lunch stand for their schedules, $warnings
/// for all four of them. A line that ends with a backslash goes on with the next one.
std::vector<TableRow> tableRows(const char *table);
/// Makes the whole table the test's, in the column "row".
void addTable(const char *table);

/// "7:30", "-0:30:15" or "170:00" in seconds.
qint64 seconds(const QString &text);
QDate date(const QString &text);
/// Unix seconds of the local midnight that the date ("2.3.2026") begins with.
qint64 midnight(const QString &text);
/// Unix seconds of "2.3.2026 12:00", counted from that midnight; the time may be missing.
qint64 instant(const QString &text);
/// The day that a script of events begins with, Monday 2.3.2026 unless told.
QString dayOf(const QString &script);

// The short scripts in which the tests tell what is stored.

/// "SALDO/ARRINT=1 TYPE=MIXTYPE" as a hash of hashes; quoted values are texts, with asTexts all are.
QAny keyValues(const QString &script, bool asTexts = false);
/// The stored texts of settings ("SALDO/ARRINT=1 TYPE=MIXTYPE") and of a schedule ("IZM2 1-5 STARTB=6:00 …", several
/// joined by "|"). A text in braces or brackets, or an empty one, is stored as it is.
QString settingsText(const QString &script);
QString scheduleText(const QString &script);

struct ScriptedEvent {
    qint64 timestamp;
    QString accessCode;
    QString type;
    bool isMeta; ///< entered by hand
};
/// "2.3.2026 07:00 101; 15:00 102/MP; …": the date holds until the next one; times with a "Z" are UTC. Each code
/// gets a name behind it (101:Ime) unless it begins with "=". Type EV unless told. "11-11:30 103/MP" is an arrival and
/// the departure that closes it, code 102 unless told, on the next day where its time is not the later one. Those
/// behind a "+" are entered by hand.
std::vector<ScriptedEvent> scriptedEvents(const QString &script);

/// A company in memory: events, schedules and settings in; pairs, seconds and remarks out. No file, no event loop.
class CalcRows
{
public:
    CalcRows() = default;
    /// With employee 1, Novak Ana, and the events of the script.
    explicit CalcRows(const QString &script, const QString &schedule = kDay, const QString &settings = kNoRules);

    /// Of personal number "E1" and the group of shift assignments A. Schedule and settings in their scripts.
    void employee(qint64 id, const QString &name = "Novak Ana", const QString &schedule = kDay,
                  const QString &settings = kNoRules);
    /// For changing what no script tells; valid until the next employee.
    calc::rules::Employee &of(qint64 user);
    void events(qint64 user, const QString &script);
    void holiday(const QString &day, const QString &text);
    /// Shift from one date to another; columns as "EMPLID=E1 FHOUR=6:00 RGROUP=B ID=9".
    void assign(const QString &from, const QString &to, const QString &shift, const QString &columns = {});

    /// The whole calculation of the period; settings as "NEAREVENTS=1 CALCREM=1". What lies beyond the range that is
    /// read is left out.
    CalcRun run(const QString &from, const QString &to, const QString &settings = {}, bool isExplained = false) const;
    /// What the calculation of the period is given.
    calc::rules::CalcInputs inputs(const QString &from, const QString &to, const QString &settings = {}) const;

    QDate today{2030, 1, 1};
    qint64 doubleTapSeconds = 0;

private:
    struct Shift {
        QDate from;
        QDate to;
        calc::rules::Assignment assignment;
    };

    std::vector<calc::rules::Employee> m_employees;
    std::vector<std::pair<QDate, QString>> m_holidays;
    std::vector<Shift> m_shifts;
    qint64 m_lastId = 0;
};
