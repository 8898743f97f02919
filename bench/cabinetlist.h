// SPDX-License-Identifier: MIT
#ifndef BENCH_CABINETLIST_H
#define BENCH_CABINETLIST_H

#include <QByteArray>
#include <QVariant>

/// A reply whose `data` lists @p count cabinets, some 500 bytes each.
///
/// Generated in a separate process, so that freed memory does not distort a peak. Call it before starting a
/// thread.
QByteArray cabinetListReply(int count);

/// One such cabinet.
QVariantMap cabinet(int number);
/// The envelope around @p data.
QVariantMap envelope(const QVariant& data);

/// Turns the keys of nested maps into paths, in the straightforward way.
QVariantMap flattened(const QVariantMap& members);
/// The `data` of a list reply, decoded by QJsonDocument, toVariant() and flattened().
QVariantList documentList(const QByteArray& reply);

#endif
