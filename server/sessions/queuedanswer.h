#pragma once

#include "qany.h"

#include <QByteArray>
#include <QObject>
#include <QPointer>

namespace server::sessions {

/// Passes the answer of one outgoing call on to its receiver, with the answer first, as a queued call. Deletes itself
/// then; until then it belongs to its parent.
class QueuedAnswer : public QObject
{
    Q_OBJECT
public:
    /// The receiver's method by name, without signature. Without a receiver the answer is dropped.
    QueuedAnswer(QObject *receiver, const QByteArray &method, QObject *parent);

private Q_SLOTS:
    void onAnswer(const QString &connectionId, const QAny &answer);

private:
    QPointer<QObject> m_receiver;
    QByteArray m_method;
};

} // namespace server::sessions
