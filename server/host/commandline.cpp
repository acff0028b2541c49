#include "server/host/commandline.h"

namespace server::host {

namespace {

// Deliberate: the unbalanced bracket and the listing of -p and -r, which have no line of their own; scripts compare it.
constexpr char kUsage[] = "%s [-i | -v | -u | -s | -t | -p | -r | -c CODE | -h] ]\n\n"
                          "\t-i(nstall) [account] [password]\t: Install the service\n"
                          "\t-v(ersion)\t: Print status of the service\n"
                          "\t-u(ninstall)\t: Uninstall the service\n"
                          "\t-s(tart)\t: Start the service\n"
                          "\t-t(erminate)\t: Stop the service\n"
                          "\t-c(ommand) CODE\t: Send a command to the service\n"
                          "\t-h(elp)\t\t: Print this help info\n";

} // namespace

RunMode runMode(int argc, const char *const *argv)
{
    if (argc < 2)
        return RunMode::Service;
    const QByteArray first(argv[1]);
    if (first == "-d" || first == "-debug")
        return RunMode::Console;
    if (first == "-h" || first == "-help")
        return RunMode::Usage;
    return RunMode::Service;
}

QByteArray usageText(const char *program)
{
    return QByteArray(kUsage).replace("%s", program);
}

} // namespace server::host
