#pragma once

#include "qany.h"
#include "storage/status.h"

#include <QString>

#include <functional>

class DataBase;

namespace storage {

/// Whether a write may have been stored before, in this file or another.
enum class Delivery { First, Again };

/// What became of a write.
enum class Fate {
    Stored,
    Kept,    ///< it waits for another attempt; Stored or Failed follows
    Refused, ///< the attempt failed and the write is none that is kept
    Failed,  ///< it can never be stored
    Dropped  ///< too many are kept
};

/// Something to store that must not get lost. Values, but for what its functions hold on to.
struct Write {
    /// Runs inside a transaction. What it wrote is stored if it returns Done, else undone. One that is delivered again
    /// must not store twice.
    std::function<Status(DataBase &database, Delivery delivery)> store;
    /// Told the fate, after the commit.
    std::function<void(Fate fate)> told;
    /// For the warning lines; asked only then.
    std::function<QString()> name;
    /// From which it is made anew after a restart; Null: it lives as long as this process.
    QAny rescued;
    /// Whether it is kept when it is refused.
    bool isKept = true;
};

} // namespace storage
