// SPDX-License-Identifier: MIT
#ifndef ZEPHSERIALIZER_ZEPHSERIALIZEREXPORT_H
#define ZEPHSERIALIZER_ZEPHSERIALIZEREXPORT_H

#include <QtGlobal>

/// Marks what libzephserializer exports; everything else stays hidden.
#ifdef ZEPHSERIALIZER_LIBRARY
#define ZEPHSERIALIZER_EXPORT Q_DECL_EXPORT
#else
#define ZEPHSERIALIZER_EXPORT Q_DECL_IMPORT
#endif

#endif
