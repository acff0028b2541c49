#pragma once

#include "storage/database.h"
#include "tools/demodata/democompany.h"

/// Fills the database with a generated company, or ends the program.
inline void makeCompany(DataBase &database, int employees, const QDate &start, const QDate &end)
{
    DemoOptions options;
    options.employees = employees;
    options.start = start;
    options.end = end;
    const QString fault = tools::demodata::generateDemoCompany(database, options);
    if (!fault.isEmpty())
        qFatal("%s", qPrintable(fault));
}
