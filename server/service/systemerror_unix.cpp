#include "server/service/systemerror.h"

#include <cerrno>

int lastSystemError()
{
    return errno;
}
