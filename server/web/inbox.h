#pragma once

#include <QByteArray>
#include <QQueue>
#include <QString>

namespace server::web {

/// What a client sent, or that it is gone.
struct Message {
    enum Kind { Text, Binary, End } kind;
    QString text;
    QByteArray bytes;

    qint64 size() const { return text.size() * qint64(sizeof(QChar)) + bytes.size(); }
};

/// Messages of one client that wait for their turn, in their order, and whether they are too many.
class Inbox
{
public:
    static constexpr int kMaxMessages = 256;
    /// In memory, where a character of a text takes two.
    static constexpr qint64 kMaxBytes = 16 * 1024 * 1024;

    void add(const Message &message)
    {
        m_messages.enqueue(message);
        m_bytes += message.size();
    }
    /// Not when it is empty.
    Message take()
    {
        Message message = m_messages.dequeue();
        m_bytes -= message.size();
        return message;
    }
    qint64 bytes() const { return m_bytes; }
    bool isEmpty() const { return m_messages.isEmpty(); }
    /// Nothing more should be read from the client.
    bool isFull() const { return m_messages.size() >= kMaxMessages || m_bytes >= kMaxBytes; }
    /// So much is worked off that it pays to read on.
    bool hasRoom() const { return m_messages.size() <= kMaxMessages / 2 && m_bytes <= kMaxBytes / 2; }

private:
    QQueue<Message> m_messages;
    qint64 m_bytes = 0;
};

} // namespace server::web
