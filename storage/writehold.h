#pragma once

#include "storage/sideconnection.h"

namespace storage {

/// Keeps everybody from writing to a file while it lives, so that several readers which begin meanwhile
/// (ReadConnection::beginRead()) see one and the same state of it.
///
/// Lives on any one thread, that of a reader or another; who made it tells the readers to begin and lets go when they
/// have. Writers wait meanwhile, so it lives for moments. It waits itself for a writer, but not long: who makes it can
/// do without. Somebody else has the file open, and has read it, until it has ended: the last to close a file writes
/// the journal back. It must not be made on a thread that has a transaction open. It writes nothing and creates no
/// file.
class WriteHold
{
public:
    static constexpr int kPatienceMs = 200;

    /// Of this file only, if the path names it; without it of any that is there.
    explicit WriteHold(const QString &path, const std::optional<FileState> &only = {});
    /// Lets the writers go on.
    ~WriteHold();

    /// A failure when nothing is held, with a warning line: the file cannot be opened, or a writer did not end.
    Status status() const { return m_status; }

private:
    SideConnection m_connection;
    Status m_status;
};

} // namespace storage
