#pragma once

#include "qany.h"

#include <QMetaMethod>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QStringView>

#include <functional>
#include <map>

namespace KNet {

/// Makes the public slots `QAny name(const QString &connectionId, const QAny &params)` of a service callable by name.
/// Slots that the service inherits are not. A child of its controller; the service is not owned and may go first.
class RpcAdaptor : public QObject
{
    Q_OBJECT
public:
    RpcAdaptor(QObject *service, QObject *parent);

    /// Null when it has gone.
    const QObject *service() const { return m_service; }

    /// Tokens that a connection must hold to use the service.
    QStringList &requirements() { return m_requirements; }
    const QStringList &requirements() const { return m_requirements; }

    /// {"result": value} or {"error": {…}}. The service may run the event loop, in which this adaptor may end.
    QAny invokeMethod(const QString &connectionId, QStringView method, const QAny &params);

private:
    QPointer<QObject> m_service;
    std::map<QString, QMetaMethod, std::less<>> m_methods; // found by a piece of a text
    QStringList m_requirements;
};

} // namespace KNet
