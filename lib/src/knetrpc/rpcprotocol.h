#pragma once

#include "qany.h"

namespace KNet {

/// Errors of the RPC layer. Those from ConnectionError on are produced locally for a caller and never written.
enum RpcErrorCode {
    NoSuchService = 10100,
    NoSuchMethod = 10110,
    InvokeError = 10120,
    NotAuthorized = 10200,
    ConnectionError = 10300,
    ConnectionClosed = 10310,
    CallTimeout = 10400,
};

/// The text that belongs to the code, as in {"code": 10100, "message": "No such service"}.
QString rpcErrorText(RpcErrorCode code);
/// {"error": {"code": …, "message": …}}: what a caller gets instead of a result.
QAny rpcError(int code, const QString &message);
QAny rpcError(RpcErrorCode code);
/// Code of such an error, 0 for any other answer.
int rpcErrorCode(const QAny &answer);
/// Code and message of such an error, as in "3200 Duplicated terminal 5 connection".
QString rpcErrorText(const QAny &answer);

/// Bounds that keep one peer from taking the process down. Each that is met gives one warning line.
struct RpcLimits {
    /// A peer that sends a longer message is disconnected.
    qint64 maxMessageBytes = 256 * 1024 * 1024;
    /// So is one that sends a message of more values: a small value costs thirty times its text.
    qint64 maxMessageValues = 8 * 1024 * 1024;
    /// The bound on the length of a message that a stranger sends: a peer that came to us and holds no token yet. 0:
    /// none of its own.
    qint64 maxStrangerMessageBytes = 0;
    /// Where all strangers together hold more than this of messages that are not complete, and of answers that they
    /// have not read, the one that holds most is disconnected. A value counts at least 32 bytes. 0: no such bound.
    qint64 maxStrangersBytes = 0;
    /// A peer that has left more than this unread of answers, pongs included, when another one is due is disconnected,
    /// and so is one that has left so much unread of our calls when another one is due. One of them may be larger.
    qint64 maxUnreadBytes = 256 * 1024 * 1024;
    /// While calls of more than this wait behind answers that are given later, nothing more is read from the
    /// connection; a value counts 32 bytes at least.
    qint64 maxWaitingBytes = 16 * 1024 * 1024;
    /// What one connection may have handled before the others' turn comes.
    int maxMessagesPerTurn = 64;
    /// And how long, before no further message is begun.
    int maxTurnMs = 50;
    /// A closing connection that has not gone by then is aborted, unless the peer still takes what was answered before.
    /// How long the last calls of a peer that has gone wait at most.
    int closeGraceMs = 5000;
    /// A connection without a complete message for that long, whose peer takes no large answer either, is closed; 0
    /// means never. For new connections.
    int activityTimeoutMs = 300000;
};

} // namespace KNet
