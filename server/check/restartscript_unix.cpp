#include "server/check/restartscript.h"

#include "server/process/systemdlaunch.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QProcess>

#include <unistd.h>

namespace server::check {

namespace {

/// It only hands the command over.
constexpr int kSystemdRunMs = 5000;

const QString kShellScript = QStringLiteral("rest.sh");

// The executable in use can be replaced, but not overwritten. Without an uploaded one the same starts again.
// A process id as the argument stands for a server that may only end itself, and that its manager starts again.
const char kShellLines[] = "#!/bin/sh\n"
                           "cd \"$(dirname \"$0\")\" || exit 1\n"
                           "[ -n \"$1\" ] || ./zuk3server -t\n"
                           "if [ -f update/zuk3server ]; then\n"
                           "    chmod +x update/zuk3server && mv -f update/zuk3server zuk3server\n"
                           "fi\n"
                           "if [ -n \"$1\" ]; then kill \"$1\"; else ./zuk3server -s; fi\n";

/// Whether systemd has taken it.
bool runInOwnUnit(const QStringList &command)
{
    QProcess systemd;
    systemd.start(QStringLiteral("systemd-run"),
                  QStringList{QStringLiteral("--collect"), QStringLiteral("--quiet")} + command);
    const bool isEnded = systemd.waitForFinished(kSystemdRunMs);
    if (isEnded && systemd.exitStatus() == QProcess::NormalExit && systemd.exitCode() == 0)
        return true;
    qWarning().noquote() << "RestartScript::start systemd-run failed:" << systemd.readAllStandardError().simplified()
                         << systemd.errorString();
    return false;
}

} // namespace

void RestartScript::writeEquivalent()
{
    QFile file(kShellScript);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(kShellLines) != static_cast<qint64>(qstrlen(kShellLines)))
        qWarning() << "RestartScript::writeEquivalent can't write" << kShellScript << file.errorString();
}

bool RestartScript::start()
{
    const QString script = QDir::current().absoluteFilePath(kShellScript);
    const QString shell = QStringLiteral("/bin/sh");
    if (!process::isLaunchedBySystemd())
        return QProcess::startDetached(shell, {script});
    // A child of the service would be stopped with it; but only root may start it elsewhere, and stop the service.
    if (geteuid() == 0)
        return runInOwnUnit({shell, script});
    return QProcess::startDetached(shell, {script, QString::number(QCoreApplication::applicationPid())});
}

} // namespace server::check
