#pragma once

#include "page/server/http/httpserver.h"
#include "page/server/site.h"

#include <memory>

namespace page {

/// All of the page's server; its objects end in the opposite order. Main thread.
class PageServer
{
public:
    /// Threads that read the file.
    static constexpr int kReaders = 2;

    struct Options {
        QString databasePath;
        std::optional<http::Origin> origin = {}; ///< null: that of the listening address
        http::Limits limits = {};
        LiveLimits live = {};
        server::process::Clock clock = server::process::machineTime;
        Sessions::Clock steadyClock = server::web::LoginBrake::steadyTime;
    };

    PageServer(const Options &options, std::unique_ptr<OfficeDoor> office, http::FileTable files);

    ~PageServer() { m_hub.shut(); }

    /// Why not, as a text for people; empty when it listens.
    QString open(const QHostAddress &address, quint16 port);
    quint16 port() const { return m_server.serverPort(); }
    int sessions() const { return m_sessions.count(); }

private:
    Q_DISABLE_COPY(PageServer)

    const Options m_options;
    const std::unique_ptr<OfficeDoor> m_office;
    Sessions m_sessions;
    server::workers::ReadPool m_pool;
    const Services m_services;
    Logins m_logins;
    LiveHub m_hub;
    Site m_site;
    http::HttpServer m_server;
};

/// What the page consists of in the browser, out of the program itself.
http::FileTable pageFiles();

} // namespace page
