#include "tools/zukterm/latencystats.h"

#include <QtAlgorithms>

#include <algorithm>
#include <cmath>

namespace tools::zukterm {

void LatencyStats::add(qint64 microseconds)
{
    ++m_buckets[static_cast<size_t>(bucketOf(static_cast<quint64>(microseconds)))];
    ++m_count;
    m_max = std::max(m_max, microseconds);
}

qint64 LatencyStats::percentile(double share) const
{
    const qint64 wanted = std::max<qint64>(1, static_cast<qint64>(std::ceil(share * static_cast<double>(m_count))));
    qint64 seen = 0;
    for (int bucket = 0; bucket < kBuckets; ++bucket) {
        seen += m_buckets[static_cast<size_t>(bucket)];
        if (seen >= wanted)
            return std::min(m_max, static_cast<qint64>(upperEnd(bucket)));
    }
    return 0;
}

int LatencyStats::bucketOf(quint64 value)
{
    const int shift = std::max(0, 63 - static_cast<int>(qCountLeadingZeroBits(value | 1)) - kSubBits);
    // From the second group on the highest bit is set, which moves the index on by one group.
    return (shift << kSubBits) + static_cast<int>(value >> shift);
}

quint64 LatencyStats::upperEnd(int bucket)
{
    const int shift = std::max(0, (bucket >> kSubBits) - 1);
    const auto step = static_cast<quint64>(bucket - (shift << kSubBits));
    return ((step + 1) << shift) - 1;
}

} // namespace tools::zukterm
