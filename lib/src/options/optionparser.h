#pragma once

#include "options/dateperiod.h"
#include "text/language.h"

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QString>
#include <QStringList>
#include <QVector>

#include <limits>

/// The command line of a program: its options are declared here, then parsed, then read. The first fault is kept, as a
/// text for people. Every program has --help, which is told whatever else is wrong, and --version.
class OptionParser
{
public:
    using Option = QCommandLineOption;
    enum class Empty { Refused, Allowed };

    /// In the help the ending stands behind the options: examples, exit codes.
    OptionParser(const QString &description, const QString &ending);

    /// Returns the option, by which it is read.
    Option add(const Option &option, Empty empty = Empty::Refused);
    /// --database; without it the file beside this program, or else that of an installed server.
    Option addDatabase();
    /// --lang; the prefix names the command that has it.
    Option addLanguage(const QString &prefix = {});
    /// One word that is no option, and is needed.
    void addWord(const QString &name, const QString &text);
    /// Any number of words.
    void addWords(const QString &name, const QString &text);

    /// False when there is nothing to run: *told has the help or the version, or there is a fault.
    bool parse(const QStringList &arguments, QString *told);

    bool isSet(const Option &option) const { return m_parser.isSet(option); }
    QString value(const Option &option) const { return m_parser.value(option); }
    QStringList values(const Option &option) const { return m_parser.values(option); }
    QStringList words() const { return m_parser.positionalArguments(); }

    // What is wrong with a value is a fault.
    template <typename T = int> T number(const Option &option, T least, T most = std::numeric_limits<T>::max())
    {
        return static_cast<T>(wholeNumber(option, least, most));
    }
    /// In ms; the option may have a fraction.
    int seconds(const Option &option);
    /// The same, but more than 0.
    int timeout(const Option &option);
    /// Invalid when it is not given.
    QDate date(const Option &option);
    /// By default from the first of this month to today.
    DatePeriod period(const Option &from, const Option &to);
    /// Empty when it is not given.
    QVector<qint64> ids(const Option &option);
    /// By default that of the environment.
    Language language(const Option &option);

    void blame(const QString &fault);
    /// "--port "x" " and why.
    void blameValue(const Option &option, const QString &why);
    const QString &fault() const { return m_fault; }

private:
    void checkWords();
    qint64 wholeNumber(const Option &option, qint64 least, qint64 most);

    QCommandLineParser m_parser;
    const QString m_ending;
    const Option m_help{{"h", "help"}, "Shows this."};
    const Option m_version{{"v", "version"}, "Shows the version."};
    QList<Option> m_neverEmpty;
    QString m_neededWord; ///< what it is, for people; empty for none
    int m_mostWords = 0;
    QString m_fault;
};
