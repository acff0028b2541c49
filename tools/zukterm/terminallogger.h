#pragma once

#include "qany.h"

#include <QObject>

namespace tools::zukterm {

class Terminal;
struct FleetContext;

/// The service "logger" of the terminals, which the server calls: hands each call to the terminal on whose connection
/// it came.
class TerminalLogger : public QObject
{
    Q_OBJECT
public:
    explicit TerminalLogger(FleetContext &context, QObject *parent = nullptr);

public Q_SLOTS:
    QAny getLogs(const QString &connectionId, const QAny &params);
    QAny getEvents(const QString &connectionId, const QAny &params);
    QAny getPictures(const QString &connectionId, const QAny &params);
    QAny ulkaCsvEvent(const QString &connectionId, const QAny &params);
    QAny zukCmd(const QString &connectionId, const QAny &params);

private:
    QAny handOver(const QString &connectionId, const QAny &params, QAny (Terminal::*method)(const QAny &params));

    FleetContext &m_context;
};

} // namespace tools::zukterm
