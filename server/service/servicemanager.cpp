#include "server/service/servicemanager.h"

namespace server::service {

bool isManagersAccount(const QString &account)
{
    return account.isEmpty() || account.compare(QStringLiteral("LocalSystem"), Qt::CaseInsensitive) == 0 ||
           account.endsWith(QStringLiteral("\\LocalSystem"), Qt::CaseInsensitive);
}

} // namespace server::service
