#include "qany.h"

#include "qanykeyset.h"

#include <QSqlField>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTextCodec>

#include <vector>

QAny QAny::fromVariant(const QVariant &variant)
{
    if (!variant.isValid())
        return QAny(Invalid);
    if (variant.isNull())
        return {};
    switch (static_cast<QMetaType::Type>(variant.type())) {
    case QMetaType::Bool:
        return variant.toBool();
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        return variant.toLongLong();
    case QMetaType::Double:
        return variant.toDouble();
    case QMetaType::QChar:
    case QMetaType::QString:
        return variant.toString();
    case QMetaType::QByteArray:
        return QString::fromUtf8(variant.toByteArray());
    case QMetaType::QStringList:
        return variant.toStringList();
    case QMetaType::QVariantList: {
        const QVariantList elements = variant.toList();
        QAny result(List);
        result.reserve(elements.size());
        for (const QVariant &element : elements)
            result.append(fromVariant(element));
        return result;
    }
    case QMetaType::QVariantMap: {
        const QVariantMap entries = variant.toMap();
        QAny result(Hash);
        for (auto it = entries.cbegin(); it != entries.cend(); ++it)
            result.insert(it.key(), fromVariant(it.value()));
        return result;
    }
    case QMetaType::QVariantHash: {
        const QVariantHash entries = variant.toHash();
        QAny result(Hash);
        for (auto it = entries.cbegin(); it != entries.cend(); ++it)
            result.insert(it.key(), fromVariant(it.value()));
        return result;
    }
    default:
        return QAny(Invalid);
    }
}

QVariant QAny::toVariant() const
{
    switch (m_type) {
    case Invalid:
    case Null:
        return {};
    case Bool:
        return asBool();
    case Integer:
        return QVariant(static_cast<qlonglong>(asInteger()));
    case Double:
        return asDouble();
    case String:
        // A null text would become NULL where the variant is bound to a statement.
        return asString().isNull() ? QString(QLatin1String("")) : asString();
    case List: {
        QVariantList result;
        result.reserve(count());
        for (int i = 0; i < count(); ++i)
            result.append(at(i).toVariant());
        return result;
    }
    case Hash: {
        QVariantHash result;
        result.reserve(count());
        for (int i = 0; i < count(); ++i)
            result.insert(keyAt(i), at(i).toVariant());
        return result;
    }
    }
    return {};
}

namespace {

/// Where each column of a query goes in the hash of a row; of columns with one name the last wins.
class RowLayout
{
public:
    explicit RowLayout(const QSqlRecord &record) : m_keys(distinctNames(record))
    {
        for (int column = 0; column < record.count(); ++column)
            m_slots.push_back(m_keys.indexOf(record.fieldName(column)));
    }

    template <typename Convert> QAny rowsOf(QSqlQuery &query, Convert convert) const
    {
        QAny rows(QAny::List);
        while (query.next()) {
            QAny row = QAny::record(m_keys);
            for (size_t column = 0; column < m_slots.size(); ++column)
                row.slot(m_slots[column]) = convert(query.value(static_cast<int>(column)));
            rows.append(std::move(row));
        }
        return rows;
    }

private:
    static QStringList distinctNames(const QSqlRecord &record)
    {
        QStringList names;
        for (int column = 0; column < record.count(); ++column)
            names.append(record.fieldName(column));
        names.removeDuplicates();
        return names;
    }

    QAny::KeySet m_keys;
    std::vector<int> m_slots;
};

} // namespace

QAny QAny::fromQuery(QSqlQuery &query)
{
    return RowLayout(query.record()).rowsOf(query, [](const QVariant &value) { return fromVariant(value); });
}

QAny QAny::fromQuery(QSqlQuery &query, const QByteArray &codecName)
{
    QTextCodec *codec = QTextCodec::codecForName(codecName);
    if (!codec)
        codec = QTextCodec::codecForName("UTF-8");
    return RowLayout(query.record()).rowsOf(query, [codec](const QVariant &value) {
        return QAny(codec->toUnicode(value.toByteArray()));
    });
}
