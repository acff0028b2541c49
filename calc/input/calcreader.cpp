#include "calc/input/calcreader.h"

#include "calc/input/employeereader.h"
#include "calc/input/eventreader.h"
#include "calc/input/planreader.h"
#include "calc/input/settingsstore.h"
#include "calc/rules/calculation.h"
#include "calc/rules/summaries.h"
#include "storage/reader.h"

#include <QDebug>

#include <algorithm>

namespace calc::input {

namespace {

const QString kBadPeriod = QStringLiteral("Napačen datum za obdobje obračuna!");
const QString kNoCalendar = QStringLiteral("Ni koledarja za izbrano obdobje!");
const QString kNoEmployees = QStringLiteral("Ni spiska zaposlenih!");
const QString kNoSettings = QStringLiteral("Ni nastavitev!");
const QString kNoSchedule = QStringLiteral("Ni urnika!");
const QString kNoEvents = QStringLiteral("Ni dogodkov za izbrano obdobje!");
const QString kNoEventsOfSelected = QStringLiteral("Ni dogodkov za obdobje!");

bool isPeriod(const CalcRequest &request)
{
    return request.firstDate.isValid() && request.lastDate.isValid() && request.lastDate >= request.firstDate &&
           request.firstDate.daysTo(request.lastDate) < kMaxPeriodDays;
}

void checkSettings(const rules::Employee &employee, rules::CalcErrors &errors)
{
    const auto report = [&](const QString &text) {
        errors.add(rules::CalcErrors::Code::Nap, text, employee.user, employee.name, 0);
        qDebug().noquote() << text << QStringLiteral("ID:%1 %2").arg(QString::number(employee.user), employee.name);
    };
    if (!employee.rules)
        report(kNoSettings);
    if (!employee.schedule)
        report(kNoSchedule);
}

/// Of employees and days together; a period that is too long for so many employees is a bad one.
QString checkSize(const rules::CalcInputs &inputs)
{
    if (inputs.employees.empty())
        return kNoEmployees;
    const auto employees = static_cast<qint64>(inputs.employees.size());
    if (employees * inputs.period.dayCount() <= kMaxEmployeeDays)
        return {};
    qWarning() << "Calc21::readAllEvents period of" << inputs.period.dayCount() << "days for" << employees
               << "employees exceeds" << kMaxEmployeeDays << "days of employees";
    return kBadPeriod;
}

} // namespace

CalcReader::CalcReader(const QAny &request, QDate today, bool withRows)
    : m_request(CalcRequest::of(request)), m_settings(request), m_today(today), m_withRows(withRows)
{
}

bool CalcReader::readCommon(storage::Reader &database)
{
    m_read.inputs.settings = settingsOf(database, m_settings);
    m_read.inputs.doubleTapSeconds = doubleTapSecondsOf(database, m_settings);
    const QString fault = readPlan(database);
    if (!fault.isEmpty())
        fail(fault);
    return fault.isEmpty();
}

/// Everything in its order; the text of the fatal fault, empty when there is none.
QString CalcReader::readPlan(storage::Reader &database)
{
    rules::CalcInputs &inputs = m_read.inputs;
    if (!isPeriod(m_request))
        return kBadPeriod;
    inputs.period = ReadRange::periodOf(m_request.firstDate, m_request.lastDate, inputs.settings);
    inputs.today = inputs.period.clock.dayOf(m_today);
    m_range = ReadRange::of(inputs.period, inputs.settings);

    AssignmentRows assignments = readAssignments(database, inputs.period.clock, m_range);
    inputs.plan = rules::ShiftPlan(std::move(assignments.assignments), inputs.period.clock.dayCount());
    if (m_withRows)
        m_read.assignments = assignments.records;
    if (!readCalendar(database, inputs.period, m_range, &inputs.holidays))
        return kNoCalendar;
    readEmployees(database, m_request, &inputs.employees, m_withRows ? &m_read.employees : nullptr);
    const QString fault = checkSize(inputs);
    if (!fault.isEmpty())
        return fault;
    for (size_t i = 0; i < inputs.employees.size(); ++i) {
        checkSettings(inputs.employees[i], m_read.errors);
        m_employeeOf.insert(inputs.employees[i].user, static_cast<int>(i));
    }
    const qint64 days = static_cast<qint64>(inputs.employees.size()) * inputs.period.dayCount();
    m_read.isExplained = m_request.wantsExplanation && days <= kMaxExplainedDays;
    return {};
}

std::vector<rules::Share> CalcReader::shares() const
{
    return rules::Share::of(m_read.inputs.employees.size(), m_read.inputs.period.dayCount());
}

int CalcReader::readEvents(storage::Reader &database, rules::Share share)
{
    rules::CalcInputs &inputs = m_read.inputs;
    EventReader reader(database, m_range, inputs.employees, m_employeeOf);
    const int terms =
        static_cast<int>(std::min(rules::Share::employeesFor(inputs.period.dayCount()), inputs.employees.size()));
    const int rows = reader.read(share, terms, m_read.isExplained ? &nameColumn(m_request.firstNameFirst) : nullptr);
    rules::completeEvents(inputs, share);
    return rows;
}

void CalcReader::finish(storage::Reader &database, int rows, bool needsEvents)
{
    const QString fault = needsEvents ? faultOfEvents(database, rows) : QString();
    if (!fault.isEmpty()) {
        fail(fault);
        return;
    }
    m_read.isFatal = false;
    qDebug() << "void Calc21::readAllEvents(errToDb) OUT";
    rules::checkEvents(m_read.inputs, m_read.errors);
    CalcParse21::prepackPreraz(m_read.inputs);
}

QString CalcReader::faultOfEvents(storage::Reader &database, int rows) const
{
    if (rows == 0 && !hasEventsOfOthers(database, m_request.users, m_range)) {
        qDebug() << "SZ=0";
        return kNoEvents;
    }
    const std::vector<rules::Employee> &employees = m_read.inputs.employees;
    const bool any = std::any_of(employees.begin(), employees.end(),
                                 [](const rules::Employee &employee) { return !employee.events.empty(); });
    if (!any)
        qDebug() << "qaSZ=0";
    return any ? QString() : kNoEventsOfSelected;
}

void CalcReader::fail(const QString &fault)
{
    m_read.errors.add(rules::CalcErrors::Code::Nap, fault);
    qDebug() << "Calc21::readAllEvents" << fault;
}

} // namespace calc::input
