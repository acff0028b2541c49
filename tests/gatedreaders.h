#pragma once

#include "server/workers/filereaders.h"

#include <QSemaphore>

#include <atomic>

/// Readers of a file that hold up whoever reads until they are let go.
class GatedReaders : public server::workers::FileReaders
{
public:
    /// What the readers share with the test; outlives them.
    struct Gate {
        void open() { leave.release(100000); }

        QSemaphore leave;
        std::atomic<int> waiting{0}; ///< that have come to the gate
    };

    GatedReaders(const QString &path, Gate &gate) : FileReaders(path), m_gate(gate) {}

    std::unique_ptr<server::workers::ReadingConnection> open(const server::workers::WantedFile &file) override
    {
        return std::make_unique<Connection>(FileReaders::open(file), m_gate);
    }

private:
    class Connection : public server::workers::ReadingConnection
    {
    public:
        Connection(std::unique_ptr<ReadingConnection> file, Gate &gate) : m_file(std::move(file)), m_gate(gate) {}

        storage::Reader &reader() override { return m_file->reader(); }
        bool beginState() override
        {
            ++m_gate.waiting;
            m_gate.leave.acquire();
            return m_file->beginState();
        }
        void endState() override { m_file->endState(); }

    private:
        std::unique_ptr<ReadingConnection> m_file;
        Gate &m_gate;
    };

    Gate &m_gate;
};
