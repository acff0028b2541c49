#include "server/service/qtservicecontrollerhandler.h"

#include "server/service/afterwards.h"
#include "server/service/qtservicebase.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDebug>
#include <QEvent>
#include <QMutexLocker>
#include <QSemaphore>
#include <QThread>

#include <utility>

using server::service::ServiceManager;

using State = ServiceManager::State;

/// Whoever posted it waits for its semaphore, which is released when it is taken or thrown away.
class QtServiceControllerHandler::RequestEvent : public QEvent
{
public:
    static Type eventType()
    {
        static const int type = registerEventType();
        return static_cast<Type>(type);
    }

    RequestEvent(Request wanted, int userCode, std::shared_ptr<QSemaphore> semaphore)
        : QEvent(eventType()), request(wanted), code(userCode), taken(std::move(semaphore))
    {
    }
    ~RequestEvent() override { taken->release(); }

    const Request request;
    const int code;
    const std::shared_ptr<QSemaphore> taken;

private:
    Q_DISABLE_COPY(RequestEvent)
};

QtServiceControllerHandler::QtServiceControllerHandler(QtServiceBase &service, ServiceManager &manager)
    : m_service(service), m_manager(manager)
{
}

QtServiceControllerHandler::~QtServiceControllerHandler()
{
    close();
}

void QtServiceControllerHandler::open()
{
    if (!m_isStopping)
        m_manager.report(State::Running);
    const QMutexLocker locker(&m_mutex);
    if (m_stage == Stage::Starting)
        m_stage = Stage::Open;
    m_stageChanged.wakeAll();
}

void QtServiceControllerHandler::close()
{
    {
        const QMutexLocker locker(&m_mutex);
        m_stage = Stage::Closed;
        m_stageChanged.wakeAll();
    }
    QCoreApplication::removePostedEvents(this, RequestEvent::eventType());
}

bool QtServiceControllerHandler::stop()
{
    return post(Request::Stop);
}

bool QtServiceControllerHandler::pause()
{
    return post(Request::Pause);
}

bool QtServiceControllerHandler::resume()
{
    return post(Request::Resume);
}

bool QtServiceControllerHandler::command(int code)
{
    return post(Request::Command, code);
}

bool QtServiceControllerHandler::post(Request request, int code)
{
    if (QThread::currentThread() == thread()) {
        if (accept(request))
            carryOut(request, code);
        return true;
    }
    const QDeadlineTimer deadline(kTakeTimeoutMs);
    const auto taken = std::make_shared<QSemaphore>();
    {
        QMutexLocker locker(&m_mutex);
        while (m_stage == Stage::Starting) {
            if (!m_stageChanged.wait(&m_mutex, deadline))
                break;
        }
        if (m_stage == Stage::Closed)
            return false;
        QCoreApplication::postEvent(this, new RequestEvent(request, code, taken));
    }
    return taken->tryAcquire(1, static_cast<int>(deadline.remainingTime()));
}

void QtServiceControllerHandler::customEvent(QEvent *event)
{
    if (event->type() != RequestEvent::eventType())
        return;
    const auto *request = static_cast<RequestEvent *>(event);
    // Before the manager's thread goes on, so that whoever asked the manager sees that it is under way.
    const bool isAccepted = accept(request->request);
    // The event's own release then wakes nobody.
    request->taken->release();
    if (isAccepted)
        carryOut(request->request, request->code);
}

/// Tells the manager that the request is under way. A service that stops does nothing else any more.
bool QtServiceControllerHandler::accept(Request request)
{
    if (m_isStopping)
        return false;
    switch (request) {
    case Request::Stop:
        m_isStopping = true;
        qDebug() << "QtServiceControllerHandler::accept stopping";
        m_manager.report(State::Stopping);
        break;
    case Request::Pause:
        m_manager.report(State::Pausing);
        break;
    case Request::Resume:
        m_manager.report(State::Resuming);
        break;
    case Request::Command:
        break;
    }
    return true;
}

void QtServiceControllerHandler::carryOut(Request request, int code)
{
    switch (request) {
    case Request::Stop:
        m_service.stop();
        server::service::runAfterwards(this, [] { QCoreApplication::quit(); });
        break;
    case Request::Pause:
        m_service.pause();
        m_manager.report(State::Paused);
        break;
    case Request::Resume:
        m_service.resume();
        m_manager.report(State::Running);
        break;
    case Request::Command:
        m_service.processCommand(code);
        break;
    }
}
