// Loads and unloads the library while the program runs.
#include <gtest/gtest.h>

#if defined(_WIN32)
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace {

using Try = const char* (*)();

#if defined(_WIN32)

void* load(const char* path)
{
    return LoadLibraryExA(path, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
}

Try find(void* module)
{
    return reinterpret_cast<Try>(
        reinterpret_cast<void (*)()>(GetProcAddress(static_cast<HMODULE>(module), "plugInTry")));
}

bool unload(void* module)
{
    return FreeLibrary(static_cast<HMODULE>(module)) != 0;
}

bool isLibraryLoaded()
{
    return GetModuleHandleA("cel.dll") != nullptr;
}

#else

void* load(const char* path)
{
    return dlopen(path, RTLD_NOW | RTLD_LOCAL);
}

Try find(void* module)
{
    return reinterpret_cast<Try>(dlsym(module, "plugInTry"));
}

bool unload(void* module)
{
    return dlclose(module) == 0;
}

bool isLibraryLoaded()
{
    return false; // the system may keep what it has loaded
}

#endif

TEST(Reload, RegistersTheStreamClassesEachTimeTheLibraryIsLoaded)
{
    for (int round = 0; round < 3; ++round) {
        SCOPED_TRACE(round);
        void* const module = load(CEL_PLUG_IN);
        ASSERT_NE(module, nullptr);
        const Try tryOut = find(module);
        ASSERT_NE(tryOut, nullptr);
        EXPECT_STREQ(tryOut(), CEL_TEST_VERSION);
        EXPECT_TRUE(unload(module));
        EXPECT_FALSE(isLibraryLoaded());
    }
}

} // namespace
