#include "tools/doctor/findings.h"

namespace tools::doctor {

void Findings::add(Severity severity, const QString &what, const QString &remedy, const QStringList &which)
{
    m_report->findings.append({m_check, severity, what, remedy, which});
}

QString counted(int count, const char *noun)
{
    return QStringLiteral("%1 %2%3").arg(count).arg(QLatin1String(noun), count == 1 ? "" : "s");
}

} // namespace tools::doctor
