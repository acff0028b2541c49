#include "tools/zukterm/terminput.h"

#include "tools/zukterm/terminalrows.h"

#include <QDir>

namespace tools::zukterm {

namespace {

/// Events may name a terminal, which must then be one that we play.
QString faultOfTerminal(const QAny &row, const TermOptions &options)
{
    if (!row.contains(QStringLiteral("TID")))
        return {};
    bool ok = false;
    const qint64 number = row.lookup(QStringLiteral("TID")).toInteger(&ok);
    if (ok && number >= options.firstNumber && number < options.firstNumber + options.activeTerminals())
        return {};
    return QStringLiteral("TID %1 is none of the terminals").arg(row.lookup(QStringLiteral("TID")).toString());
}

template <typename Check> QString readRows(const QString &fileName, QVector<QAny> *rows, Check faultOf)
{
    if (fileName.isEmpty())
        return {};
    QVector<FileRow> read;
    const QString fault = readRowFile(fileName, &read);
    if (!fault.isEmpty())
        return fault;
    rows->reserve(read.size());
    for (const FileRow &row : qAsConst(read)) {
        const QString wrong = faultOf(row.value);
        if (!wrong.isEmpty())
            return QStringLiteral("%1, line %2: %3").arg(fileName).arg(row.line).arg(wrong);
        rows->append(row.value);
    }
    return {};
}

} // namespace

QString readTermInput(const TermOptions &options, TermInput *input)
{
    const auto faultOfTerminalEvent = [&options](const QAny &row) {
        const QString fault = faultOfEvent(row);
        return fault.isEmpty() ? faultOfTerminal(row, options) : fault;
    };
    QString fault = readRows(options.logsFile, &input->logs, faultOfLog);
    if (fault.isEmpty())
        fault = readRows(options.eventsFile, &input->events, faultOfTerminalEvent);
    if (fault.isEmpty())
        fault = readRows(options.sendFile, &input->toSend, faultOfTerminalEvent);
    if (fault.isEmpty() && !options.picturesFolder.isEmpty() && !QDir(options.picturesFolder).exists())
        fault = QStringLiteral("%1: no such folder").arg(options.picturesFolder);
    return fault;
}

} // namespace tools::zukterm
