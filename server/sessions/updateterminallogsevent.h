#pragma once

#include <QEvent>

/// Posted by a terminal service to itself, so that the catch-up begins after the answer to the login has gone out.
class UpdateTerminalLogsEvent : public QEvent
{
public:
    /// The type is registered by the service.
    UpdateTerminalLogsEvent(QEvent::Type type, int terminal) : QEvent(type), m_terminal(terminal) {}

    int terminal() const { return m_terminal; }

private:
    int m_terminal;
};
