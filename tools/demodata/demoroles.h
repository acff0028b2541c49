#pragma once

#include "tools/demodata/demostaff.h"

#include <QHash>

namespace tools::demodata {

/// A role of the employees' page.
struct DemoRole {
    bool isHr = false;
    QString department; ///< of a supervisor
};

/// Whether the employee can use the web page.
bool hasAccess(const DemoEmployee &employee);

/// Who has a role, by id: one of the personnel office, in the accounts department where there is somebody, and a
/// supervisor of each department that has somebody else. Ana, the first, has none: she is the page's ordinary user.
QHash<int, DemoRole> demoRoles(const QVector<DemoEmployee> &staff);

} // namespace tools::demodata
