#include "tools/zukadmin/adminlogger.h"

QAny AdminLogger::getLogs(const QString &, const QAny &)
{
    return QAny::list();
}
