#include "tools/zukterm/terminallogger.h"

#include "tools/zukterm/fleetcontext.h"
#include "tools/zukterm/terminal.h"

namespace tools::zukterm {

TerminalLogger::TerminalLogger(FleetContext &context, QObject *parent) : QObject(parent), m_context(context) {}

QAny TerminalLogger::getLogs(const QString &connectionId, const QAny &params)
{
    return handOver(connectionId, params, &Terminal::getLogs);
}

QAny TerminalLogger::getEvents(const QString &connectionId, const QAny &params)
{
    return handOver(connectionId, params, &Terminal::getEvents);
}

QAny TerminalLogger::getPictures(const QString &connectionId, const QAny &params)
{
    return handOver(connectionId, params, &Terminal::getPictures);
}

QAny TerminalLogger::ulkaCsvEvent(const QString &connectionId, const QAny &params)
{
    return handOver(connectionId, params, &Terminal::ulkaCsvEvent);
}

QAny TerminalLogger::zukCmd(const QString &connectionId, const QAny &params)
{
    return handOver(connectionId, params, &Terminal::zukCmd);
}

QAny TerminalLogger::handOver(const QString &connectionId, const QAny &params,
                              QAny (Terminal::*method)(const QAny &params))
{
    Terminal *terminal = m_context.byConnection.value(connectionId);
    return terminal ? (terminal->*method)(params) : QAny();
}

} // namespace tools::zukterm
