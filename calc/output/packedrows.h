#pragma once

#include "calc/output/colours.h"
#include "qany.h"

namespace calc::output {

// Keys of the rows of the packed tables, in the order in which the columns are shown; the colours of a whole row
// follow them.

#define ZUK_PAIR_COLUMNS(X)                                                                                            \
    X(NAME, "NAME")                                                                                                    \
    X(USER, "USER")                                                                                                    \
    X(DATESTAMP, "DATESTAMP")                                                                                          \
    X(TIMESTAMP, "TIMESTAMP")                                                                                          \
    X(TIMESTAMP2, "TIMESTAMP2")                                                                                        \
    X(PTIME, "PTIME")                                                                                                  \
    X(TYPE, "TYPE")                                                                                                    \
    X(TYPE2, "TYPE2")                                                                                                  \
    X(REMARK, "REMARK")                                                                                                \
    X(REMARK2, "REMARK2")                                                                                              \
    X(PARAM, "PARAM")                                                                                                  \
    X(PARAM2, "PARAM2")                                                                                                \
    X(IDX2, "IDX2")                                                                                                    \
    X(TAG2, "TAG2")                                                                                                    \
    X(DAYNUM, "DAYNUM")

#define ZUK_DAY_COLUMNS(X)                                                                                             \
    X(NAME, "NAME")                                                                                                    \
    X(USER, "USER")                                                                                                    \
    X(DATE, "DATE")                                                                                                    \
    X(INORG, "INORG")                                                                                                  \
    X(OUTORG, "OUTORG")                                                                                                \
    X(IZMENA, "IZMENA")                                                                                                \
    X(PRISOTNOST, "PRISOTNOST")                                                                                        \
    X(DELDAN, "DELDAN")                                                                                                \
    X(DELO, "DELO")                                                                                                    \
    X(DOPUST, "DOPUST")                                                                                                \
    X(IZRDOPUST, "IZRDOPUST")                                                                                          \
    X(BOLNISKA, "BOLNIŠKA")                                                                                            \
    X(DRUGO, "DRUGO")                                                                                                  \
    X(SALDOURE, "SALDOURE")                                                                                            \
    X(PLUSMINUS, "PLUSMINUS")                                                                                          \
    X(SLUZBENO, "SLUŽBENO")                                                                                            \
    X(ZASEBNO, "ZASEBNO")                                                                                              \
    X(MALICA, "MALICA")                                                                                                \
    X(ODDOMA, "ODDOMA")                                                                                                \
    X(TEREN, "TEREN")                                                                                                  \
    X(NOCNO, "NOČNO")                                                                                                  \
    X(SALDO, "SALDO")                                                                                                  \
    X(PRAZNIK, "PRAZNIK")                                                                                              \
    X(PRERAZ, "PRERAZ")                                                                                                \
    X(OPOMBA, "OPOMBA")

#define ZUK_SUM_COLUMNS(X)                                                                                             \
    X(NAME, "NAME")                                                                                                    \
    X(USER, "USER")                                                                                                    \
    X(SDATE, "SDATE")                                                                                                  \
    X(EDATE, "EDATE")                                                                                                  \
    X(DELO, "DELO")                                                                                                    \
    X(DOPUST, "DOPUST")                                                                                                \
    X(IZRDOPUST, "IZRDOPUST")                                                                                          \
    X(BOLNISKA, "BOLNIŠKA")                                                                                            \
    X(PRAZNIK, "PRAZNIK")                                                                                              \
    X(ZASEBNO, "ZASEBNO")                                                                                              \
    X(SLUZBENO, "SLUŽBENO")                                                                                            \
    X(MALICA, "MALICA")                                                                                                \
    X(DRUGO, "DRUGO")                                                                                                  \
    X(NOCNO, "NOČNO")                                                                                                  \
    X(TEREN, "TEREN")                                                                                                  \
    X(ODDOMA, "ODDOMA")                                                                                                \
    X(DELDAN, "DELDAN")                                                                                                \
    X(PRISOTNOST, "PRISOTNOST")                                                                                        \
    X(PRERAZ, "PRERAZ")                                                                                                \
    X(IZM1, "IZM1")                                                                                                    \
    X(IZM2, "IZM2")                                                                                                    \
    X(IZM3, "IZM3")                                                                                                    \
    X(DELSOB, "DELSOB")                                                                                                \
    X(DELNED, "DELNED")                                                                                                \
    X(DELPRA, "DELPRA")                                                                                                \
    X(SALDO, "SALDO")                                                                                                  \
    X(SKUPAJ, "SKUPAJ")                                                                                                \
    X(PLUSMINUS, "PLUSMINUS")                                                                                          \
    X(ACSLIST, "ACSLIST")

#define ZUK_ERROR_COLUMNS(X) X(NAME, "NAME") X(NAPAKA, "NAPAKA")

#define ZUK_COLUMN_ENUMERATOR(name, text) name,
#define ZUK_DECLARE_COLUMNS(space, list)                                                                               \
    namespace space {                                                                                                  \
    enum Position { list(ZUK_COLUMN_ENUMERATOR) ColumnCount };                                                         \
    /* A new row: every cell the empty text. */                                                                        \
    QAny row();                                                                                                        \
    /* The same with the colours of the whole row. */                                                                  \
    QAny row(Colour::Name background, Colour::Name text);                                                              \
    QAny row(const char *colourKey, Colour::Name colour);                                                              \
    /* The columns, titled by their names. */                                                                          \
    QAny header();                                                                                                     \
    }

ZUK_DECLARE_COLUMNS(PairColumn, ZUK_PAIR_COLUMNS)
ZUK_DECLARE_COLUMNS(DayColumn, ZUK_DAY_COLUMNS)
ZUK_DECLARE_COLUMNS(SumColumn, ZUK_SUM_COLUMNS)
ZUK_DECLARE_COLUMNS(ErrorColumn, ZUK_ERROR_COLUMNS)

/// {"HEADER", "TABLE"}.
QAny packedTable(const QAny &header, const QAny &rows);

} // namespace calc::output
