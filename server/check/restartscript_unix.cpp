#include "restartscript.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QProcess>

namespace {

const QString kShellScript = QStringLiteral("rest.sh");

// The executable in use can be replaced, but not overwritten. Without an uploaded one the same starts again.
const char kShellLines[] = "#!/bin/sh\n"
                           "cd \"$(dirname \"$0\")\" || exit 1\n"
                           "./zuk3server -t\n"
                           "if [ -f update/zuk3server ]; then\n"
                           "    chmod +x update/zuk3server && mv -f update/zuk3server zuk3server\n"
                           "fi\n"
                           "./zuk3server -s\n";

/// The service manager names the process that it started.
bool isStartedBySystemd()
{
    return qEnvironmentVariable("SYSTEMD_EXEC_PID") == QString::number(QCoreApplication::applicationPid());
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
    // A child of the service would be stopped with it.
    if (isStartedBySystemd())
        return QProcess::startDetached(QStringLiteral("systemd-run"),
                                       {QStringLiteral("--collect"), QStringLiteral("--quiet"), shell, script});
    return QProcess::startDetached(shell, {script});
}
