// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

/// One gzip member that holds `data`.
QByteArray gzip(const QByteArray& data);
