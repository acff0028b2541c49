#include "knetrpc/idgenerator.h"

#include <QMutexLocker>

namespace KNet {

QString IdGenerator::next()
{
    const QMutexLocker lock(&m_mutex);
    if (m_next == 0)
        ++m_next;
    return QString::number(m_next++);
}

IdGenerator &IdGenerator::connections()
{
    static IdGenerator generator;
    return generator;
}

IdGenerator &IdGenerator::calls()
{
    static IdGenerator generator;
    return generator;
}

} // namespace KNet
