#include "calc/calc21.h"

#include "calc/input/calcreader.h"
#include "calc/output/records.h"
#include "calc/rules/calculation.h"

#include <QDebug>

using namespace calc;

Calc21::Calc21(storage::Reader &database, QDate today) : m_database(database), m_today(today) {}

const rules::CalcResult &Calc21::calculate(const QAny &request)
{
    const QDate today = m_today.isValid() ? m_today : QDate::currentDate();
    const bool withRows = request.lookup(QStringLiteral("CALC21")).toBool();
    qDebug() << "Calc21::calcAll readAllEvents IN";
    input::CalcRead read = input::readInputs(m_database, request, today, withRows);
    qDebug() << "Calc21::calcAll readAllEvents OUT";
    m_employees = read.isFatal ? QAny(QAny::List) : read.employees;
    m_assignments = read.isFatal ? QAny(QAny::List) : read.assignments;
    if (read.isFatal) {
        m_result = rules::CalcResult();
        m_result.inputs.settings = read.inputs.settings;
        m_result.errors = std::move(read.errors);
    } else {
        qDebug() << "Calc21::calcAll CalcParse21 IN";
        m_result = rules::calculate(std::move(read.inputs), std::move(read.errors), read.isExplained);
        qDebug() << "Calc21::calcAll CalcParse21 OUT";
    }
    qDebug().noquote() << "Calc21 ERRORS" << output::errorRecords(m_result.errors).toJson();
    return m_result;
}

QAny Calc21::calcAll(const QAny &request)
{
    return output::recordsOf(calculate(request));
}

QAny Calc21::packed(const QAny &records) const
{
    return QAny{{QStringLiteral("CALC21"), output::clientForm(m_result, records, m_employees, m_assignments)}};
}
