#pragma once

#include <QString>

namespace calc::output {

/// The colours of the packed tables: a number sign and six hexadecimal digits in lower case. Fixed; safe from any
/// thread once used.
namespace Colour {

enum Name {
    SLD_NEG_TXT,
    SLD_POS_TXT,
    DIF_POS_TXT,
    DIF_NEG_TXT,
    PARI_ALTCOL_LiGr,
    PARI_ALTCOL_Cyan,
    PARI_ALTCOL_LiGr_TXT,
    PARI_ALTCOL_Cyan_TXT,
    DAY_DEL_TXT,
    DAY_DOP_TXT,
    DAY_BOL_TXT,
    DAY_PRA_TXT,
    DAY_DOM_TXT,
    DAY_TER_TXT,
    PARI_SOBNED,
    PARI_PRAZNIK,
    PARI_PRAZNO,
    PARI_SOBNED_TXT,
    PARI_PRAZNIK_TXT,
    PARI_PRAZNO_TXT,
    PARI_MP,
    PARI_MP_TXT,
    PARI_ME,
    PARI_ME_TXT,
    PARI_EV,
    PARI_EV_TXT,
    PARI_AE,
    PARI_AE_TXT,
    ERR_NAP_TXT,
    ERR_OPO_TXT,
    ERR_OPC_TXT,
    ERR_SPO_TXT,
    DOG_IN_TXT,
    DOG_OUT_TXT,
    Count
};

const QString &text(Name name);

} // namespace Colour

} // namespace calc::output
