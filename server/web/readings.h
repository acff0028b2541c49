#pragma once

#include "qany.h"

#include <QDate>

namespace storage {
class Reader;
}

namespace server::web {

// The web methods that only read. For any thread: they use the reader, the request's data and the local date of today
// alone, and no value that they return is shared with another. A request of any shape gets an answer.

/// getWTime: one employee's period, calculated with the stored settings.
QAny workTimeAnswer(storage::Reader &reader, const QAny &request, QDate today);
/// getPresence: who has gone today.
QAny presenceAnswer(storage::Reader &reader, QDate today);
/// getSaldo: the balance of one employee's free hours.
QAny saldoAnswer(storage::Reader &reader, const QAny &request);

} // namespace server::web
