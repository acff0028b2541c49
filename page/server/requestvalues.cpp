#include "page/server/requestvalues.h"

namespace page {

namespace {

QString decoded(QByteArray text)
{
    return QString::fromUtf8(QByteArray::fromPercentEncoding(text.replace('+', ' ')));
}

} // namespace

QByteArray cookieOf(const http::Request &request, const QByteArray &name)
{
    QByteArray found;
    int count = 0;
    for (const http::Header &header : request.headers) {
        if (header.name != "cookie")
            continue;
        const QList<QByteArray> cookies = header.value.split(';');
        for (const QByteArray &cookie : cookies) {
            const int sign = cookie.indexOf('=');
            if (sign < 0 || cookie.left(sign).trimmed() != name)
                continue;
            found = cookie.mid(sign + 1).trimmed();
            ++count;
        }
    }
    return count == 1 ? found : QByteArray();
}

QHash<QString, QString> formOf(const QByteArray &text)
{
    QHash<QString, QString> fields;
    const QList<QByteArray> pairs = text.split('&');
    for (const QByteArray &pair : pairs) {
        const int sign = pair.indexOf('=');
        if (sign > 0)
            fields.insert(decoded(pair.left(sign)), decoded(pair.mid(sign + 1)));
    }
    return fields;
}

} // namespace page
