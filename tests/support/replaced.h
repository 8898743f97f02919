// SPDX-License-Identifier: MIT
#ifndef TESTS_REPLACED_H
#define TESTS_REPLACED_H

#include <dlfcn.h>

/// A program that defines a function which a shared library exports replaces it, for calls within libraries
/// as well. This returns the library's function, so that the replacement can call it. @p symbol is the
/// mangled name; a member function takes its object as the first parameter.
template <class Function>
Function* replaced(const char* symbol)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, symbol));
}

#endif
