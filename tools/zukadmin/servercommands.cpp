#include "tools/zukadmin/servercommands.h"

#include "text/texttable.h"
#include "tools/common/jsonoutput.h"
#include "tools/common/logrow.h"
#include "tools/zukadmin/adminoptions.h"
#include "tools/zukadmin/rowarguments.h"
#include "tools/zukadmin/valuetable.h"

#include <QDateTime>

namespace {

const QString kTerminal = QStringLiteral("TERMINAL");
const QString kConnection = QStringLiteral("CONNECTION");

void wantNothing(const AdminOptions &options, QString *mistake)
{
    if (!options.words.isEmpty())
        *mistake = QStringLiteral("it takes no arguments");
}

/// Calls a method without parameters whose answer is told by one of its texts.
AdminJob simpleCall(const AdminOptions &options, const char *method, const char *key)
{
    return [&options, method, key](AdminSession &session) {
        const QAny answer = session.call(QLatin1String("admincheck.") + QLatin1String(method));
        const QString text = printable(answer.lookup(QLatin1String(key)).toString()) + QLatin1Char('\n');
        return resultOf(answer, faultOfAnswer(answer), options.format, text.toUtf8());
    };
}

/// A row for each terminal: its settings are columns.
QAny terminalRows(const QAny &terminals)
{
    QAny rows(QAny::List);
    for (int i = 0; i < terminals.count(); ++i) {
        const QAny &terminal = terminals.at(i);
        QAny row{{kTerminal, terminal.lookup(QStringLiteral("KEY"))},
                 {kConnection, terminal.lookup(QStringLiteral("VAL"))}};
        const QAny &settings = terminal.lookup(QStringLiteral("CFG"));
        for (int s = 0; settings.isHash() && s < settings.count(); ++s)
            row.insert(settings.keyAt(s), settings.at(s));
        rows.append(row);
    }
    return rows;
}

} // namespace

AdminJob prepareVersion(const AdminOptions &options, QString *mistake)
{
    wantNothing(options, mistake);
    return simpleCall(options, "version", "ver");
}

AdminJob prepareRestart(const AdminOptions &options, QString *mistake)
{
    wantNothing(options, mistake);
    return simpleCall(options, "restartService", "msg");
}

AdminJob prepareConnected(const AdminOptions &options, QString *mistake)
{
    wantNothing(options, mistake);
    return [&options](AdminSession &session) {
        const QAny answer = session.call(QStringLiteral("admincheck.zukConnected"));
        const ValueTable table = ValueTable::ofRows(terminalRows(answer.lookup(QStringLiteral("ZUK"))));
        const bool isCsv = options.format == AdminOptions::Format::Csv;
        return resultOf(answer, faultOfAnswer(answer), options.format,
                        isCsv ? table.toCsv() : table.toFullText().toUtf8());
    };
}

AdminJob prepareCmd(const AdminOptions &options, QString *mistake)
{
    bool isNumber = false;
    const int terminal = options.words.value(0).toInt(&isNumber);
    QAny params(QAny::Hash);
    if (!isNumber)
        *mistake = QStringLiteral("the number of a terminal is needed");
    else if (options.words.size() > 1)
        *mistake = readRow(options.words.mid(1), &params);
    if (mistake->isEmpty())
        params.insert(QStringLiteral("ZUKID"), terminal);
    return [&options, params](AdminSession &session) {
        const QAny answer = session.call(QStringLiteral("admincheck.zukCmd"), params);
        const bool isRefused = answer.contains(QStringLiteral("ERROR")) || answer.contains(QStringLiteral("error"));
        // What else the terminal says is between it and its user.
        return resultOf(answer, isRefused ? faultOfAnswer(answer) : QString(), options.format, jsonOutput(answer));
    };
}

AdminJob prepareLog(const AdminOptions &options, QString *mistake)
{
    if (options.words.size() != 1)
        *mistake = QStringLiteral("one text is needed, in quotation marks");
    return [&options](AdminSession &session) {
        const QAny row = logRow(kAdminLogId, QDateTime::currentMSecsSinceEpoch(), options.words.first());
        const QAny answer = session.call(QStringLiteral("logger.log"), row);
        const bool isStored = answer.isBool() && answer.asBool();
        QString fault = faultOfAnswer(answer);
        if (fault.isEmpty() && !isStored)
            fault = QStringLiteral("the server did not store the line");
        return resultOf(answer, fault, options.format, "Stored: 1\n");
    };
}
