#pragma once

#include "calc/rules/accesscode.h"
#include "qany.h"

namespace calc::output {

// Keys of the calculation's records. Each kind of record has one key set that its hashes share; the enumerator of a
// key is its position, for QAny::slot and QAny::at.

#define ZUK_ERROR_KEYS(X) X(CODE, "CODE") X(NAPAKA, "NAPAKA") X(USER, "USER") X(NAME, "NAME") X(DATESTAMP, "DATESTAMP")

#define ZUK_PAIR_KEYS(X)                                                                                               \
    X(IDP, "IDP")                                                                                                      \
    X(USER, "USER")                                                                                                    \
    X(NAME, "NAME")                                                                                                    \
    X(EMPLID, "EMPLID")                                                                                                \
    X(DATESTAMP, "DATESTAMP")                                                                                          \
    X(DAYNUM, "DAYNUM")                                                                                                \
    X(TIMESTAMP, "TIMESTAMP")                                                                                          \
    X(TIMESTAMP2, "TIMESTAMP2")                                                                                        \
    X(TYPE, "TYPE")                                                                                                    \
    X(TYPE2, "TYPE2")                                                                                                  \
    X(REMARK, "REMARK")                                                                                                \
    X(REMARK2, "REMARK2")                                                                                              \
    X(PARAM, "PARAM")                                                                                                  \
    X(PARAM2, "PARAM2")                                                                                                \
    X(AC, "AC")                                                                                                        \
    X(AC2, "AC2")                                                                                                      \
    X(IDX, "IDX")                                                                                                      \
    X(IDX2, "IDX2")                                                                                                    \
    X(TAG, "TAG")                                                                                                      \
    X(TAG2, "TAG2")                                                                                                    \
    X(TIP2, "TIP2")                                                                                                    \
    X(PTIME, "PTIME")                                                                                                  \
    X(NW, "NW")                                                                                                        \
    X(ERR, "ERR")

/// The categories, in the order of the enumeration Category.
#define ZUK_CATEGORY_KEYS(X)                                                                                           \
    X(DELO, "DELO")                                                                                                    \
    X(DOPUST, "DOPUST")                                                                                                \
    X(IZRDOPUST, "IZRDOPUST")                                                                                          \
    X(BOLNISKA, "BOLNIŠKA")                                                                                            \
    X(DRUGO, "DRUGO")                                                                                                  \
    X(SALDOURE, "SALDOURE")                                                                                            \
    X(SLUZBENO, "SLUŽBENO")                                                                                            \
    X(ZASEBNO, "ZASEBNO")                                                                                              \
    X(MALICA, "MALICA")                                                                                                \
    X(ODDOMA, "ODDOMA")                                                                                                \
    X(TEREN, "TEREN")

/// What day rows and sum rows have in common and is added up over the period, after the categories.
#define ZUK_SUMMED_KEYS(X)                                                                                             \
    X(NOCNO, "NOČNO")                                                                                                  \
    X(PRISOTNOST, "PRISOTNOST")                                                                                        \
    X(DELDAN, "DELDAN")                                                                                                \
    X(PRAZNIK, "PRAZNIK")                                                                                              \
    X(DELPONSOB, "DELPONSOB")                                                                                          \
    X(DELSOB, "DELSOB")                                                                                                \
    X(DELNED, "DELNED")                                                                                                \
    X(DELPRA, "DELPRA")                                                                                                \
    X(SALDO, "SALDO")                                                                                                  \
    X(SKUPAJ, "SKUPAJ")                                                                                                \
    X(PLUSMINUS, "PLUSMINUS")

#define ZUK_DAY_KEYS(X)                                                                                                \
    X(USER, "USER")                                                                                                    \
    X(NAME, "NAME")                                                                                                    \
    X(EMPL, "EMPL")                                                                                                    \
    X(DATE, "DATE")                                                                                                    \
    X(DAYTYPE, "DAYTYPE")                                                                                              \
    X(INORG, "INORG")                                                                                                  \
    X(OUTORG, "OUTORG")                                                                                                \
    X(NOUT, "NOUT")                                                                                                    \
    X(IZMENA, "IZMENA")                                                                                                \
    ZUK_CATEGORY_KEYS(X)                                                                                               \
    ZUK_SUMMED_KEYS(X)                                                                                                 \
    X(PRERAZ, "PRERAZ")                                                                                                \
    X(OPOMBA, "OPOMBA")                                                                                                \
    X(IN, "IN")                                                                                                        \
    X(OUT, "OUT")

#define ZUK_SUM_KEYS(X)                                                                                                \
    X(USER, "USER")                                                                                                    \
    X(NAME, "NAME")                                                                                                    \
    X(SDATE, "SDATE")                                                                                                  \
    X(EDATE, "EDATE")                                                                                                  \
    ZUK_CATEGORY_KEYS(X)                                                                                               \
    ZUK_SUMMED_KEYS(X)                                                                                                 \
    X(IZM1, "IZM1")                                                                                                    \
    X(IZM2, "IZM2")                                                                                                    \
    X(IZM3, "IZM3")                                                                                                    \
    X(PRERAZ, "PRERAZ")                                                                                                \
    X(ACSLIST, "ACSLIST")

/// What the rules made of a day, in the DAYS of an employee's CALC entry.
#define ZUK_JUDGED_DAY_KEYS(X) X(DATE, "DATE") X(IN, "IN") X(OUT, "OUT") X(DC, "DC") X(OPOMBA, "OPOMBA")

#define ZUK_ACS_KEYS(X) X(AC, "AC") X(NAME, "NAME")

#define ZUK_KEY_ENUMERATOR(name, text) name,
#define ZUK_DECLARE_KEYS(space, list)                                                                                  \
    namespace space {                                                                                                  \
    enum Position { list(ZUK_KEY_ENUMERATOR) KeyCount };                                                               \
    const QAny::KeySet &keys();                                                                                        \
    }

ZUK_DECLARE_KEYS(ErrorKey, ZUK_ERROR_KEYS)
ZUK_DECLARE_KEYS(PairKey, ZUK_PAIR_KEYS)
ZUK_DECLARE_KEYS(DayKey, ZUK_DAY_KEYS)
ZUK_DECLARE_KEYS(SumKey, ZUK_SUM_KEYS)
ZUK_DECLARE_KEYS(JudgedDayKey, ZUK_JUDGED_DAY_KEYS)
ZUK_DECLARE_KEYS(AcsKey, ZUK_ACS_KEYS)

/// "IZM1" to "IZM3" of the shift 1 to 3.
const QString &shiftName(int shift);
/// "DELO", "DOPUST" and so on; Null for none.
QAny categoryName(rules::Category category);

} // namespace calc::output
