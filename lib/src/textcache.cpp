#include "textcache.h"

#include <QtAlgorithms>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace Json {

namespace {

/// Widens the ASCII bytes up to the first other one, where it returns.
inline const uchar *widenAscii(const uchar *p, const uchar *end, ushort **out)
{
#ifdef __SSE2__
    constexpr int step = 16;
    while (end - p >= step) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
        const __m128i zeros = _mm_setzero_si128();
        // Stored whole; what lies behind the first byte beyond ASCII is written again.
        _mm_storeu_si128(reinterpret_cast<__m128i *>(*out), _mm_unpacklo_epi8(bytes, zeros));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(*out + step / 2), _mm_unpackhi_epi8(bytes, zeros));
        if (const int wide = _mm_movemask_epi8(bytes); wide != 0) {
            const auto plain = qCountTrailingZeroBits(static_cast<quint32>(wide));
            *out += plain;
            return p + plain;
        }
        *out += step;
        p += step;
    }
#endif
    while (p != end && *p < 0x80)
        *(*out)++ = *p++;
    return p;
}

inline bool isContinuation(uchar byte)
{
    return (byte & 0xc0) == 0x80;
}

/// Decodes the character beyond ASCII at p and returns what follows it; null when it is malformed.
inline const uchar *decodeWide(const uchar *p, const uchar *end, ushort **out)
{
    const uint lead = *p;
    const qptrdiff left = end - p;
    if (lead >= 0xc2 && lead < 0xe0 && left >= 2 && isContinuation(p[1])) {
        *(*out)++ = static_cast<ushort>((lead & 0x1f) << 6 | (p[1] & 0x3fu));
        return p + 2;
    }
    if (lead >= 0xe0 && lead < 0xf0 && left >= 3 && isContinuation(p[1]) && isContinuation(p[2])) {
        const uint unit = (lead & 0x0f) << 12 | (p[1] & 0x3fu) << 6 | (p[2] & 0x3fu);
        *(*out)++ = static_cast<ushort>(unit);
        return unit >= 0x800 && !QChar::isSurrogate(unit) ? p + 3 : nullptr;
    }
    if (lead >= 0xf0 && left >= 4 && isContinuation(p[1]) && isContinuation(p[2]) && isContinuation(p[3])) {
        const uint point = (lead & 0x0f) << 18 | (p[1] & 0x3fu) << 12 | (p[2] & 0x3fu) << 6 | (p[3] & 0x3fu);
        if (point < 0x10000 || point > 0x10ffff)
            return nullptr;
        *(*out)++ = QChar::highSurrogate(point);
        *(*out)++ = QChar::lowSurrogate(point);
        return p + 4;
    }
    return nullptr;
}

/// With a replacement character for what is malformed.
QString repaired(const char *utf8, int length)
{
    // QString would take these bytes at the beginning for a byte order mark and drop them.
    if (length >= 3 && memcmp(utf8, "\xef\xbb\xbf", 3) == 0)
        return QChar(0xfeff) + QString::fromUtf8(utf8 + 3, length - 3);
    return QString::fromUtf8(utf8, length);
}

} // namespace

QString decoded(const char *utf8, qsizetype length)
{
    if (length <= 0)
        return QLatin1String("");
    QString text(static_cast<int>(length), Qt::Uninitialized);
    auto *const begin = reinterpret_cast<ushort *>(text.data());
    ushort *out = begin;
    const auto *p = reinterpret_cast<const uchar *>(utf8);
    const uchar *const end = p + length;
    while ((p = widenAscii(p, end, &out)) != end) {
        p = decodeWide(p, end, &out);
        if (!p)
            return repaired(utf8, static_cast<int>(length));
    }
    text.truncate(static_cast<int>(out - begin));
    return text;
}

} // namespace Json
