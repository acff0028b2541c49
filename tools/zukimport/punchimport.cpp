#include "tools/zukimport/punchimport.h"

#include "tools/zukimport/csvtable.h"
#include "tools/zukimport/employeeimport.h"
#include "tools/zukimport/employeeroster.h"
#include "tools/zukimport/eventbuilder.h"
#include "tools/zukimport/importoptions.h"
#include "tools/zukimport/importreport.h"
#include "tools/zukimport/importstore.h"

#include <algorithm>
#include <tuple>

namespace tools::zukimport {

PunchImport::PunchImport(const ImportOptions &options, ImportStore &store, EmployeeRoster &roster,
                         const EmployeeImport &employees, ImportReport &report)
    : m_options(options), m_store(store), m_roster(roster), m_employees(employees), m_report(report),
      m_clock(options.timeFormat, options.zone)
{
}

QString PunchImport::run()
{
    const QString fault = readPunches();
    if (!fault.isEmpty() || m_punches.empty())
        return fault;
    buildEvents();
    storeEvents();
    return {};
}

qint64 PunchImport::findEmployee(const QString &name, QString &reason) const
{
    qint64 id = 0;
    if (m_options.match == ImportOptions::Match::Id) {
        const qint64 named = name.toLongLong();
        id = m_roster.hasId(named) ? named : EmployeeRoster::kUnknown;
    } else {
        id = m_roster.idOf(name);
    }
    if (id == EmployeeRoster::kAmbiguous)
        reason = QStringLiteral("more than one employee has the personal number \"%1\"").arg(name);
    else if (name.isEmpty())
        reason = QStringLiteral("no employee");
    else if (id == EmployeeRoster::kUnknown && !m_options.createEmployees)
        reason = QStringLiteral("unknown employee \"%1\"").arg(name);
    return std::max<qint64>(id, 0);
}

qint64 PunchImport::createEmployee(const QString &name)
{
    QHash<QString, QVariant> row = m_employees.defaults();
    row.insert(QStringLiteral("EMPLID"), name);
    // Nothing but the number is known: a name to be found by, until somebody enters the right one.
    row.insert(QStringLiteral("LASTNAME"), QStringLiteral("Zaposleni"));
    row.insert(QStringLiteral("FIRSTNAME"), name);
    if (m_options.match == ImportOptions::Match::Id)
        row.insert(QStringLiteral("ID"), name.toLongLong());
    ++m_report.employees.added;
    return m_roster.add(row);
}

QString PunchImport::readPunches()
{
    CsvTable table(m_options.punchesFile, m_options.csv, m_report);
    const QString fault = table.open();
    if (!fault.isEmpty())
        return fault;
    const int employee = table.column(m_options.employeeColumn);
    const int time = table.column(m_options.timeColumn);
    const int date = table.column(m_options.dateColumn);
    const int direction = table.column(m_options.directionColumn);
    const std::pair<int, QString> wanted[] = {
        {employee, m_options.employeeColumn}, {time, m_options.timeColumn}, {direction, m_options.directionColumn}};
    for (const auto &[position, name] : wanted) {
        if (position < 0)
            return QStringLiteral("%1: no column %2").arg(m_options.punchesFile, name);
    }
    if (date < 0 && !m_options.dateColumn.isEmpty())
        return QStringLiteral("%1: no column %2").arg(m_options.punchesFile, m_options.dateColumn);

    QHash<QString, qint64> lastTimes; // by name: the order in which a clock was read tells its two hours apart
    while (table.next()) {
        const QString name = table.value(employee);
        const QString word = table.value(direction);
        QString text = table.value(time);
        if (date >= 0)
            text = table.value(date) + QLatin1Char(' ') + text;
        QString reason;
        qint64 user = findEmployee(name, reason);
        const int meaning = m_options.words.indexOf(word);
        const PunchClock::Reading reading = m_clock.read(text, lastTimes.value(name));
        if (reading.kind == PunchClock::Unreadable)
            reason = QStringLiteral("\"%1\" is not a time").arg(text);
        else if (reading.kind == PunchClock::Skipped)
            reason = QStringLiteral("the time %1 does not exist: the clock was set forward over it").arg(text);
        else if (meaning < 0)
            reason = QStringLiteral("unknown word \"%1\"").arg(word);
        else if (m_options.match == ImportOptions::Match::Id && name.toLongLong() <= 0)
            reason = QStringLiteral("\"%1\" is not an ID").arg(name);
        if (!reason.isEmpty()) {
            table.refuse(reason);
            continue;
        }
        if (reading.kind == PunchClock::TakenAsFirst)
            table.note(QStringLiteral("%1 was shown twice: taken as the first, in summer time").arg(text));
        else if (reading.kind == PunchClock::TakenAsSecond)
            table.note(QStringLiteral("%1 was shown twice: taken as the second, after the change").arg(text));
        if (user == EmployeeRoster::kUnknown)
            user = createEmployee(name);
        lastTimes.insert(name, reading.seconds);
        m_punches.push_back({user, reading.seconds, meaning, table.line()});
    }
    return {};
}

void PunchImport::buildEvents()
{
    std::stable_sort(m_punches.begin(), m_punches.end(), [](const Punch &a, const Punch &b) {
        return std::tie(a.user, a.seconds) < std::tie(b.user, b.seconds);
    });
    const auto isRepeated = [](const Punch &a, const Punch &b) {
        return a.user == b.user && a.seconds == b.seconds && a.meaning == b.meaning;
    };
    const auto repeated = std::unique(m_punches.begin(), m_punches.end(), isRepeated);
    m_report.events.skipped += m_punches.end() - repeated;
    m_punches.erase(repeated, m_punches.end());

    qint64 user = m_punches.front().user;
    m_events.reserve(m_punches.size());
    EventBuilder builder(
        m_options.maxAbsenceSeconds,
        [this, &user](qint64 seconds, const QString &code) {
            m_events.push_back({user, seconds, codeIndex(code)});
        },
        [this](int line) {
            m_report.note(m_options.punchesFile, line,
                          QStringLiteral("did not come back from this going out: taken as a plain departure"));
        });
    for (const Punch &punch : m_punches) {
        if (punch.user != user)
            builder.finish();
        user = punch.user;
        builder.punch(punch.seconds, m_options.words.at(punch.meaning), punch.line);
    }
    builder.finish();
}

int PunchImport::codeIndex(const QString &text)
{
    const calc::rules::AccessCode code(text);
    const QString key = code.text().isEmpty() ? text : code.text();
    const auto known = m_codes.constFind(key);
    if (known != m_codes.constEnd())
        return *known;
    m_codeTexts.append(text);
    return *m_codes.insert(key, m_codeTexts.size() - 1);
}

std::vector<PunchImport::Event> PunchImport::storedEvents(qint64 from, qint64 to)
{
    std::vector<Event> events;
    QSqlQuery rows = m_store.select(
        QStringLiteral("SELECT USER, TIMESTAMP, ACCESS_CODE FROM allevents WHERE TIMESTAMP>=? AND TIMESTAMP<=?"),
        {from, to});
    while (rows.next())
        events.push_back({rows.value(0).toLongLong(), rows.value(1).toLongLong(), codeIndex(rows.value(2).toString())});
    return events;
}

void PunchImport::storeEvents()
{
    const auto order = [](const Event &a, const Event &b) {
        return std::tie(a.seconds, a.user, a.code) < std::tie(b.seconds, b.user, b.code);
    };
    const auto byTime = [](const Event &a, const Event &b) { return a.seconds < b.seconds; };
    // New rows get their IDs in the order of time, at equal times in that of the punches.
    std::stable_sort(m_events.begin(), m_events.end(), byTime);
    // The texts of the input are looked up first, so that new rows bear its names.
    std::vector<Event> stored = storedEvents(m_events.front().seconds, m_events.back().seconds);
    std::sort(stored.begin(), stored.end(), order);

    const QString insert = QStringLiteral(
        "INSERT INTO allevents (IDX, USER, TIMESTAMP, ACCESS_CODE, TYPE, REMARK, TAG, PTIME, PARAM, TERMINAL) "
        "VALUES (0, ?, ?, ?, 'EV', '', 0, 0, '', '')");
    for (const Event &event : m_events) {
        if (std::binary_search(stored.begin(), stored.end(), event, order)) {
            ++m_report.events.skipped;
            continue;
        }
        if (!m_store.write(insert, {event.user, event.seconds, m_codeTexts.at(event.code)}))
            return;
        ++m_report.events.added;
    }
}

} // namespace tools::zukimport
