#include "calc/output/packedrows.h"

namespace {

const QString kColor = QStringLiteral("COLOR");
const QString kTxtColor = QStringLiteral("TXTCOLOR");
const QString kToolTip = QStringLiteral("TOOLTIP");
const QString kIcon = QStringLiteral("ICON");
const QString kDisplay = QStringLiteral("UWVS");
const QString kEmpty = QStringLiteral("");

/// The key sets of one table's rows: without colours, with both, with one of them.
class RowKeys
{
public:
    explicit RowKeys(const QStringList &columns)
        : m_columns(columns), m_plain(columns), m_coloured(columns + QStringList{kColor, kTxtColor}),
          m_background(columns + QStringList{kColor}), m_text(columns + QStringList{kTxtColor})
    {
    }

    QAny plainRow() const { return emptyRow(m_plain); }

    QAny colouredRow(Colour::Name background, Colour::Name text) const
    {
        QAny row = emptyRow(m_coloured);
        row.slot(m_columns.size()) = Colour::text(background);
        row.slot(m_columns.size() + 1) = Colour::text(text);
        return row;
    }

    QAny colouredRow(const char *key, Colour::Name colour) const
    {
        QAny row = emptyRow(kColor == QLatin1String(key) ? m_background : m_text);
        row.slot(m_columns.size()) = Colour::text(colour);
        return row;
    }

    QAny header() const
    {
        QAny list(QAny::List);
        for (const QString &column : m_columns)
            list.append(QAny{{QStringLiteral("KEY"), column}, {QStringLiteral("TXT"), column}});
        return list;
    }

private:
    QAny emptyRow(const QAny::KeySet &keys) const
    {
        QAny row = QAny::record(keys);
        for (int i = 0; i < m_columns.size(); ++i)
            row.slot(i) = kEmpty;
        return row;
    }

    QStringList m_columns;
    QAny::KeySet m_plain;
    QAny::KeySet m_coloured;
    QAny::KeySet m_background;
    QAny::KeySet m_text;
};

} // namespace

#define ZUK_COLUMN_TEXT(name, text) QStringLiteral(text),
#define ZUK_DEFINE_COLUMNS(space, list)                                                                                \
    static const RowKeys &rowKeysOf##space()                                                                           \
    {                                                                                                                  \
        static const RowKeys keys(QStringList{list(ZUK_COLUMN_TEXT)});                                                 \
        return keys;                                                                                                   \
    }                                                                                                                  \
    QAny space::row()                                                                                                  \
    {                                                                                                                  \
        return rowKeysOf##space().plainRow();                                                                          \
    }                                                                                                                  \
    QAny space::row(Colour::Name background, Colour::Name text)                                                        \
    {                                                                                                                  \
        return rowKeysOf##space().colouredRow(background, text);                                                       \
    }                                                                                                                  \
    QAny space::row(const char *colourKey, Colour::Name colour)                                                        \
    {                                                                                                                  \
        return rowKeysOf##space().colouredRow(colourKey, colour);                                                      \
    }                                                                                                                  \
    QAny space::header()                                                                                               \
    {                                                                                                                  \
        return rowKeysOf##space().header();                                                                            \
    }

ZUK_DEFINE_COLUMNS(PairColumn, ZUK_PAIR_COLUMNS)
ZUK_DEFINE_COLUMNS(DayColumn, ZUK_DAY_COLUMNS)
ZUK_DEFINE_COLUMNS(SumColumn, ZUK_SUM_COLUMNS)
ZUK_DEFINE_COLUMNS(ErrorColumn, ZUK_ERROR_COLUMNS)

QAny packedTable(const QAny &header, const QAny &rows)
{
    return QAny{{QStringLiteral("HEADER"), header}, {QStringLiteral("TABLE"), rows}};
}

QAny PackedCells::duration(const QAny &seconds)
{
    return seconds.isInteger() ? m_texts.duration(seconds.asInteger()) : kEmpty;
}

QAny PackedCells::text(const QAny &value)
{
    return value.isString() ? value : QAny(value.toString() + kEmpty);
}

QAny PackedCells::kind(const QAny &type, bool mayBeGenerated)
{
    if (!type.isString())
        return kEmpty;
    const QString &name = type.asString();
    if (!mayBeGenerated && name == QLatin1String("AE"))
        return type;
    const auto known = m_kinds.constFind(name);
    if (known != m_kinds.constEnd())
        return *known;
    static const struct {
        QLatin1String name;
        Colour::Name background;
        Colour::Name text;
    } kinds[] = {{QLatin1String("MP"), Colour::PARI_MP, Colour::PARI_MP_TXT},
                 {QLatin1String("ME"), Colour::PARI_ME, Colour::PARI_ME_TXT},
                 {QLatin1String("EV"), Colour::PARI_EV, Colour::PARI_EV_TXT},
                 {QLatin1String("AE"), Colour::PARI_AE, Colour::PARI_AE_TXT}};
    for (const auto &kind : kinds) {
        if (name == kind.name)
            return *m_kinds.insert(
                name,
                QAny{{kDisplay, type}, {kColor, Colour::text(kind.background)}, {kTxtColor, Colour::text(kind.text)}});
    }
    return type;
}

QAny PackedCells::saldo(const QAny &seconds)
{
    if (!seconds.isInteger())
        return kEmpty;
    QAny &cell = m_saldos[seconds.asInteger()];
    if (cell.isNull()) {
        cell = QAny{{kDisplay, duration(seconds)},
                    {kTxtColor, Colour::text(seconds.asInteger() < 0 ? Colour::SLD_NEG_TXT : Colour::SLD_POS_TXT)}};
    }
    return cell;
}

QAny PackedCells::difference(const QAny &seconds, const QString &icon)
{
    const qint64 value = seconds.toInteger();
    if (icon.isEmpty() && value == 0)
        return duration(seconds);
    const auto make = [&] {
        QAny cell{{kDisplay, duration(seconds)}};
        if (value != 0)
            cell.insert(kTxtColor, Colour::text(value < 0 ? Colour::DIF_NEG_TXT : Colour::DIF_POS_TXT));
        if (!icon.isEmpty())
            cell.insert(kIcon, icon);
        return cell;
    };
    if (!icon.isEmpty())
        return make();
    QAny &cell = m_differences[value];
    if (cell.isNull())
        cell = make();
    return cell;
}

QAny PackedCells::remarks(const QAny &list)
{
    if (list.count() == 0)
        return kEmpty;
    if (list.count() == 1)
        return list.at(0);
    QStringList texts;
    for (int i = 0; i < list.count(); ++i)
        texts.append(list.at(i).toString());
    return texts.join(QStringLiteral("; "));
}

QAny PackedCells::moved(const QString &shown, Colour::Name colour, const QString &toolTip)
{
    return QAny{{kDisplay, shown}, {kTxtColor, Colour::text(colour)}, {kToolTip, toolTip}};
}
