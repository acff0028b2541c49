#pragma once

#include <QString>

#include <variant>

namespace calc::rules {

/// A value as the file has it: nothing, or what its column or JSON text holds. Carried along, never judged.
using StoredValue = std::variant<std::monostate, bool, qint64, double, QString>;

} // namespace calc::rules
