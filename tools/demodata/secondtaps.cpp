#include "tools/demodata/secondtaps.h"

namespace tools::demodata {

namespace {

constexpr double kTappedAgain = 0.03;
/// Seconds between the taps: within the two minutes in which they count as one passage.
constexpr int kSoonest = 5;
constexpr int kLatest = 100;

/// Above the streams of the employees themselves.
constexpr quint64 kFirstStream = 1000000;

} // namespace

DemoPunch otherTapOf(const DemoPunch &punch, int seconds)
{
    DemoPunch other = punch;
    other.second += punch.isArrival() ? seconds : -seconds;
    return other;
}

SecondTaps::SecondTaps(quint64 seed, int employee) : m_random(seed, kFirstStream + static_cast<quint64>(employee)) {}

std::vector<DemoPunch> SecondTaps::addedTo(const std::vector<DemoPunch> &punches)
{
    std::vector<DemoPunch> tapped;
    tapped.reserve(punches.size() + 1);
    for (size_t i = 0; i < punches.size(); ++i) {
        const DemoPunch &punch = punches[i];
        if (punch.source != DemoPunch::Source::Terminal || !m_random.happens(kTappedAgain)) {
            tapped.push_back(punch);
            continue;
        }
        const DemoPunch other = otherTapOf(punch, m_random.between(kSoonest, kLatest));
        const bool isFirst = !punch.isArrival();
        if (isFirst && (tapped.empty() || tapped.back().second < other.second))
            tapped.push_back(other);
        tapped.push_back(punch);
        if (!isFirst && (i + 1 == punches.size() || other.second < punches[i + 1].second))
            tapped.push_back(other);
    }
    return tapped;
}

} // namespace tools::demodata
