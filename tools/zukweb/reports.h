#pragma once

#include "qany.h"

#include <QString>

/// Readable texts of the server's answers, for a terminal of about 120 columns. The parameter is the "data" of the
/// answer.
namespace tools::zukweb::Reports {

/// Days with their sum row, the period's sums, pairs where the answer has them, remarks and warnings.
QString workTime(const QAny &data);
QString presence(const QAny &data);
QString saldo(const QAny &data);

} // namespace tools::zukweb::Reports
