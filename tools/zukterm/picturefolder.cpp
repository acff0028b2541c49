#include "tools/zukterm/picturefolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace tools::zukterm {

QAny PictureFolder::picture(qint64 id) const
{
    const QAny none(QAny::String);
    if (m_path.isEmpty())
        return none;
    const QFileInfoList found = QDir(m_path).entryInfoList({QString::number(id) + QStringLiteral(".*")}, QDir::Files);
    if (found.isEmpty())
        return none;
    QFile file(found.constFirst().filePath());
    if (!file.open(QIODevice::ReadOnly))
        return none;
    const QByteArray bytes = file.readAll();
    const QString type = found.constFirst().suffix().toLower();
    if (type == QLatin1String("json"))
        return QAny::fromJson(bytes);
    return QAny{{QStringLiteral("ID"), id},
                {QStringLiteral("TYPE"), type},
                {QStringLiteral("PICT"), QString::fromLatin1(bytes.toBase64())}};
}

} // namespace tools::zukterm
