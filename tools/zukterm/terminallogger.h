#pragma once

#include "qany.h"

#include <QObject>

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
    QAny getLogs(QString connectionId, QAny params);
    QAny getEvents(QString connectionId, QAny params);
    QAny getPictures(QString connectionId, QAny params);
    QAny ulkaCsvEvent(QString connectionId, QAny params);
    QAny zukCmd(QString connectionId, QAny params);

private:
    QAny handOver(const QString &connectionId, const QAny &params, QAny (Terminal::*method)(const QAny &params));

    FleetContext &m_context;
};
