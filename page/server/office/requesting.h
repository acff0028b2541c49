#pragma once

#include "page/server/office/access.h"

class DataBase;

namespace page::office {

/// What may be asked for. Whoever asks for more is told why not.
constexpr int kMaxAbsenceDays = 366;
constexpr int kMaxDaysAhead = 366;
/// Before the month of the employee's first event, so many months.
constexpr int kMonthsBeforeFirstEvent = 1;
constexpr int kMaxTextLength = 1000;
/// Of one employee at a time, so that nobody fills the file.
constexpr int kMaxOpenRequests = 100;

// The writing asks, inside the transaction that the caller commits where the answer is done. On the main thread.

QAny requestAnswer(DataBase &database, const Admission &admission, const QAny &ask, const Now &now);
QAny withdrawAnswer(DataBase &database, const Admission &admission);
QAny decideAnswer(DataBase &database, const Admission &admission, const QAny &ask, const Now &now);

/// A person's text as it may be stored and shown: without control characters and halves of characters.
QString plainText(const QString &text);

} // namespace page::office
