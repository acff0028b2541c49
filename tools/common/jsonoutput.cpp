#include "tools/common/jsonoutput.h"

QByteArray jsonOutput(const QAny &value)
{
    const QByteArray text = value.toJsonUtf8();
    QByteArray output;
    output.reserve(text.size() + 1);
    for (int i = 0; i < text.size(); ++i) {
        uchar c = static_cast<uchar>(text.at(i));
        // Two bytes C2 80 to C2 9F are the controls U+0080 to U+009F.
        const bool isLong = c == 0xc2 && i + 1 < text.size() && static_cast<uchar>(text.at(i + 1)) < 0xa0;
        if (isLong)
            c = static_cast<uchar>(text.at(++i));
        if (c < 0x20 || c == 0x7f || isLong)
            output += "\\u00" + QByteArray(1, static_cast<char>(c)).toHex();
        else
            output += static_cast<char>(c);
    }
    return output + '\n';
}
