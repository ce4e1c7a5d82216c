#include "cel/version.h"

const char* celDllVersionStr() noexcept
{
    return CEL_VERSION;
}
