#include "storage/filestate.h"

#include <QDateTime>
#include <QFileInfo>

namespace storage {

FileState FileState::of(const QString &path)
{
    constexpr qint64 kNsPerMs = 1000000;
    const QFileInfo found(path);
    FileState state;
    if (!found.isFile())
        return state;
    state.isFile = true;
    state.size = found.size();
    state.modifiedNs = found.lastModified().toMSecsSinceEpoch() * kNsPerMs;
    return state;
}

} // namespace storage
