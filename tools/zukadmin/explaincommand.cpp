#include "tools/zukadmin/explaincommand.h"

#include "tools/common/jsonoutput.h"
#include "tools/zukadmin/adminoptions.h"
#include "tools/zukadmin/explanationtext.h"
#include "tools/zukadmin/recalccommand.h"

namespace {

/// So many days on either side are asked for too: where an employee has no event at all nothing is calculated, and a
/// night shift may begin on the day before.
constexpr int kDaysAround = 15;

/// The faults of the day, and those of no day.
QStringList faultsOf(const QAny &entry, const QAny &answer)
{
    const QAny &errors = answer.lookup(QStringLiteral("CALC")).lookup(QStringLiteral("ERR"));
    QStringList faults;
    for (int i = 0; i < errors.count(); ++i) {
        const QAny &date = errors.at(i).lookup(QStringLiteral("DATESTAMP"));
        if (date.isNull() || date == entry.lookup(QStringLiteral("DATE")))
            faults.append(errors.at(i).lookup(QStringLiteral("NAPAKA")).toString());
    }
    return faults;
}

CommandResult resultOfExplaining(const QAny &answer, const AdminOptions &options)
{
    QString fault = faultOfCalculation(answer);
    const QAny &entries = answer.lookup(QStringLiteral("EXPLAIN"));
    if (fault.isEmpty() && entries.count() <= kDaysAround)
        fault = QStringLiteral("the server explains no days");
    if (!fault.isEmpty())
        return resultOf(answer, fault, options.format, {});
    const QAny &entry = entries.at(kDaysAround);
    if (options.format == AdminOptions::Format::Json)
        return {jsonOutput(entry), {}};
    return {tools::zukadmin::explanationText(entry, faultsOf(entry, answer), options.language).toUtf8(), {}};
}

} // namespace

AdminJob prepareExplain(const AdminOptions &options, QString *mistake)
{
    bool isNumber = false;
    const qint64 user = options.words.value(0).toLongLong(&isNumber);
    const QDate day = readDate(options.words.value(1));
    if (options.words.size() != 2 || !isNumber)
        *mistake = QStringLiteral("the id of an employee and a day are needed");
    else if (!day.isValid())
        *mistake = QStringLiteral("a date reads 31.3.2025 or 2025-03-31");
    return [&options, user, day](AdminSession &session) {
        const QAny request{{QStringLiteral("STARTDATE"), serverDate(day.addDays(-kDaysAround))},
                           {QStringLiteral("ENDDATE"), serverDate(day.addDays(kDaysAround))},
                           {QStringLiteral("USER"), QAny::list({user})},
                           {QStringLiteral("EXPLAIN"), true}};
        return resultOfExplaining(session.call(QStringLiteral("admincheck.recalc"), request), options);
    };
}
