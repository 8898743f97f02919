// SPDX-License-Identifier: MIT
#ifndef BENCH_CABINETLIST_H
#define BENCH_CABINETLIST_H

#include <QByteArray>
#include <QVariant>

/// A reply whose `data` lists @p count cabinets, some 500 bytes each.
///
/// Written in a process of its own, so that no freed memory of the making blurs a peak: to be called before
/// the first thread.
QByteArray cabinetListReply(int count);

/// One such cabinet.
QVariantMap cabinet(int number);
/// The envelope around @p data.
QVariantMap envelope(const QVariant& data);

/// Keys of nested maps become paths; the way of decoding that knows of no better one.
QVariantMap flattened(const QVariantMap& members);
/// The `data` of a list reply, decoded by QJsonDocument, toVariant() and flattened().
QVariantList documentList(const QByteArray& reply);

#endif
