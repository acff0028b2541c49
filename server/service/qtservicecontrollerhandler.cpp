#include "qtservicecontrollerhandler.h"

#include "afterwards.h"
#include "qtservicebase.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDebug>
#include <QEvent>
#include <QMutexLocker>
#include <QSemaphore>
#include <QThread>

#include <utility>

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
        handle(request, code);
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
    // The manager's thread goes on; the event's own release then wakes nobody.
    request->taken->release();
    handle(request->request, request->code);
}

void QtServiceControllerHandler::handle(Request request, int code)
{
    // A service that stops does nothing else any more.
    if (m_isStopping)
        return;
    switch (request) {
    case Request::Stop:
        m_isStopping = true;
        qDebug() << "QtServiceControllerHandler::handle stopping";
        m_manager.report(State::Stopping);
        m_service.stop();
        runAfterwards(this, [] { QCoreApplication::quit(); });
        break;
    case Request::Pause:
        m_manager.report(State::Pausing);
        m_service.pause();
        m_manager.report(State::Paused);
        break;
    case Request::Resume:
        m_manager.report(State::Resuming);
        m_service.resume();
        m_manager.report(State::Running);
        break;
    case Request::Command:
        m_service.processCommand(code);
        break;
    }
}
