#pragma once

#include "page/server/office/person.h"
#include "report/staffview.h"

namespace page::office {

using report::DayState;
using report::DayView;
using report::Period;
using report::StaffView;
using report::stateText;
using report::Totals;

} // namespace page::office
