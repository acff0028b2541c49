#pragma once

#include <QtGlobal>

#include <random>

namespace tools::demodata {

/// Chance that gives the same draws from the same seed everywhere: the standard's distributions differ between
/// libraries, its engines do not.
class DemoRandom
{
public:
    /// Streams of one seed are independent of each other.
    explicit DemoRandom(quint64 seed, quint64 stream = 0) : m_engine(seed * 0x9e3779b97f4a7c15ULL + stream) {}

    /// Both ends included.
    int between(int low, int high) { return low + static_cast<int>(m_engine() % static_cast<quint64>(high - low + 1)); }
    /// Most often near the middle, never further off than the spread.
    int around(int middle, int spread) { return middle + (between(-spread, spread) + between(-spread, spread)) / 2; }
    bool happens(double probability)
    {
        constexpr double range = 9007199254740992.0; // 2^53, what a double holds exactly
        return static_cast<double>(m_engine() >> 11) / range < probability;
    }

private:
    std::mt19937_64 m_engine;
};

} // namespace tools::demodata
