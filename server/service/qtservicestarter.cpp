#include "server/service/qtservicestarter.h"

#include "server/service/afterwards.h"
#include "server/service/qtservicebase.h"

#include <utility>

QtServiceStarter::QtServiceStarter(QtServiceBase &service, std::function<void()> onStarted)
    : m_service(service), m_onStarted(std::move(onStarted))
{
}

void QtServiceStarter::slotStart()
{
    m_service.start();
    if (m_onStarted)
        server::service::runAfterwards(this, m_onStarted);
}
