#pragma once

#include "page/server/http/places.h"
#include "page/server/http/request.h"
#include "page/server/http/response.h"

#include <functional>
#include <optional>

class QObject;
class QWebSocket;

namespace server::web {
class ClientLine;
}

namespace page::http {

/// What a web socket's connection goes on with.
struct Upgraded {
    QWebSocket *socket = nullptr;            ///< belongs to the handler from here on
    server::web::ClientLine *line = nullptr; ///< below it, for as long as it is connected
    Request request;                         ///< that it came with
};

/// Answers what the server has received. Called on its thread.
class Handler
{
public:
    virtual ~Handler() = default;

    /// To be called once, at once or later; of no effect when the asker is gone.
    using Answer = std::function<void(const Response &)>;
    /// A request of correct form, whole. Of each connection one at a time. The asker lives until its connection ends
    /// and is there to be told of that.
    virtual void handle(const Request &request, QObject *asker, const Answer &answer) = 0;
    /// Of a request to become a web socket: why not, else null.
    virtual std::optional<Response> refusalOf(const Request &request) = 0;
    virtual void upgraded(const Upgraded &upgraded) = 0;

protected:
    Handler() = default;

private:
    Q_DISABLE_COPY(Handler)
};

} // namespace page::http
