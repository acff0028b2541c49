#pragma once

#include "storage/status.h"

#include <QDate>

#include <optional>

namespace storage {
class Reader;
}

namespace report {

/// The balance with which the employee's month began, in seconds: that of the accounting made within the month. Nothing
/// without one.
storage::Status readCarried(storage::Reader &reader, qint64 user, QDate month, std::optional<qint64> *carried);

} // namespace report
