#pragma once

#include <QCoreApplication>
#include <QLoggingCategory>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

/// A server in a process of its own, so that the side that measures costs it nothing. Ends with this object. Made
/// before the measuring process has an application object.
class ServerProcess
{
public:
    /// Runs `start` there, under an application object. It gives the port that the server listens on; what it makes
    /// lives as long as the process.
    explicit ServerProcess(const std::function<quint16()> &start)
    {
        int ends[2];
        if (pipe(ends) != 0 || (m_process = fork()) < 0)
            std::abort();
        if (m_process == 0)
            run(start, ends[1]);
        close(ends[1]);
        if (read(ends[0], &m_port, sizeof m_port) != sizeof m_port || m_port == 0) {
            std::fprintf(stderr, "a server did not start\n");
            std::exit(2);
        }
        close(ends[0]);
    }
    ~ServerProcess()
    {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }

    quint16 port() const { return m_port; }
    /// That the process has used so far.
    double cpuSeconds() const
    {
        clockid_t clock = 0;
        timespec used = {};
        clock_getcpuclockid(m_process, &clock);
        clock_gettime(clock, &used);
        return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) / 1e9;
    }

private:
    Q_DISABLE_COPY(ServerProcess)

    [[noreturn]] static void run(const std::function<quint16()> &start, int report)
    {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        int argc = 1;
        char name[] = "server";
        char *argv[] = {name, nullptr};
        QCoreApplication application(argc, argv);
        QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
        const quint16 port = start();
        if (write(report, &port, sizeof port) == sizeof port)
            QCoreApplication::exec();
        _exit(0);
    }

    pid_t m_process = 0;
    quint16 m_port = 0;
};

/// A thousand terminals need more descriptors than a process may have at first.
inline void raiseDescriptorLimit()
{
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}
