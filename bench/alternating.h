#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <vector>

/// Seconds since the given moment.
inline double secondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Runs the sides in turn, so that whatever else the machine does meets all of them, and gives the median of what each
/// one tells of its runs.
inline std::vector<double> alternatingMediansOf(const std::vector<std::function<double()>> &sides, size_t rounds)
{
    std::vector<std::vector<double>> told(sides.size());
    for (size_t round = 0; round < rounds; ++round) {
        for (size_t i = 0; i < sides.size(); ++i)
            told[i].push_back(sides[i]());
    }
    std::vector<double> medians;
    for (std::vector<double> &one : told) {
        std::sort(one.begin(), one.end());
        medians.push_back(one[rounds / 2]);
    }
    return medians;
}

/// The same for sides that are timed as a whole, in seconds.
inline std::vector<double> alternatingMedians(const std::vector<std::function<void()>> &sides, size_t rounds)
{
    std::vector<std::function<double()>> timed;
    timed.reserve(sides.size());
    for (const std::function<void()> &side : sides) {
        timed.emplace_back([side] {
            const auto start = std::chrono::steady_clock::now();
            side();
            return secondsSince(start);
        });
    }
    return alternatingMediansOf(timed, rounds);
}
