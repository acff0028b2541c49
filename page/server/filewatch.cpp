#include "page/server/filewatch.h"

#include <utility>

namespace page {

void FileWatch::rest()
{
    m_watch.reset();
    m_reader.reset();
    m_isResting = true;
    m_isGone = false;
}

FileWatch::Seen FileWatch::look()
{
    Seen seen;
    const bool wasResting = std::exchange(m_isResting, false);
    if (m_reader && !m_reader->isCurrent()) {
        m_watch.reset();
        m_reader.reset();
    }
    bool isNew = false;
    if (!m_reader) {
        auto reader = std::make_unique<storage::ReadConnection>(m_path);
        if (!reader->isOpen()) {
            seen.hasGone = !std::exchange(m_isGone, true);
            return seen;
        }
        m_reader = std::move(reader);
        m_watch = m_office.watch(*m_reader);
        isNew = true;
    }
    seen.hasCome = std::exchange(m_isGone, false);
    seen.change = m_watch->look();
    if (isNew)
        seen.change = OfficeDoor::Change();
    seen.change.all = seen.change.all || (isNew && !wasResting);
    return seen;
}

} // namespace page
