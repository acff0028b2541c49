#pragma once

namespace tools::zukimport {

class ImportReport;
struct ImportOptions;

/// Runs one import from end to end, in one transaction: employees, then punches, then the calendar. What it did, and
/// what became of it, is in the report.
void runImport(const ImportOptions &options, ImportReport &report);

} // namespace tools::zukimport
