#pragma once

#include <QtGlobal>

#include <array>

namespace tools::zukterm {

/// Percentiles of any number of durations in constant memory, exact to 1/64.
class LatencyStats
{
public:
    /// In µs, not negative.
    void add(qint64 microseconds);
    qint64 count() const { return m_count; }
    /// In µs: at least that share (0 to 1) of the durations is no longer. 0 when there are none.
    qint64 percentile(double share) const;
    qint64 max() const { return m_max; }

private:
    // Durations of the same highest bit share 64 buckets of equal width.
    static constexpr int kSubBits = 6;
    static constexpr int kBuckets = (64 - kSubBits) << kSubBits;

    static int bucketOf(quint64 value);
    static quint64 upperEnd(int bucket);

    std::array<qint64, kBuckets> m_buckets{};
    qint64 m_count = 0;
    qint64 m_max = 0;
};

} // namespace tools::zukterm
