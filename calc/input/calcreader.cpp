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

QString readEvents(storage::Reader &database, const CalcRequest &request, const ReadRange &range, CalcRead &read)
{
    std::vector<rules::Employee> &employees = read.inputs.employees;
    if (EventReader(database, request, range, employees).read(read.isExplained) == 0) {
        qDebug() << "SZ=0";
        return kNoEvents;
    }
    rules::completeEvents(read.inputs);
    const bool any = std::any_of(employees.begin(), employees.end(),
                                 [](const rules::Employee &employee) { return !employee.events.empty(); });
    if (!any)
        qDebug() << "qaSZ=0";
    return any ? QString() : kNoEventsOfSelected;
}

/// Everything in its order; the text of the fatal fault, empty when there is none.
QString readAll(storage::Reader &database, const CalcRequest &request, QDate today, bool withRows, CalcRead &read)
{
    rules::CalcInputs &inputs = read.inputs;
    if (!isPeriod(request))
        return kBadPeriod;
    inputs.period = ReadRange::periodOf(request.firstDate, request.lastDate, inputs.settings);
    inputs.today = inputs.period.clock.dayOf(today);
    const ReadRange range = ReadRange::of(inputs.period, inputs.settings);

    AssignmentRows assignments = readAssignments(database, inputs.period.clock, range);
    inputs.plan = rules::ShiftPlan(std::move(assignments.assignments), inputs.period.clock.dayCount());
    if (withRows)
        read.assignments = assignments.records;
    if (!readCalendar(database, inputs.period, range, &inputs.holidays))
        return kNoCalendar;
    readEmployees(database, request, &inputs.employees, withRows ? &read.employees : nullptr);
    const QString fault = checkSize(inputs);
    if (!fault.isEmpty())
        return fault;
    for (const rules::Employee &employee : inputs.employees)
        checkSettings(employee, read.errors);
    const qint64 days = static_cast<qint64>(inputs.employees.size()) * inputs.period.dayCount();
    read.isExplained = request.wantsExplanation && days <= kMaxExplainedDays;
    return readEvents(database, request, range, read);
}

} // namespace

CalcRead readInputs(storage::Reader &database, const QAny &request, QDate today, bool withRows)
{
    CalcRead read;
    read.inputs.settings = settingsOf(database, request);
    read.inputs.doubleTapSeconds = doubleTapSecondsOf(database, request);
    const QString fault = readAll(database, CalcRequest::of(request), today, withRows, read);
    read.isFatal = !fault.isEmpty();
    if (read.isFatal) {
        read.errors.add(rules::CalcErrors::Code::Nap, fault);
        qDebug() << "Calc21::readAllEvents" << fault;
        return read;
    }
    qDebug() << "void Calc21::readAllEvents(errToDb) OUT";
    rules::checkEvents(read.inputs, read.errors);
    CalcParse21::prepackPreraz(read.inputs);
    return read;
}

} // namespace calc::input
