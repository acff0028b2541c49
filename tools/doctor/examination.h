#pragma once

#include "tools/doctor/findings.h"
#include "tools/doctor/site.h"

namespace tools::doctor {

/// Runs all checks on a site. Changes nothing. The findings come worst first.
///
/// From the first question on that has no answer only what lies on the server's machine is looked at; the report's
/// fault tells why, and the findings are those of checks whose questions all had answers. Rows that may be of no one
/// moment give a fault alone.
Report examine(Site site);

} // namespace tools::doctor
