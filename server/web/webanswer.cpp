#include "server/web/webanswer.h"

#include <QDateTime>

namespace server::web {

const QString kData = QStringLiteral("data");
const QString kResult = QStringLiteral("result");
const QString kType = QStringLiteral("type");
const QString kTag = QStringLiteral("tag");

QAny startOfAnswer()
{
    return QAny{{kData, QAny{{kResult, QStringLiteral("false")}}}};
}

QAny startOfAnswer(const char *method)
{
    QAny answer = startOfAnswer();
    answer.insert(kType, QString::fromLatin1(method));
    return answer;
}

QAny refused(QAny answer, const char *reason)
{
    answer.insert(kData,
                  QAny{{QStringLiteral("reason"), QString::fromLatin1(reason)}, {kResult, QStringLiteral("false")}});
    return answer;
}

QAny answerOf(const QAny &data)
{
    return QAny{{kData, data}};
}

QString timeText(const QAny &seconds, const QString &format)
{
    bool isTime = false;
    const qint64 time = seconds.toInteger(&isTime);
    return isTime ? QDateTime::fromSecsSinceEpoch(time).toString(format) : QString();
}

} // namespace server::web
