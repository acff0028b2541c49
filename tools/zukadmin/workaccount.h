#pragma once

#include "tools/zukadmin/explainedday.h"
#include "tools/zukadmin/explanationwords.h"

#include <QString>

namespace tools::zukadmin {

/// Lines of text are broken before this column.
constexpr int kTextWidth = 79;

/// The text behind the prefix, further lines indented as far as it reaches. Control characters become blanks.
QString wrapped(const QString &prefix, const QString &text);
/// The text as one word for wrapped().
QString unbroken(QString text);

/// The way from the work of the pairs to the working time: a running account with a line for each rule that did
/// something, in their order.
QString workAccount(const ExplainedDay &day, const ExplanationWords &words);
/// The rules that did nothing, by reason, those that are off last; empty without any.
QString idleRules(const ExplainedDay &day, const ExplanationWords &words);

} // namespace tools::zukadmin
