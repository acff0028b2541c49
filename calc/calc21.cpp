#include "calc/calc21.h"

#include "calc/input/calcreader.h"
#include "calc/output/calcrecords.h"
#include "calc/rules/pairing.h"
#include "calc/rules/summaries.h"

#include <QDebug>

#include <algorithm>

namespace {

const QString kNoEvents = QStringLiteral("Ni dogodkov za izbrano obdobje!");

const QAny::KeySet &employeeKeys(bool judged, bool showEmptyDays)
{
    const QStringList common{QStringLiteral("USER"), QStringLiteral("NAME"), QStringLiteral("EMPLID"),
                             QStringLiteral("PAIRS")};
    static const QAny::KeySet original(common);
    static const QAny::KeySet withDays(common + QStringList{QStringLiteral("DAYS")});
    static const QAny::KeySet withEmptyDays(common +
                                            QStringList{QStringLiteral("DAYS"), QStringLiteral("SHOWEMPTYDAYS")});
    if (!judged)
        return original;
    return showEmptyDays ? withEmptyDays : withDays;
}

enum EmployeeKey { User, Name, EmplId, Pairs, Days, ShowEmptyDays };

QAny employeeEntry(const Employee &employee, const QAny &pairs, const QAny &judgedDays)
{
    const bool isJudged = judgedDays.isList();
    const bool showEmptyDays = isJudged && employee.rules && employee.rules->showEmptyDays;
    QAny entry = QAny::record(employeeKeys(isJudged, showEmptyDays));
    entry.slot(User) = employee.user;
    entry.slot(Name) = employee.name;
    entry.slot(EmplId) = employee.emplId;
    entry.slot(Pairs) = pairs;
    if (isJudged)
        entry.slot(Days) = judgedDays;
    if (showEmptyDays)
        entry.slot(ShowEmptyDays) = true;
    return entry;
}

QAny eventRecord(const Employee &employee, const Event &event, const LocalClock &clock)
{
    static const QAny::KeySet keys{QStringLiteral("ID"),     QStringLiteral("USER"),      QStringLiteral("TYPE"),
                                   QStringLiteral("REMARK"), QStringLiteral("AC"),        QStringLiteral("TIMESTAMP"),
                                   QStringLiteral("PTIME"),  QStringLiteral("IDX"),       QStringLiteral("TAG"),
                                   QStringLiteral("PARAM"),  QStringLiteral("NAME"),      QStringLiteral("TIMEZ"),
                                   QStringLiteral("LAST"),   QStringLiteral("DATESTAMP"), QStringLiteral("DAYNUM")};
    const int day = clock.dayOf(event.timestamp);
    QAny record = QAny::record(keys);
    int slot = 0;
    for (QAny value :
         {QAny(event.id), QAny(event.user), QAny(event.type), QAny(event.remark), QAny(event.accessCode),
          QAny(event.timestamp), event.pTime, event.idx, event.tag, QAny(event.param), QAny(employee.name),
          QAny(employee.timeZoneSeconds), QAny(event.isLast), QAny(clock.midnight(day)), QAny(clock.weekday(day))})
        record.slot(slot++) = std::move(value);
    return record;
}

} // namespace

Calc21::Calc21(DataBase &database, QDate today) : m_database(database), m_today(today) {}

QAny Calc21::calcAll(const QAny &request)
{
    m_inputs = CalcInputs();
    m_errors = CalcErrors();
    m_pairs = QAny(QAny::List);
    qDebug() << "Calc21::calcAll readAllEvents IN";
    const bool isRead = readAllEvents(request);
    qDebug() << "Calc21::calcAll readAllEvents OUT";
    QAny result(QAny::Hash);
    if (isRead) {
        qDebug() << "Calc21::calcAll CalcParse21 IN";
        result = calculate();
        qDebug() << "Calc21::calcAll CalcParse21 OUT";
    }
    const QAny errors = m_errors.toList();
    qDebug().noquote() << "Calc21 ERRORS" << errors.toJson();
    result.insert(QStringLiteral("ERR"), errors);
    return result;
}

bool Calc21::readAllEvents(const QAny &request)
{
    if (!CalcReader(m_database, m_errors).readAllEvents(request, m_inputs))
        return false;
    checkEvents();
    CalcParse21::prepackPreraz(m_inputs);
    return true;
}

void Calc21::checkEvents()
{
    qDebug() << "void Calc21::checkEvents() IN";
    const Period &period = m_inputs.period;
    for (const Employee &employee : m_inputs.employees) {
        const bool any = std::any_of(employee.events.begin(), employee.events.end(), [&](const Event &event) {
            return event.timestamp >= period.start && event.timestamp <= period.end;
        });
        if (any)
            continue;
        m_errors.add(CalcErrors::Code::Spo, kNoEvents, employee.user, employee.name, 0);
        qDebug().noquote() << kNoEvents << QStringLiteral("ID:%1").arg(employee.user) << employee.name;
    }
}

QAny Calc21::calculate()
{
    const int employees = static_cast<int>(m_inputs.employees.size());
    const int days = employees * m_inputs.period.dayCount();
    QAny dayRows(QAny::List);
    QAny dayRowsBefore(QAny::List);
    QAny judged(QAny::List);
    QAny original(QAny::List);
    QAny sums(QAny::List);
    dayRows.reserve(days);
    dayRowsBefore.reserve(days);
    for (QAny *list : {&judged, &original, &sums})
        list->reserve(employees);

    EventPairing pairing(m_inputs.settings, m_inputs.period, m_errors);
    CalcParse21 parser(m_inputs, m_today.isValid() ? m_today : QDate::currentDate(), m_errors, dayRows, dayRowsBefore);
    qDebug() << "Calc21::parsePairs() IN";
    for (const Employee &employee : m_inputs.employees) {
        const CalcParse21::Rows rows = parser.parse(employee, pairing.pairsOf(employee));
        judged.append(employeeEntry(employee, rows.pairs, rows.judgedDays));
        original.append(employeeEntry(employee, rows.pairs, QAny()));
        sums.append(rows.sum);
        m_pairs.append(rows.pairs);
    }
    qDebug() << "Calc21::parsePairs() OUT";

    QAny result(QAny::Hash);
    result.insert(QStringLiteral("CALC"), judged);
    result.insert(QStringLiteral("CALCsum"), sums);
    result.insert(QStringLiteral("DAYS"), dayRows);
    result.insert(QStringLiteral("CALCorg"), original);
    result.insert(QStringLiteral("DAYSorg"), dayRowsBefore);
    result.insert(QStringLiteral("ACSLIST"), parser.accessList());
    return result;
}

QAny Calc21::packed() const
{
    QAny pairs(QAny::List);
    for (int i = 0; i < m_pairs.count(); ++i) {
        for (int k = 0; k < m_pairs.at(i).count(); ++k)
            pairs.append(m_pairs.at(i).at(k));
    }
    QAny employees(QAny::List);
    QAny events(QAny::List);
    for (const Employee &employee : m_inputs.employees) {
        employees.append(employee.record);
        for (const Event &event : employee.events)
            events.append(eventRecord(employee, event, m_inputs.period.clock));
    }
    const QAny parts{{QStringLiteral("PAIRS"), pairs},
                     {QStringLiteral("EMPLO"), employees},
                     {QStringLiteral("DATA"), events},
                     {QStringLiteral("PRERAZ"), m_inputs.plan.records()}};
    return QAny{{QStringLiteral("CALC21"), parts}};
}
