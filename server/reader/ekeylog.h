#pragma once

#include <QLoggingCategory>

namespace server::reader {

/// The debug lines of the fingerprint reader's tracker: written as by qDebug(), but where they are switched off a line
/// of the file costs nothing. To be used with qCDebug().
inline const QLoggingCategory &ekeyLog()
{
    return *QLoggingCategory::defaultCategory();
}

} // namespace server::reader
