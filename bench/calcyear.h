#pragma once

#include "calc/crew.h"
#include "calc/recalctext.h"
#include "company.h"
#include "server/workers/filereaders.h"
#include "server/workers/readpool.h"
#include "storage/readconnection.h"

#include <QEventLoop>

#include <cstring>

using server::workers::ReadPool;
using server::workers::Text;

/// The text of the year by one thread.
inline Text textOfOne(const QString &file, const QAny &request)
{
    storage::ReadConnection reader(file);
    reader.beginRead();
    calc::CrewOfOne crew(reader);
    return calc::recalcText(crew, request, kToday);
}

/// The same by the workers of a pool.
inline Text textOfPool(ReadPool &pool, const QAny &request)
{
    Text text;
    QEventLoop loop;
    const bool taken = pool.submit(
        ReadPool::Size::Large, QString(),
        [request = request.deepCopy()](calc::Crew &crew) { return calc::recalcText(crew, request, kToday); },
        [&](Text pieces) {
            text = std::move(pieces);
            loop.quit();
        });
    if (!taken)
        qFatal("not taken");
    loop.exec();
    return text;
}

/// Whether both are one text, however it is cut, but for the time that the last piece tells.
inline bool isSameText(Text left, Text right)
{
    left.pop_back();
    right.pop_back();
    size_t i = 0;
    size_t k = 0;
    int atLeft = 0;
    int atRight = 0;
    while (i < left.size() && k < right.size()) {
        const int length = std::min(left[i].size() - atLeft, right[k].size() - atRight);
        if (memcmp(left[i].constData() + atLeft, right[k].constData() + atRight, static_cast<size_t>(length)) != 0)
            return false;
        atLeft += length;
        atRight += length;
        if (atLeft == left[i].size())
            atLeft = (++i, 0);
        if (atRight == right[k].size())
            atRight = (++k, 0);
    }
    return i == left.size() && k == right.size();
}
