#pragma once

#include "page/server/http/request.h"

#include <QHash>
#include <QString>

namespace page {

/// The value of a cookie. Empty where there is none, and where there are several of the name: one of them was set by
/// somebody else.
QByteArray cookieOf(const http::Request &request, const QByteArray &name);

/// The fields of a body or query in the form "name=value&…"; of several of one name the last.
QHash<QString, QString> formOf(const QByteArray &text);

} // namespace page
