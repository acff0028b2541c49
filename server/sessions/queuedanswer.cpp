#include "server/sessions/queuedanswer.h"

#include <QDebug>

namespace server::sessions {

QueuedAnswer::QueuedAnswer(QObject *receiver, const QByteArray &method, QObject *parent)
    : QObject(parent), m_receiver(receiver), m_method(method)
{
}

void QueuedAnswer::onAnswer(const QString &connectionId, const QAny &answer)
{
    deleteLater();
    if (m_receiver && !QMetaObject::invokeMethod(m_receiver, m_method.constData(), Qt::QueuedConnection,
                                                 Q_ARG(QAny, answer), Q_ARG(QString, connectionId)))
        qWarning() << "QueuedAnswer::onAnswer can't invoke" << m_method << "on" << m_receiver.data();
}

} // namespace server::sessions
