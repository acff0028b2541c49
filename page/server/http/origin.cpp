#include "page/server/http/origin.h"

#include <QUrl>

namespace page::http {

namespace {

/// What a cookie's attributes take as it is.
bool isPlainPath(const QByteArray &path)
{
    for (const char c : path) {
        if (c <= ' ' || c >= 0x7f || c == ';' || c == ',')
            return false;
    }
    return !path.contains("//");
}

QByteArray textOf(const QByteArray &scheme, QByteArray host, int port)
{
    const int usual = scheme == "https" ? 443 : 80;
    if (host.contains(':') && !host.startsWith('['))
        host = '[' + host + ']';
    return scheme + "://" + host + (port < 0 || port == usual ? QByteArray() : ':' + QByteArray::number(port));
}

} // namespace

std::optional<Origin> Origin::fromUrl(const QString &text)
{
    const QUrl url(text, QUrl::StrictMode);
    const QByteArray scheme = url.scheme().toLatin1();
    const bool isWeb = scheme == "https" || scheme == "http";
    if (!url.isValid() || !isWeb || url.host().isEmpty() || url.hasQuery() || url.hasFragment() ||
        !url.userInfo().isEmpty())
        return {};
    Origin origin;
    origin.isSecure = scheme == "https";
    origin.texts = {textOf(scheme, url.host(QUrl::FullyEncoded).toLatin1(), url.port())};
    QByteArray path = url.path(QUrl::FullyEncoded).toLatin1();
    while (path.endsWith('/'))
        path.chop(1);
    if (!isPlainPath(path))
        return {};
    if (!path.isEmpty())
        origin.path = path;
    return origin;
}

Origin Origin::ofListener(const QHostAddress &address, quint16 port)
{
    Origin origin;
    origin.texts = {textOf("http", address.toString().toLatin1(), port), textOf("http", "localhost", port)};
    return origin;
}

} // namespace page::http
