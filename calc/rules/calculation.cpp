#include "calc/rules/calculation.h"

#include "calc/rules/eventorder.h"

#include <QDebug>

#include <algorithm>

namespace calc::rules {

namespace {

const QString kNoEvents = QStringLiteral("Ni dogodkov za izbrano obdobje!");

/// Pairs are counted per employee; in the result they are counted through.
void numberThrough(Pairing &pairing, qint64 &made)
{
    for (std::vector<Pair> *pairs : {&pairing.pairs, &pairing.deleted, &pairing.outside}) {
        for (Pair &pair : *pairs)
            pair.number += made;
    }
    made += pairing.made;
}

/// The first name that any employee's event gives a code stays.
void mergeCodes(const CodeNames &from, CodeNames &into)
{
    for (const auto &[code, name] : from) {
        QString &known = into[code];
        if (known.isEmpty())
            known = name;
    }
}

} // namespace

void completeEvents(CalcInputs &inputs, Share share)
{
    for (size_t i = share.first; i < share.end; ++i)
        orderEvents(inputs.employees[i], inputs);
}

void checkEvents(const CalcInputs &inputs, CalcErrors &errors)
{
    qDebug() << "void Calc21::checkEvents() IN";
    for (const Employee &employee : inputs.employees) {
        const bool any = std::any_of(employee.events.begin(), employee.events.end(),
                                     [&inputs](const Event &event) { return inputs.period.contains(event.timestamp); });
        if (any)
            continue;
        errors.add(CalcErrors::Code::Spo, kNoEvents, employee.user, employee.name, 0);
        qDebug().noquote() << kNoEvents << QStringLiteral("ID:%1").arg(employee.user) << employee.name;
    }
}

Calculation::Calculation(CalcResult &result, std::vector<Share> shares)
    : m_result(result), m_shares(std::move(shares)), m_pairing(result.inputs), m_parser(result.inputs),
      m_faults(m_shares.size())
{
    m_result.isFatal = false;
    m_result.employees.resize(m_result.inputs.employees.size());
    qDebug() << "Calc21::parsePairs() IN";
}

void Calculation::calculate(size_t share)
{
    CalcErrors &faults = m_faults[share];
    for (size_t i = m_shares[share].first; i < m_shares[share].end; ++i) {
        const Employee &employee = m_result.inputs.employees[i];
        Pairing pairs = m_pairing.pairsOf(employee, faults);
        m_result.employees[i] = m_parser.parse(employee, std::move(pairs), m_result.isExplained, faults);
    }
}

void Calculation::combine()
{
    qint64 made = 0;
    for (EmployeeResult &employee : m_result.employees) {
        numberThrough(employee.pairing, made);
        mergeCodes(employee.codes, m_result.codes);
    }
    for (CalcErrors &faults : m_faults)
        m_result.errors.append(std::move(faults));
    qDebug() << "Calc21::parsePairs() OUT";
}

CalcResult calculate(CalcInputs inputs, CalcErrors errors, bool isExplained)
{
    CalcResult result;
    result.inputs = std::move(inputs);
    result.errors = std::move(errors);
    result.isExplained = isExplained;
    Calculation calculation(result, {{0, result.inputs.employees.size()}});
    calculation.calculate(0);
    calculation.combine();
    return result;
}

} // namespace calc::rules
