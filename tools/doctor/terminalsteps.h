#pragma once

namespace tools::doctor {

/// Begins a select: T(N) are the numbers of the terminals in `events`, found by steps over its index, however many rows
/// there are. Its last row is NULL.
constexpr char kTerminalSteps[] =
    "with recursive T(N) as (select (select TID from events where TID>0 order by TID limit 1) union all select "
    "(select TID from events where TID>T.N order by TID limit 1) from T where N is not null) ";

} // namespace tools::doctor
