#include "server/check/restartscript.h"

#include <QDebug>
#include <QFile>

namespace server::check {

namespace {

// Operators' own scripts look for this text.
const char kBatchLines[] = "zuk3server -t\n"
                           "copy update/zuk3server.exe zuk3server.exe\n"
                           "zuk3server -s\n";

} // namespace

QString RestartScript::write()
{
    const QString name = QStringLiteral("rest.bat");
    QFile file(name);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(kBatchLines) != static_cast<qint64>(qstrlen(kBatchLines)))
        qWarning() << "RestartScript::write can't write" << name << file.errorString();
    writeEquivalent();
    return name;
}

} // namespace server::check
