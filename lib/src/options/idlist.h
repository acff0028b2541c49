#pragma once

#include <QString>
#include <QVector>

/// The numbers of a list like "1-40,57"; false when it is none.
bool readIdList(const QString &text, QVector<qint64> *ids);
