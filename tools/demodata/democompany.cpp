#include "tools/demodata/democompany.h"

#include "calc/rules/localclock.h"
#include "storage/database.h"
#include "tools/demodata/demoroles.h"
#include "tools/demodata/demoshifts.h"
#include "tools/demodata/demostore.h"
#include "tools/demodata/demoworker.h"
#include "tools/zukimport/slovenianholidays.h"

#include <algorithm>

namespace tools::demodata {

namespace {

/// What one run can hold in memory and the ids of its tables, with room to spare.
constexpr int kMaxEmployees = 100000;
constexpr int kMaxDays = 36600;

/// The terminals' own events are kept for this long; the journal keeps them all.
constexpr int kTerminalEventDays = 31;

/// Calendar and shifts go on beyond the period, so that a calculation at its edges finds them.
constexpr int kCalendarMonths = 2;

const QString kDemoUser = QStringLiteral("ana");
const QString kDemoPassword = QStringLiteral("ana");
constexpr int kPasswordLength = 8;

bool isCollectiveLeave(QDate date)
{
    return date.month() == 12 && date.day() >= 27 && date.dayOfWeek() <= Qt::Friday;
}

class DemoCompany
{
public:
    DemoCompany(DataBase &database, const DemoOptions &options)
        : m_store(database), m_options(options), m_firstDay(options.start.addMonths(-kCalendarMonths)),
          m_clock(m_firstDay, options.end.addMonths(kCalendarMonths)), m_random(options.seed)
    {
    }

    DemoStore &store() { return m_store; }

    bool generate()
    {
        const QVector<DemoEmployee> staff = demoStaff(m_options.employees, m_options.start, m_options.end, m_random);
        for (const DemoEmployee &employee : staff)
            m_workers.emplace_back(employee, m_options.seed);
        m_roles = demoRoles(staff);
        return m_store.addSettings() && addCalendar() && addAssignments() && addStaff() && addPunches() &&
               addBalances() && m_store.createIndexes();
    }

private:
    struct TimedPunch {
        qint64 time;
        const DemoEmployee *employee;
        DemoPunch punch;
    };

    bool addCalendar()
    {
        bool ok = true;
        for (int day = 0; ok && day < m_clock.dayCount(); ++day) {
            const QDate date = m_clock.date(day);
            const QString holiday = slovenianHoliday(date);
            const QString note =
                holiday.isEmpty() && isCollectiveLeave(date) ? QStringLiteral("Kolektivni dopust") : holiday;
            ok = m_store.addCalendarDay(date, m_clock.midnight(day), holiday, note);
        }
        return ok;
    }

    /// One row for every run of days on which a group has the same shift.
    bool addAssignments()
    {
        bool ok = true;
        for (const DemoShiftGroup &group : demoShiftGroups()) {
            int from = 0;
            for (int day = 1; ok && day <= m_clock.dayCount(); ++day) {
                const int shift = shiftOf(group, m_clock.date(from));
                if (day < m_clock.dayCount() && shiftOf(group, m_clock.date(day)) == shift)
                    continue;
                ok = m_store.addAssignment(m_clock.midnight(from), m_clock.midnight(day - 1), group.name, shift);
                from = day;
            }
        }
        return ok;
    }

    bool addStaff()
    {
        bool ok = true;
        for (const DemoWorker &worker : m_workers) {
            const DemoEmployee &employee = worker.employee();
            QString name = kDemoUser;
            QString password = kDemoPassword;
            if (employee.id > 1) {
                name = plainName(employee.firstName) + QString::number(employee.id);
                password = randomPassword();
            }
            // Who has a role is shown around: the password is the name, as Ana's.
            const auto role = m_roles.constFind(employee.id);
            if (role != m_roles.constEnd()) {
                password = name;
                ok = ok && m_store.addRole(employee, *role);
            }
            ok =
                ok && m_store.addEmployee(employee) && m_store.addAccess(employee, name, password, hasAccess(employee));
        }
        return ok;
    }

    QString randomPassword()
    {
        QString password;
        for (int i = 0; i < kPasswordLength; ++i)
            password += QLatin1Char(static_cast<char>(m_random.between('a', 'z')));
        return password;
    }

    /// In the order of time, as terminals bring them in.
    bool addPunches()
    {
        std::vector<TimedPunch> waiting;
        const int first = m_clock.dayOf(m_options.start);
        const int last = m_clock.dayOf(m_options.end);
        bool ok = true;
        for (int day = first; ok && day <= last; ++day) {
            const QDate date = m_clock.date(day);
            const DemoDay demoDay{date, !slovenianHoliday(date).isEmpty(), isCollectiveLeave(date),
                                  m_options.dutyOnLastDay && day == last};
            for (DemoWorker &worker : m_workers) {
                for (DemoPunch &punch : worker.dayOf(demoDay)) {
                    const qint64 time = m_clock.instantOf(day, punch.second);
                    // What is to come is known of absences alone.
                    if (time <= m_options.now.value_or(time) || punch.source == DemoPunch::Source::Planned)
                        waiting.push_back({time, &worker.employee(), std::move(punch)});
                }
            }
            const bool isRecent = last - day < kTerminalEventDays;
            ok = store(waiting, day == last ? m_clock.midnight(day + 2) : m_clock.midnight(day + 1), isRecent);
        }
        return ok;
    }

    /// Stores and forgets the punches before the given time; those of a night wait for the next day.
    bool store(std::vector<TimedPunch> &waiting, qint64 before, bool isRecent)
    {
        std::stable_sort(waiting.begin(), waiting.end(),
                         [](const TimedPunch &a, const TimedPunch &b) { return a.time < b.time; });
        size_t stored = 0;
        bool ok = true;
        for (; ok && stored < waiting.size() && waiting[stored].time < before; ++stored)
            ok = m_store.addPunch(*waiting[stored].employee, waiting[stored].punch, waiting[stored].time, isRecent);
        waiting.erase(waiting.begin(), waiting.begin() + static_cast<std::ptrdiff_t>(stored));
        return ok;
    }

    /// A current balance, the last accounting and the archive of the year before for everybody.
    bool addBalances()
    {
        const QDate end = m_options.end;
        const qint64 today = secondsOf(end, QTime(8, 15));
        const qint64 monthBegin = secondsOf(QDate(end.year(), end.month(), 1), QTime(6, 0));
        const qint64 yearBegin = secondsOf(QDate(end.year(), 1, 1), QTime(6, 0));
        bool ok = true;
        for (const DemoWorker &worker : m_workers) {
            const DemoEmployee &employee = worker.employee();
            const int carriedOver = m_random.between(0, 8);
            const int taken = worker.leaveTaken(end.year());
            const int takenOfLastYear = std::min(carriedOver, taken);
            const qint64 until = secondsOf(QDate(end.year(), 6, 30), QTime(0, 0));
            const qint64 untilBefore = secondsOf(QDate(end.year() - 1, 6, 30), QTime(0, 0));
            const DemoStore::Balance archived{3,
                                              0,
                                              0,
                                              untilBefore,
                                              std::max(0, employee.leaveDays - carriedOver),
                                              m_random.between(-4, 20),
                                              yearBegin,
                                              yearBegin};
            DemoStore::Balance current{
                2,          carriedOver, takenOfLastYear, until, taken - takenOfLastYear, m_random.between(-8, 30),
                monthBegin, today};
            DemoStore::Balance accounted = current;
            accounted.status = 1;
            accounted.freeHours = m_random.between(-8, 30);
            accounted.changed = monthBegin;
            ok = ok && m_store.addBalance(employee, archived) && m_store.addBalance(employee, accounted) &&
                 m_store.addBalance(employee, current);
        }
        return ok;
    }

    static qint64 secondsOf(QDate date, QTime time) { return QDateTime(date, time).toSecsSinceEpoch(); }

    DemoStore m_store;
    DemoOptions m_options;
    QDate m_firstDay;
    calc::rules::LocalClock m_clock;
    DemoRandom m_random;
    std::vector<DemoWorker> m_workers;
    QHash<int, DemoRole> m_roles;
};

} // namespace

QString faultOf(const DemoOptions &options)
{
    if (options.employees < 1 || options.employees > kMaxEmployees)
        return QStringLiteral("the number of employees must be 1 to %1").arg(kMaxEmployees);
    if (!options.start.isValid() || !options.end.isValid() || options.end < options.start)
        return QStringLiteral("the period must end on or after the day on which it starts");
    if (options.start.daysTo(options.end) >= kMaxDays)
        return QStringLiteral("the period must not be longer than %1 days").arg(kMaxDays);
    return {};
}

QString generateDemoCompany(DataBase &database, const DemoOptions &options, DemoSummary *summary)
{
    const QString fault = faultOf(options);
    if (!fault.isEmpty())
        return fault;
    if (!database.isOpen())
        return QStringLiteral("%1 cannot be opened").arg(database.filePath());

    DemoCompany company(database, options);
    Transaction transaction(database);
    if (!company.store().createTables())
        return QStringLiteral("%1 cannot be written").arg(database.filePath());
    if (company.store().hasEmployees())
        return QStringLiteral("%1 holds employees already").arg(database.filePath());
    if (!company.generate() || !transaction.commit())
        return QStringLiteral("%1 cannot be written").arg(database.filePath());
    if (summary)
        *summary = {options.employees, company.store().events(), company.store().corrections()};
    return {};
}

} // namespace tools::demodata
