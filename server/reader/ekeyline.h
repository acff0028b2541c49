#pragma once

#include <QByteArray>
#include <QString>

namespace server::reader {

/// One line of the fingerprint reader's file: fields between semicolons, of which the first four are used. Blanks
/// around a field are dropped.
class EkeyLine
{
public:
    explicit EkeyLine(const QByteArray &bytes);

    /// The whole line.
    const QString &text() const { return m_text; }
    /// Whether it has all fields that are used.
    bool isComplete() const { return m_isComplete; }
    QString user() const { return m_user; }
    QString finger() const { return m_finger; }
    QString reader() const { return m_reader; }
    QString date() const { return m_date; }

    /// UTF-8, or else Latin-1. What cannot be shown is replaced, so that a row of the journal stays readable.
    static QString textOf(const QByteArray &bytes);
    /// The date field alone, quicker; null when the line is not complete.
    static QString dateOf(const QByteArray &bytes);

private:
    QString m_text;
    bool m_isComplete = false;
    QString m_user;
    QString m_finger;
    QString m_reader;
    QString m_date;
};

} // namespace server::reader
