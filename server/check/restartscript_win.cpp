#include "server/check/restartscript.h"

#include <QDir>
#include <QProcess>

namespace server::check {

void RestartScript::writeEquivalent() {}

bool RestartScript::start()
{
    const QString script = QDir::toNativeSeparators(QDir::current().absoluteFilePath(QStringLiteral("rest.bat")));
    return QProcess::startDetached(QStringLiteral("cmd.exe"), {QStringLiteral("/c"), script});
}

} // namespace server::check
