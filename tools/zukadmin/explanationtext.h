#pragma once

#include "qany.h"
#include "tools/zukadmin/explanationwords.h"

#include <QString>
#include <QStringList>

namespace tools::zukadmin {

/// How one day became what it is, for people: an entry of the result's EXPLAIN in words and as a timeline, and the
/// faults of the day, which are told as they are. Every line ends with a newline and holds no control characters.
QString explanationText(const QAny &explanation, const QStringList &faults, Language language);

} // namespace tools::zukadmin
