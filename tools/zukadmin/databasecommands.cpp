#include "tools/zukadmin/databasecommands.h"

#include "tools/common/jsonoutput.h"
#include "tools/zukadmin/adminoptions.h"
#include "tools/zukadmin/rowarguments.h"
#include "tools/zukadmin/valuetable.h"

namespace {

const char kAccepted[] = "Accepted. The server does not tell whether the statement succeeded: query for its effect.\n";

QString quoted(QString text)
{
    return QLatin1Char('\'') + text.replace(QLatin1Char('\''), QLatin1String("''")) + QLatin1Char('\'');
}

/// Of the columns that the rows name, the first that the table lacks. The server would leave it out and say nothing.
/// Empty as well for a table that does not exist, which the server tells by itself.
QString unknownColumn(AdminSession &session, const QString &table, const QVector<QAny> &rows)
{
    const QAny columns =
        session.call(QStringLiteral("admincheck.query"),
                     QStringLiteral("select name as NAME from pragma_table_info(%1)").arg(quoted(table)));
    QSet<QString> known;
    for (int i = 0; columns.isList() && i < columns.count(); ++i)
        known.insert(columns.at(i).lookup(QStringLiteral("NAME")).toString().toUpper());
    for (const QAny &row : rows) {
        for (int i = 0; !known.isEmpty() && i < row.count(); ++i) {
            if (!known.contains(row.keyAt(i).toUpper()))
                return row.keyAt(i);
        }
    }
    return {};
}

/// Sends the rows one by one, since the server takes one at a time, up to the first that it refuses.
CommandResult sendRows(AdminSession &session, const AdminOptions &options, const QVector<QAny> &rows,
                       const QAny &request, const char *method, const QString &done)
{
    const QString table = request.lookup(QStringLiteral("NAME")).toString();
    const QString unknown = unknownColumn(session, table, rows);
    if (!unknown.isEmpty())
        return {{}, QStringLiteral("nothing sent: table %1 has no column %2").arg(table, unknown)};
    CommandResult result;
    for (int i = 0; i < rows.size() && result.fault.isEmpty(); ++i) {
        QAny params = request.deepCopy();
        params.insert(QStringLiteral("TABLE"), rows.at(i));
        const QAny answer = session.call(QLatin1String("admincheck.") + QLatin1String(method), params);
        const QString refusal = QStringLiteral("refused: no such table or column, or the table does not allow it");
        const CommandResult each = resultOf(answer, faultOfAnswer(answer, refusal), options.format, {});
        result.fault = each.fault;
        result.output += each.output;
        if (!result.fault.isEmpty() && rows.size() > 1)
            result.fault = QStringLiteral("row %1 of %2: %3")
                               .arg(QString::number(i + 1), QString::number(rows.size()), result.fault);
    }
    if (result.fault.isEmpty() && options.format != AdminOptions::Format::Json)
        result.output = done.toUtf8();
    return result;
}

/// The value so that it stands in the server's statement, between quotes that the server sets and does not double, as
/// an insert would store it. False for what has no such form.
bool makeLiteral(QAny *value)
{
    switch (value->type()) {
    case QAny::Bool:
        *value = value->asBool() ? 1 : 0;
        return true;
    case QAny::Integer:
        return true;
    case QAny::Double:
        *value = QString::number(value->asDouble(), 'g', 17);
        return true;
    case QAny::String:
        *value = QString(value->asString()).replace(QLatin1Char('\''), QLatin1String("''"));
        return true;
    default:
        return false;
    }
}

/// One row for an update; the fault when it cannot be one.
QString prepareRow(const QString &key, QAny *row)
{
    if (!row->contains(key))
        return QStringLiteral("the values lack the key column %1").arg(key);
    if (row->count() < 2)
        return QStringLiteral("there is nothing to change beside the key column");
    for (int i = 0; i < row->count(); ++i) {
        if (!makeLiteral(&row->slot(i)))
            return QStringLiteral("update cannot store %1 in %2; exec can").arg(row->at(i).toJson(), row->keyAt(i));
    }
    return {};
}

} // namespace

AdminJob prepareQuery(const AdminOptions &options, QString *mistake)
{
    if (options.words.size() != 1)
        *mistake = QStringLiteral("one SQL text is needed, in quotation marks");
    return [&options](AdminSession &session) -> CommandResult {
        const QAny rows = session.call(QStringLiteral("admincheck.query"), wordOrInput(options.words.first()));
        const QString refusal = faultOfAnswer(rows);
        if (!refusal.isEmpty())
            return {{}, refusal};
        switch (options.format) {
        case AdminOptions::Format::Json:
            return {jsonOutput(rows), {}};
        case AdminOptions::Format::Csv:
            return {ValueTable::ofRows(rows).toCsv(), {}};
        case AdminOptions::Format::Text:
            break;
        }
        if (rows.count() == 0)
            return {"No rows. A query that failed looks the same.\n", {}};
        return {ValueTable::ofRows(rows).toFullText().toUtf8(), {}};
    };
}

AdminJob prepareExec(const AdminOptions &options, QString *mistake)
{
    if (options.words.size() != 1)
        *mistake = QStringLiteral("one SQL text is needed, in quotation marks");
    return [&options](AdminSession &session) {
        const QAny answer = session.call(QStringLiteral("admincheck.exec"), wordOrInput(options.words.first()));
        const QString fault = faultOfAnswer(answer, QStringLiteral("the server has no database"));
        return resultOf(answer, fault, options.format, kAccepted);
    };
}

AdminJob prepareInsert(const AdminOptions &options, QString *mistake)
{
    QVector<QAny> rows;
    *mistake = options.words.isEmpty() ? QStringLiteral("a table is needed") : readRows(options.words.mid(1), &rows);
    return [&options, rows](AdminSession &session) {
        return sendRows(session, options, rows, {{QStringLiteral("NAME"), options.words.first()}}, "insert",
                        QStringLiteral("Stored: %1\n").arg(rows.size()));
    };
}

AdminJob prepareUpdate(const AdminOptions &options, QString *mistake)
{
    QVector<QAny> rows;
    *mistake = options.words.size() < 2 ? QStringLiteral("a table and its key column are needed")
                                        : readRows(options.words.mid(2), &rows);
    for (int i = 0; i < rows.size() && mistake->isEmpty(); ++i)
        *mistake = prepareRow(options.words.at(1), &rows[i]);
    return [&options, rows](AdminSession &session) {
        const QAny request{{QStringLiteral("NAME"), options.words.at(0)}, {QStringLiteral("KEY"), options.words.at(1)}};
        return sendRows(session, options, rows, request, "update", QString::fromLatin1(kAccepted));
    };
}
