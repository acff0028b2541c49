#include "tools/zukimport/importoptions.h"

#include <QCommandLineParser>

namespace tools::zukimport {

namespace {

const char kDescription[] = R"(Moves a site in: employees, punches and the calendar from CSV into a zuknetserver.db.

Everything is stored in one transaction, and what is already there is skipped, so an import can be repeated. Lines that
cannot be stored are reported with their number and reason.

The first line of a CSV file names its columns. A pair of events is what its closing code names, so lunch and other
absences are pairs of their own. Where the input says what somebody leaves for, name these words with --going-out: the
absence is stored from the going out to the return. Words given with --word are stored as they stand.

Second taps of one passage are stored like every punch. The seconds in the row DOUBLETAP of the table config decide at
each calculation which of them count; --create sets 120.

Examples:
  zukimport zuknetserver.db --employees staff.csv --employee-column EMPLID=No --employee-column LASTNAME=Surname \
      --calcset OFFICE --wtimset OFFICE
  zukimport zuknetserver.db --punches clock.csv --delimiter ';' --time-format 'd.M.yyyy H:mm' \
      --word IN=101 --word OUT=102 --going-out LUNCH=103 --going-out ERRAND=105
  zukimport new.db --create --punches clock.csv --create-employees --calendar 2026-01-01..2026-12-31 \
      --slovenian-holidays --dry-run

Exit code: 0 all imported, 1 some lines refused and the others stored, 2 nothing done.)";

/// The columns of `employees` that a file can fill.
const char *const kEmployeeColumns[] = {"ID",      "EMPLID", "FIRSTNAME", "LASTNAME", "DEPARTMENT",
                                        "EMAIL",   "ACTIVE", "CALCSET",   "WTIMSET",  "PRERAZDC",
                                        "OFFDAYS", "STIMUL", "OTHER",     "TIMEZ",    "REMARK"};

constexpr int kMaxAbsenceHours = 24;

/// "NAME=VALUE" in its two halves; false when it has none.
bool splitAssignment(const QString &text, QString &name, QString &value)
{
    const int sign = text.indexOf(QLatin1Char('='));
    name = text.left(sign).trimmed();
    value = text.mid(sign + 1).trimmed();
    return sign > 0 && !name.isEmpty() && !value.isEmpty();
}

QString readEmployeeColumns(const QStringList &assignments, QHash<QString, QString> &columns)
{
    for (const char *column : kEmployeeColumns)
        columns.insert(QLatin1String(column), QLatin1String(column));
    for (const QString &assignment : assignments) {
        QString column;
        QString name;
        if (!splitAssignment(assignment, column, name) || !columns.contains(column.toUpper()))
            return QStringLiteral("--employee-column %1: not COLUMN=NAME with a column of employees").arg(assignment);
        columns.insert(column.toUpper(), name);
    }
    return {};
}

QString readPunchColumns(const QStringList &assignments, ImportOptions &options)
{
    const QHash<QString, QString *> columns = {{QStringLiteral("employee"), &options.employeeColumn},
                                               {QStringLiteral("time"), &options.timeColumn},
                                               {QStringLiteral("date"), &options.dateColumn},
                                               {QStringLiteral("direction"), &options.directionColumn}};
    for (const QString &assignment : assignments) {
        QString column;
        QString name;
        if (!splitAssignment(assignment, column, name) || !columns.contains(column.toLower()))
            return QStringLiteral("--punch-column %1: not employee, date, time or direction = NAME").arg(assignment);
        *columns.value(column.toLower()) = name;
    }
    return {};
}

QString readCalendarRange(const QString &text, ImportOptions &options)
{
    const int dots = text.indexOf(QLatin1String(".."));
    options.calendarFrom = readImportDate(text.left(dots));
    options.calendarTo = readImportDate(text.mid(dots + 2));
    if (dots < 0 || !options.calendarFrom.isValid() || options.calendarTo < options.calendarFrom)
        return QStringLiteral("--calendar %1: not FROM..TO").arg(text);
    return {};
}

QString readWords(const QStringList &words, const QStringList &goingOut, WordTable &table)
{
    for (const QString &word : words) {
        const QString fault = table.add(word, false);
        if (!fault.isEmpty())
            return QStringLiteral("--word ") + fault;
    }
    if (words.isEmpty())
        table.addDefaults();
    for (const QString &word : goingOut) {
        const QString fault = table.add(word, true);
        if (!fault.isEmpty())
            return QStringLiteral("--going-out ") + fault;
    }
    return {};
}

} // namespace

QDate readImportDate(const QString &text)
{
    const QDate iso = QDate::fromString(text, Qt::ISODate);
    return iso.isValid() ? iso : QDate::fromString(text, QStringLiteral("d.M.yyyy"));
}

QString readImportOptions(const QStringList &arguments, ImportOptions &options, QString *help)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QString::fromUtf8(kDescription));
    parser.addPositionalArgument(QStringLiteral("database"), QStringLiteral("The zuknetserver.db to fill."));
    const auto flag = [&parser](const char *name, const char *text) {
        QCommandLineOption option(QString::fromLatin1(name), QString::fromUtf8(text));
        parser.addOption(option);
        return option;
    };
    const auto value = [&parser](const char *name, const char *valueName, const char *text,
                                 const QString &preset = {}) {
        QCommandLineOption option(QString::fromLatin1(name), QString::fromUtf8(text), QString::fromLatin1(valueName),
                                  preset);
        parser.addOption(option);
        return option;
    };
    const auto create = flag("create", "Create the database with the attendance tables if it is missing.");
    const auto dryRun = flag("dry-run", "Count what would be done and change nothing.");
    const auto delimiter = value("delimiter", "char", "Between the columns, else a comma; \"tab\" for a tabulator.",
                                 options.csv.delimiter);
    const auto encoding =
        value("encoding", "name", "Of the files, such as windows-1250; else UTF-8.", options.csv.encoding);
    const auto employees = value("employees", "file", "Employees to add.");
    const auto employeeColumn = value("employee-column", "COLUMN=NAME",
                                      "The file's name for a column of employees (EMPLID, FIRSTNAME, LASTNAME, …); "
                                      "may be repeated. Without it the names are equal.");
    const auto calcSet = value("calcset", "key", "Calculation settings of the added employees.");
    const auto wtimSet = value("wtimset", "key", "Schedule of the added employees.");
    const auto punches = value("punches", "file", "Punches to add.");
    const auto punchColumn = value("punch-column", "COLUMN=NAME",
                                   "The file's name for employee, time, direction, or a date beside the time; may be "
                                   "repeated.");
    const auto timeFormat = value("time-format", "format",
                                  "\"iso\" (which it is without this), \"unix\" or a format such as \"d.M.yyyy H:mm\".",
                                  options.timeFormat);
    const auto timeZone = value("time-zone", "id", "Zone of the clock, such as Europe/Ljubljana; else this system's.");
    const auto word = value("word", "WORD=CODE",
                            "A word of the direction column and its access code (101 to 105, 102:1 to 102:8); may be "
                            "repeated. Without it IN=101 and OUT=102.");
    const auto goingOut = value("going-out", "WORD=CODE",
                                "A word for going out to what the code names: 103 lunch, 104 business, 105 private, "
                                "102:d; may be repeated.");
    const auto maxAbsence = value("max-absence", "hours",
                                  "Who is not back from a going out within these hours, else 12, has left for the day.",
                                  QString::number(options.maxAbsenceSeconds / 3600));
    const auto matchId = flag("match-id", "Punches name employees by their ID, not by their personal number EMPLID.");
    const auto createEmployees = flag("create-employees", "Add the employees that the punches name and nobody knows.");
    const auto calendar = value("calendar", "FROM..TO", "Days to add to the calendar.");
    const auto holidays = value("holidays", "file", "Public holidays, with the columns date and name.");
    const auto slovenian = flag("slovenian-holidays", "The work-free public holidays of Slovenia.");
    const auto helpOption = parser.addHelpOption();

    if (!parser.parse(arguments))
        return parser.errorText();
    if (parser.isSet(helpOption)) {
        *help = parser.helpText();
        return {};
    }
    if (parser.positionalArguments().size() != 1)
        return QStringLiteral("name one database file (--help tells more)");

    options.database = parser.positionalArguments().constFirst();
    options.create = parser.isSet(create);
    options.dryRun = parser.isSet(dryRun);
    options.csv.encoding = parser.value(encoding);
    const QString separator = parser.value(delimiter);
    const bool isTab = separator == QLatin1String("tab") || separator == QLatin1String("\\t");
    if (!isTab && separator.size() != 1)
        return QStringLiteral("--delimiter %1: not one character").arg(separator);
    options.csv.delimiter = isTab ? QLatin1Char('\t') : separator.at(0);

    options.employeesFile = parser.value(employees);
    options.calcSet = parser.value(calcSet);
    options.wtimSet = parser.value(wtimSet);
    options.punchesFile = parser.value(punches);
    options.timeFormat = parser.value(timeFormat);
    options.match = parser.isSet(matchId) ? ImportOptions::Match::Id : ImportOptions::Match::PersonalNumber;
    options.createEmployees = parser.isSet(createEmployees);
    options.holidaysFile = parser.value(holidays);
    options.slovenianHolidays = parser.isSet(slovenian);

    bool isNumber = false;
    const int hours = parser.value(maxAbsence).toInt(&isNumber);
    if (!isNumber || hours < 1 || hours > kMaxAbsenceHours)
        return QStringLiteral("--max-absence %1: not 1 to %2 hours")
            .arg(parser.value(maxAbsence))
            .arg(kMaxAbsenceHours);
    options.maxAbsenceSeconds = hours * 3600LL;
    if (parser.isSet(timeZone)) {
        options.zone = QTimeZone(parser.value(timeZone).toLatin1());
        if (!options.zone.isValid())
            return QStringLiteral("--time-zone %1: unknown").arg(parser.value(timeZone));
    }

    QString fault = readEmployeeColumns(parser.values(employeeColumn), options.employeeColumns);
    if (fault.isEmpty())
        fault = readPunchColumns(parser.values(punchColumn), options);
    if (fault.isEmpty())
        fault = readWords(parser.values(word), parser.values(goingOut), options.words);
    if (fault.isEmpty() && parser.isSet(calendar))
        fault = readCalendarRange(parser.value(calendar), options);
    if (!fault.isEmpty())
        return fault;
    if (options.calendarFrom.isNull() && (options.slovenianHolidays || !options.holidaysFile.isEmpty()))
        return QStringLiteral("holidays need the --calendar to which they belong");
    if (options.employeesFile.isEmpty() && options.punchesFile.isEmpty() && options.calendarFrom.isNull())
        return QStringLiteral("nothing to import: name --employees, --punches or --calendar");
    return {};
}

} // namespace tools::zukimport
