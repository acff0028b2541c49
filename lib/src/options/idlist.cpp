#include "options/idlist.h"

#include <QStringList>

namespace {

constexpr int kMaxIds = 1000000; // a mistyped range would fill the memory

} // namespace

bool readIdList(const QString &text, QVector<qint64> *ids)
{
    ids->clear();
    const QStringList parts = text.split(QLatin1Char(','));
    for (const QString &part : parts) {
        const int dash = part.indexOf(QLatin1Char('-'));
        bool firstOk = false;
        bool lastOk = true;
        const qint64 first = part.leftRef(dash).toLongLong(&firstOk);
        const qint64 last = dash < 0 ? first : part.midRef(dash + 1).toLongLong(&lastOk);
        if (!firstOk || !lastOk || first < 0 || last < first || last - first >= kMaxIds - ids->size())
            return false;
        for (qint64 id = first; id <= last; ++id)
            ids->append(id);
    }
    return true;
}
