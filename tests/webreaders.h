#pragma once

#include "server/workers/readersource.h"
#include "storage/reader.h"

#include <QMutex>
#include <QWaitCondition>

#include <atomic>

/// Readers of the tests that hold up whoever reads until they are opened. Each select() gives the rows.
class GatedSource : public server::workers::ReaderSource
{
public:
    /// What the readers share with the test; outlives the source.
    struct Gate {
        void open()
        {
            QMutexLocker lock(&mutex);
            isOpen = true;
            opened.wakeAll();
        }
        void pass()
        {
            ++waiting;
            QMutexLocker lock(&mutex);
            while (!isOpen)
                opened.wait(&mutex);
        }

        std::atomic<int> waiting{0}; ///< that have come to the gate
        QMutex mutex;
        QWaitCondition opened;
        bool isOpen = false;
    };

    GatedSource(Gate &gate, QByteArray rows) : m_gate(gate), m_rows(std::move(rows)) {}

    std::unique_ptr<server::workers::ReadingConnection> open() override
    {
        return std::make_unique<Connection>(m_gate, m_rows);
    }
    std::unique_ptr<StillFile> holdStill() override { return nullptr; }

private:
    class GatedReader final : public storage::Reader
    {
    public:
        GatedReader(Gate &gate, const QByteArray &rows) : m_gate(gate), m_rows(rows) {}

        bool isOpen() const override { return true; }
        QString filePath() const override { return {}; }
        QString configValue(const QString &) override { return {}; }
        QAny select(const QString &) override
        {
            m_gate.pass();
            return QAny::fromJson(m_rows);
        }
        storage::Status forEachRow(const QString &, const QVariantList &,
                                   const std::function<void(const QSqlQuery &)> &) override
        {
            m_gate.pass();
            return storage::Status::Lasting;
        }

    private:
        Gate &m_gate;
        QByteArray m_rows;
    };
    class Connection : public server::workers::ReadingConnection
    {
    public:
        Connection(Gate &gate, const QByteArray &rows) : m_reader(gate, rows) {}

        storage::Reader &reader() override { return m_reader; }
        bool beginState() override { return true; }
        void endState() override {}

    private:
        GatedReader m_reader;
    };

    Gate &m_gate;
    QByteArray m_rows;
};
