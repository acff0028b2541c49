#include "tools/zukadmin/explaincommand.h"

#include "tools/common/jsonoutput.h"
#include "tools/zukadmin/adminoptions.h"
#include "tools/zukadmin/explanationtext.h"
#include "tools/zukadmin/recalccommand.h"

namespace {

CommandResult resultOfExplaining(const QAny &answer, const AdminOptions &options)
{
    QString fault = faultOfCalculation(answer);
    const QAny &entries = answer.lookup(QStringLiteral("EXPLAIN"));
    if (fault.isEmpty() && !(entries.isList() && entries.count() > 0))
        fault = QStringLiteral("the server explains no days");
    if (!fault.isEmpty())
        return resultOf(answer, fault, options.format, {});
    const QAny &entry = entries.at(0);
    if (options.format == AdminOptions::Format::Json)
        return {jsonOutput(entry), {}};
    return {tools::zukadmin::explanationText(entry, errorsOfCalculation(answer), options.language).toUtf8(), {}};
}

} // namespace

AdminJob prepareExplain(const AdminOptions &options, QString *mistake)
{
    bool isNumber = false;
    const qint64 user = options.words.value(0).toLongLong(&isNumber);
    const QString day = options.words.value(1);
    DatePeriod period;
    if (options.words.size() != 2 || !isNumber || day.isEmpty())
        *mistake = QStringLiteral("the id of an employee and a day are needed");
    else
        *mistake = readPeriod(day, day, &period);
    return [&options, user, day = period.from](AdminSession &session) {
        const QAny request{{QStringLiteral("STARTDATE"), serverDate(day)},
                           {QStringLiteral("ENDDATE"), serverDate(day)},
                           {QStringLiteral("USER"), QAny::list({user})},
                           {QStringLiteral("EXPLAIN"), true}};
        return resultOfExplaining(session.call(QStringLiteral("admincheck.recalc"), request), options);
    };
}
