#pragma once

#include "qany.h"

#include <QString>

/// By this ID the server tells log lines of administration clients from those of terminals.
constexpr int kAdminLogId = 200;

/// A log row of the level and group 0, as the server's `logs` takes it. The time is in ms since 1970.
QAny logRow(int id, qint64 time, const QString &message);
