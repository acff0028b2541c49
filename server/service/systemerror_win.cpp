#include "server/service/systemerror.h"

#include <windows.h>

namespace server::service {

int lastSystemError()
{
    return static_cast<int>(GetLastError());
}

} // namespace server::service
