#include "tools/zukadmin/rowarguments.h"

#include <QFile>

#include <cstdio>

namespace {

/// Any JSON value; the reader takes arrays and objects alone. False for what is none.
bool readValue(const QString &json, QAny *value)
{
    const QAny wrapped = QAny::fromJson(QLatin1Char('[') + json + QLatin1Char(']'));
    *value = wrapped.value(0);
    return wrapped.isList() && wrapped.count() == 1;
}

QString readNamed(const QStringList &words, QAny *row)
{
    *row = QAny(QAny::Hash);
    for (const QString &word : words) {
        const int equals = word.indexOf(QLatin1Char('='));
        const bool isJson = equals > 0 && word.at(equals - 1) == QLatin1Char(':');
        const QString name = word.left(isJson ? equals - 1 : equals);
        QAny value = word.mid(equals + 1);
        if (equals < 0 || name.isEmpty())
            return QStringLiteral("\"%1\" is neither NAME=TEXT nor a JSON object").arg(word);
        if (isJson && !readValue(value.asString(), &value))
            return QStringLiteral("\"%1\": no JSON behind :=").arg(word);
        row->insert(name, value);
    }
    return {};
}

bool looksLikeJson(const QString &word)
{
    const QString text = word.trimmed();
    return text.startsWith(QLatin1Char('{')) || text.startsWith(QLatin1Char('[')) || word == QLatin1String("-");
}

} // namespace

QString readRows(const QStringList &words, QVector<QAny> *rows)
{
    rows->clear();
    if (words.size() != 1 || !looksLikeJson(words.first())) {
        rows->append(QAny());
        return words.isEmpty() ? QStringLiteral("values are missing") : readNamed(words, &rows->first());
    }
    const QAny value = QAny::fromJson(wordOrInput(words.first()).toUtf8());
    if (value.isHash())
        rows->append(value);
    for (int i = 0; value.isList() && i < value.count(); ++i) {
        if (!value.at(i).isHash())
            return QStringLiteral("element %1 of the array is no JSON object").arg(i + 1);
        rows->append(value.at(i));
    }
    return rows->isEmpty() ? QStringLiteral("the values are no JSON object, nor an array of some") : QString();
}

QString readRow(const QStringList &words, QAny *row)
{
    QVector<QAny> rows;
    const QString fault = readRows(words, &rows);
    if (!fault.isEmpty())
        return fault;
    *row = rows.first();
    return rows.size() == 1 ? QString() : QStringLiteral("one row at a time");
}

QString wordOrInput(const QString &word)
{
    if (word != QLatin1String("-"))
        return word;
    QFile input;
    return input.open(stdin, QIODevice::ReadOnly) ? QString::fromUtf8(input.readAll()) : QString();
}
