#include "calc/rules/calculation.h"

#include "calc/rules/eventorder.h"
#include "calc/rules/summaries.h"

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

void completeEvents(CalcInputs &inputs)
{
    for (Employee &employee : inputs.employees)
        orderEvents(employee, inputs);
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

CalcResult calculate(CalcInputs inputs, CalcErrors errors, bool isExplained)
{
    CalcResult result;
    result.inputs = std::move(inputs);
    result.errors = std::move(errors);
    result.isFatal = false;
    result.isExplained = isExplained;
    result.employees.reserve(result.inputs.employees.size());

    const EventPairing pairing(result.inputs);
    const CalcParse21 parser(result.inputs);
    qint64 made = 0;
    qDebug() << "Calc21::parsePairs() IN";
    for (const Employee &employee : result.inputs.employees) {
        Pairing pairs = pairing.pairsOf(employee, result.errors);
        numberThrough(pairs, made);
        result.employees.push_back(parser.parse(employee, std::move(pairs), isExplained, result.errors));
        mergeCodes(result.employees.back().codes, result.codes);
    }
    qDebug() << "Calc21::parsePairs() OUT";
    return result;
}

} // namespace calc::rules
