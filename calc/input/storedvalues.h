#pragma once

#include "calc/rules/storedvalue.h"
#include "qany.h"

namespace calc::input {

/// The value for carrying along; a List or Hash as its JSON text.
inline rules::StoredValue storedValue(const QAny &value)
{
    switch (value.type()) {
    case QAny::Bool:
        return value.asBool();
    case QAny::Integer:
        return value.asInteger();
    case QAny::Double:
        return value.asDouble();
    case QAny::String:
        return value.asString();
    case QAny::List:
    case QAny::Hash:
        return value.toJson();
    default:
        return std::monostate();
    }
}

} // namespace calc::input
