#include "tools/doctor/figures.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

namespace tools::doctor {

Figures Figures::read(const QString &path)
{
    Figures figures;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return figures;
    figures.isThere = true;
    figures.ageS = QFileInfo(file).lastModified().secsTo(QDateTime::currentDateTime());
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray &line : lines) {
        const int gap = line.lastIndexOf(' ');
        if (gap > 0 && !line.startsWith('#'))
            figures.values.insert(line.left(gap), line.mid(gap + 1).toDouble());
    }
    return figures;
}

} // namespace tools::doctor
