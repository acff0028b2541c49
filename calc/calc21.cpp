#include "calc/calc21.h"

#include "calc/input/calcreader.h"
#include "calc/rules/calculation.h"

#include <QDebug>

#include <numeric>

using namespace calc;

Calc21::Calc21(storage::Reader &database, QDate today)
    : m_alone(std::make_unique<CrewOfOne>(database)), m_crew(*m_alone), m_today(today)
{
}

Calc21::Calc21(Crew &crew, QDate today) : m_crew(crew), m_today(today) {}

const rules::CalcResult &Calc21::calculate(const QAny &request)
{
    const QDate today = m_today.isValid() ? m_today : QDate::currentDate();
    const bool withRows = request.lookup(QStringLiteral("CALC21")).toBool();
    input::CalcReader reader(request, today, withRows);
    if (m_withLeft)
        reader.includeLeft();
    m_result = rules::CalcResult();
    m_shares.clear();
    qDebug() << "Calc21::calcAll readAllEvents IN";
    read(reader);
    qDebug() << "Calc21::calcAll readAllEvents OUT";
    input::CalcRead &read = reader.result();
    m_rows = read.isFatal ? output::ReadRows() : output::ReadRows{read.employees, read.assignments};
    m_result.errors = std::move(read.errors);
    if (read.isFatal)
        m_result.inputs.settings = read.inputs.settings;
    else
        applyRules(reader);
    qDebug().noquote() << "Calc21 ERRORS" << output::errorRecords(m_result.errors).toJson();
    return m_result;
}

/// What all have in common by the leader, the events by everybody.
void Calc21::read(input::CalcReader &reader)
{
    if (!reader.readCommon(m_crew.reader()))
        return;
    const std::vector<rules::Share> shares = reader.shares();
    std::vector<int> rows(shares.size()); // each written by who reads the share
    m_crew.read(static_cast<int>(shares.size()), [&](int number, int, storage::Reader &database) {
        const auto share = static_cast<size_t>(number);
        rows[share] = reader.readEvents(database, shares[share]);
    });
    if (m_crew.isCancelled())
        return; // what was not read is no fault
    reader.finish(m_crew.reader(), std::accumulate(rows.begin(), rows.end(), 0), m_needsEvents);
    m_crew.endReading();
}

void Calc21::applyRules(input::CalcReader &reader)
{
    qDebug() << "Calc21::calcAll CalcParse21 IN";
    m_shares = reader.shares();
    m_result.inputs = std::move(reader.result().inputs);
    m_result.isExplained = reader.result().isExplained;
    rules::Calculation calculation(m_result, m_shares);
    m_crew.run(static_cast<int>(m_shares.size()),
               [&calculation](int share, int) { calculation.calculate(static_cast<size_t>(share)); });
    calculation.combine();
    qDebug() << "Calc21::calcAll CalcParse21 OUT";
}

QAny Calc21::calcAll(const QAny &request)
{
    return output::recordsOf(calculate(request));
}

QAny Calc21::packed(const QAny &records) const
{
    return QAny{{QStringLiteral("CALC21"), output::clientForm(m_result, records, m_rows)}};
}
