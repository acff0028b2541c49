#pragma once

#include <QObject>
#include <QString>
#include <QTimer>

namespace tools::zukterm {

/// Prints what happens on the standard output, in UTF-8. Lines reach it at the latest after a short delay.
class RunLog : public QObject
{
    Q_OBJECT
public:
    explicit RunLog(bool quiet, QObject *parent = nullptr);
    ~RunLog() override;

    /// Nothing will be printed but print()ed texts: spares making lines.
    bool isQuiet() const { return m_isQuiet; }
    /// One line: the time, the terminal, the text. Control characters are shown as blanks.
    void say(int terminal, const QString &text);
    /// The text as it is.
    void print(const QString &text);

private:
    static constexpr int kFlushMs = 50; // a flush for each line would be most of the work

    bool m_isQuiet;
    QTimer m_flush;
};

} // namespace tools::zukterm
