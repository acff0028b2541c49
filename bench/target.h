#pragma once

#include <cstdio>
#include <cstdlib>

// What a benchmark found out. It is printed, and where the environment's ZUK_BENCH_RESULTS names a file, added to that
// as a line of fields with tabs between them, from which scripts/bench makes its page:
//   target  name  unit  value  relation  limit  against  met or MISSED
//   figure  name  unit  value
//   point   curve  x  y

/// Null where nobody asks for it.
inline std::FILE *resultsFile()
{
    static const char *const name = std::getenv("ZUK_BENCH_RESULTS");
    static std::FILE *const file = name ? std::fopen(name, "a") : nullptr;
    return file;
}

/// False when the target is missed. The unit is "ratio", "KiB" and so on; against tells with what the same run compared
/// it, and is empty where the limit stands for itself.
inline bool tellTarget(const char *name, const char *unit, double value, const char *relation, double limit, bool met,
                       const char *against)
{
    std::printf("%s: %s %.2f (target %s %.2f)%s\n", name, unit, value, relation, limit, met ? "" : " MISSED");
    std::fflush(stdout);
    if (std::FILE *const file = resultsFile()) {
        std::fprintf(file, "target\t%s\t%s\t%.6g\t%s\t%.6g\t%s\t%s\n", name, unit, value, relation, limit, against,
                     met ? "met" : "MISSED");
        std::fflush(file);
    }
    return met;
}

inline bool atLeast(const char *name, const char *unit, double value, double limit, const char *against)
{
    return tellTarget(name, unit, value, ">=", limit, value >= limit, against);
}

inline bool atMost(const char *name, const char *unit, double value, double limit, const char *against)
{
    return tellTarget(name, unit, value, "<=", limit, value <= limit, against);
}

/// What it comes to on this machine, for who asks whether the server is fast enough for a site.
inline void tellFigure(const char *name, const char *unit, double value)
{
    std::printf("%s: %.2f %s\n", name, value, unit);
    std::fflush(stdout);
    if (std::FILE *const file = resultsFile()) {
        std::fprintf(file, "figure\t%s\t%s\t%.6g\n", name, unit, value);
        std::fflush(file);
    }
}

/// A point of a curve, for a plot alone.
inline void tellPoint(const char *curve, double x, double y)
{
    if (std::FILE *const file = resultsFile())
        std::fprintf(file, "point\t%s\t%.6g\t%.6g\n", curve, x, y);
}
