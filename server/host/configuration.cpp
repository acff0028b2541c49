#include "server/host/configuration.h"

#include <QDebug>
#include <QSettings>

#include <limits>

namespace server::host {

quint16 Configuration::webPort()
{
    const QSettings settings(QStringLiteral("ZUKSERW.INI"), QSettings::IniFormat);
    const QVariant value = settings.value(QStringLiteral("WEBS/PORT"), kDefaultWebPort);
    const int port = value.toInt();
    if (port < 0 || port > std::numeric_limits<quint16>::max()) {
        qWarning() << "Configuration::webPort no port:" << value.toString();
        return kDefaultWebPort;
    }
    return static_cast<quint16>(port);
}

} // namespace server::host
