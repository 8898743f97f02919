// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_COMMUNICATOREXPORT_H
#define COMMUNICATOR_COMMUNICATOREXPORT_H

#include <QtGlobal>

/// Exports a symbol from libcommunicator; all others are hidden.
#ifdef COMMUNICATOR_LIBRARY
#define COMMUNICATOR_EXPORT Q_DECL_EXPORT
#else
#define COMMUNICATOR_EXPORT Q_DECL_IMPORT
#endif

#endif
