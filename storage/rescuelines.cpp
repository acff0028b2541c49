#include "storage/rescuelines.h"

#include <QCryptographicHash>
#include <QRandomGenerator>

namespace storage {

namespace {

const QByteArray kTitle = QByteArrayLiteral("zuk-rescue-1");
constexpr int kNameSize = 12;
constexpr int kChecksumSize = 16;
static_assert(RescueLines::kHeadSize == 12 + 1 + kNameSize + 1 + kChecksumSize + 1);

QByteArray checksumOf(const QByteArray &text)
{
    return QCryptographicHash::hash(text, QCryptographicHash::Sha1).toHex().left(kChecksumSize);
}

struct Record {
    QByteArray filling;
    qint64 number = 0; // 0 when it is none
    QByteArray line;
};

/// What a line of the file, without its line feed, holds.
Record parseRecord(const QByteArray &text)
{
    const int afterNumber = text.indexOf(' ', kNameSize + 1);
    const int afterChecksum = afterNumber + 1 + kChecksumSize;
    if (text.size() <= afterChecksum || afterNumber < 0)
        return {};
    Record record{text.left(kNameSize), text.mid(kNameSize + 1, afterNumber - kNameSize - 1).toLongLong(),
                  text.mid(afterChecksum + 1)};
    if (record.number < 1 || RescueLines::record(record.filling, record.number, record.line) != text + '\n')
        return {};
    return record;
}

} // namespace

RescueLines RescueLines::empty()
{
    RescueLines none;
    none.filling =
        QByteArray::number(QRandomGenerator::system()->generate64(), 16).rightJustified(kNameSize, '0', true);
    return none;
}

QByteArray RescueLines::head(const QByteArray &filling)
{
    const QByteArray text = kTitle + ' ' + filling;
    return text + ' ' + checksumOf(text) + '\n';
}

QByteArray RescueLines::record(const QByteArray &filling, qint64 number, const QByteArray &line)
{
    const QByteArray place = filling + ' ' + QByteArray::number(number);
    return place + ' ' + checksumOf(place + ' ' + line) + ' ' + line + '\n';
}

bool RescueLines::isAnyIn(const QByteArray &content)
{
    return content.size() > kHeadSize && content.at(kHeadSize) != '\0';
}

RescueLines RescueLines::parse(const QByteArray &content)
{
    RescueLines found = empty();
    if (!isAnyIn(content))
        return found;
    const QByteArray named = content.mid(kTitle.size() + 1, kNameSize);
    // If the first line is damaged, the first whole one tells.
    QByteArray filling = content.startsWith(head(named)) ? named : QByteArray();
    found.isDamaged = filling.isEmpty();
    int position = kHeadSize;
    while (position < content.size() && content.at(position) != '\0') {
        const int end = content.indexOf('\n', position);
        const Record record = end < 0 ? Record() : parseRecord(content.mid(position, end - position));
        if (filling.isEmpty())
            filling = record.filling;
        position = end < 0 ? content.size() : end + 1;
        if (record.number > found.number && record.filling == filling) {
            found.lines += record.line;
            found.number = record.number;
            found.end = position;
        } else {
            found.isDamaged = true;
        }
    }
    if (found.number > 0)
        found.filling = filling;
    return found;
}

} // namespace storage
