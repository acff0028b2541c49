#pragma once

#include "storage/filestate.h"
#include "storage/rescuelines.h"

#include <QByteArray>
#include <QFile>
#include <QList>
#include <QString>

#include <memory>

namespace storage {

/// Keeps lines on the disk while the database refuses them, beyond the end of the process.
///
/// The file has its room from the beginning, so that a full disk does not stop it. Whatever moment the process is
/// killed at, what is read back are whole lines.
///
/// Lives on one thread. Nothing throws.
class RescueFile
{
public:
    /// The room, in bytes: for the 100000 events of about 300 bytes that are kept at most.
    static constexpr qint64 kRoom = 32 << 20;

    /// Opens the file, or creates it with its room; one warning line when it cannot.
    explicit RescueFile(const QString &path, qint64 room = kRoom);

    /// What a former process left: asked for once, at the start, before anything is cleared. Damaged lines are left
    /// out, with one warning line for all.
    QList<QByteArray> lines();
    /// Whether the lines, which hold no line feeds, are on the disk: all or none. One warning line when they are not,
    /// until an attempt succeeds again.
    bool append(const QList<QByteArray> &lines);
    /// Empties the file, which keeps its room. False when the disk did not take it, or lines() was never asked for what
    /// is there: it may come back then.
    bool clear();

    QString path() const { return m_path; }

private:
    Q_DISABLE_COPY(RescueFile)

    bool open();
    bool ensureOpen();
    bool createAnew();
    void readBack();
    bool write(qint64 position, const QByteArray &content);
    bool fail(const char *what);

    QString m_path;
    std::unique_ptr<QFile> m_file; // null while it cannot be opened
    qint64 m_room;
    int m_descriptor = -1;
    FileState m_state;
    RescueLines m_kept;             // without the lines
    QList<QByteArray> m_leftBehind; // not yet given
    bool m_hasFailed = false;
};

} // namespace storage
