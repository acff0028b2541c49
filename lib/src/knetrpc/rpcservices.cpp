#include "knetrpc/rpcservices.h"

#include <algorithm>
#include <utility>

namespace KNet {

RpcMethodName::RpcMethodName(const QString &method)
{
    const int dot = method.indexOf(QLatin1Char('.'));
    if (dot < 0)
        return;
    service = QStringView(method).left(dot);
    name = QStringView(method).mid(dot + 1);
    dottedName = QStringView(method).mid(dot);
}

bool RpcServices::add(const QString &name, QObject *service)
{
    if (adaptorOf(name))
        return false;
    m_services.emplace(name, new RpcAdaptor(service, m_parent));
    return true;
}

bool RpcServices::remove(const QString &name)
{
    RpcAdaptor *adaptor = adaptorOf(name);
    if (!adaptor)
        return false;
    m_services.erase(name);
    adaptor->deleteLater();
    return true;
}

void RpcServices::clear()
{
    for (const auto &service : std::exchange(m_services, {}))
        delete service.second;
}

RpcAdaptor *RpcServices::adaptorOf(QStringView name) const
{
    const auto found = name.isNull() ? m_services.end() : m_services.find(name); // "" may be one
    return found == m_services.end() ? nullptr : found->second;
}

const QObject *RpcServices::serviceOf(const RpcMethodName &method) const
{
    const RpcAdaptor *adaptor = adaptorOf(method.service);
    return adaptor ? adaptor->service() : nullptr;
}

RpcServices::Target RpcServices::targetOf(const RpcMethodName &method, const QSet<QString> &authorizations) const
{
    RpcAdaptor *adaptor = adaptorOf(method.service);
    if (!adaptor)
        return {nullptr, NoSuchService};
    const QStringList &required = qAsConst(*adaptor).requirements();
    const bool isAuthorized = std::all_of(required.cbegin(), required.cend(), [&authorizations](const QString &token) {
        return authorizations.contains(token);
    });
    return isAuthorized ? Target{adaptor, {}} : Target{nullptr, NotAuthorized};
}

} // namespace KNet
