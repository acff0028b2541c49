#pragma once

#include "calc/rules/storedvalue.h"
#include "qany.h"

namespace calc::output {

/// A carried value as the file has it; Null for nothing.
inline QAny valueOf(const rules::StoredValue &stored)
{
    struct {
        QAny operator()(std::monostate) const { return {}; }
        QAny operator()(bool value) const { return value; }
        QAny operator()(qint64 value) const { return value; }
        QAny operator()(double value) const { return value; }
        QAny operator()(const QString &value) const { return value; }
    } toValue;
    return std::visit(toValue, stored);
}

} // namespace calc::output
