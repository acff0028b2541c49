#pragma once

#include "page/server/http/request.h"

namespace page::http {

/// One answer. A plain value; its bytes are shared with whoever made it.
struct Response {
    int status = 200;
    QByteArray type; ///< of the body
    QByteArray body;
    QVector<Header> headers;

    void add(const Header &header) { headers.append(header); }
    void add(const QByteArray &name, const QByteArray &value) { add({name, value}); }

    /// A short text for people, with the name of the status.
    static Response ofStatus(int status);
    /// Not to be kept by anybody.
    static Response json(int status, const QByteArray &text);
};

/// The head that belongs to the answer's body, with what every answer says about how a browser may use it. Unless it
/// keeps the connection it tells that it ends.
QByteArray headOf(const Response &response, bool keepsConnection);

} // namespace page::http
