#include "servicesstarter.h"

#include "configuration.h"
#include "database.h"
#include "echoserver.h"
#include "logger.h"

#include <utility>

namespace {

EchoServer *theWebServer = nullptr;

/// Deletes an object whose accessor is cleared first, so that nothing reaches it while it goes.
template <typename T> void destroy(T *(*accessor)(), void (*setAccessor)(T *))
{
    T *object = accessor();
    setAccessor(nullptr);
    delete object;
}

} // namespace

bool ServicesStarter::isStarted()
{
    return db() != nullptr;
}

EchoServer *ServicesStarter::webServer()
{
    return theWebServer;
}

void ServicesStarter::start()
{
    if (isStarted())
        return;
    setDb(new DataBase);
    setLogger(new Logger);
    theWebServer = new EchoServer(Configuration::webPort());
    logger()->log(QStringLiteral("Started"));
}

void ServicesStarter::stop()
{
    if (!isStarted())
        return;
    logger()->log(QStringLiteral("Finished"));
    destroy(logger, setLogger);
    destroy(db, setDb);
    delete std::exchange(theWebServer, nullptr);
}
