#include "server/service/systemerror.h"

#include <windows.h>

int lastSystemError()
{
    return static_cast<int>(GetLastError());
}
