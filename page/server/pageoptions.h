#pragma once

#include "page/server/http/origin.h"

#include <QHostAddress>
#include <QString>
#include <QStringList>

#include <optional>

namespace page {

struct PageOptions {
    QHostAddress address = QHostAddress::LocalHost;
    quint16 port = 8233;
    std::optional<http::Origin> origin; ///< null: that of the listening address
    QString database;
};

/// Reads the command line. What is wrong with it, as a text for people. *told receives the help or the version when
/// it was asked for.
QString readPageOptions(const QStringList &arguments, PageOptions *options, QString *told);

} // namespace page
