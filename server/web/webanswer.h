#pragma once

#include "qany.h"

#include <QString>

namespace server::web {

// Keys of requests and answers.
extern const QString kData;
extern const QString kResult;
extern const QString kType;
extern const QString kTag;

// The form of answers; for any thread.

/// An answer that says no more than that there is nothing.
QAny startOfAnswer();
QAny startOfAnswer(const char *method);
/// Makes the answer an error answer; what else it already holds stays.
QAny refused(QAny answer, const char *reason);
QAny answerOf(const QAny &data);

/// The row under keys of one case, whatever case the administration's file declares its columns in.
template <typename Convert> QAny withKeys(const QAny &row, Convert convert)
{
    QAny result(QAny::Hash);
    for (int i = 0; i < row.count(); ++i)
        result.insert(convert(row.keyAt(i)), row.at(i));
    return result;
}

/// Unix seconds as local time in the given form; empty where there is no time.
QString timeText(const QAny &seconds, const QString &format);

} // namespace server::web
