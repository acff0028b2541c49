#pragma once

#include <QObject>

#include <functional>

class QtServiceBase;

/// Starts a service from within its event loop. Lives on the application's thread.
class QtServiceStarter : public QObject
{
    Q_OBJECT
public:
    /// The service outlives it. What is given is called when the service has started.
    explicit QtServiceStarter(QtServiceBase &service, std::function<void()> onStarted = {});

public Q_SLOTS:
    void slotStart();

private:
    QtServiceBase &m_service;
    std::function<void()> m_onStarted;
};
