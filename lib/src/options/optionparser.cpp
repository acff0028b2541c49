#include "options/optionparser.h"

#include "options/idlist.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <climits>

namespace {

/// Beside the program, as the server has it; a program that is installed elsewhere takes the installed server's.
QString usualDatabase()
{
    const QString beside = QCoreApplication::applicationDirPath() + QStringLiteral("/zuknetserver.db");
    return QFileInfo::exists(beside) ? beside : QStringLiteral("/opt/zuk3srv/zuknetserver.db");
}

QString nameOf(const OptionParser::Option &option)
{
    return QStringLiteral("--") + option.names().constLast();
}

/// Qt's sentence, as all faults are told.
QString clauseOf(QString sentence)
{
    sentence[0] = sentence.at(0).toLower();
    sentence.chop(1);
    return sentence;
}

} // namespace

OptionParser::OptionParser(const QString &description, const QString &ending) : m_ending(ending)
{
    m_parser.setApplicationDescription(description);
    m_parser.addOptions({m_help, m_version});
}

OptionParser::Option OptionParser::add(const Option &option, Empty empty)
{
    m_parser.addOption(option);
    if (empty == Empty::Refused)
        m_neverEmpty.append(option);
    return option;
}

OptionParser::Option OptionParser::addDatabase()
{
    return add({"database", "The database (zuknetserver.db beside this program, or else /opt/zuk3srv/zuknetserver.db).",
                "file", usualDatabase()});
}

OptionParser::Option OptionParser::addLanguage(const QString &prefix)
{
    return add({"lang", prefix + QStringLiteral("Slovenian or English (as the environment has it)."), "sl|en"});
}

void OptionParser::addWord(const QString &name, const QString &text)
{
    m_parser.addPositionalArgument(name, text + '.');
    m_neededWord = QStringLiteral("one %1 is needed: %2").arg(name, text);
    m_mostWords = 1;
}

void OptionParser::addWords(const QString &name, const QString &text)
{
    m_parser.addPositionalArgument(name, text);
    m_mostWords = INT_MAX;
}

bool OptionParser::parse(const QStringList &arguments, QString *told)
{
    const bool isParsed = m_parser.parse(arguments);
    if (isSet(m_help)) {
        *told = m_parser.helpText() + m_ending;
        return false;
    }
    if (isSet(m_version)) {
        *told = QCoreApplication::applicationName() + QStringLiteral(" " ZUK_VERSION "\n");
        return false;
    }
    if (!isParsed)
        blame(clauseOf(m_parser.errorText()));
    for (const Option &option : qAsConst(m_neverEmpty)) {
        if (values(option).contains(QString()))
            blame(nameOf(option) + QStringLiteral(" is empty"));
    }
    checkWords();
    return m_fault.isEmpty();
}

void OptionParser::checkWords()
{
    const QStringList given = words();
    if (given.size() > m_mostWords)
        blame(QStringLiteral("unexpected: ") + given.mid(m_mostWords).join(' '));
    if (given.value(0).isEmpty())
        blame(m_neededWord);
}

qint64 OptionParser::wholeNumber(const Option &option, qint64 least, qint64 most)
{
    bool ok = false;
    const qint64 number = value(option).toLongLong(&ok);
    if (ok && number >= least && number <= most)
        return number;
    const QString range = QStringLiteral("is not a number from %1 ").arg(least);
    blameValue(option, range + (most < INT_MAX ? QStringLiteral("to %1").arg(most) : QStringLiteral("on")));
    return least;
}

int OptionParser::seconds(const Option &option)
{
    bool ok = false;
    const double number = value(option).toDouble(&ok);
    if (ok && number >= 0 && number < INT_MAX / 1000)
        return static_cast<int>(number * 1000);
    blameValue(option, QStringLiteral("is not a number of seconds"));
    return 0;
}

int OptionParser::timeout(const Option &option)
{
    const int ms = seconds(option);
    if (ms == 0)
        blame(nameOf(option) + QStringLiteral(" must be more than 0"));
    return ms;
}

QDate OptionParser::date(const Option &option)
{
    const QDate date = readDate(value(option));
    if (isSet(option) && !date.isValid())
        blameValue(option, QStringLiteral("is not a date like 31.3.2025 or 2025-03-31"));
    return date;
}

DatePeriod OptionParser::period(const Option &from, const Option &to)
{
    const QDate today = QDate::currentDate();
    const DatePeriod period{isSet(from) ? date(from) : today.addDays(1 - today.day()), isSet(to) ? date(to) : today};
    if (period.to < period.from)
        blame(QStringLiteral("the period ends before it begins"));
    return period;
}

QVector<qint64> OptionParser::ids(const Option &option)
{
    QVector<qint64> ids;
    const QString text = value(option);
    if (!text.isEmpty() && !readIdList(text, &ids))
        blameValue(option, QStringLiteral("is not a list like 5,7-12"));
    return ids;
}

Language OptionParser::language(const Option &option)
{
    Language language = languageOfLocale();
    if (isSet(option) && !readLanguage(value(option), &language))
        blameValue(option, QStringLiteral("is not sl or en"));
    return language;
}

void OptionParser::blame(const QString &fault)
{
    if (m_fault.isEmpty())
        m_fault = fault;
}

void OptionParser::blameValue(const Option &option, const QString &why)
{
    blame(QStringLiteral("%1 \"%2\" ").arg(nameOf(option), value(option)) + why);
}
