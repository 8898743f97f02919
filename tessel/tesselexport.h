// SPDX-License-Identifier: MIT
#ifndef TESSEL_TESSELEXPORT_H
#define TESSEL_TESSELEXPORT_H

#include <QtGlobal>

/// Exports a symbol from libtessel; all others are hidden.
#ifdef TESSEL_LIBRARY
#define TESSEL_EXPORT Q_DECL_EXPORT
#else
#define TESSEL_EXPORT Q_DECL_IMPORT
#endif

#endif
