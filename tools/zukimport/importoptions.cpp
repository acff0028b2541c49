#include "tools/zukimport/importoptions.h"

#include "options/optionparser.h"

namespace tools::zukimport {

namespace {

const char kDescription[] = "Moves a site in: employees, punches and the calendar from CSV into a zuknetserver.db.";
const char kExamples[] = R"(
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

Exit code: 0 all imported, 1 some lines refused and the others stored, 2 nothing done, or wrong usage.
)";

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

class ImportArguments : private OptionParser
{
public:
    explicit ImportArguments(ImportOptions &options) : OptionParser(kDescription, kExamples), m_options(options)
    {
        addWord(QStringLiteral("database"), QStringLiteral("a zuknetserver.db, which is filled"));
    }

    QString read(const QStringList &arguments, QString *told)
    {
        if (!parse(arguments, told))
            return fault();
        m_options.database = words().constFirst();
        m_options.create = isSet(m_create);
        m_options.dryRun = isSet(m_dryRun);
        readFormat();
        readEmployees();
        readPunches();
        readCalendar();
        if (m_options.employeesFile.isEmpty() && m_options.punchesFile.isEmpty() && m_options.calendarFrom.isNull())
            blame(QStringLiteral("nothing to import: name --employees, --punches or --calendar"));
        return fault();
    }

private:
    void readFormat()
    {
        m_options.csv.encoding = value(m_encoding);
        QString separator = value(m_delimiter);
        if (separator == QLatin1String("tab") || separator == QLatin1String("\\t"))
            separator = QLatin1Char('\t');
        if (separator.size() != 1)
            return blameValue(m_delimiter, QStringLiteral("is not one character"));
        m_options.csv.delimiter = separator.at(0);
    }

    void readEmployees()
    {
        m_options.employeesFile = value(m_employees);
        m_options.calcSet = value(m_calcSet);
        m_options.wtimSet = value(m_wtimSet);
        for (const char *column : kEmployeeColumns)
            m_options.employeeColumns.insert(QLatin1String(column), QLatin1String(column));
        const QStringList given = values(m_employeeColumn);
        for (const QString &assignment : given) {
            QString column;
            QString name;
            if (!splitAssignment(assignment, column, name) || !m_options.employeeColumns.contains(column.toUpper()))
                blame(QStringLiteral("--employee-column \"%1\" is not COLUMN=NAME with a column of employees")
                          .arg(assignment));
            m_options.employeeColumns.insert(column.toUpper(), name);
        }
    }

    void readPunches()
    {
        m_options.punchesFile = value(m_punches);
        m_options.timeFormat = value(m_timeFormat);
        m_options.match = isSet(m_matchId) ? ImportOptions::Match::Id : ImportOptions::Match::PersonalNumber;
        m_options.createEmployees = isSet(m_createEmployees);
        m_options.maxAbsenceSeconds = number(m_maxAbsence, 1, kMaxAbsenceHours) * 3600LL;
        if (isSet(m_timeZone)) {
            m_options.zone = QTimeZone(value(m_timeZone).toLatin1());
            if (!m_options.zone.isValid())
                blameValue(m_timeZone, QStringLiteral("is not a zone like Europe/Ljubljana"));
        }
        readPunchColumns();
        readWords(m_word, false);
        if (!isSet(m_word))
            m_options.words.addDefaults();
        readWords(m_goingOut, true);
    }

    void readPunchColumns()
    {
        const QHash<QString, QString *> columns = {{"employee", &m_options.employeeColumn},
                                                   {"time", &m_options.timeColumn},
                                                   {"date", &m_options.dateColumn},
                                                   {"direction", &m_options.directionColumn}};
        const QStringList given = values(m_punchColumn);
        for (const QString &assignment : given) {
            QString column;
            QString name;
            if (splitAssignment(assignment, column, name) && columns.contains(column.toLower()))
                *columns.value(column.toLower()) = name;
            else
                blame(QStringLiteral("--punch-column \"%1\" is not employee, date, time or direction = NAME")
                          .arg(assignment));
        }
    }

    void readWords(const Option &option, bool goesOut)
    {
        const QStringList given = values(option);
        for (const QString &word : given) {
            const QString fault = m_options.words.add(word, goesOut);
            if (!fault.isEmpty())
                blame(QStringLiteral("--%1 ").arg(option.names().constLast()) + fault);
        }
    }

    void readCalendar()
    {
        m_options.holidaysFile = value(m_holidays);
        m_options.slovenianHolidays = isSet(m_slovenian);
        if (!isSet(m_calendar)) {
            if (m_options.slovenianHolidays || isSet(m_holidays))
                blame(QStringLiteral("holidays need the --calendar to which they belong"));
            return;
        }
        const QStringList ends = value(m_calendar).split(QStringLiteral(".."));
        m_options.calendarFrom = readDate(ends.constFirst());
        m_options.calendarTo = readDate(ends.constLast());
        if (ends.size() != 2 || !m_options.calendarFrom.isValid() || m_options.calendarTo < m_options.calendarFrom)
            blameValue(m_calendar, QStringLiteral("is not FROM..TO"));
    }

    ImportOptions &m_options;
    const Option m_create = add({"create", "Create the database with the attendance tables if it is missing."});
    const Option m_dryRun = add({"dry-run", "Count what would be done and change nothing."});
    const Option m_delimiter = add(
        {"delimiter", "Between the columns, else a comma; \"tab\" for a tabulator.", "char", m_options.csv.delimiter});
    const Option m_encoding =
        add({"encoding", "Of the files, such as windows-1250; else UTF-8.", "name", m_options.csv.encoding});
    const Option m_employees = add({"employees", "Employees to add.", "file"});
    const Option m_employeeColumn =
        add({"employee-column",
             "The file's name for a column of employees (EMPLID, FIRSTNAME, LASTNAME, …); may be repeated. Without it "
             "the names are equal.",
             "COLUMN=NAME"});
    const Option m_calcSet = add({"calcset", "Calculation settings of the added employees.", "key"});
    const Option m_wtimSet = add({"wtimset", "Schedule of the added employees.", "key"});
    const Option m_punches = add({"punches", "Punches to add.", "file"});
    const Option m_punchColumn = add(
        {"punch-column", "The file's name for employee, time, direction, or a date beside the time; may be repeated.",
         "COLUMN=NAME"});
    const Option m_timeFormat =
        add({"time-format", "\"iso\" (which it is without this), \"unix\" or a format such as \"d.M.yyyy H:mm\".",
             "format", m_options.timeFormat});
    const Option m_timeZone =
        add({"time-zone", "Zone of the clock, such as Europe/Ljubljana; else this system's.", "id"});
    const Option m_word =
        add({"word",
             "A word of the direction column and its access code (101 to 105, 102:1 to 102:8); may be "
             "repeated. Without it IN=101 and OUT=102.",
             "WORD=CODE"});
    const Option m_goingOut =
        add({"going-out",
             "A word for going out to what the code names: 103 lunch, 104 business, 105 private, 102:d; may "
             "be repeated.",
             "WORD=CODE"});
    const Option m_maxAbsence =
        add({"max-absence", "Who is not back from a going out within these hours, else 12, has left for the day.",
             "hours", QString::number(m_options.maxAbsenceSeconds / 3600)});
    const Option m_matchId =
        add({"match-id", "Punches name employees by their ID, not by their personal number EMPLID."});
    const Option m_createEmployees =
        add({"create-employees", "Add the employees that the punches name and nobody knows."});
    const Option m_calendar = add({"calendar", "Days to add to the calendar.", "FROM..TO"});
    const Option m_holidays = add({"holidays", "Public holidays, with the columns date and name.", "file"});
    const Option m_slovenian = add({"slovenian-holidays", "The work-free public holidays of Slovenia."});
};

} // namespace

QString readImportOptions(const QStringList &arguments, ImportOptions &options, QString *told)
{
    return ImportArguments(options).read(arguments, told);
}

} // namespace tools::zukimport
