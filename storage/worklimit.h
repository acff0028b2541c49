#pragma once

#include <QtGlobal>

namespace storage {

/// While it lives, all statements of its thread, on whatever connection, together may take so much work; the one that
/// takes more is ended and fails. Waiting for another process that holds the file is no work. Not nested.
///
/// Where SQLite cannot be reached beside Qt's driver (see hardening.h) it has no effect.
class WorkLimit
{
public:
    /// In steps of SQLite's machine: about two seconds on a common machine.
    static constexpr qint64 kSteps = 30 * 1000 * 1000;

    explicit WorkLimit(qint64 steps = kSteps);
    ~WorkLimit();

    /// So many steps were taken on this thread. True when that was too much.
    static bool spend(qint64 steps);

private:
    Q_DISABLE_COPY(WorkLimit)
};

} // namespace storage
