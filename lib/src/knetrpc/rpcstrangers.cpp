#include "knetrpc/rpcstrangers.h"

namespace KNet {

void RpcStrangers::change(RpcConnection *connection, qint64 before, qint64 now)
{
    m_bytes += now - before;
    if (before > 0)
        m_byBytes.erase({before, connection});
    if (now > 0)
        m_byBytes.emplace(now, connection);
}

} // namespace KNet
