#include "server/reader/ekeylineprocessor.h"

#include "server/logger/eventstore.h"
#include "server/logger/logger.h"
#include "server/reader/ekeyline.h"
#include "server/reader/ekeylog.h"
#include "server/sessions/mainterminalservice.h"

#include <QDebug>

#include <algorithm>

namespace server::reader {

using storage::Status;

namespace {

// Rows of the journal.
const QString kNewEntry = QStringLiteral("Logger::EKEY_CSV_TRACKER Detected new CSV entry");
const QString kTooShort = QStringLiteral("Logger::EKEY_ProcessLine too short:%1");
const QString kNoTerminal = QStringLiteral("Logger::EKEY_ProcessLine ZukID error : %1 - %2");
const QString kNoUser = QStringLiteral("Logger::EKEY_ProcessLine UserID error : %1 - %2");
const QString kNoDate = QStringLiteral("Logger::EKEY_ProcessLine date format error 1:%1");
const QString kNoTime = QStringLiteral("Logger::EKEY_ProcessLine date format error 2:%1");
const QString kTooOld = QStringLiteral("Logger::EKEY_ProcessLine date too old: %1-%2");
const QString kWrongDate = QStringLiteral("Logger::EKEY_ProcessLine date error: %1-%2");
const QString kAccepted = QStringLiteral("Logger::EKEY %1");

const auto kUserTable =
    QStringLiteral("CREATE TABLE IF NOT EXISTS [ULKAIDS] ([ID] INTEGER  PRIMARY KEY AUTOINCREMENT NOT NULL,"
                   "[UID] int  UNIQUE not NULL,[ULKAID] text  UNIQUE not NULL)");
// Deliberate: the reader's text stands in the statement as it is; sites use it for conditions of their own.
const auto kEmployeeOfUser = QStringLiteral("SELECT UID FROM ULKAIDS WHERE ULKAID='%1'");
const auto kNameOfEmployee =
    QStringLiteral("SELECT (LASTNAME || \" \" || FIRSTNAME) as NAME FROM employees where id=%1");
const auto kNobody = QStringLiteral("n.n.");

/// Of a message, in a warning line.
constexpr int kShownLength = 200;

// In the rescue file.
const QString kMessages = QStringLiteral("MESSAGES");
const QString kEvent = QStringLiteral("EVENT");

const QString kUser = QStringLiteral("USER");
const QString kTimestamp = QStringLiteral("TIMESTAMP");
const QString kTerminal = QStringLiteral("TID");

/// The first value of the first row, Null without a row.
Status readValue(const QString &sql, QAny *value)
{
    if (!db())
        return Status::Passing;
    QAny row;
    const Status read = db()->firstRow(sql, &row);
    *value = row.count() > 0 ? row.at(0) : QAny();
    return read;
}

QString report(const EkeyTime &times, const EkeyTime::Verdict &verdict, const EkeyLine &line, qint64 lastAccepted)
{
    switch (verdict.fault) {
    case EkeyTime::Fault::NoDate:
        return kNoDate.arg(line.date());
    case EkeyTime::Fault::NoTime:
        return kNoTime.arg(line.date());
    case EkeyTime::Fault::TooOld:
        return kTooOld.arg(line.date(), times.text(lastAccepted));
    default:
        return kWrongDate.arg(line.date(), line.text());
    }
}

/// The event and its journal row.
Status storeEvent(DataBase &database, const QAny &event)
{
    const Status inserted = logger::EventStore::insert(database, event);
    qCDebug(ekeyLog) << "db()->insert(events,event) :" << bool(inserted);
    if (inserted.mayPass())
        return inserted;
    QAny found;
    const Status journaled = logger::EventStore::addRow(
        database, event, logger::EventStore::UserText::Bare, [&](QAny &row, const QAny &stored) {
            found = stored;
            row.insert(QStringLiteral("REMARK"), QStringLiteral("EKEY%1 CSV").arg(event.lookup(kTerminal).toInteger()));
            row.insert(QStringLiteral("TAG"), 0);
        });
    qCDebug(ekeyLog) << "db()->insert(allevents,event) :" << bool(journaled);
    qCDebug(ekeyLog).noquote() << "CSV to DB ID:" << found.lookup(QStringLiteral("IDX")).toString();
    qCDebug(ekeyLog).noquote() << "TIMESTAMP:" << found.lookup(kTimestamp).toString();
    return journaled;
}

} // namespace

EkeyLineProcessor::EkeyLineProcessor(const EkeySettings &settings, std::function<void()> roomAgain,
                                     process::Clock clock)
    : m_settings(settings), m_roomAgain(std::move(roomAgain)), m_today(std::move(clock)), m_time(settings.dateFormat),
      m_kept("EkeyLineProcessor::take", kMaxWaiting + 1)
{
    m_kept.restore(restored);
    makeTable();
}

void EkeyLineProcessor::makeTable()
{
    if (m_hasTable || !db())
        return;
    m_hasTable = !db()->execPrepared(kUserTable, {}).mayPass();
}

void EkeyLineProcessor::skip(const QByteArray &line)
{
    const EkeyTime::Verdict verdict = m_time.judge(EkeyLine::dateOf(line), m_today.date(), m_lastAccepted);
    if (verdict.fault == EkeyTime::Fault::None)
        m_lastAccepted = verdict.time;
}

EkeyLineProcessor::Taken EkeyLineProcessor::take(Entries *entries, bool atOnce)
{
    if (!atOnce && (m_waiting >= kMaxWaiting || m_waitingBytes >= kMaxWaitingBytes))
        return Taken::NoRoom;
    makeTable();
    std::vector<Outcome> outcomes;
    outcomes.reserve(entries->size());
    qint64 bytes = 0;
    for (const Entry &entry : *entries) {
        Outcome outcome;
        if (!entry.message.isNull())
            outcome.messages += entry.message;
        else if (!prepare(entry.line, atOnce, &outcome))
            break;
        outcomes.push_back(std::move(outcome));
        bytes += entry.line.size();
    }
    entries->erase(entries->begin(), entries->begin() + static_cast<std::ptrdiff_t>(outcomes.size()));
    if (!outcomes.empty())
        submit(outcomes, bytes);
    return entries->empty() ? Taken::All : Taken::NotReadable;
}

/// Everything about a line but its storing, once. False, with nothing done, when the database cannot be read for the
/// moment.
bool EkeyLineProcessor::prepare(const QByteArray &bytes, bool atOnce, Outcome *outcome)
{
    outcome->messages += kNewEntry;
    const EkeyLine line(bytes);
    if (!line.isComplete()) {
        outcome->messages += kTooShort.arg(line.text());
        return true;
    }
    qCDebug(ekeyLog).noquote() << "CSVuser:" << line.user();
    qCDebug(ekeyLog).noquote() << "CSVfinger:" << line.finger();
    const int terminal = m_settings.terminalOf(line.reader());
    if (terminal < 0) {
        outcome->messages += kNoTerminal.arg(line.reader(), line.text());
        return true;
    }
    QAny employee;
    if (m_isUnreadable || readValue(kEmployeeOfUser.arg(line.user()), &employee).mayPass()) {
        m_isUnreadable = atOnce; // at the end no line waits for it once more
        if (atOnce)
            qWarning().noquote() << "EkeyLineProcessor::prepare lost, the users cannot be read:" << line.text();
        return atOnce;
    }
    if (employee.isNull()) {
        outcome->messages += kNoUser.arg(line.user(), line.text());
        return true;
    }
    const EkeyTime::Verdict verdict = m_time.judge(line.date(), m_today.date(), m_lastAccepted);
    if (verdict.fault != EkeyTime::Fault::None) {
        outcome->messages += report(m_time, verdict, line, m_lastAccepted);
        return true;
    }
    QAny name;
    if (readValue(kNameOfEmployee.arg(employee.toString()), &name).mayPass() && !atOnce)
        return false;
    qCDebug(ekeyLog) << "CSVDATE:" << verdict.time;
    qCDebug(ekeyLog) << "NOW:" << QDateTime::currentSecsSinceEpoch();
    qCDebug(ekeyLog) << "LTS:" << m_lastAccepted;
    qCDebug(ekeyLog) << "TS:" << verdict.time;
    m_lastAccepted = verdict.time;
    offer(terminal, employee, line.finger());
    outcome->messages += kAccepted.arg(line.text());
    outcome->event = {{QStringLiteral("ID_TYPE"), QStringLiteral("FING")},
                      {QStringLiteral("NAME"), name.isNull() ? kNobody : name.toString()},
                      {kUser, employee},
                      {QStringLiteral("UID"), employee},
                      {QStringLiteral("ACCESS_CODE"), QStringLiteral("101:Prihod")},
                      {QStringLiteral("DESCRIPTION"), QStringLiteral("Ekey CSV")},
                      {kTimestamp, verdict.time},
                      {kTerminal, terminal},
                      {QStringLiteral("TERMINAL"), QStringLiteral("EKEYterminal")}};
    return true;
}

/// Does not wait: a terminal that does not answer holds up nobody.
void EkeyLineProcessor::offer(int terminal, const QAny &employee, const QString &finger) const
{
    const QAny params{{QStringLiteral("EID"), employee}, {QStringLiteral("FID"), finger.toLongLong()}};
    if (!mainTerminalService() || !mainTerminalService()->offerUlkaCsvEvent(terminal, params))
        qCDebug(ekeyLog).noquote() << QStringLiteral("CSV to ZUK ID: %1 ZUK NOT ONLINE").arg(terminal);
}

void EkeyLineProcessor::submit(const std::vector<Outcome> &outcomes, qint64 bytes)
{
    const int count = static_cast<int>(outcomes.size());
    m_waiting += count;
    m_waitingBytes += bytes;
    storage::Write write = writeOf(outcomes);
    write.told = [this, count, bytes](storage::Fate fate) {
        if (fate == storage::Fate::Kept)
            return;
        m_waiting -= count;
        m_waitingBytes -= bytes;
        m_roomAgain();
    };
    m_kept.submit(std::move(write));
}

storage::Write EkeyLineProcessor::writeOf(const std::vector<Outcome> &outcomes)
{
    const auto shown = [](const Outcome &outcome) {
        return outcome.messages.isEmpty() ? QString() : outcome.messages.last().left(kShownLength);
    };
    storage::Write write;
    write.name = [count = outcomes.size(), first = shown(outcomes.front()), last = shown(outcomes.back())] {
        return QStringLiteral("%1 rows, from %2 to %3").arg(QString::number(count), first, last);
    };
    write.rescued = QAny(QAny::List);
    for (const Outcome &outcome : outcomes)
        write.rescued.append({{kMessages, outcome.messages}, {kEvent, outcome.event}});
    write.store = [outcomes](DataBase &database, storage::Delivery delivery) -> Status {
        // First all are looked for: equal lines of one batch are all stored.
        std::vector<bool> isThere(outcomes.size(), false);
        for (size_t i = 0; i < outcomes.size() && delivery == storage::Delivery::Again; ++i) {
            bool found = false;
            if (const Status asked = wasStored(database, outcomes[i], &found); asked.mayPass())
                return asked;
            isThere[i] = found;
        }
        for (size_t i = 0; i < outcomes.size(); ++i) {
            if (isThere[i])
                continue;
            if (const Status stored = store(database, outcomes[i]); stored.mayPass())
                return stored;
        }
        return Status::Done; // what can never be stored does not undo the rest
    };
    return write;
}

storage::Write EkeyLineProcessor::restored(const QAny &rescued)
{
    std::vector<Outcome> outcomes(static_cast<size_t>(std::max(rescued.count(), 1)));
    for (int i = 0; i < rescued.count(); ++i) {
        const QAny &row = rescued.at(i);
        Outcome &outcome = outcomes[static_cast<size_t>(i)];
        const QAny &messages = row.lookup(kMessages);
        for (int line = 0; line < messages.count(); ++line)
            outcome.messages += messages.at(line).toString();
        outcome.event = row.lookup(kEvent);
    }
    return writeOf(outcomes);
}

Status EkeyLineProcessor::wasStored(DataBase &database, const Outcome &outcome, bool *stored)
{
    using namespace logger;
    *stored = false;
    return outcome.event.isHash()
               ? EventStore::wasDelivered(database, outcome.event, EventStore::Sender::Ourselves, stored)
               : Status();
}

Status EkeyLineProcessor::store(DataBase &database, const Outcome &outcome)
{
    for (const QString &message : outcome.messages) {
        const Status logged = ::logger() ? ::logger()->log(message) : Status();
        if (logged.mayPass())
            return logged;
    }
    return outcome.event.isHash() ? storeEvent(database, outcome.event) : Status();
}

} // namespace server::reader
