#include "tools/zukadmin/recalccommand.h"

#include "tools/common/packedtext.h"
#include "tools/zukadmin/adminoptions.h"
#include "tools/zukadmin/valuetable.h"

namespace {

/// The tables of the answer in the order in which they are shown.
const struct {
    const char *name; ///< for --table
    const char *key;
    const char *title;
    bool isUsual; ///< shown without being named
} kTables[] = {{"pairs", "PAIRS", "Pairs", false},
               {"days", "DAYS", "Days", true},
               {"sums", "SUM", "Sums", true},
               {"errors", "ERR", "Errors", true}};

ValueTable tableOf(const QAny &answer, const char *key)
{
    return ValueTable::ofPacked(answer.lookup(QStringLiteral("PACK")).lookup(QLatin1String(key)));
}

QByteArray csvOf(const QAny &answer, const QString &wanted)
{
    for (const auto &table : kTables) {
        if (wanted == QLatin1String(table.name))
            return tableOf(answer, table.key).toCsv();
    }
    return tableOf(answer, "DAYS").toCsv();
}

QString textOf(const QAny &answer, const QString &wanted)
{
    QString text;
    for (const auto &table : kTables) {
        if (wanted.isEmpty() ? !table.isUsual : wanted != QLatin1String(table.name))
            continue;
        const QString rows = tableOf(answer, table.key).toText();
        if (!rows.isEmpty())
            text += (text.isEmpty() ? QString() : QStringLiteral("\n")) + QLatin1String(table.title) +
                    QStringLiteral("\n") + rows;
    }
    return text;
}

bool isTable(const QString &name)
{
    for (const auto &table : kTables) {
        if (name == QLatin1String(table.name))
            return true;
    }
    return false;
}

/// The texts of the calculation's faults.
QStringList errorsOfCalculation(const QAny &answer)
{
    const QAny &rows =
        answer.lookup(QStringLiteral("PACK")).lookup(QStringLiteral("ERR")).lookup(QStringLiteral("TABLE"));
    QStringList errors;
    for (int i = 0; i < rows.count(); ++i)
        errors.append(packedText(rows.at(i), QStringLiteral("NAPAKA")));
    return errors;
}

} // namespace

AdminJob prepareRecalc(const AdminOptions &options, QString *mistake)
{
    if (!options.words.isEmpty())
        *mistake = QStringLiteral("it takes options alone");
    else if (!options.table.isEmpty() && !isTable(options.table))
        *mistake = QStringLiteral("--table is pairs, days, sums or errors");
    else if (!options.table.isEmpty() && options.format == AdminOptions::Format::Json)
        *mistake = QStringLiteral("--json prints the whole answer, --table a part of it");
    return [&options](AdminSession &session) {
        QAny request{{QStringLiteral("STARTDATE"), serverDate(options.period.from)},
                     {QStringLiteral("ENDDATE"), serverDate(options.period.to)}};
        QAny users(QAny::List);
        for (const qint64 user : options.users)
            users.append(user);
        if (users.count() > 0)
            request.insert(QStringLiteral("USER"), users);
        const QAny answer = session.call(QStringLiteral("admincheck.recalc"), request);
        const bool isCsv = options.format == AdminOptions::Format::Csv;
        return resultOf(answer, faultOfCalculation(answer), options.format,
                        isCsv ? csvOf(answer, options.table) : textOf(answer, options.table).toUtf8());
    };
}

/// Where nothing could be calculated there are no days, and the errors say why.
QString faultOfCalculation(const QAny &answer)
{
    const QString fault = faultOfAnswer(answer);
    const QAny &days = answer.lookup(QStringLiteral("PACK")).lookup(QStringLiteral("DAYS"));
    if (!fault.isEmpty() || days.lookup(QStringLiteral("TABLE")).count() > 0)
        return fault;
    QStringList reasons = errorsOfCalculation(answer);
    if (reasons.isEmpty())
        reasons.append(QStringLiteral("the server has no database"));
    return QStringLiteral("nothing was calculated: ") + reasons.join(QStringLiteral("; "));
}
