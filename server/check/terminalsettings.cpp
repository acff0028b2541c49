#include "server/check/terminalsettings.h"

#include <QRegularExpression>

namespace server::check {

QAny readTerminalSettings(const QString &text)
{
    static const QRegularExpression separator(QStringLiteral("[;\r\n]+"));
    QAny settings(QAny::Hash);
    const QStringList items = text.split(separator, Qt::SkipEmptyParts);
    for (const QString &item : items) {
        const int equals = item.indexOf(QLatin1Char('='));
        const QString name = item.left(equals).trimmed();
        if (equals > 0 && !name.isEmpty())
            settings.insert(name, item.mid(equals + 1).trimmed());
    }
    return settings;
}

} // namespace server::check
