#pragma once

#include "qany.h"

#include <QString>
#include <QVariant>

namespace storage {

/// SQLite keeps NULL and the empty text apart, the driver takes a null QString for NULL: a text must stay a text.
inline QVariant textVariant(const QString &text)
{
    return text.isNull() ? QVariant(QLatin1String("")) : QVariant(text);
}

inline QVariant columnVariant(const QAny &value)
{
    return value.isString() ? textVariant(value.asString()) : value.toVariant();
}

} // namespace storage
