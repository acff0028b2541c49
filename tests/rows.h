#pragma once

#include <QMetaMethod>
#include <QTest>

#include <array>

/// Names the columns of a test's data. What it returns adds a row: its name, then a value for each column.
template <typename... Values> auto columns(const std::array<const char *, sizeof...(Values)> &names)
{
    size_t next = 0;
    (QTest::addColumn<Values>(names[next++]), ...);
    return [](const char *name, const Values &...values) { (QTest::newRow(name) << ... << values); };
}

/// The signatures of the methods that the class itself declares, in their order.
inline QByteArray methodsOf(const QMetaObject &meta)
{
    QByteArray found;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
        found += meta.method(i).methodSignature() + ' ';
    return found;
}
