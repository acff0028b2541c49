#pragma once

#include "tools/zukadmin/explanationwords.h"

#include <QString>

#include <algorithm>

namespace tools::zukadmin {

/// Times as texts: with seconds or without. All values are in seconds.
class ExplanationTimes
{
public:
    /// With seconds when one of the values is no whole minute, so that what is shown adds up.
    template <typename Values>
    ExplanationTimes(const ExplanationWords &words, const Values &values)
        : m_words(words),
          m_withSeconds(std::any_of(values.begin(), values.end(), [](qint64 value) { return value % 60 != 0; }))
    {
    }

    bool withSeconds() const { return m_withSeconds; }
    /// "07:30" of a time of day; another day is named behind it.
    QString clock(qint64 sinceMidnight) const;
    /// "8:20" or "-0:40".
    QString duration(qint64 seconds) const;
    /// "+0:20", "-0:40" or "0:00".
    QString change(qint64 seconds) const;

private:
    QString compose(qint64 seconds, int hourDigits) const;

    const ExplanationWords m_words;
    const bool m_withSeconds;
};

} // namespace tools::zukadmin
