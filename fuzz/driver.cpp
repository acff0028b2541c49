#include "driver.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QTimer>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#ifdef ZUK_FUZZ_FILES
#include "mutations.h"

#include <QDirIterator>
#include <QFile>
#endif

namespace {

/// A century of one employee takes seconds under the sanitizers, and more beside other work.
constexpr int kPatienceMs = 60000;

void start()
{
    static int argc = 1;
    static char name[] = "fuzz";
    static char *argv[] = {name, nullptr};
    static bool started = false;
    if (started)
        return;
    started = true;
    qputenv("TZ", "Europe/Ljubljana");
    static const QCoreApplication application(argc, argv);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
}

} // namespace

void require(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "fuzz: %s\n", what);
    std::abort();
}

void runUntil(const std::function<bool()> &holds, const char *what)
{
    QTimer wake;
    wake.start(kPatienceMs);
    const QDeadlineTimer deadline(kPatienceMs);
    while (!holds()) {
        require(!deadline.hasExpired(), what);
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    start();
    // No copy, which would end with a zero that hides a look beyond the input.
    check(QByteArray::fromRawData(reinterpret_cast<const char *>(data), static_cast<int>(size)));
    return 0;
}

#ifdef ZUK_FUZZ_FILES
namespace {

std::vector<Bytes> filesOf(const QString &path)
{
    std::vector<Bytes> files;
    QStringList paths;
    for (QDirIterator file(path, QDir::Files, QDirIterator::Subdirectories); file.hasNext();)
        paths += file.next();
    paths.sort(); // the same order everywhere
    for (const QString &name : qAsConst(paths)) {
        QFile file(name);
        require(file.open(QIODevice::ReadOnly), "a file cannot be read");
        const QByteArray bytes = file.readAll();
        files.emplace_back(bytes.begin(), bytes.end());
    }
    return files;
}

/// Leaves the input in a file first, so that whatever ends the program leaves it there.
void tryInput(const Bytes &input, const QString &kept)
{
    QFile file(kept);
    require(file.open(QIODevice::WriteOnly), "the input cannot be kept");
    file.write(input.data(), static_cast<qint64>(input.size()));
    file.close();
    QElapsedTimer timer;
    timer.start();
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(input.data()), input.size());
    require(timer.elapsed() < kPatienceMs, "too slow");
}

} // namespace

/// FOLDER [MUTATIONS]: tries the folder's files, then so many mutations of them, which are the same in every run.
int main(int argc, char **argv)
{
    require(argc > 1, "usage: FOLDER [MUTATIONS]");
    const QString kept = QString::fromLocal8Bit(argv[0]) + QStringLiteral(".input");
    const std::vector<Bytes> files = filesOf(QString::fromLocal8Bit(argv[1]));
    const int mutations = argc > 2 ? std::atoi(argv[2]) : 0;
    require(!files.empty(), "no files");
    for (const Bytes &file : files)
        tryInput(file, kept);
    Mutations mutate(files);
    for (int i = 0; i < mutations; ++i)
        tryInput(mutate.next(), kept);
    QFile::remove(kept);
    std::printf("%zu files, %d mutations\n", files.size(), mutations);
    return 0;
}
#endif
