#include "tools/demodata/demostore.h"

#include "page/server/office/pagetables.h"
#include "storage/database.h"
#include "tools/demodata/demoshifts.h"
#include "tools/zukimport/importstore.h"

namespace tools::demodata {

namespace {

const QString kHasEmployees = QStringLiteral("SELECT ID FROM employees LIMIT 1");
const QString kAddConfig = QStringLiteral("INSERT OR REPLACE INTO config (KEY,VALUE) VALUES (?,?)");
const QString kAddSchedule = QStringLiteral("INSERT OR REPLACE INTO wtimset (KEY,VALUE) VALUES (?,?)");
const QString kAddRules = QStringLiteral("INSERT OR REPLACE INTO calcset (KEY,VALUE) VALUES (?,?)");
const QString kAddDay = QStringLiteral("INSERT INTO calendar (DATE,DATESTAMP,NOTE,PRAZNIK,TIMEZ) VALUES (?,?,?,?,0)");
const QString kAddAssignment =
    QStringLiteral("INSERT INTO RAZPOREDC (ID,FDATE,TDATE,FHOUR,RGROUP,EMPLID,PRERAZ) VALUES (?,?,?,?,?,'',?)");
const QString kAddEmployee = QStringLiteral(
    "INSERT INTO employees (ID,FIRSTNAME,LASTNAME,EMPLID,DEPARTMENT,EMAIL,ACTIVE,CALCSET,WTIMSET,PRERAZDC,OFFDAYS,"
    "STIMUL,OTHER,TIMEZ,REMARK) VALUES (?,?,?,?,?,?,?,?,?,?,?,0,0,0,'')");
const QString kAddAccess = QStringLiteral("INSERT INTO USER_ACCESS (ID,IDP,NAME,PASSWORD,ACTIVE) VALUES (?,?,?,?,?)");
const QString kAddRole = QStringLiteral("INSERT INTO page_role (IDP,ROLE,DEPARTMENT) VALUES (?,?,?)");
const QString kAddTerminalEvent = QStringLiteral(
    "INSERT INTO events (USER,FINGER,TERMINAL,TIMESTAMP,DESCRIPTION,ACCESS_CODE,ID_TYPE,UID,TID,NAME) VALUES "
    "(?,1,?,?,'',?,'FING',?,?,?)");
const QString kAddEvent =
    QStringLiteral("INSERT INTO allevents (IDX,USER,TIMESTAMP,ACCESS_CODE,TYPE,REMARK,TAG,PTIME,PARAM,TERMINAL) VALUES "
                   "(?,?,?,?,?,?,0,0,'',?)");
const QString kAddMetaEvent =
    QStringLiteral("INSERT INTO metalog (IDLOG,USER,TIMESTAMP,ACCESS_CODE,TYPE,REMARK) VALUES (?,?,?,?,?,?)");
const QString kAddBalance = QStringLiteral(
    "INSERT INTO freehour (ID,IDU,HDLAST,HDLSPENT,HDLDATE,HDTOT,HDSPENT,FHOURS,LUPDATE,CHGDATE,STATUS,REMARK) VALUES "
    "(?,?,?,?,?,?,?,?,?,?,?,?)");
constexpr QLatin1String kEmpty("", 0); // a null QString would be stored as NULL

const QString kFromTerminal = QStringLiteral("EV");
const QString kPlanned = QStringLiteral("MP");
const QString kCorrection = QStringLiteral("ME");

constexpr int kForeman = 1; ///< the employee in whose name the corrections are

QString terminalName(int number)
{
    static const QString names[] = {QStringLiteral("ZUK1 Vhod"), QStringLiteral("ZUK2 Hala"),
                                    QStringLiteral("ZUK3 Rampa")};
    return names[number - 1];
}

bool isIndex(const QString &statement)
{
    return statement.contains(QLatin1String("CREATE INDEX"));
}

} // namespace

bool DemoStore::createTables()
{
    const QStringList schema = attendanceSchema();
    bool ok = true;
    for (const QString &statement : schema)
        ok = ok && (isIndex(statement) || m_database.execPrepared(statement, {}));
    return ok && page::office::preparePageTables(m_database);
}

bool DemoStore::createIndexes()
{
    const QStringList schema = attendanceSchema();
    bool ok = true;
    for (const QString &statement : schema)
        ok = ok && (!isIndex(statement) || m_database.execPrepared(statement, {}));
    // Else "who is present" would read years of events.
    return ok && m_database.execPrepared(QStringLiteral("ANALYZE"), {});
}

bool DemoStore::hasEmployees()
{
    bool found = false;
    m_database.forEachRow(kHasEmployees, {}, [&found](const QSqlQuery &) { found = true; });
    return found;
}

bool DemoStore::addSettings()
{
    const auto addAll = [this](const QString &sql, const QAny &texts) {
        bool ok = true;
        for (int i = 0; i < texts.count(); ++i) {
            const QAny &text = texts.at(i);
            ok =
                ok && m_database.execPrepared(sql, {texts.keyAt(i), text.isString() ? text.toString() : text.toJson()});
        }
        return ok;
    };
    const QAny terminals = {{"ZUK1", "NAME=Vhod;IP=192.168.10.101;ROOM=Upravna stavba"},
                            {"ZUK2", "NAME=Hala;IP=192.168.10.102;ROOM=Proizvodnja"},
                            {"ZUK3", "NAME=Rampa;IP=192.168.10.103;ROOM=Skladišče"}};
    return addAll(kAddConfig, terminals) && addAll(kAddSchedule, demoSchedules()) && addAll(kAddRules, demoRules());
}

bool DemoStore::addCalendarDay(QDate date, qint64 midnight, const QString &holiday, const QString &note)
{
    return bool(m_database.execPrepared(
        kAddDay, {midnight, date.toString(QStringLiteral("d.M.yyyy")), kEmpty + note, kEmpty + holiday}));
}

bool DemoStore::addAssignment(qint64 from, qint64 to, const QString &group, int shift)
{
    // The third shift says at what hour it begins.
    const QString hour = shift == 3 ? QStringLiteral("22:00") : kEmpty;
    return bool(
        m_database.execPrepared(kAddAssignment, {++m_assignments, from, to, hour, group, QString::number(shift)}));
}

bool DemoStore::addEmployee(const DemoEmployee &employee)
{
    const QString group = employee.group < 0 ? kEmpty : demoShiftGroups().at(employee.group).name;
    return bool(m_database.execPrepared(kAddEmployee,
                                        {employee.id, employee.firstName, employee.lastName, employee.personalNumber,
                                         employee.job.department, employee.email, employee.isActive() ? 1 : 0,
                                         employee.job.rules, employee.job.schedule, group, employee.leaveDays}));
}

bool DemoStore::addAccess(const DemoEmployee &employee, const QString &name, const QString &password, bool active)
{
    return bool(m_database.execPrepared(kAddAccess, {employee.id, employee.id, name, password, active ? 1 : 0}));
}

bool DemoStore::addRole(const DemoEmployee &employee, const DemoRole &role)
{
    const QString name = role.isHr ? QStringLiteral("hr") : QStringLiteral("supervisor");
    return bool(m_database.execPrepared(kAddRole, {employee.id, name, kEmpty + role.department}));
}

bool DemoStore::addPunch(const DemoEmployee &employee, const DemoPunch &punch, qint64 time, bool alsoTerminalEvent)
{
    using Source = DemoPunch::Source;
    const QString remark = kEmpty + punch.remark;
    if (punch.source == Source::Web || punch.source == Source::Correction) {
        ++m_corrections;
        const bool byForeman = punch.source == Source::Correction;
        return bool(m_database.execPrepared(kAddMetaEvent, {byForeman ? kForeman : employee.id, employee.id, time,
                                                            punch.code, byForeman ? kCorrection : kPlanned, remark}));
    }
    ++m_events;
    if (punch.source == Source::Planned)
        return bool(
            m_database.execPrepared(kAddEvent, {QVariant(), employee.id, time, punch.code, kPlanned, remark, kEmpty}));
    const int terminal = employee.job.terminal;
    QVariant index;
    if (alsoTerminalEvent) {
        const QString name = employee.lastName + QLatin1Char(' ') + employee.firstName;
        if (!m_database.execPrepared(kAddTerminalEvent, {QString::number(employee.id), terminalName(terminal), time,
                                                         punch.code, employee.id, terminal, name}))
            return false;
        index = ++m_terminalEvents;
    }
    return bool(m_database.execPrepared(
        kAddEvent, {index, employee.id, time, punch.code, kFromTerminal, remark, terminalName(terminal)}));
}

bool DemoStore::addBalance(const DemoEmployee &employee, const Balance &balance)
{
    return bool(m_database.execPrepared(kAddBalance,
                                        {++m_balances, employee.id, balance.lastYearDays, balance.lastYearSpent,
                                         balance.lastYearUntil, employee.leaveDays, balance.spent, balance.freeHours,
                                         balance.updated, balance.changed, balance.status, kEmpty}));
}

} // namespace tools::demodata
