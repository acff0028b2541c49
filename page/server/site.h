#pragma once

#include "page/server/http/filetable.h"
#include "page/server/http/handler.h"
#include "page/server/http/origin.h"
#include "page/server/livehub.h"
#include "page/server/logins.h"

namespace page {

/// What each path of the page does: files, login, logout, exports and the way to the live connection. Main thread.
class Site : public http::Handler
{
public:
    /// Nothing of what is given as a reference is owned.
    Site(const Services &services, Logins &logins, LiveHub &hub, http::FileTable files);

    /// Before the first request.
    void setOrigin(const http::Origin &origin) { m_origin = origin; }

    void handle(const http::Request &request, QObject *asker, const Answer &answer) override;
    std::optional<http::Response> refusalOf(const http::Request &request) override;
    void upgraded(const http::Upgraded &upgraded) override;

private:
    void post(const http::Request &request, QObject *asker, const Answer &answer);
    void logIn(const http::Request &request, QObject *asker, const Answer &answer);
    void endLogin(Logins::Outcome outcome, const std::optional<office::Person> &person, const http::Request &request,
                  const Answer &answer);
    http::Response loggedOut(const http::Request &request);
    void giveExport(const http::Request &request, QObject *asker, const Answer &answer);
    bool isOfPage(const http::Request &request) const;
    http::Header cookie(const QByteArray &value) const;

    const Services &m_services;
    Logins &m_logins;
    LiveHub &m_hub;
    const http::FileTable m_files;
    http::Origin m_origin;
};

} // namespace page
