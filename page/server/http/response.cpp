#include "page/server/http/response.h"

#include <QDateTime>
#include <QLocale>

namespace page::http {

namespace {

/// What the page needs and no more. The policy's name is that of the library that makes its elements.
constexpr char kSafety[] =
    "Content-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; "
    "img-src 'self'; font-src 'self'; manifest-src 'self'; base-uri 'none'; form-action 'self'; "
    "frame-ancestors 'none'; require-trusted-types-for 'script'; trusted-types lit-html\r\n"
    "X-Content-Type-Options: nosniff\r\n"
    "X-Frame-Options: DENY\r\n"
    "Referrer-Policy: no-referrer\r\n"
    "Cross-Origin-Opener-Policy: same-origin\r\n"
    "Cross-Origin-Resource-Policy: same-origin\r\n"
    "Permissions-Policy: camera=(), geolocation=(), microphone=(), payment=(), usb=()\r\n";

const char *nameOf(int status)
{
    switch (status) {
    case 200:
        return "OK";
    case 304:
        return "Not Modified";
    case 400:
        return "Bad Request";
    case 403:
        return "Forbidden";
    case 404:
        return "Not Found";
    case 405:
        return "Method Not Allowed";
    case 408:
        return "Request Timeout";
    case 411:
        return "Length Required";
    case 413:
        return "Content Too Large";
    case 415:
        return "Unsupported Media Type";
    case 417:
        return "Expectation Failed";
    case 426:
        return "Upgrade Required";
    case 429:
        return "Too Many Requests";
    case 431:
        return "Request Header Fields Too Large";
    case 503:
        return "Service Unavailable";
    case 505:
        return "HTTP Version Not Supported";
    default:
        return "Status";
    }
}

QByteArray date()
{
    return QLocale::c()
        .toString(QDateTime::currentDateTimeUtc(), QStringLiteral("ddd, dd MMM yyyy hh:mm:ss 'GMT'"))
        .toLatin1();
}

} // namespace

Response Response::ofStatus(int status)
{
    Response response;
    response.status = status;
    response.type = "text/plain; charset=utf-8";
    response.body = QByteArray::number(status) + ' ' + nameOf(status) + '\n';
    response.add("Cache-Control", "no-store");
    return response;
}

Response Response::json(int status, const QByteArray &text)
{
    Response response = ofStatus(status);
    response.type = "application/json";
    response.body = text;
    return response;
}

QByteArray headOf(const Response &response, bool keepsConnection)
{
    constexpr int kNotModified = 304; // has no body, and tells nothing of it
    QByteArray head = "HTTP/1.1 " + QByteArray::number(response.status) + ' ' + nameOf(response.status) + "\r\n";
    head += "Date: " + date() + "\r\n";
    if (response.status != kNotModified) {
        head += "Content-Type: " + response.type + "\r\n";
        head += "Content-Length: " + QByteArray::number(response.body.size()) + "\r\n";
    }
    for (const Header &header : response.headers)
        head += header.name + ": " + header.value + "\r\n";
    if (!keepsConnection)
        head += "Connection: close\r\n";
    return head + kSafety + "\r\n";
}

} // namespace page::http
