#include "calc/input/calcreader.h"

#include "storage/database.h"

#include <QDateTime>
#include <QDebug>
#include <QSet>
#include <QSqlQuery>
#include <QSqlRecord>

#include <algorithm>

namespace {

const QString kSelectAssignments =
    QStringLiteral(" select * from RAZPOREDC where (FDATE>=? and TDATE<=?)"
                   " or (FDATE<? and TDATE>?) or (FDATE<? and TDATE>?) or (FDATE<? and TDATE>?)");
const QString kSelectCalendar = QStringLiteral("select * from calendar where date>=? and date<=?");
const QString kSelectEmployees = QStringLiteral(
    "select employees.ID as USER,FIRSTNAME,LASTNAME,%1 as NAME,EMPLID,OFFDAYS,STIMUL,CALCSET.VALUE as CALCS,"
    "WTIMSET.VALUE as WTIM,PRERAZDC,OTHER,TIMEZ from employees"
    " left join calcset on employees.calcset = calcset.key left join wtimset on employees.wtimset = wtimset.key"
    " where active=1");
const QString kSelectEvents = QStringLiteral(
    "select allevents.ID as ID,USER,TYPE,allevents.REMARK as REMARK,TIMESTAMP,ACCESS_CODE as AC,PTIME,IDX,TAG,PARAM,"
    "%1 as NAME,TIMEZ from allevents left join employees on user=employees.id"
    " where timestamp >=? and timestamp<=?");
const QString kSelectMetaEvents = QStringLiteral(
    "select id,USER,TYPE,REMARK,TIMESTAMP,ACCESS_CODE from metalog where timestamp >=? and timestamp<=?");
const QString kLastNameFirst = QStringLiteral("(LASTNAME || \" \" || FIRSTNAME)");
const QString kFirstNameFirst = QStringLiteral("(FIRSTNAME || \" \" || LASTNAME)");

const QString kBadPeriod = QStringLiteral("Napačen datum za obdobje obračuna!");
const QString kNoCalendar = QStringLiteral("Ni koledarja za izbrano obdobje!");
const QString kNoEmployees = QStringLiteral("Ni spiska zaposlenih!");
const QString kNoSettings = QStringLiteral("Ni nastavitev!");
const QString kNoSchedule = QStringLiteral("Ni urnika!");
const QString kNoEvents = QStringLiteral("Ni dogodkov za izbrano obdobje!");
const QString kNoEventsOfSelected = QStringLiteral("Ni dogodkov za obdobje!");

/// Days of the clock beyond what is read: shifted events and windows after midnight stay inside it.
constexpr int kSpareDays = 3;

bool readDate(const QAny &value, QDate *date)
{
    *date = QDate::fromString(value.toString().trimmed(), QStringLiteral("d.M.yyyy"));
    return date->isValid();
}

/// 1, true or "desc".
bool isDescending(const QAny &sort)
{
    const QString text = sort.toString();
    return sort.toInteger() == 1 || text.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0 ||
           text.compare(QLatin1String("desc"), Qt::CaseInsensitive) == 0;
}

QDate localDate(qint64 seconds)
{
    constexpr qint64 limit = 100000000000; // beyond the year 5000 either way
    return QDateTime::fromSecsSinceEpoch(std::clamp(seconds, -limit, limit)).date();
}

/// The row under upper-case keys, whatever case its table declares.
QAny recordOf(const QSqlQuery &query)
{
    const QSqlRecord columns = query.record();
    QAny record(QAny::Hash);
    for (int column = 0; column < columns.count(); ++column)
        record.insert(columns.fieldName(column).toUpper(), QAny::fromVariant(query.value(column)));
    return record;
}

/// The kinds that an event's type can name; a hand-entered event of another type is an ME.
bool isKind(const QString &type)
{
    return type == QLatin1String("MP") || type == QLatin1String("ME") || type == QLatin1String("EV") ||
           type == QLatin1String("AE");
}

/// Departures first at equal times, then those of terminals, then the lower id.
bool pairsBefore(const Event &left, const Event &right)
{
    if (left.timestamp != right.timestamp)
        return left.timestamp < right.timestamp;
    if (left.code.isDeparture() != right.code.isDeparture())
        return left.code.isDeparture();
    if (left.isMeta != right.isMeta)
        return right.isMeta;
    return left.id < right.id;
}

bool sameCode(const Event &left, const Event &right)
{
    const bool hasCode = left.code.isArrival() || left.code.isDeparture();
    return hasCode ? left.code == right.code : left.accessCode == right.accessCode;
}

/// Drops the hand-entered events that the terminals' list holds already.
void dropHeldMetaEvents(std::vector<Event> &events)
{
    const auto firstMeta =
        std::stable_partition(events.begin(), events.end(), [](const Event &event) { return !event.isMeta; });
    if (firstMeta == events.end())
        return;
    std::sort(events.begin(), firstMeta, pairsBefore);
    const auto isHeld = [&](const Event &meta) {
        const auto from = std::lower_bound(events.begin(), firstMeta, meta.timestamp,
                                           [](const Event &event, qint64 time) { return event.timestamp < time; });
        for (auto it = from; it != firstMeta && it->timestamp == meta.timestamp; ++it) {
            if (sameCode(*it, meta))
                return true;
        }
        return false;
    };
    events.erase(std::remove_if(firstMeta, events.end(), isHeld), events.end());
}

} // namespace

CalcReader::CalcReader(DataBase &database, CalcErrors &errToDb) : m_database(database), m_errors(errToDb) {}

bool CalcReader::readAllEvents(const QAny &request, CalcInputs &inputs)
{
    m_inputs = &inputs;
    inputs.settings = CalcSettings::ofRequest(m_database, request);
    if (!readPeriod(request))
        return false;
    readUserFilter(request);
    readAssignments();
    if (!readCalendar() || !readEmployees(request) || !readEvents(request))
        return false;
    qDebug() << "void Calc21::readAllEvents(errToDb) OUT";
    return true;
}

bool CalcReader::fail(const QString &text)
{
    m_errors.add(CalcErrors::Code::Nap, text);
    qDebug() << "Calc21::readAllEvents" << text;
    return false;
}

bool CalcReader::readPeriod(const QAny &request)
{
    Period &period = m_inputs->period;
    if (!readDate(request.lookup(QStringLiteral("STARTDATE")), &period.firstDate) ||
        !readDate(request.lookup(QStringLiteral("ENDDATE")), &period.lastDate) || period.lastDate < period.firstDate ||
        period.firstDate.daysTo(period.lastDate) >= kMaxPeriodDays)
        return fail(kBadPeriod);
    const qint64 near = m_inputs->settings.nearSeconds();
    const int spare = static_cast<int>(near / LocalClock::kDaySeconds) + kSpareDays;
    period.clock = LocalClock(period.firstDate.addDays(-spare), period.lastDate.addDays(spare));
    period.firstDay = spare;
    period.lastDay = spare + static_cast<int>(period.firstDate.daysTo(period.lastDate));
    period.start = period.clock.midnight(period.firstDay);
    period.end = period.clock.midnight(period.lastDay + 1) - 1;
    m_readFrom = period.start - near;
    m_readTo = period.end + near;
    return true;
}

void CalcReader::readUserFilter(const QAny &request)
{
    const QAny &user = request.lookup(QStringLiteral("USER"));
    m_filtered = user.isValid() && !user.isNull();
    if (!m_filtered)
        return;
    const QAny users = user.isList() ? user : QAny::list({user});
    for (int i = 0; i < users.count(); ++i) {
        bool ok = false;
        const qint64 id = users.at(i).toInteger(&ok);
        if (ok)
            m_users.push_back(id);
    }
    std::sort(m_users.begin(), m_users.end());
    m_users.erase(std::unique(m_users.begin(), m_users.end()), m_users.end());
}

QString CalcReader::userClause(const QString &column) const
{
    if (!m_filtered || m_users.size() > static_cast<size_t>(kMaxUsersInStatement))
        return {};
    QStringList terms;
    for (size_t i = 0; i < m_users.size(); ++i)
        terms.append(column + QStringLiteral("=?"));
    return QStringLiteral(" and (") + (terms.isEmpty() ? QStringLiteral("0") : terms.join(QStringLiteral(" or "))) +
           QLatin1Char(')');
}

QVariantList CalcReader::withUsers(QVariantList bindings) const
{
    if (m_filtered && m_users.size() <= static_cast<size_t>(kMaxUsersInStatement)) {
        for (const qint64 user : m_users)
            bindings.append(user);
    }
    return bindings;
}

void CalcReader::readAssignments()
{
    const Period &period = m_inputs->period;
    const auto dayOf = [&period](const QAny &seconds) { return period.clock.dayOf(localDate(seconds.toInteger())); };
    std::vector<Assignment> rows;
    const auto read = [&](const QSqlQuery &query) {
        Assignment row;
        row.record = recordOf(query);
        row.id = row.record.lookup(QStringLiteral("ID")).toInteger();
        row.firstDay = dayOf(row.record.lookup(QStringLiteral("FDATE")));
        row.lastDay = dayOf(row.record.lookup(QStringLiteral("TDATE")));
        row.hasHour = !row.record.lookup(QStringLiteral("FHOUR")).toString().trimmed().isEmpty();
        row.group = row.record.lookup(QStringLiteral("RGROUP")).toString();
        row.emplId = row.record.lookup(QStringLiteral("EMPLID")).toString();
        row.preraz = row.record.lookup(QStringLiteral("PRERAZ"));
        rows.push_back(row);
    };
    // The bounds are a day wide of what is read, since the rows' instants only name local dates.
    const qint64 start = m_readFrom - LocalClock::kDaySeconds;
    const qint64 end = m_readTo + LocalClock::kDaySeconds;
    m_database.forEachRow(kSelectAssignments, {start, end, start, start, end, end, end, start}, read);
    m_inputs->plan = ShiftPlan(std::move(rows), period.clock.dayCount());
}

bool CalcReader::readCalendar()
{
    const Period &period = m_inputs->period;
    m_inputs->holidays.assign(static_cast<size_t>(period.dayCount()), QString());
    bool any = false;
    m_database.forEachRow(kSelectCalendar, {period.start, period.end}, [&](const QSqlQuery &query) {
        any = true;
        const QAny row = recordOf(query);
        const QString holidayKey = QStringLiteral("PRAZNIK");
        const QAny &holiday = row.lookup(row.contains(holidayKey) ? holidayKey : QStringLiteral("NOTE"));
        const QString text = holiday.toString().trimmed();
        const int day = period.clock.dayOf(row.lookup(QStringLiteral("DATE")).toInteger());
        if (!text.isEmpty() && text != QLatin1String("0") && period.containsDay(day))
            m_inputs->holidays[static_cast<size_t>(day - period.firstDay)] = text;
    });
    return any || fail(kNoCalendar);
}

bool CalcReader::readEmployees(const QAny &request)
{
    const bool firstNameFirst = request.lookup(QStringLiteral("NAMEFIRST")).toBool();
    const QString sql = kSelectEmployees.arg(firstNameFirst ? kFirstNameFirst : kLastNameFirst) +
                        userClause(QStringLiteral("employees.ID")) + QStringLiteral(" order by ") +
                        (firstNameFirst ? QStringLiteral("FIRSTNAME") : QStringLiteral("LASTNAME")) +
                        (isDescending(request.lookup(QStringLiteral("SORT"))) ? QStringLiteral(" desc") : QString()) +
                        QStringLiteral(",employees.ID");
    qDebug() << "READEMPLO:" << sql;

    static const QAny::KeySet keys{QStringLiteral("USER"),     QStringLiteral("FIRSTNAME"), QStringLiteral("LASTNAME"),
                                   QStringLiteral("NAME"),     QStringLiteral("EMPLID"),    QStringLiteral("OFFDAYS"),
                                   QStringLiteral("STIMUL"),   QStringLiteral("CALCS"),     QStringLiteral("WTIM"),
                                   QStringLiteral("PRERAZDC"), QStringLiteral("OTHER"),     QStringLiteral("TIMEZ")};
    enum { User, FirstName, LastName, Name, EmplId, OffDays, Stimul, Calcs, Wtim, PreRazDc, Other, TimeZ };
    constexpr qint64 maxShift = 2 * LocalClock::kDaySeconds;

    QHash<QString, std::shared_ptr<const RuleSettings>> rules;
    QHash<QString, std::shared_ptr<const Schedule>> schedules;
    const bool filterHere = m_filtered && m_users.size() > static_cast<size_t>(kMaxUsersInStatement);
    m_database.forEachRow(sql, withUsers({}), [&](const QSqlQuery &query) {
        Employee employee;
        employee.user = query.value(User).toLongLong();
        if (filterHere && !std::binary_search(m_users.begin(), m_users.end(), employee.user))
            return;
        employee.record = QAny::record(keys);
        for (int column = 0; column < keys.count(); ++column)
            employee.record.slot(column) = QAny::fromVariant(query.value(column));
        employee.name = query.value(Name).toString();
        employee.emplId = query.value(EmplId).toString();
        employee.timeZoneSeconds = std::clamp(query.value(TimeZ).toLongLong(), -maxShift, maxShift);
        const QString settingsText = query.value(Calcs).toString();
        auto knownRules = rules.find(settingsText);
        if (knownRules == rules.end())
            knownRules = rules.insert(settingsText, RuleSettings::parse(settingsText));
        employee.rules = *knownRules;
        const QString scheduleText = query.value(Wtim).toString();
        auto knownSchedule = schedules.find(scheduleText);
        if (knownSchedule == schedules.end())
            knownSchedule = schedules.insert(scheduleText, Schedule::parse(scheduleText));
        employee.schedule = *knownSchedule;
        if (employee.schedule)
            employee.record.slot(Wtim) = employee.schedule->fields();
        employee.shifts = m_inputs->plan.daysOf(query.value(PreRazDc).toString(), employee.emplId);
        m_inputs->employees.push_back(std::move(employee));
    });
    if (m_inputs->employees.empty())
        return fail(kNoEmployees);
    if (static_cast<qint64>(m_inputs->employees.size()) * m_inputs->period.dayCount() > kMaxEmployeeDays) {
        qWarning() << "Calc21::readAllEvents period of" << m_inputs->period.dayCount() << "days for"
                   << m_inputs->employees.size() << "employees exceeds" << kMaxEmployeeDays << "days of employees";
        return fail(kBadPeriod);
    }
    for (size_t i = 0; i < m_inputs->employees.size(); ++i) {
        const Employee &employee = m_inputs->employees[i];
        m_employeeOf.insert(employee.user, static_cast<int>(i));
        checkSettings(employee);
    }
    return true;
}

void CalcReader::checkSettings(const Employee &employee)
{
    const auto report = [&](const QString &text) {
        m_errors.add(CalcErrors::Code::Nap, text, employee.user, employee.name, 0);
        qDebug().noquote() << text << QStringLiteral("ID:%1 %2").arg(QString::number(employee.user), employee.name);
    };
    if (!employee.rules)
        report(kNoSettings);
    if (!employee.schedule)
        report(kNoSchedule);
}

bool CalcReader::readEvents(const QAny &request)
{
    const bool firstNameFirst = request.lookup(QStringLiteral("NAMEFIRST")).toBool();
    int rows = readTerminalEvents(firstNameFirst ? kFirstNameFirst : kLastNameFirst);
    rows += readMetaEvents();
    if (rows == 0) {
        qDebug() << "SZ=0";
        return fail(kNoEvents);
    }
    completeEvents();
    const bool any = std::any_of(m_inputs->employees.begin(), m_inputs->employees.end(),
                                 [](const Employee &employee) { return !employee.events.empty(); });
    if (!any) {
        qDebug() << "qaSZ=0";
        return fail(kNoEventsOfSelected);
    }
    return true;
}

int CalcReader::readTerminalEvents(const QString &nameColumn)
{
    enum { Id, User, Type, Remark, Timestamp, AccessCodeText, PTime, Idx, Tag, Param };
    const QString sql =
        kSelectEvents.arg(nameColumn) + userClause(QStringLiteral("USER")) + QStringLiteral(" order by user,timestamp");
    int rows = 0;
    m_database.forEachRow(sql, withUsers({m_readFrom, m_readTo}), [&](const QSqlQuery &query) {
        ++rows;
        Event event;
        event.id = query.value(Id).toLongLong();
        event.user = query.value(User).toLongLong();
        event.timestamp = query.value(Timestamp).toLongLong();
        event.accessCode = shared(query.value(AccessCodeText).toString());
        event.type = shared(query.value(Type).toString());
        event.remark = shared(query.value(Remark).toString());
        event.param = shared(query.value(Param).toString());
        event.idx = QAny::fromVariant(query.value(Idx));
        event.tag = QAny::fromVariant(query.value(Tag));
        event.pTime = QAny::fromVariant(query.value(PTime));
        addEvent(std::move(event));
    });
    return rows;
}

int CalcReader::readMetaEvents()
{
    enum { Id, User, Type, Remark, Timestamp, AccessCodeText };
    static const QString handEntered = QStringLiteral("ME");
    int rows = 0;
    m_database.forEachRow(kSelectMetaEvents + userClause(QStringLiteral("USER")), withUsers({m_readFrom, m_readTo}),
                          [&](const QSqlQuery &query) {
                              ++rows;
                              Event event;
                              event.isMeta = true;
                              event.id = query.value(Id).toLongLong();
                              event.user = query.value(User).toLongLong();
                              event.timestamp = query.value(Timestamp).toLongLong();
                              event.accessCode = shared(query.value(AccessCodeText).toString());
                              const QString type = query.value(Type).toString();
                              event.type = isKind(type) ? shared(type) : handEntered;
                              event.remark = query.value(Remark).toString();
                              event.idx = event.id;
                              addEvent(std::move(event));
                          });
    return rows;
}

const QString &CalcReader::shared(const QString &text)
{
    constexpr int maxTexts = 4096; // remarks of a company are few; a file full of different ones is not kept twice
    const auto known = m_texts.constFind(text);
    if (known != m_texts.constEnd())
        return *known;
    return m_texts.size() < maxTexts ? *m_texts.insert(text, text) : text;
}

void CalcReader::addEvent(Event event)
{
    const auto employee = m_employeeOf.constFind(event.user);
    if (employee == m_employeeOf.constEnd())
        return;
    event.code = AccessCode(event.accessCode);
    m_inputs->employees[static_cast<size_t>(*employee)].events.push_back(std::move(event));
}

void CalcReader::completeEvents()
{
    const CalcSettings &settings = m_inputs->settings;
    const LocalClock &clock = m_inputs->period.clock;
    for (Employee &employee : m_inputs->employees) {
        std::vector<Event> &events = employee.events;
        dropHeldMetaEvents(events);
        if (settings.isTz || settings.isRound30) {
            for (Event &event : events) {
                if (settings.isTz)
                    event.timestamp += employee.timeZoneSeconds;
                if (settings.isRound30)
                    event.timestamp = (event.timestamp + 30) / 60 * 60;
            }
            const auto isOutside = [&](const Event &event) { return clock.dayOf(event.timestamp) < 0; };
            events.erase(std::remove_if(events.begin(), events.end(), isOutside), events.end());
        }
        if (!std::is_sorted(events.begin(), events.end(), pairsBefore))
            std::sort(events.begin(), events.end(), pairsBefore);
        if (!events.empty())
            events.back().isLast = true;
    }
}
