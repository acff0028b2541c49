#pragma once

#include "server/service/servicemanager.h"

#include <QMutex>
#include <QObject>
#include <QWaitCondition>

class QtServiceBase;

/// Carries the service manager's requests to the application thread, on which it lives. The manager's thread posts an
/// event and waits until the application thread takes it, or a bounded time when that is busy; the event is handled
/// then all the same.
class QtServiceControllerHandler : public QObject, public server::service::ServiceControls
{
public:
    /// Windows lets a service's handler take 30 s.
    static constexpr int kTakeTimeoutMs = 20000;

    /// Both outlive it.
    QtServiceControllerHandler(QtServiceBase &service, server::service::ServiceManager &manager);
    ~QtServiceControllerHandler() override;

    /// The service has started: the manager is told, unless it stops already; requests that came earlier, and wait, are
    /// delivered now, and later ones at once.
    void open();
    /// The service has ended: who waits goes on, and every further request is refused.
    void close();

    // From any thread.
    bool stop() override;
    bool pause() override;
    bool resume() override;
    bool command(int code) override;

protected:
    void customEvent(QEvent *event) override;

private:
    class RequestEvent;
    enum class Request { Stop, Pause, Resume, Command };
    enum class Stage { Starting, Open, Closed };

    bool post(Request request, int code = 0);
    bool accept(Request request);
    void carryOut(Request request, int code);

    QtServiceBase &m_service;
    server::service::ServiceManager &m_manager;
    QMutex m_mutex;
    QWaitCondition m_stageChanged;
    Stage m_stage = Stage::Starting;
    bool m_isStopping = false;
};
