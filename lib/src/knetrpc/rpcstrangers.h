#pragma once

#include <QtGlobal>

#include <set>
#include <utility>

namespace KNet {

class RpcConnection;

/// What the strangers among a controller's connections hold, in bytes. Whoever holds nothing is not kept here.
class RpcStrangers
{
public:
    /// The connection, which is not owned, held so much and now holds so much. It has to come to 0 before it ends.
    void change(RpcConnection *connection, qint64 before, qint64 now);

    /// Of all of them.
    qint64 bytes() const { return m_bytes; }
    /// Who holds most; only where somebody holds something.
    RpcConnection *largest() const { return m_byBytes.rbegin()->second; }
    qint64 largestBytes() const { return m_byBytes.rbegin()->first; }

private:
    std::set<std::pair<qint64, RpcConnection *>> m_byBytes;
    qint64 m_bytes = 0;
};

} // namespace KNet
