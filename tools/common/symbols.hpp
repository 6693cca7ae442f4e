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

// QCM_LIBRARY_FILE names the library to load (the tests point it at the
// build's own); otherwise the library must already be loaded by the program.
inline void* find_symbol(const char* name) {
#if defined(_WIN32)
#ifdef QCM_LIBRARY_FILE
    static HMODULE module = LoadLibraryA(QCM_LIBRARY_FILE);
#else
    static HMODULE module = GetModuleHandleA("Quillon.Core.Math.dll");
#endif
    return module ? reinterpret_cast<void*>(GetProcAddress(module, name)) : nullptr;
#else
#ifdef QCM_LIBRARY_FILE
    static void* handle = dlopen(QCM_LIBRARY_FILE, RTLD_NOW | RTLD_GLOBAL);
    return handle ? dlsym(handle, name) : nullptr;
#else
    return dlsym(RTLD_DEFAULT, name);  // RTLD_DEFAULT is a null handle: every loaded object
#endif
#endif
}

}  // namespace qcm

#endif  // QCM_TOOLS_SYMBOLS_HPP
