#pragma once

#include "tools/doctor/findings.h"
#include "tools/doctor/site.h"

namespace tools::doctor {

/// Runs all checks on a site. Changes nothing. The findings come worst first.
Report examine(Site site);

} // namespace tools::doctor
