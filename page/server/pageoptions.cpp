#include "page/server/pageoptions.h"

#include "options/optionparser.h"

namespace page {

namespace {

const char kExitCodes[] = R"(
Exit code: 0 ended by a signal, 1 cannot listen, 2 wrong usage.
)";

/// False when it is none. An IPv6 address stands in brackets.
bool readAddress(const QString &text, PageOptions *options)
{
    const int colon = text.lastIndexOf(':');
    QString host = text.left(colon);
    if (host.startsWith('[') && host.endsWith(']'))
        host = host.mid(1, host.size() - 2);
    else if (host.contains(':'))
        return false;
    bool isPort = false;
    options->port = text.midRef(colon + 1).toUShort(&isPort);
    return colon > 0 && isPort && options->address.setAddress(host);
}

} // namespace

QString readPageOptions(const QStringList &arguments, PageOptions *options, QString *told)
{
    OptionParser parser("Serves the employees' page, beside the server and from its database.", kExitCodes);
    const auto listen = parser.add({"listen", "Where to listen (127.0.0.1:8233). Port 0 lets the system choose one.",
                                    "address:port", "127.0.0.1:8233"});
    const auto origin = parser.add(
        {"origin", "Under which address browsers reach the page through a proxy, https://host[:port][/path].", "url"});
    const auto database = parser.addDatabase();
    if (!parser.parse(arguments, told))
        return parser.fault();

    if (!readAddress(parser.value(listen), options))
        parser.blameValue(listen, "is not an address and a port like 127.0.0.1:8233 or [::1]:8233");
    if (parser.isSet(origin)) {
        options->origin = http::Origin::fromUrl(parser.value(origin));
        if (!options->origin)
            parser.blameValue(origin, "is not what browsers show, like https://zuk.example.com/page");
    }
    options->database = parser.value(database);
    return parser.fault();
}

} // namespace page
