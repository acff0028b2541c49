#pragma once

#include "page/server/http/limits.h"

#include <QByteArray>
#include <QHostAddress>
#include <QVector>

namespace page::http {

struct Header {
    QByteArray name;
    QByteArray value;
};

/// One request, as it came. A plain value.
struct Request {
    QByteArray method;
    QByteArray path;  ///< up to the '?', percent signs and all: it is only compared
    QByteArray query; ///< behind the '?'
    QVector<Header> headers;
    QByteArray body;
    int bodyBytes = 0;   ///< that the header announces
    bool isLast = false; ///< the connection ends with its answer
    QHostAddress client;

    /// Of a header, whose name is given in small letters; empty when there is none, the last of several.
    QByteArray header(const char *name) const;
    /// Whether the header's list, of all its lines, has the token, in whatever letters.
    bool hasToken(const char *name, const char *token) const;
    bool wantsUpgrade() const { return !header("upgrade").isEmpty(); }
};

/// Where a header that begins with these bytes ends.
struct HeaderEnd {
    int status = 0; ///< to refuse it with; 0 when nothing is wrong so far
    int bytes = 0;  ///< of the whole header with its empty line; 0 when more has to come
};
HeaderEnd findHeaderEnd(const QByteArray &bytes, const Limits &limits);

/// Reads a whole header. 0, or the status to refuse it with. What another reader of the same bytes could take for
/// something else is refused: a proxy in front and this program must agree where a request ends.
int readHeader(const QByteArray &header, const Limits &limits, Request *request);

/// Whose request it is: the peer, or where the peer is this machine (a proxy), the last that its proxy names.
QHostAddress clientAddress(const QHostAddress &peer, const Request &request);

} // namespace page::http
