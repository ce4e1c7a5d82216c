// What a first program outside does: include a header, call the library.
#include "cel/version.h"

#include <cstdio>
#include <cstring>

int main()
{
    std::printf("cel %s\n", celDllVersionStr());
    return std::strlen(celDllVersionStr()) >= 5 ? 0 : 1;
}
