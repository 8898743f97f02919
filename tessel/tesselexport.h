// SPDX-License-Identifier: MIT
#ifndef TESSEL_TESSELEXPORT_H
#define TESSEL_TESSELEXPORT_H

#include <QtGlobal>

/// Marks what libtessel exports; everything else stays hidden.
#ifdef TESSEL_LIBRARY
#define TESSEL_EXPORT Q_DECL_EXPORT
#else
#define TESSEL_EXPORT Q_DECL_IMPORT
#endif

#endif
