#include "storage/worklimit.h"

#include <limits>

namespace storage {

namespace {

constexpr qint64 kNoLimit = std::numeric_limits<qint64>::max();

thread_local qint64 theStepsLeft = kNoLimit;

} // namespace

WorkLimit::WorkLimit(qint64 steps)
{
    Q_ASSERT(theStepsLeft == kNoLimit);
    theStepsLeft = steps;
}

WorkLimit::~WorkLimit()
{
    theStepsLeft = kNoLimit;
}

bool WorkLimit::spend(qint64 steps)
{
    if (theStepsLeft == kNoLimit)
        return false;
    theStepsLeft = qMax<qint64>(0, theStepsLeft - steps);
    return theStepsLeft == 0;
}

} // namespace storage
