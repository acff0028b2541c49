#include "page/server/pageserver.h"

#include "server/workers/filereaders.h"
#include "storage/filestate.h"

#include <QLocale>

#include <utility>

/// Resources of a library are not there by themselves. Outside of any namespace, as the macro wants it.
static void initResources()
{
    Q_INIT_RESOURCE(page);
}

namespace page {

namespace {

server::workers::ReadPool::Options poolOptions()
{
    server::workers::ReadPool::Options options;
    options.threads = PageServer::kReaders;
    return options;
}

} // namespace

/// The locale is asked for once here, so that what other threads format finds it ready.
PageServer::PageServer(const Options &options, std::unique_ptr<OfficeDoor> office, http::FileTable files)
    : m_options(options), m_office(std::move(office)), m_sessions(options.steadyClock),
      m_pool(
          std::make_unique<server::workers::FileReaders>(options.databasePath),
          [path = options.databasePath] {
              return server::workers::WantedFile{0, storage::FileState::of(path)};
          },
          poolOptions()),
      m_services{m_sessions, m_pool, *m_office, options.clock}, m_logins(m_pool, *m_office, options.steadyClock),
      m_hub(m_services, options.databasePath, options.live), m_site(m_services, m_logins, m_hub, std::move(files)),
      m_server(m_site, options.limits)
{
    QLocale::system().dayName(1, QLocale::ShortFormat);
}

QString PageServer::open(const QHostAddress &address, quint16 port)
{
    if (!m_server.open(address, port))
        return m_server.errorString();
    m_site.setOrigin(m_options.origin.value_or(http::Origin::ofListener(address, m_server.serverPort())));
    return {};
}

http::FileTable pageFiles()
{
    initResources();
    http::FileTable files;
    files.addFolder(QStringLiteral(":/page"));
    return files;
}

} // namespace page
