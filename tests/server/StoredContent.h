// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMap>
#include <QSqlDatabase>
#include <QString>
#include <QStringList>

/// All rows of these tables as texts that are the same on every engine, bytes by their hash, in one order. A table that
/// cannot be read has the reason as its only row.
QMap<QString, QStringList> storedContent(const QSqlDatabase& database, const QStringList& tables);
