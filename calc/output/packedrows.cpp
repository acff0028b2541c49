#include "calc/output/packedrows.h"

namespace calc::output {

namespace {

const QString kColor = QStringLiteral("COLOR");
const QString kTxtColor = QStringLiteral("TXTCOLOR");
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

} // namespace calc::output
