#pragma once

#include "qany.h"

#include <QString>

namespace tools::zukterm {

/// Shapes of the rows that terminals record: events as the server's `events` takes them, log rows as `logs`.

/// The row has neither terminal nor description yet; see stampEvent(). The time is in Unix seconds.
QAny eventRow(const QString &user, const QString &code, qint64 time, const QString &remark = QString());
/// The same row with the keys of administration clients.
QAny withLowerCaseKeys(const QAny &row);

QString arrivalCode();
QString departureCode();

/// Makes the event one of this terminal: TID, TERMINAL and, where there is none, a DESCRIPTION that no other event has.
/// Rows share nothing afterwards.
QAny stampEvent(const QAny &row, int terminal);

/// Why a row of a file is no event or log row; empty when it is one. Both need numbers as times.
QString faultOfEvent(const QAny &row);
QString faultOfLog(const QAny &row);

/// The SELECT that finds the event in the server's database.
QString eventQuery(const QAny &event);
/// For people: user, code and time.
QString eventText(const QAny &event);

/// Unix seconds of a number or a local time like "2026-03-31 16:00" or with seconds; 0 when it is neither.
qint64 readEventTime(const QString &text);

} // namespace tools::zukterm
