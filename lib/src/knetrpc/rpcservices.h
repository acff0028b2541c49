#pragma once

#include "knetrpc/rpcadaptor.h"
#include "knetrpc/rpcprotocol.h"

#include <QSet>
#include <QString>
#include <QStringView>

#include <functional>
#include <map>

namespace KNet {

/// The parts of "service.name", which has to outlive this.
struct RpcMethodName {
    explicit RpcMethodName(const QString &method);

    QStringView service; ///< null without a dot
    QStringView name;
    QStringView dottedName; ///< from the dot on
};

/// The services of a controller by their names.
class RpcServices
{
public:
    /// Where a call goes. Without an adaptor: why it is refused.
    struct Target {
        RpcAdaptor *adaptor;
        RpcErrorCode refusal;
    };

    /// The adaptors are children of the parent, and end with it at the latest.
    explicit RpcServices(QObject *parent) : m_parent(parent) {}

    /// False if the name is taken. The service is not owned.
    bool add(const QString &name, QObject *service);
    bool remove(const QString &name);
    void clear();

    /// Null for what is unknown.
    RpcAdaptor *adaptorOf(QStringView name) const;
    const QObject *serviceOf(const RpcMethodName &method) const;
    /// Refused when the service is unknown or the authorizations lack a token that it requires.
    Target targetOf(const RpcMethodName &method, const QSet<QString> &authorizations) const;

private:
    QObject *m_parent;
    std::map<QString, RpcAdaptor *, std::less<>> m_services; // found by a piece of a text
};

} // namespace KNet
