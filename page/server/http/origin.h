#pragma once

#include <QByteArray>
#include <QHostAddress>
#include <QString>
#include <QVector>

#include <optional>

namespace page::http {

/// Under which address browsers know the page: what a request's `Origin` must be, and what a cookie is bound to.
struct Origin {
    QVector<QByteArray> texts; ///< as browsers write it, "https://zuk.example.com"; any of them
    QByteArray path = "/";     ///< of the page; without a slash at its end unless it is all
    bool isSecure = false;     ///< https

    /// From "https://host[:port][/path]"; null when it is something else.
    static std::optional<Origin> fromUrl(const QString &text);
    /// Of a browser on this machine, or one that reaches the address directly.
    static Origin ofListener(const QHostAddress &address, quint16 port);

    bool allows(const QByteArray &header) const { return texts.contains(header); }
};

} // namespace page::http
