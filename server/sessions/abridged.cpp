#include "server/sessions/abridged.h"

namespace server::sessions {

namespace {

constexpr int kShownChars = 1000;
/// What a value counts besides its text.
constexpr int kCharsPerValue = 5;

const QString kEllipsis = QStringLiteral("…");

/// The beginning of the text; counts down the characters that may still be shown.
QString cut(const QString &text, int *left)
{
    const QString beginning = text.left(qMax(*left, 0));
    *left -= beginning.size();
    return beginning.size() < text.size() ? beginning + kEllipsis : text;
}

QAny shown(const QAny &value, int *left)
{
    *left -= kCharsPerValue;
    if (value.isString())
        return cut(value.asString(), left);
    if (!value.isList() && !value.isHash())
        return value;
    QAny copy(value.type());
    for (int i = 0; i < value.count(); ++i) {
        const QString key = value.isHash() ? cut(value.keyAt(i), left) : QString();
        const QAny element = *left > 0 ? shown(value.at(i), left) : QAny(kEllipsis);
        if (value.isList())
            copy.append(element);
        else
            copy.insert(key, element);
        if (*left <= 0)
            break;
    }
    return copy;
}

} // namespace

QAny abridged(const QAny &value)
{
    int left = kShownChars;
    return shown(value, &left);
}

QString abridged(const QString &text)
{
    int left = kShownChars;
    return cut(text, &left);
}

} // namespace server::sessions
