#include "systemerror.h"

#include <cerrno>

int lastSystemError()
{
    return errno;
}
