#pragma once

#include "qany.h"
#include "tools/zukadmin/adminoptions.h"

#include <QByteArray>
#include <QString>

/// What a command leaves.
struct CommandResult {
    QByteArray output; ///< for the standard output
    QString fault;     ///< why it failed; empty when it did not
    int exitCode = 0;  ///< of a command that has more to say than done and failed
};

/// Why the server did not do what it was asked, in its own words: an error of the RPC layer, an "ERROR", or a "result"
/// of "false" with its "msg", for which the refusal stands where it has none. Empty when it did.
QString faultOfAnswer(const QAny &answer, const QString &refusal = QStringLiteral("refused by the server"));

/// What a command leaves that asked once: the answer itself as JSON where that is wanted and somebody answered,
/// otherwise the text unless there is a fault.
CommandResult resultOf(const QAny &answer, const QString &fault, AdminOptions::Format format, const QByteArray &text);
