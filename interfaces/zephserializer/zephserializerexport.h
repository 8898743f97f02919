// SPDX-License-Identifier: MIT
#ifndef ZEPHSERIALIZER_ZEPHSERIALIZEREXPORT_H
#define ZEPHSERIALIZER_ZEPHSERIALIZEREXPORT_H

#include <QtGlobal>

/// Exports a symbol from libzephserializer; all others are hidden.
#ifdef ZEPHSERIALIZER_LIBRARY
#define ZEPHSERIALIZER_EXPORT Q_DECL_EXPORT
#else
#define ZEPHSERIALIZER_EXPORT Q_DECL_IMPORT
#endif

#endif
