#include "server/service/systemerror.h"

#include <cerrno>

namespace server::service {

int lastSystemError()
{
    return errno;
}

} // namespace server::service
