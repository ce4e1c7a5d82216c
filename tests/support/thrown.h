#pragma once

#include "platform/foundation/Exception.h"

#include <string>

namespace cel::test {

/// The text of the `RuntimeError` that a call throws; empty when it throws none.
template <class Call>
std::string thrownBy(Call&& call)
{
    try {
        call();
    } catch (const Kt::Exception::RuntimeError& error) {
        return error.what();
    }
    return "";
}

} // namespace cel::test
