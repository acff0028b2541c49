#pragma once

#include "tools/zukimport/csvtable.h"
#include "tools/zukimport/wordtable.h"

#include <QDate>
#include <QHash>
#include <QString>
#include <QStringList>
#include <QTimeZone>

namespace tools::zukimport {

/// What one import is told to do.
struct ImportOptions {
    /// What the employee column of the punches holds.
    enum class Match { PersonalNumber, Id };

    QString database;
    bool create = false;
    bool dryRun = false;
    CsvFormat csv;

    QString employeesFile;
    /// Column of `employees` to the name of the file's column.
    QHash<QString, QString> employeeColumns;
    QString calcSet;
    QString wtimSet;

    QString punchesFile;
    QString employeeColumn = QStringLiteral("employee");
    QString timeColumn = QStringLiteral("time");
    /// Where the date stands in a column of its own; it is joined with the time by a blank.
    QString dateColumn;
    QString directionColumn = QStringLiteral("direction");
    QString timeFormat = QStringLiteral("iso");
    QTimeZone zone = QTimeZone::systemTimeZone();
    WordTable words;
    qint64 maxAbsenceSeconds = 12 * 3600;
    Match match = Match::PersonalNumber;
    bool createEmployees = false;

    QDate calendarFrom;
    QDate calendarTo;
    QString holidaysFile;
    bool slovenianHolidays = false;
};

/// Reads the command line, the program's name first; the reason when it cannot be understood, else empty.
/// *told receives the help or the version when it was asked for.
QString readImportOptions(const QStringList &arguments, ImportOptions &options, QString *told);

} // namespace tools::zukimport
