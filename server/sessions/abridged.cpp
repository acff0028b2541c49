#include "server/sessions/abridged.h"

namespace server::sessions {

namespace {

constexpr int kShownChars = 1000;
constexpr int kShownValues = 200;

const QString kEllipsis = QStringLiteral("…");

/// Counts down the values that may still be shown.
QAny shown(const QAny &value, int *left)
{
    --*left;
    if (value.isString() && value.count() > kShownChars)
        return value.asString().left(kShownChars) + kEllipsis;
    if (!value.isList() && !value.isHash())
        return value;
    QAny copy(value.type());
    for (int i = 0; i < value.count(); ++i) {
        const QAny element = *left > 0 ? shown(value.at(i), left) : QAny(kEllipsis);
        if (value.isList())
            copy.append(element);
        else
            copy.insert(*left > 0 ? value.keyAt(i).left(kShownChars) : kEllipsis, element);
        if (*left <= 0)
            break;
    }
    return copy;
}

} // namespace

QAny abridged(const QAny &value)
{
    int left = kShownValues;
    return shown(value, &left);
}

} // namespace server::sessions
