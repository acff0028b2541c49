// Whether the server is there, and what it is.

#include "tools/doctor/checks.h"

#include <QTcpSocket>

namespace tools::doctor {

namespace {

constexpr int kConnectTimeoutMs = 3000;
/// All that a server tells of itself.
const QString kVersion = QStringLiteral("ZUK3");

bool answers(const QString &host, quint16 port)
{
    QTcpSocket socket;
    socket.connectToHost(host, port);
    return socket.waitForConnected(kConnectTimeoutMs);
}

} // namespace

void checkVersion(const Site &site, Findings &findings)
{
    if (site.serverVersion && *site.serverVersion != kVersion) {
        findings.add(Severity::Act,
                     QStringLiteral("the server calls itself \"%1\", not \"%2\"").arg(*site.serverVersion, kVersion),
                     QStringLiteral("look which program listens there: it is not the server that this one knows"));
    }
    findings.addUnseen(
        site.serverVersion
            ? QStringLiteral("version: the server tells its kind, not its number; the package manager knows that.")
            : QStringLiteral("version: the file does not tell it; the package manager knows the server's number."));
}

void checkPorts(const Site &site, Findings &findings)
{
    const struct {
        quint16 port;
        const char *users;
    } ports[] = {{site.rpcPort, "terminals and administration"}, {site.webPort, "the web"}};
    for (const auto &each : ports) {
        if (each.port == 0) {
            findings.addUnseen(QStringLiteral("port of the web: ZUKSERW.INI lets the system choose it."));
        } else if (!answers(site.host, each.port)) {
            findings.add(Severity::Act,
                         QStringLiteral("nothing answers on port %1 of %2, for %3")
                             .arg(QString::number(each.port), site.host, QLatin1String(each.users)),
                         QStringLiteral("start the server (systemctl status zuk3srv; journalctl -u zuk3srv); a warning "
                                        "\"can't listen\" there means that another program has the port"));
        }
    }
}

} // namespace tools::doctor
