// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_COMMUNICATOREXPORT_H
#define COMMUNICATOR_COMMUNICATOREXPORT_H

#include <QtGlobal>

/// Marks what libcommunicator exports; everything else stays hidden.
#ifdef COMMUNICATOR_LIBRARY
#define COMMUNICATOR_EXPORT Q_DECL_EXPORT
#else
#define COMMUNICATOR_EXPORT Q_DECL_IMPORT
#endif

#endif
