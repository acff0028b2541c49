#include "tools/zukimport/importer.h"

#include "tools/zukimport/calendarimport.h"
#include "tools/zukimport/employeeimport.h"
#include "tools/zukimport/employeeroster.h"
#include "tools/zukimport/importoptions.h"
#include "tools/zukimport/importreport.h"
#include "tools/zukimport/importstore.h"
#include "tools/zukimport/punchimport.h"

namespace tools::zukimport {

namespace {

QString importInto(ImportStore &store, const ImportOptions &options, ImportReport &report)
{
    for (const char *table : {"employees", "allevents", "calendar"}) {
        if (!store.hasTable(QLatin1String(table)))
            return QStringLiteral("%1 has no table %2").arg(options.database, QLatin1String(table));
    }
    EmployeeRoster roster(store);
    EmployeeImport employees(options, store, roster, report);
    QString fault = employees.checkSettings();
    if (fault.isEmpty() && !options.employeesFile.isEmpty())
        fault = employees.run();
    if (fault.isEmpty() && !options.punchesFile.isEmpty())
        fault = PunchImport(options, store, roster, employees, report).run();
    if (fault.isEmpty() && !options.calendarFrom.isNull())
        fault = CalendarImport(options, store, report).run();
    return fault;
}

} // namespace

void runImport(const ImportOptions &options, ImportReport &report)
{
    ImportStore store;
    QString fault;
    if (store.open(options.database, options.create, options.dryRun ? ImportStore::DryRun : ImportStore::Write))
        fault = importInto(store, options, report);
    if (fault.isEmpty() && report.outcome() != ImportReport::NothingDone)
        store.commit();
    if (!store.fault().isEmpty())
        fault = store.fault();
    if (fault.isEmpty())
        report.summarize(options.dryRun);
    else
        report.fail(fault);
}

} // namespace tools::zukimport
