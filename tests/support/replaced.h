// SPDX-License-Identifier: MIT
#ifndef TESTS_REPLACED_H
#define TESTS_REPLACED_H

#include <dlfcn.h>

/// A program's own definition of a function that a shared library exports takes the place of the library's,
/// for the libraries' calls as well. This is the library's, to be called from there; @p symbol is its mangled
/// name, and a member function takes its object as the first parameter.
template <class Function>
Function* replaced(const char* symbol)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, symbol));
}

#endif
