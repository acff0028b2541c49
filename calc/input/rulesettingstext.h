#pragma once

#include "calc/rules/rulesettings.h"

#include <QString>

#include <memory>

namespace calc::input {

/// The calculation settings of a stored text; null when it is empty or not the JSON text of a hash.
std::shared_ptr<const rules::RuleSettings> readRuleSettings(const QString &text);

} // namespace calc::input
