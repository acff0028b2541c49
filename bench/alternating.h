#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <vector>

/// Runs the sides in turn, so that whatever else the machine does meets all of them, and gives each one's median time
/// in seconds.
inline std::vector<double> alternatingMedians(const std::vector<std::function<void()>> &sides, size_t rounds)
{
    std::vector<std::vector<double>> times(sides.size());
    for (size_t round = 0; round < rounds; ++round) {
        for (size_t i = 0; i < sides.size(); ++i) {
            const auto start = std::chrono::steady_clock::now();
            sides[i]();
            times[i].push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        }
    }
    std::vector<double> medians;
    for (std::vector<double> &one : times) {
        std::sort(one.begin(), one.end());
        medians.push_back(one[rounds / 2]);
    }
    return medians;
}
