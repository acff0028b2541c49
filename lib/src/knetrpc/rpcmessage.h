#pragma once

#include "qany.h"

#include <QByteArray>
#include <QString>

#include <vector>

namespace KNet {

/// A message that came, by its kind.
struct RpcMessage {
    enum Kind { Broken, Ping, Pong, Call, Notification, Answer };

    /// The message has to outlive what is read from it.
    static RpcMessage read(const QAny &message);

    Kind kind = Broken;
    QString id;                      // as text
    const QString *method = nullptr; // of a call or notification, as the next
    const QAny *params = nullptr;
    QAny response; // of an answer as the caller gets it: the result, or {"error": {…}}
};

/// The texts of messages that leave.
namespace RpcText {

/// A longer answer is an error instead.
constexpr qint64 kMaxAnswerBytes = Q_INT64_C(2) * 1024 * 1024 * 1024;

const QByteArray &ping();
const QByteArray &pong();
/// Empty, with a warning line, when it is too long for one message.
QByteArray call(const QString &id, const QString &method, const QAny &params);
/// The body has one member, the result or the error. What is too long for one message becomes an error, with a warning
/// line.
QByteArray answer(const QString &id, const QAny &body);
QByteArray result(const QString &id, const QAny &value);
/// The same around the text of the value, which is not copied.
std::vector<QByteArray> result(const QString &id, std::vector<QByteArray> value);

} // namespace RpcText

} // namespace KNet
