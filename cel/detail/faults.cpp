#include "cel/detail/faults.h"

namespace cel::detail {

void fail(const char* message, const char* module, int line)
{
    throw Kt::Exception::RuntimeError(message, module, line);
}

} // namespace cel::detail
