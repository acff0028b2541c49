#pragma once

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QString>

/// Reads the values of a command line's options. The first fault is kept, as a text for people.
class OptionReader
{
public:
    const QString &fault() const { return m_fault; }

protected:
    OptionReader() = default;
    ~OptionReader() = default;

    qint64 number(const QCommandLineOption &option, qint64 least, qint64 most);
    /// In ms; the option may have a fraction.
    int seconds(const QCommandLineOption &option);

    void blame(const QString &fault);
    void blameValue(const QCommandLineOption &option, const QString &why);

    QCommandLineParser m_parser;

private:
    QString m_fault;
};
