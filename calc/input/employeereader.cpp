#include "calc/input/employeereader.h"

#include "calc/input/readrange.h"
#include "calc/input/rulesettingstext.h"
#include "calc/input/scheduletext.h"
#include "storage/reader.h"

#include <QDebug>
#include <QHash>
#include <QSqlQuery>

#include <algorithm>

namespace calc::input {

namespace {

const QString kSelectEmployees = QStringLiteral(
    "select employees.ID as USER,FIRSTNAME,LASTNAME,%1 as NAME,EMPLID,OFFDAYS,STIMUL,CALCSET.VALUE as CALCS,"
    "WTIMSET.VALUE as WTIM,PRERAZDC,OTHER,TIMEZ from employees"
    " left join calcset on employees.calcset = calcset.key left join wtimset on employees.wtimset = wtimset.key"
    " where %2");

enum Column { User, FirstName, LastName, Name, EmplId, OffDays, Stimul, Calcs, Wtim, PreRazDc, Other, TimeZ };

const QAny::KeySet &recordKeys()
{
    static const QAny::KeySet keys{QStringLiteral("USER"),     QStringLiteral("FIRSTNAME"), QStringLiteral("LASTNAME"),
                                   QStringLiteral("NAME"),     QStringLiteral("EMPLID"),    QStringLiteral("OFFDAYS"),
                                   QStringLiteral("STIMUL"),   QStringLiteral("CALCS"),     QStringLiteral("WTIM"),
                                   QStringLiteral("PRERAZDC"), QStringLiteral("OTHER"),     QStringLiteral("TIMEZ")};
    return keys;
}

QString statementOf(const CalcRequest &request)
{
    // Of a list that takes several statements everybody is read and the others are left out here: the order is one.
    const QString clause =
        request.users.parts() == 1 ? request.users.clause(QStringLiteral("employees.ID")) : QString();
    const QString whom = request.withLeft ? QStringLiteral("1") : QStringLiteral("active=1");
    return kSelectEmployees.arg(nameColumn(request.firstNameFirst), whom) + clause + QStringLiteral(" order by ") +
           (request.firstNameFirst ? QStringLiteral("FIRSTNAME") : QStringLiteral("LASTNAME")) +
           (request.isDescending ? QStringLiteral(" desc") : QString()) + QStringLiteral(",employees.ID");
}

/// The texts that employees share.
class Texts
{
public:
    std::shared_ptr<const rules::RuleSettings> settings(const QString &text)
    {
        auto known = m_settings.find(text);
        if (known == m_settings.end())
            known = m_settings.insert(text, readRuleSettings(text));
        return *known;
    }

    const ScheduleText &schedule(const QString &text)
    {
        auto known = m_schedules.find(text);
        if (known == m_schedules.end())
            known = m_schedules.insert(text, readSchedule(text));
        return *known;
    }

private:
    QHash<QString, std::shared_ptr<const rules::RuleSettings>> m_settings;
    QHash<QString, ScheduleText> m_schedules;
};

rules::Employee employeeOf(const QSqlQuery &query, Texts &texts)
{
    rules::Employee employee;
    employee.user = query.value(User).toLongLong();
    employee.name = query.value(Name).toString();
    employee.emplId = query.value(EmplId).toString();
    employee.group = query.value(PreRazDc).toString();
    employee.timeZoneSeconds =
        std::clamp(query.value(TimeZ).toLongLong(), -ReadRange::kMaxShiftSeconds, ReadRange::kMaxShiftSeconds);
    employee.rules = texts.settings(query.value(Calcs).toString());
    employee.schedule = texts.schedule(query.value(Wtim).toString()).schedule;
    return employee;
}

QAny recordOf(const QSqlQuery &query, Texts &texts)
{
    QAny record = QAny::record(recordKeys());
    for (int column = 0; column < recordKeys().count(); ++column)
        record.slot(column) = QAny::fromVariant(query.value(column));
    const QAny &fields = texts.schedule(query.value(Wtim).toString()).fields;
    if (fields.isHash())
        record.slot(Wtim) = fields;
    return record;
}

} // namespace

const QString &nameColumn(bool firstNameFirst)
{
    static const QString lastNameFirst = QStringLiteral("(LASTNAME || \" \" || FIRSTNAME)");
    static const QString firstThenLast = QStringLiteral("(FIRSTNAME || \" \" || LASTNAME)");
    return firstNameFirst ? firstThenLast : lastNameFirst;
}

void readEmployees(storage::Reader &database, const CalcRequest &request, std::vector<rules::Employee> *employees,
                   QAny *records)
{
    const QString sql = statementOf(request);
    qDebug() << "READEMPLO:" << sql;
    Texts texts;
    const QVariantList bindings = request.users.parts() == 1 ? request.users.bindings(0, {}) : QVariantList();
    database.forEachRow(sql, bindings, [&](const QSqlQuery &query) {
        if (!request.users.contains(query.value(User).toLongLong()))
            return;
        employees->push_back(employeeOf(query, texts));
        if (records)
            records->append(recordOf(query, texts));
    });
}

} // namespace calc::input
