// Finds an export in the loaded library by its undecorated name, the way
// the host application does.
#ifndef QCM_TOOLS_SYMBOLS_HPP
#define QCM_TOOLS_SYMBOLS_HPP

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace qcm {

inline void* find_symbol(const char* name) {
#if defined(_WIN32)
    // LoadLibrary, not GetModuleHandle: a program that calls the library only
    // through this lookup has no import of it, so nothing loaded it yet.
    static HMODULE module = LoadLibraryA("Quillon.Core.Math.dll");
    return module ? reinterpret_cast<void*>(GetProcAddress(module, name)) : nullptr;
#else
    return dlsym(RTLD_DEFAULT, name);
#endif
}

}  // namespace qcm

#endif  // QCM_TOOLS_SYMBOLS_HPP
