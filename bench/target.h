#pragma once

#include <cstdio>

/// Prints a figure beside its target; false when the target is missed. The unit is "ratio", "KiB" and so on.
inline bool tellTarget(const char *name, const char *unit, double value, const char *relation, double target, bool met)
{
    std::printf("%s: %s %.2f (target %s %.2f)%s\n", name, unit, value, relation, target, met ? "" : " MISSED");
    std::fflush(stdout);
    return met;
}

inline bool atLeast(const char *name, const char *unit, double value, double target)
{
    return tellTarget(name, unit, value, ">=", target, value >= target);
}

inline bool atMost(const char *name, const char *unit, double value, double target)
{
    return tellTarget(name, unit, value, "<=", target, value <= target);
}
