#include "dayaccount.h"

#include "calc/output/explanation.h"
#include "calc/rules/dayrules.h"
#include "calcrows.h"

using namespace calc;

namespace {

QStringList namesOfRules()
{
    QStringList names;
    for (const rules::DayRule &rule : Calc21sett::inOrder())
        names += rule.name;
    names.sort();
    return names;
}

/// What is wrong with the steps of a day whose rows before and after the rules are these; empty when nothing is.
QString faultOf(const QAny &entry, const QAny &before, const QAny &after)
{
    QHash<QString, QAny> shown{{"DC", before.value("DELO")}, {"IN", before.value("IN")}, {"OUT", before.value("OUT")}};
    QStringList rules, remarks;
    for (int i = 0; i < entry.value("STEPS").count(); ++i) {
        const QAny step = entry["STEPS"][i];
        const QString field = step.value("FIELD").toString(), text = step.value("TEXT").toString();
        if (field.isEmpty() ? text.isEmpty() : shown.value(field) != step.value("BEFORE"))
            return "does not follow: " + step.toJson();
        if (!field.isEmpty() && step.value("AFTER") == step.value("BEFORE"))
            return "changes nothing: " + step.toJson();
        shown[field] = step.value("AFTER");
        const QString rule = step.value("RULE").toString();
        const bool isFirst = rules.isEmpty() || rules.last() != rule;
        if (!isFirst && !text.isEmpty())
            return "text in a later step: " + step.toJson();
        if (isFirst)
            rules += rule;
        if (!text.isEmpty())
            remarks += text;
    }
    for (const auto &[field, column] : {std::pair("DC", "DELO"), std::pair("IN", "IN"), std::pair("OUT", "OUT")}) {
        if (shown.value(field) != after.value(column))
            return QString("the day shows another %1").arg(field);
    }
    if (QAny(remarks) != after.value("OPOMBA"))
        return "the day has other remarks: " + remarks.join("; ");
    for (int i = 0; i < entry.value("IDLE").count(); ++i)
        rules += entry["IDLE"][i].value("RULE").toString();
    rules.sort();
    return rules == namesOfRules() ? QString() : "not every rule once: " + rules.join(' ');
}

/// What the day row says of the result and of the pairs' categories, in the words of the entry.
QString rowFaultOf(const QAny &entry, const QAny &before, const QAny &after)
{
    for (const QString &column : entry.value("RESULT").keys()) {
        if (entry["RESULT"].value(column) != after.value(column))
            return "another " + column;
    }
    QHash<QString, qint64> sums;
    for (int i = 0; i < entry.value("PAIRS").count(); ++i)
        sums[entry["PAIRS"][i].value("CATEGORY").toString()] += entry["PAIRS"][i].value("SECONDS").toInteger();
    for (const char *category : {"DELO", "DOPUST", "MALICA", "SLUŽBENO", "ZASEBNO"}) {
        if (before.value(category) != QAny(sums.value(category)))
            return QString("pairs of another %1").arg(category);
    }
    return {};
}

} // namespace

QString accountFault(const CalcRun &run)
{
    const QAny entries = output::explanationOf(run.result);
    QList<qint64> events;
    for (int i = 0; i < entries.count(); ++i) {
        const QAny before = run.answer["DAYSorg"][i], after = run.answer["DAYS"][i];
        for (const QString &fault : {faultOf(entries[i], before, after), rowFaultOf(entries[i], before, after)}) {
            if (!fault.isEmpty())
                return fault;
        }
        for (int k = 0; k < entries[i].value("EVENTS").count(); ++k)
            events += entries[i]["EVENTS"][k].value("ID").toInteger();
    }
    // Each event of the period stands in one of them; others may, when they end a shift of its last day.
    const rules::Period &period = run.result.inputs.period;
    for (const rules::Employee &employee : run.result.inputs.employees) {
        for (const rules::Event &event : employee.events) {
            const int listed = events.count(event.id);
            if (listed > 1 || (listed == 0 && period.containsDay(period.clock.dayOf(event.stored))))
                return QString("event %1 stands %2 times").arg(event.id).arg(listed);
        }
    }
    return {};
}
