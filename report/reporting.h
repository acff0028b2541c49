#pragma once

#include "report/job.h"

#include <functional>

namespace report {

/// Takes a sheet that is ready. The fault that ends the report, empty to go on.
using SheetSink = std::function<QString(const Sheet &)>;
/// Told how many employees of how many are done.
using Progress = std::function<void(size_t done, size_t all)>;

/// Makes a report: calculates the employees in batches, so that memory does not grow with their number, and hands out
/// sheet by sheet. On the reader's thread, which it blocks; the reader should see one state of the file throughout.
/// The fault, empty when all went well; `isUnreadable`, where given, is set to whether it is one of the file, and not
/// that there is nobody, or no calendar.
QString makeReport(storage::Reader &reader, const Job &job, const SheetSink &sink, const Progress &progress,
                   bool *isUnreadable = nullptr);

/// The form of its sheets.
const Layout &layoutOf(Kind kind);

/// How many employees are calculated together, for a period of so many days.
int batchSize(qint64 days);

} // namespace report
