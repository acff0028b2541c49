#include "server/sessions/sessionpeers.h"

#include "server/sessions/adminterminalservice.h"
#include "server/sessions/mainterminalservice.h"

namespace server::sessions {

namespace {

int numberOn(const TerminalService *service, const QString &connectionId)
{
    return service ? service->terminalNumber(connectionId) : -1;
}

} // namespace

logger::LoggedInPeers sessionPeers()
{
    const auto noteEvent = [](int terminal, qint64 time) -> std::shared_ptr<const void> {
        return mainTerminalService() ? mainTerminalService()->noteAccepted(terminal, {0, time}) : nullptr;
    };
    return {[](const QString &id) { return numberOn(mainTerminalService(), id); },
            [](const QString &id) { return numberOn(adminTerminalService(), id); }, noteEvent};
}

} // namespace server::sessions
