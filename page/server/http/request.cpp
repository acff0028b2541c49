#include "page/server/http/request.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace page::http {

namespace {

constexpr int kBadRequest = 400;
constexpr int kLengthRequired = 411;
constexpr int kTooLarge = 413;
constexpr int kExpectationFailed = 417;
constexpr int kHeaderTooLarge = 431;
constexpr int kVersionNotSupported = 505;

const QByteArray kEnd = "\r\n\r\n";

/// Of these one line alone is understood the same way by everybody.
constexpr const char *kSingle[] = {"host",   "content-length",    "content-type",          "origin",
                                   "expect", "transfer-encoding", "sec-websocket-version", "sec-websocket-key",
                                   "upgrade"};

bool isTokenCharacter(char c)
{
    return std::isalnum(static_cast<uchar>(c)) || (c && std::strchr("!#$%&'*+-.^_`|~", c));
}

bool isToken(const QByteArray &text)
{
    return !text.isEmpty() && std::all_of(text.cbegin(), text.cend(), isTokenCharacter);
}

bool isTargetCharacter(char c)
{
    return c > ' ' && c < 0x7f && c != '#';
}

bool isControl(char c)
{
    return (static_cast<uchar>(c) < ' ' && c != '\t') || c == 0x7f;
}

/// Lines end with both characters, and neither stands alone.
bool hasStrictLines(const QByteArray &bytes)
{
    for (int i = 0; i < bytes.size(); ++i) {
        if (bytes[i] == '\n' && (i == 0 || bytes[i - 1] != '\r'))
            return false;
        if (bytes[i] == '\r' && i + 1 < bytes.size() && bytes[i + 1] != '\n')
            return false;
    }
    return true;
}

QByteArray trimmed(const QByteArray &value)
{
    const auto isBlank = [](char c) { return c == ' ' || c == '\t'; };
    const auto begin = std::find_if_not(value.cbegin(), value.cend(), isBlank);
    auto end = value.cend();
    while (end != begin && isBlank(end[-1]))
        --end;
    return {begin, static_cast<int>(end - begin)};
}

int readRequestLine(const QByteArray &line, Request *request)
{
    const QList<QByteArray> parts = line.split(' ');
    if (parts.size() != 3 || !isToken(parts[0]) || !parts[1].startsWith('/') ||
        !std::all_of(parts[1].cbegin(), parts[1].cend(), isTargetCharacter))
        return kBadRequest;
    if (parts[2] != "HTTP/1.1" && parts[2] != "HTTP/1.0")
        return parts[2].startsWith("HTTP/") ? kVersionNotSupported : kBadRequest;
    request->method = parts[0];
    request->isLast = parts[2] == "HTTP/1.0";
    request->path = parts[1].split('?').first();
    request->query = parts[1].mid(request->path.size() + 1);
    return 0;
}

/// A blank before the colon, or at the line's begin, where it once meant that the line before goes on, is refused.
int readHeaderLine(const QByteArray &line, Request *request)
{
    const int colon = line.indexOf(':');
    const QByteArray name = line.left(colon).toLower();
    const QByteArray value = trimmed(line.mid(colon + 1));
    if (colon < 0 || !isToken(name) || std::any_of(value.cbegin(), value.cend(), isControl))
        return kBadRequest;
    const bool isSingle =
        std::any_of(std::begin(kSingle), std::end(kSingle), [&name](const char *single) { return name == single; });
    const bool isThere = std::any_of(request->headers.cbegin(), request->headers.cend(),
                                     [&name](const Header &header) { return header.name == name; });
    if (isSingle && (isThere || value.isEmpty()))
        return kBadRequest;
    request->headers.append(Header{name, value});
    return 0;
}

int readBodyBytes(const Limits &limits, Request *request)
{
    const QByteArray length = request->header("content-length");
    const bool isPost = request->method == "POST";
    if (length.isEmpty())
        return isPost ? kLengthRequired : 0;
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    if (!std::all_of(length.cbegin(), length.cend(), isDigit))
        return kBadRequest;
    bool isNumber = false;
    request->bodyBytes = length.toInt(&isNumber);
    if (!isNumber || request->bodyBytes > limits.maxBodyBytes)
        return kTooLarge;
    return isPost || request->bodyBytes == 0 ? 0 : kBadRequest;
}

} // namespace

QByteArray Request::header(const char *name) const
{
    for (auto one = headers.crbegin(); one != headers.crend(); ++one) {
        if (one->name == name)
            return one->value;
    }
    return {};
}

bool Request::hasToken(const char *name, const char *token) const
{
    for (const Header &one : headers) {
        if (one.name != name)
            continue;
        const QList<QByteArray> tokens = one.value.toLower().split(',');
        if (std::any_of(tokens.cbegin(), tokens.cend(),
                        [token](const QByteArray &said) { return trimmed(said) == token; }))
            return true;
    }
    return false;
}

HeaderEnd findHeaderEnd(const QByteArray &bytes, const Limits &limits)
{
    const int end = bytes.indexOf(kEnd);
    const int size = end < 0 ? bytes.size() : end + kEnd.size();
    if (!hasStrictLines(bytes.left(size)))
        return {kBadRequest, 0};
    if (size > limits.maxHeaderBytes)
        return {kHeaderTooLarge, 0};
    return {0, end < 0 ? 0 : size};
}

int readHeader(const QByteArray &header, const Limits &limits, Request *request)
{
    QList<QByteArray> lines = header.left(header.size() - kEnd.size()).split('\n');
    for (QByteArray &line : lines) {
        if (line.endsWith('\r'))
            line.chop(1);
    }
    if (lines.size() > limits.maxHeaderLines + 1)
        return kHeaderTooLarge;
    int status = readRequestLine(lines.takeFirst(), request);
    for (int i = 0; status == 0 && i < lines.size(); ++i)
        status = readHeaderLine(lines[i], request);
    if (status != 0)
        return status;
    if (!request->isLast && request->header("host").isEmpty())
        return kBadRequest;
    if (!request->header("transfer-encoding").isEmpty())
        return kBadRequest;
    if (!request->header("expect").isEmpty())
        return kExpectationFailed;
    request->isLast = request->isLast || request->hasToken("connection", "close");
    return readBodyBytes(limits, request);
}

QHostAddress clientAddress(const QHostAddress &peer, const Request &request)
{
    if (!peer.isLoopback())
        return peer;
    const QByteArray chain = request.header("x-forwarded-for");
    const QHostAddress named(QString::fromLatin1(trimmed(chain.mid(chain.lastIndexOf(',') + 1))));
    return named.isNull() ? peer : named;
}

} // namespace page::http
