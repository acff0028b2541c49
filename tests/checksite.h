#pragma once

#include "server/check/admincheckservice.h"
#include "server/check/terminalcheckservice.h"
#include "terminalsite.h"

/// A site with the services that terminals and administration clients may use once they have logged in.
class CheckSite : public TerminalSite
{
public:
    CheckSite()
    {
        setLogger(journal.get());
        server.registerService("terminalcheck", &terminalCheck);
        server.registerService("admincheck", &adminCheck);
        for (const char *service : {"terminalcheck", "admincheck"})
            server.addServiceRequirement(service, service);
    }
    ~CheckSite() { setLogger(nullptr); }

    TerminalCheckService terminalCheck;
    AdminCheckService adminCheck;
};
